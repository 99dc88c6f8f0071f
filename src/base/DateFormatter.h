#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "base/Value.h"

namespace zpk {

// Text of a date in the user's locale and time zone, in a style that the interface chose. Main thread only.
class DateFormatter {
 public:
  virtual ~DateFormatter() = default;
  virtual std::string stringFromDate(const Date& date) const = 0;
  // From now on shows the time of a clock that is `seconds` ahead of GMT all the year, instead of the user's.
  virtual void setTimeZoneForSecondsFromGMT(std::int32_t seconds) = 0;
  // The names of the weekdays as they are written on their own, in full, Sunday first in every locale.
  virtual std::array<std::string, 7> standaloneWeekdaySymbols() const = 0;
};

}  // namespace zpk
