#include "platform/linux/link/PollRunLoop.h"

#include <poll.h>

#include <algorithm>
#include <cmath>

namespace zpk::tests {
namespace {

class ModeScope {
 public:
  ModeScope(std::vector<std::string>& modes, std::string_view mode) : _modes(modes) { _modes.emplace_back(mode); }
  ModeScope(const ModeScope&) = delete;
  ModeScope& operator=(const ModeScope&) = delete;
  ~ModeScope() { _modes.pop_back(); }

 private:
  std::vector<std::string>& _modes;
};

}  // namespace

Seconds PollRunLoop::now() const {
  return std::chrono::steady_clock::now().time_since_epoch();
}

void PollRunLoop::performAfterDelay(Seconds delay, Callback callback) {
  _alarms.push_back(std::make_shared<Alarm>(Alarm{now() + delay, Seconds(0), std::move(callback)}));
}

Token PollRunLoop::scheduledTimer(Seconds period, Callback callback) {
  auto alarm = std::make_shared<Alarm>(Alarm{now() + period, period, std::move(callback)});
  _alarms.push_back(alarm);
  return Token([this, alarm] { _alarms.remove(alarm); });
}

Token PollRunLoop::watchFileDescriptor(int descriptor, Direction direction, std::function<void()> ready) {
  auto watch = std::make_shared<Watch>(Watch{descriptor, direction, std::move(ready)});
  _watches.push_back(watch);
  return Token([this, watch] { _watches.remove(watch); });
}

std::string_view PollRunLoop::currentMode() const {
  return _modes.empty() ? kDefaultRunLoopMode : _modes.back();
}

int PollRunLoop::servedCount(std::string_view mode) const {
  const auto entry = _served.find(mode);
  return entry == _served.end() ? 0 : entry->second;
}

void PollRunLoop::run() {
  const ModeScope scope(_modes, kDefaultRunLoopMode);
  for (_stopped = false; !_stopped;) serveOnce(Seconds(1));
}

void PollRunLoop::runFor(Seconds duration) {
  const ModeScope scope(_modes, kDefaultRunLoopMode);
  const Seconds end = now() + duration;
  for (_stopped = false; !_stopped && now() < end;) serveOnce(end - now());
}

void PollRunLoop::runInMode(std::string_view mode, Seconds atMost) {
  const ModeScope scope(_modes, mode);
  ++_served[std::string(mode)];
  const Seconds end = now() + atMost;
  while (!serveOnce(end - now()) && now() < end) {
  }
}

bool PollRunLoop::runUntil(const std::function<bool()>& condition, std::string_view mode) {
  const ModeScope scope(_modes, mode);
  const Seconds end = now() + Seconds(10);
  while (!condition()) {
    if (now() > end) return false;
    serveOnce(Seconds(0.05));
  }
  return true;
}

bool PollRunLoop::serveOnce(Seconds atMost) {
  const bool alarms = serveAlarms();
  return serveDescriptors(alarms ? Seconds(0) : untilNextAlarm(atMost)) || alarms;
}

Seconds PollRunLoop::untilNextAlarm(Seconds atMost) const {
  Seconds wait = atMost;
  if (inDefaultMode()) {
    for (const auto& alarm : _alarms) wait = std::min(wait, alarm->due - now());
  }
  return std::max(wait, Seconds(0));
}

bool PollRunLoop::serveAlarms() {
  if (!inDefaultMode()) return false;
  const auto due =
      std::find_if(_alarms.begin(), _alarms.end(), [&](const auto& alarm) { return alarm->due <= now(); });
  if (due == _alarms.end()) return false;
  const std::shared_ptr<Alarm> alarm = *due;
  if (alarm->period.count() > 0) {
    alarm->due = now() + alarm->period;
  } else {
    _alarms.erase(due);
  }
  alarm->callback();
  return true;
}

bool PollRunLoop::serveDescriptors(Seconds atMost) {
  const std::vector<std::shared_ptr<Watch>> watches(_watches.begin(), _watches.end());
  std::vector<pollfd> polled;
  for (const auto& watch : watches) {
    const bool reads = watch->direction == Direction::readable;
    polled.push_back({watch->descriptor, static_cast<short>(reads ? POLLIN : POLLOUT), 0});
  }
  const int ready = poll(polled.data(), polled.size(), static_cast<int>(std::ceil(atMost.count() * 1000)));
  for (std::size_t i = 0; ready > 0 && i < watches.size(); ++i) {
    const bool stillThere = std::find(_watches.begin(), _watches.end(), watches[i]) != _watches.end();
    if (polled[i].revents != 0 && stillThere) watches[i]->ready();
  }
  return ready > 0;
}

}  // namespace zpk::tests
