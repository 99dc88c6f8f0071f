#include "app/presentation/TMBSizeTransformer.h"

#include "app/presentation/ByteSizeString.h"

namespace zpk {

Value TMBSizeTransformer::transformedValue(const Value& value) const {
  if (!value.isNumber()) return {};
  return byteSizeString(value.unsignedIntegerValue());
}

}  // namespace zpk
