#include "base/PropertyListSamples.h"

#include <gtest/gtest.h>

namespace zpk::test {

Value readable(std::string_view text, const PropertyListLimits& limits) {
  const auto value = readPropertyList(bytesOf(text), limits);
  if (value) return *value;
  ADD_FAILURE() << value.error().description();
  return {};
}

std::string reasonAgainst(std::string_view text, const PropertyListLimits& limits) {
  const auto value = readPropertyList(bytesOf(text), limits);
  return value ? "readable" : value.error().reason;
}

std::string xml(std::string_view content) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + std::string(content) +
         "</plist>\n";
}

std::string repeated(std::string_view text, std::size_t count) {
  std::string all;
  all.reserve(text.size() * count);
  for (std::size_t i = 0; i < count; ++i) all += text;
  return all;
}

std::string bigEndian(std::uint64_t value, std::size_t width) {
  std::string bytes;
  for (std::size_t i = width; i > 0; --i) bytes += i > 8 ? '\0' : static_cast<char>(value >> (8 * (i - 1)));
  return bytes;
}

BinaryDocument& BinaryDocument::add(std::string_view object) {
  _objects.emplace_back(object);
  return *this;
}

std::string BinaryDocument::text() const {
  std::string document = "bplist00";
  std::string table;
  for (const std::string& object : _objects) {
    table += bigEndian(document.size(), offsetWidth);
    document += object;
  }
  const std::uint64_t count = claimedCount < 0 ? _objects.size() : static_cast<std::uint64_t>(claimedCount);
  const std::uint64_t start = claimedTable < 0 ? document.size() : static_cast<std::uint64_t>(claimedTable);
  document += table + std::string(6, '\0');
  document += static_cast<char>(offsetWidth);
  document += static_cast<char>(refWidth);
  return document + bigEndian(count, 8) + bigEndian(topObject, 8) + bigEndian(start, 8);
}

}  // namespace zpk::test
