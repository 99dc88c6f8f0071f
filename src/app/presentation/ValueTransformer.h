#pragma once

#include <string_view>

#include "base/Value.h"

namespace zpk {

// Turns a property's value into what a bound control shows. Never changes: one object serves every binding. Those
// that have a name here have no state either, and serve any thread for as long as the program runs.
class ValueTransformer {
 public:
  enum class ValueClass { Text, Date };

  virtual ~ValueTransformer() = default;

  // The name by which bindings ask for it.
  virtual std::string_view className() const = 0;
  virtual ValueClass transformedValueClass() const = 0;
  // Whether a control could write back through it.
  virtual bool allowsReverseTransformation() const = 0;
  // The shown value; the null value where there is nothing to show.
  virtual Value transformedValue(const Value& value) const = 0;
  // What a control that shows `shown` writes back; the null value where none can.
  virtual Value reverseTransformedValue(const Value& /*shown*/) const { return {}; }

  // The transformer of that class name; null when there is none, or when it needs more than its name to be made.
  static const ValueTransformer* valueTransformerForName(std::string_view name);
};

}  // namespace zpk
