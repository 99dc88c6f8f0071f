#pragma once

#include "app/presentation/ValueTransformer.h"

namespace zpk {

// A number of bytes to the text of byteSizeString. What is not a number gives nothing.
class TMBSizeTransformer final : public ValueTransformer {
 public:
  std::string_view className() const override { return "TMBSizeTransformer"; }
  ValueClass transformedValueClass() const override { return ValueClass::Text; }
  bool allowsReverseTransformation() const override { return false; }
  Value transformedValue(const Value& value) const override;
};

}  // namespace zpk
