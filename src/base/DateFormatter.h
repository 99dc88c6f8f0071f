#pragma once

#include <string>

#include "base/Value.h"

namespace zpk {

// Text of a date in the user's locale and time zone, in a style that the interface chose. Main thread only.
class DateFormatter {
 public:
  virtual ~DateFormatter() = default;
  virtual std::string stringFromDate(const Date& date) const = 0;
};

}  // namespace zpk
