#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/PropertyList.h"

namespace zpk::test {

inline Bytes bytesOf(std::string_view text) {
  return Bytes(text.begin(), text.end());
}

// The value in `text`, or null (after a test failure) when it cannot be read.
Value readable(std::string_view text, const PropertyListLimits& limits = {});
// Why it cannot be read, or "readable".
std::string reasonAgainst(std::string_view text, const PropertyListLimits& limits = {});

// A document in the XML form around `content`.
std::string xml(std::string_view content);

std::string repeated(std::string_view text, std::size_t count);

// `value` as `width` bytes, big-endian.
std::string bigEndian(std::uint64_t value, std::size_t width);

// A document in the binary form put together object by object, as no writer would.
//
//   BinaryDocument().add("\xA1\x01").add("\x10\x05").text()   an array (object 0) of the integer 5 (object 1)
class BinaryDocument {
 public:
  BinaryDocument& add(std::string_view object);
  std::string text() const;

  // The trailer as it is written; `add` and the offset table follow the first two.
  std::size_t offsetWidth = 2;
  std::size_t refWidth = 1;
  std::uint64_t topObject = 0;
  // What the trailer claims instead of the truth, when not negative.
  std::int64_t claimedCount = -1;
  std::int64_t claimedTable = -1;

 private:
  std::vector<std::string> _objects;
};

}  // namespace zpk::test
