#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Value.h"

namespace zpk {

// Decimal numbers as the user's locale writes them. Main thread only.
class NumberFormat {
 public:
  // No number that a person writes is longer; a longer text is not looked at.
  static constexpr std::size_t kLongestNumber = 256;

  virtual ~NumberFormat() = default;

  // The number for which the whole text stands: an optional sign, digits of the locale or European ones, the
  // locale's grouping separators where it puts them (or none), a decimal separator and fraction digits. Whole
  // numbers within 64 bits, signed or unsigned, are exact; everything else is the nearest real.
  //
  // Nothing for any other text: the empty one, letters (also an exponent, "inf" and "nan"), spaces around the
  // number, a sign alone, a separator in the wrong place, text that is not valid UTF-8.
  virtual std::optional<Value> numberFromString(std::string_view text) const = 0;

  // The number as the locale writes it, grouped, with at most three fraction digits. Empty for a value that is no
  // number, or none that is finite.
  virtual std::string stringFromNumber(const Value& number) const = 0;
};

}  // namespace zpk
