#include "app/presentation/TMBAdditions.h"

namespace zpk {

namespace {

// The first dictionary in `array` whose entry for `key` is there and passes `matches`.
template <class Predicate>
Value firstWithEntry(const Array& array, std::string_view key, Predicate matches) {
  for (const Value& element : array) {
    const Dictionary* dictionary = element.dictionary();
    if (dictionary == nullptr) continue;
    const Value& entry = (*dictionary)[key];
    if (!entry.isNull() && matches(entry)) return element;
  }
  return {};
}

}  // namespace

Value objectWithValueForKey(const Array& array, std::string_view key, const Value& equalTo) {
  return firstWithEntry(array, key, [&equalTo](const Value& entry) { return entry == equalTo; });
}

Value objectWithTrueBoolValueForKey(const Array& array, std::string_view key) {
  return firstWithEntry(array, key, [](const Value& entry) { return entry.boolValue(); });
}

Array map(const Array& array, const std::function<Value(const Value&)>& function) {
  Array results;
  for (const Value& element : array) {
    Value result = function(element);
    if (!result.isNull()) results.push_back(std::move(result));
  }
  return results;
}

}  // namespace zpk
