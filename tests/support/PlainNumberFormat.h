#pragma once

#include "base/NumberFormat.h"

namespace zpk {

// Numbers as Americans write them: "-1,234.5".
class PlainNumberFormat final : public NumberFormat {
 public:
  std::optional<Value> numberFromString(std::string_view text) const override;
  std::string stringFromNumber(const Value& number) const override;
};

}  // namespace zpk
