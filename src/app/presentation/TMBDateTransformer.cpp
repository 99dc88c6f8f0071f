#include "app/presentation/TMBDateTransformer.h"

namespace zpk {

Value TMBDateTransformer::transformedValue(const Value& value) const {
  if (!value.isNumber()) return {};
  return Date{value.doubleValue()};
}

}  // namespace zpk
