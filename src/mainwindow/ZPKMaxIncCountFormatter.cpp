#include "mainwindow/ZPKMaxIncCountFormatter.h"

#include <cstdint>

namespace zpk {
namespace {

constexpr const char* kLowerLimit = "1";
constexpr const char* kUpperLimit = "100";
constexpr std::uint64_t kUpperCount = 100;

// Without its sign bit being heeded: a negative number reads as a very large one.
std::uint64_t asUnsigned(const Value& number) {
  const bool negativeReal = number.isReal() && number.doubleValue() < 0;
  return negativeReal ? static_cast<std::uint64_t>(number.integerValue()) : number.unsignedIntegerValue();
}

}  // namespace

std::optional<Value> ZPKMaxIncCountFormatter::numberFrom(std::string_view text) const {
  return _nf ? _nf->numberFromString(text) : std::nullopt;
}

std::optional<std::string> ZPKMaxIncCountFormatter::stringForObjectValue(const Value& object) const {
  if (!_nf || !object.isNumber()) return std::nullopt;
  return _nf->stringFromNumber(object);
}

bool ZPKMaxIncCountFormatter::getObjectValue(Value* object, std::string_view forString,
                                             std::string* /*errorDescription*/) const {
  if (!object) return true;
  const std::optional<Value> number = numberFrom(forString);
  *object = number ? *number : Value(1);
  return true;
}

bool ZPKMaxIncCountFormatter::isPartialStringValid(std::string_view partialString,
                                                   std::optional<std::string>* newEditingString,
                                                   std::string* /*errorDescription*/) const {
  const auto refuse = [newEditingString](std::optional<std::string> replacement) {
    if (newEditingString) *newEditingString = std::move(replacement);
    return false;
  };
  const std::optional<Value> number = numberFrom(partialString);
  // Refused and replaced by itself, so that the field can be emptied while typing.
  if (!number) return refuse(partialString.empty() ? std::optional<std::string>("") : std::nullopt);
  const std::uint64_t count = asUnsigned(*number);
  if (count > kUpperCount) return refuse(kUpperLimit);
  if (count == 0) return refuse(kLowerLimit);
  return true;
}

}  // namespace zpk
