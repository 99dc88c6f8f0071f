#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "base/RunLoop.h"

namespace zpk {

// A run loop with a clock of its own, which stands still while code runs and jumps from one due event to the next
// while the loop does. The thread that makes it is the main thread.
//
//   VirtualRunLoop loop;
//   loop.input(Seconds(3), [&] { helper.push(status); });
//   loop.advance(Seconds(5));
//
// Events that are due at the same time run in the order in which they were asked for.
class VirtualRunLoop final : public RunLoop {
 public:
  VirtualRunLoop();
  ~VirtualRunLoop() override;

  // Lets `duration` pass in the default mode.
  void advance(Seconds duration);
  // Runs what is due now and lets no time pass.
  void turn() { advance(Seconds(0)); }

  // Something that comes from outside `delay` from now (a call of the helper, a click), served while the loop runs
  // in one of `modes`, or later, when it next does.
  void input(Seconds delay, Callback callback, std::vector<std::string> modes = {std::string(kDefaultRunLoopMode)});
  // The same, with the modes asked for when the input is there.
  using ServedIn = std::function<bool(std::string_view mode)>;
  void inputServedIn(Seconds delay, ServedIn servedIn, Callback callback);

  bool isMainThread() const { return std::this_thread::get_id() == _mainThread; }
  // Timers, delayed performs and inputs that have not run.
  std::size_t pendingCount() const { return _events.size(); }

  Seconds now() const override { return _now; }
  void performAfterDelay(Seconds delay, Callback callback) override;
  Token scheduledTimer(Seconds period, Callback callback) override;
  void runFor(Seconds duration) override;
  void runInMode(std::string_view mode, Seconds atMost) override;
  std::string_view currentMode() const override;
  // Throws std::logic_error when nothing stops it for a day, since a test would hang then.
  void run() override;
  void stop() override { _stopRequested = true; }

 private:
  struct Event;

  std::uint64_t add(Seconds delay, Seconds period, ServedIn servedIn, Callback callback);
  void remove(std::uint64_t id);
  // The next event that `mode` serves by `end`; null when there is none.
  std::shared_ptr<Event> nextEvent(std::string_view mode, Seconds end) const;
  void serve(const std::shared_ptr<Event>& event);
  // Serves the default mode until `end` or stop(); true when it was stopped.
  bool serveDefaultModeUntil(Seconds end);

  const std::thread::id _mainThread;
  Seconds _now{0};
  std::uint64_t _nextId = 0;
  std::vector<std::shared_ptr<Event>> _events;
  std::vector<std::string> _modes;
  std::atomic<bool> _stopRequested{false};
  // Ends with the loop, so that timer tokens may outlive it.
  std::shared_ptr<VirtualRunLoop*> _self;
};

}  // namespace zpk
