#pragma once

#include <chrono>
#include <functional>
#include <string_view>

#include "base/Observable.h"

namespace zpk {

using Seconds = std::chrono::duration<double>;

// The default mode: all of the program's timers, delayed performs and input run in it.
inline constexpr std::string_view kDefaultRunLoopMode = "default";

// The run loop of the main thread, and its clock.
//
// Everything it runs, it runs on the main thread, one at a time. Timers and delayed performs run in the default
// mode only: while a private mode runs, they wait, and what came due runs once the default mode runs again.
class RunLoop {
 public:
  using Callback = std::function<void()>;

  virtual ~RunLoop() = default;

  // Seconds on a clock that never goes back; its zero means nothing.
  virtual Seconds now() const = 0;

  // Runs `callback` once, at least `delay` from now, in the default mode; never before this call returned. Called
  // on a thread other than the main thread, which runs no run loop, the callback is dropped: it would never fire
  // there.
  virtual void performAfterDelay(Seconds delay, Callback callback) = 0;

  // Runs `callback` every `period`, first after one period, in the default mode, until the token ends. Periods
  // missed while something else ran are not made up.
  virtual Token scheduledTimer(Seconds period, Callback callback) = 0;

  // Serves the default mode until `duration` from now (or until stop). The interface stays alive.
  virtual void runFor(Seconds duration) = 0;

  // Serves `mode` until something was served or `atMost` is over. In any mode but the default one the windows keep
  // painting but take no input, and neither timers nor delayed performs run.
  virtual void runInMode(std::string_view mode, Seconds atMost) = 0;

  // The mode being served now; the default mode when nothing is.
  virtual std::string_view currentMode() const = 0;

  // Runs the default mode until stop() is called.
  virtual void run() = 0;
  // Ends the innermost run() or runFor(). May be called from any thread.
  virtual void stop() = 0;
};

}  // namespace zpk
