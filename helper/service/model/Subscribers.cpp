#include "helper/service/model/Subscribers.h"

#include <algorithm>
#include <utility>

#include "helperlink/StatusRecord.h"

namespace zpk {
namespace {

// Milestones that wait for one subscriber; beyond that the oldest is passed over after all.
constexpr std::size_t kMostWaiting = 4;

}  // namespace

bool Subscribers::checkIn(const SubscriberPort& port, std::int64_t lastStateTime, std::uint32_t user) {
  auto found = _entries.find(port);
  if (found == _entries.end()) {
    const auto ofUser =
        std::ranges::count_if(_entries, [&](const auto& known) { return known.second.user == user; });
    if (_entries.size() >= kMost || static_cast<std::size_t>(ofUser) >= kMostOfOneUser) return false;
    Entry entry;
    entry.user = user;
    const std::uint64_t id = entry.id = ++_lastId;
    entry.watch = _link.watchPeer(port.peer, [this, port, id] {
      if (find(port, id)) _entries.erase(port);
    });
    found = _entries.emplace(port, std::move(entry)).first;
    _link.askNeedReload(port, [this, port, id](bool wanted) {
      if (wanted && find(port, id)) _hooks.reloadWanted();
    });
  }
  Entry& entry = found->second;
  entry.silent = false;
  if (entry.underWay) return true;  // What it knows is about to change anyway.
  if (entry.waiting.empty()) {
    StatePush current = _hooks.current();
    if (current.stateTime == lastStateTime) return true;
    entry.waiting.push_back(std::move(current));
  }
  sendNext(port, entry);
  return true;
}

void Subscribers::stateChanged(const StatePush& push) {
  for (auto& [port, entry] : _entries) enqueue(port, entry, push);
}

void Subscribers::tell(const std::string& peer, const std::string& error) {
  StatePush push = _hooks.current();
  Dictionary status = *push.status;
  statuskey::opError.set(status, error);
  push.status = std::make_shared<const Dictionary>(std::move(status));
  push.isMilestone = true;
  // An error of the state's own waits for its own turn to be shown.
  push.carriesError = false;
  for (auto& [port, entry] : _entries) {
    if (port.peer != peer) continue;
    enqueue(port, entry, push);
    // The error is no part of the state, which has to be what the front end knows last: it looks at that again once
    // its user has read the error, and would come upon the error for ever.
    enqueue(port, entry, _hooks.current());
  }
}

void Subscribers::remind(const std::string& peer) {
  for (const auto& [port, entry] : _entries) {
    if (port.peer == peer) _link.askNeedReload(port, [](bool) {});
  }
}

void Subscribers::enqueue(const SubscriberPort& port, Entry& entry, const StatePush& push) {
  if (!entry.waiting.empty() && !entry.waiting.back().isMilestone) entry.waiting.pop_back();
  entry.waiting.push_back(push);
  if (entry.waiting.size() > kMostWaiting) entry.waiting.pop_front();
  if (!entry.underWay && !entry.silent) sendNext(port, entry);
}

void Subscribers::sendNext(const SubscriberPort& port, Entry& entry) {
  const StatePush next = std::move(entry.waiting.front());
  entry.waiting.pop_front();
  entry.underWay = true;
  _link.push(port, next, [this, port, id = entry.id, error = next.carriesError](PushResult result) {
    answered(port, id, error, result);
  });
}

void Subscribers::answered(const SubscriberPort& port, std::uint64_t id, bool carriedError, PushResult result) {
  Entry* entry = find(port, id);
  if (!entry) return;
  if (result == PushResult::refused) {
    _entries.erase(port);
    return;
  }
  entry->underWay = false;
  entry->silent = result == PushResult::timedOut;
  if (!entry->silent && !entry->waiting.empty()) sendNext(port, *entry);
  if (carriedError && result == PushResult::delivered) _hooks.errorShown();
}

Subscribers::Entry* Subscribers::find(const SubscriberPort& port, std::uint64_t id) {
  const auto found = _entries.find(port);
  return found != _entries.end() && found->second.id == id ? &found->second : nullptr;
}

}  // namespace zpk
