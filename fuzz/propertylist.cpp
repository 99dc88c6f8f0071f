// Property lists from anywhere: what is read stays within the limits, and what is written as XML reads back the
// same. What has no form in XML is refused for one of the reasons that the writer knows, never lost.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "base/PropertyList.h"

namespace {

using zpk::Bytes;
using zpk::PropertyListLimits;
using zpk::Value;

// Small enough that inputs of a few hundred bytes reach them.
constexpr PropertyListLimits kLimits = {
    .bytes = 1 << 16, .depth = PropertyListLimits::kDepth, .nodes = 2000, .text = 1 << 12, .content = 1 << 15};

void require(bool condition, const char* property) {
  if (condition) return;
  std::fprintf(stderr, "violated: %s\n", property);
  std::abort();
}

struct Measure {
  std::size_t nodes = 0;
  std::size_t content = 0;
  std::size_t depth = 0;
};

void measure(const Value& value, std::size_t depth, Measure& sum) {
  ++sum.nodes;
  require(!value.isNull() && !value.isRecord(), "only what a property list can hold is read");
  if (const std::string* text = value.text()) sum.content += text->size();
  if (const zpk::ByteBlock* bytes = value.bytes()) sum.content += bytes->size();
  if (value.isArray() || value.isDictionary()) sum.depth = std::max(sum.depth, depth + 1);
  if (const zpk::Array* array = value.array()) {
    for (const Value& element : *array) measure(element, depth + 1, sum);
  } else if (const zpk::Dictionary* dictionary = value.dictionary()) {
    for (const auto& [key, entry] : *dictionary) {
      ++sum.nodes;
      sum.content += key.size();
      measure(entry, depth + 1, sum);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto value = zpk::readPropertyList(std::span(data, size), kLimits);
  if (!value) {
    require(!value.error().reason.empty(), "an error has a reason");
    require(value.error().offset <= size, "an error is in the data");
    return 0;
  }
  Measure sum;
  measure(*value, 0, sum);
  require(sum.nodes <= kLimits.nodes && sum.content <= kLimits.content && sum.depth <= kLimits.depth,
          "what is read stays within the limits");

  const auto written = zpk::writeXMLPropertyList(*value);
  if (!written) {
    require(written.error().reason == "a text with characters that XML cannot hold" ||
                written.error().reason == "a date outside the years 1 to 9999",
            "what is read and not written has no form in XML");
    return 0;
  }
  const auto copy = zpk::readPropertyList(*written);
  require(copy.hasValue(), "what was written can be read");
  const auto again = zpk::writeXMLPropertyList(*copy);
  // Not `*copy == *value`: a date loses its fraction, and a real that is not a number differs from itself.
  require(again.hasValue() && *again == *written, "what was read is written the same again");
  return 0;
}
