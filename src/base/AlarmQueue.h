#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <utility>

#include "base/Observable.h"
#include "base/RunLoop.h"

namespace zpk {

// The delayed performs and timers of a run loop, in the order of their times and, among equals, of asking.
//
// The loop owns it, waits until the earliest is due, and serves that; the queue waits for nothing by itself. One
// thread. A callback may do anything, also end timers, run the loop again, or destroy it with its queue.
class AlarmQueue {
 public:
  using Callback = RunLoop::Callback;

  // `clock` is the loop's. `changed`, where there is one, is called whenever earliest() may have become another.
  explicit AlarmQueue(std::function<Seconds()> clock, std::function<void()> changed = {});
  ~AlarmQueue();
  AlarmQueue(const AlarmQueue&) = delete;
  AlarmQueue& operator=(const AlarmQueue&) = delete;

  // Once; at once for a delay that is negative or no number.
  void perform(Seconds delay, Callback callback);
  // Every `period`, first after one, until the token ends, which may outlive the queue. Not again before the
  // callback is over, and times that passed meanwhile are not made up. A period below a millisecond is one.
  Token schedule(Seconds period, Callback callback);

  // When the earliest is due, by the clock; nothing when there is none.
  std::optional<Seconds> earliest() const;
  bool isDue() const;
  // Serves the earliest if that is due, and no other; whether it was.
  bool serveEarliest();

 private:
  struct Alarm;
  // Due time and order of asking.
  using Key = std::pair<Seconds, std::uint64_t>;

  void add(std::shared_ptr<Alarm> alarm, Seconds due);
  void end(const std::shared_ptr<Alarm>& alarm);
  void tellChanged() const;

  const std::function<Seconds()> _clock;
  const std::function<void()> _changed;
  std::map<Key, std::shared_ptr<Alarm>> _alarms;
  std::uint64_t _nextOrder = 0;
  // Ends with the queue.
  std::shared_ptr<AlarmQueue*> _self;
};

// A wait as the systems take it: rounded up, so that nothing runs early and no loop turns idly until the rest is
// over; 0 for what is over or no number, and the longest there is for what is longer.
int wholeMilliseconds(Seconds duration);

}  // namespace zpk
