#pragma once

#include <compare>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "base/Observable.h"
#include "base/Value.h"

namespace zpk {

// A front end's receive port: the unique bus name of its connection and the path that serves the callbacks there.
struct SubscriberPort {
  std::string peer;
  std::string path;
  friend auto operator<=>(const SubscriberPort&, const SubscriberPort&) = default;
};

// One state of the helper, ready to be sent.
struct StatePush {
  std::int64_t stateTime = 0;
  std::shared_ptr<const Dictionary> status;
  bool isMilestone = false;  // Not to be passed over for a newer one: the end of an operation, an error.
  bool carriesError = false;
};

enum class PushResult {
  delivered,
  timedOut,  // The peer is there but does not answer.
  refused,   // The peer is gone, or serves no such port.
};

// Calls the front ends. An answer never comes before the call that asks for it returned, and may come after the
// port was forgotten.
class SubscriberLink {
 public:
  virtual ~SubscriberLink() = default;
  virtual void push(const SubscriberPort& port, const StatePush& push,
                    std::function<void(PushResult)> answered) = 0;
  // `answered` gets false when the peer does not answer.
  virtual void askNeedReload(const SubscriberPort& port, std::function<void(bool)> answered) = 0;
  // Calls `gone` when the peer leaves the bus; the token ends the watch.
  virtual Token watchPeer(const std::string& peer, std::function<void()> gone) = 0;
};

// Who is told about the helper's state, and how far each is.
//
// A subscriber has one push under way at a time. What changes meanwhile is coalesced to the newest state, but for
// milestones, so that one which hangs costs a few pointers; one that let a push time out gets nothing more until it
// checks in again. At its first check-in each is asked once whether it wants everything read again (`needReload`):
// that covers a front end that starts and, since all subscribe anew then, a helper that starts.
//
// Used on the loop's thread. The current state is asked for when it is needed, through `current`.
class Subscribers {
 public:
  static constexpr std::size_t kMost = 64;
  // So that one user cannot keep all others out.
  static constexpr std::size_t kMostOfOneUser = 16;

  struct Hooks {
    std::function<StatePush()> current;
    std::function<void()> reloadWanted;
    std::function<void()> errorShown;  // A state with an error in it was delivered to somebody.
  };

  Subscribers(SubscriberLink& link, Hooks hooks) : _link(link), _hooks(std::move(hooks)) {}

  // Subscribes the port, or renews its subscription, and pushes the current state if it is another than the one the
  // front end knows. False when there are too many subscribers, or too many of that user's.
  bool checkIn(const SubscriberPort& port, std::int64_t lastStateTime, std::uint32_t user);

  void stateChanged(const StatePush& push);

  // Tells the subscribers of that peer, and no others, the current state with this as the operation's error, and
  // then the state as it is.
  void tell(const std::string& peer, const std::string& error);
  // Calls the subscribers of that peer for no other reason than that they hear from the helper.
  void remind(const std::string& peer);

  bool empty() const { return _entries.empty(); }
  std::size_t size() const { return _entries.size(); }

 private:
  struct Entry {
    std::uint32_t user = 0;
    std::uint64_t id = 0;  // Tells a subscription from an earlier one of the same port.
    std::deque<StatePush> waiting;
    bool underWay = false;
    bool silent = false;  // Let a push time out.
    Token watch;
  };

  void enqueue(const SubscriberPort& port, Entry& entry, const StatePush& push);
  void sendNext(const SubscriberPort& port, Entry& entry);
  void answered(const SubscriberPort& port, std::uint64_t id, bool carriedError, PushResult result);
  Entry* find(const SubscriberPort& port, std::uint64_t id);

  SubscriberLink& _link;
  Hooks _hooks;
  std::map<SubscriberPort, Entry> _entries;
  std::uint64_t _lastId = 0;
};

}  // namespace zpk
