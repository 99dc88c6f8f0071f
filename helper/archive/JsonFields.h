#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "helper/archive/ArchiveError.h"

namespace zpk {

// Reading the archive's own JSON files, which may be damaged or crafted: nesting and size are bounded before the
// parser runs, and a field that is missing, of another type or too long is told by name.
class JsonFields {
 public:
  // A whole file; anything but one object is Damaged.
  static ArchiveResult<nlohmann::json> parse(const std::string& text, const std::string& path);

  // Whether a file that `jsonText` wrote says what it said then. One without a digest was written by hand, or by an
  // earlier version, and is taken as it is.
  static ArchiveResult<Done> checkDigest(const nlohmann::json& object, const std::string& path);

  // `object` outlives this. The first failure is kept and asked for at the end, so that a record reads as a list.
  explicit JsonFields(const nlohmann::json& object) : _object(object) {}

  std::uint64_t number(const char* key);
  std::int64_t signedNumber(const char* key);
  std::uint32_t smallNumber(const char* key);
  bool flag(const char* key);
  std::string text(const char* key);
  // Bytes written as hexadecimal digits, `size` of them exactly.
  std::string hexadecimal(const char* key, std::size_t digits);
  // An array of at most `limit` elements; an empty one after a failure.
  const nlohmann::json& array(const char* key, std::size_t limit);

  void fail(const char* key) {
    if (_failed.empty()) _failed = key;
  }
  // Name of the first field that is wrong; empty when all are right.
  const std::string& failed() const { return _failed; }

 private:
  const nlohmann::json* find(const char* key);

  const nlohmann::json& _object;
  std::string _failed;
};

// For writing: two blanks of indentation, text that is not valid UTF-8 made valid, a line end at the end. A
// "digest" is added, so that a bit that the medium loses is noticed also where the text stays readable.
std::string jsonText(const nlohmann::json& object);

}  // namespace zpk
