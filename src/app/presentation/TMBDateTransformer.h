#pragma once

#include "app/presentation/ValueTransformer.h"

namespace zpk {

// A number of seconds since 1970-01-01 00:00:00 UTC, with its fraction, to the date. What is not a number gives
// nothing.
class TMBDateTransformer final : public ValueTransformer {
 public:
  std::string_view className() const override { return "TMBDateTransformer"; }
  ValueClass transformedValueClass() const override { return ValueClass::Date; }
  bool allowsReverseTransformation() const override { return false; }
  Value transformedValue(const Value& value) const override;
};

}  // namespace zpk
