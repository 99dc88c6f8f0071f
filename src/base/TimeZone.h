#pragma once

#include <cstdint>

#include "base/Value.h"

namespace zpk {

// The time zone of the user's clock. Main thread only.
class TimeZone {
 public:
  virtual ~TimeZone() = default;
  // Seconds that the zone's clock is ahead of GMT at `date`, which need not be now: summer time counts as of then.
  virtual std::int32_t secondsFromGMTForDate(const Date& date) const = 0;
};

}  // namespace zpk
