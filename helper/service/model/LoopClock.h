#pragma once

#include <functional>
#include <string>

#include "base/Observable.h"
#include "base/RunLoop.h"
#include "base/Value.h"

namespace zpk {

// The time of the helper's event loop, and its alarms. Used on the loop's thread only.
class LoopClock {
 public:
  virtual ~LoopClock() = default;

  // Seconds on a clock that never goes back; its zero means nothing.
  virtual Seconds now() const = 0;
  // The date now; may jump either way when somebody sets the machine's clock.
  virtual Date date() const = 0;
  // The time of day as people here write it: "14:07:09".
  virtual std::string timeOfDay() const = 0;
  // Calls `alarm` once, at least `delay` from now and never before this returned; not at all once the token ended.
  virtual Token after(Seconds delay, std::function<void()> alarm) = 0;
};

}  // namespace zpk
