#include "app/presentation/ValueTransformer.h"

#include <array>

#include "app/presentation/TMBDateTransformer.h"
#include "app/presentation/TMBSizeTransformer.h"

namespace zpk {

const ValueTransformer* ValueTransformer::valueTransformerForName(std::string_view name) {
  static const TMBSizeTransformer sizeTransformer;
  static const TMBDateTransformer dateTransformer;
  static const std::array<const ValueTransformer*, 2> transformers = {&sizeTransformer, &dateTransformer};
  for (const ValueTransformer* transformer : transformers) {
    if (transformer->className() == name) return transformer;
  }
  return nullptr;
}

}  // namespace zpk
