#include "helper/archive/JsonFields.h"

#include <xxhash.h>

#include <algorithm>
#include <limits>

namespace zpk {
namespace {

constexpr int deepestNesting = 16;
constexpr std::size_t longestText = 4096;

// The parser recurses nowhere, but what it builds is destroyed level by level.
bool nestsTooDeeply(std::string_view text) {
  int depth = 0;
  bool inText = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char character = text[i];
    if (inText) {
      if (character == '\\') ++i;
      if (character == '"') inText = false;
    } else if (character == '"') {
      inText = true;
    } else if (character == '{' || character == '[') {
      if (++depth > deepestNesting) return true;
    } else if (character == '}' || character == ']') {
      --depth;
    }
  }
  return false;
}

constexpr const char* digestKey = "digest";

// XXH3-128 of the object as text without blanks, its keys sorted.
std::string digestOf(const nlohmann::json& object) {
  const std::string text = object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  XXH128_canonical_t canonical;
  XXH128_canonicalFromHash(&canonical, XXH3_128bits(text.data(), text.size()));
  constexpr std::string_view digits = "0123456789abcdef";
  std::string digest;
  for (const unsigned char byte : canonical.digest) {
    digest += digits[byte >> 4U];
    digest += digits[byte & 15U];
  }
  return digest;
}

const nlohmann::json& emptyArray() {
  static const nlohmann::json empty = nlohmann::json::array();
  return empty;
}

}  // namespace

ArchiveResult<nlohmann::json> JsonFields::parse(const std::string& text, const std::string& path) {
  if (nestsTooDeeply(text)) return damagedError("The file nests too deeply", path);
  nlohmann::json object = nlohmann::json::parse(text, nullptr, false);
  if (!object.is_object()) return damagedError("The file is not readable as JSON", path);
  return object;
}

ArchiveResult<Done> JsonFields::checkDigest(const nlohmann::json& object, const std::string& path) {
  const auto digest = object.find(digestKey);
  if (digest == object.end()) return Done{};
  nlohmann::json content = object;
  content.erase(digestKey);
  if (*digest == digestOf(content)) return Done{};
  return damagedError("The file has been damaged: it is not what was written", path);
}

const nlohmann::json* JsonFields::find(const char* key) {
  const auto found = _object.is_object() ? _object.find(key) : _object.end();
  if (!_object.is_object() || found == _object.end()) {
    fail(key);
    return nullptr;
  }
  return &*found;
}

std::uint64_t JsonFields::number(const char* key) {
  const nlohmann::json* value = find(key);
  if (value != nullptr && value->is_number_unsigned()) return value->get<std::uint64_t>();
  fail(key);
  return 0;
}

std::int64_t JsonFields::signedNumber(const char* key) {
  const nlohmann::json* value = find(key);
  constexpr auto most = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  if (value != nullptr && value->is_number_integer() &&
      (!value->is_number_unsigned() || value->get<std::uint64_t>() <= most)) {
    return value->get<std::int64_t>();
  }
  fail(key);
  return 0;
}

std::uint32_t JsonFields::smallNumber(const char* key) {
  const std::uint64_t value = number(key);
  if (value > std::numeric_limits<std::uint32_t>::max()) fail(key);
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(value, std::numeric_limits<std::uint32_t>::max()));
}

bool JsonFields::flag(const char* key) {
  const nlohmann::json* value = find(key);
  if (value != nullptr && value->is_boolean()) return value->get<bool>();
  fail(key);
  return false;
}

std::string JsonFields::text(const char* key) {
  const nlohmann::json* value = find(key);
  if (value != nullptr && value->is_string() && value->get_ref<const std::string&>().size() <= longestText) {
    return value->get<std::string>();
  }
  fail(key);
  return {};
}

std::string JsonFields::hexadecimal(const char* key, std::size_t digits) {
  std::string value = text(key);
  const bool valid = value.size() == digits && std::all_of(value.begin(), value.end(), [](char digit) {
                       return (digit >= '0' && digit <= '9') || (digit >= 'a' && digit <= 'f');
                     });
  if (!valid) fail(key);
  return valid ? value : std::string(digits, '0');
}

const nlohmann::json& JsonFields::array(const char* key, std::size_t limit) {
  const nlohmann::json* value = find(key);
  if (value != nullptr && value->is_array() && value->size() <= limit) return *value;
  fail(key);
  return emptyArray();
}

std::string jsonText(const nlohmann::json& object) {
  nlohmann::json sealed = object;
  sealed[digestKey] = digestOf(object);
  return sealed.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

}  // namespace zpk
