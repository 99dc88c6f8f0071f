#include "base/PropertyList.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "base/PropertyListReading.h"

namespace zpk {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

enum class Form { XML, Binary, Text, UTF16 };

bool isHexDigit(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool isNameCharacter(char c) {
  return isHexDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// Both XML and data of the text form begin with '<': after it stands a name that is not all of hexadecimal digits
// in the first ("<dict>"), digits, '*', '[' or '>' in the second ("<dead beef>").
bool looksLikeXML(plist::Cursor here) {
  here.skipSpaces();
  if (!here.skip("<")) return false;
  if (here.peek() == '?' || here.peek() == '!' || here.peek() == '/') return true;
  const std::string_view name = here.takeWhile(isNameCharacter);
  return !std::all_of(name.begin(), name.end(), isHexDigit);
}

bool looksLikeUTF16(std::string_view text) {
  if (text.size() < 2) return false;
  const std::string_view start = text.substr(0, 2);
  return start == "\xFE\xFF" || start == "\xFF\xFE" || (text[0] == '\0') != (text[1] == '\0');
}

Form formOf(std::string_view text) {
  if (text.substr(0, 6) == "bplist") return Form::Binary;
  if (looksLikeUTF16(text)) return Form::UTF16;
  return looksLikeXML(plist::Cursor(text)) ? Form::XML : Form::Text;
}

std::optional<Value> read(std::string_view text, Form form, plist::Reading& reading) {
  switch (form) {
    case Form::Binary:
      return plist::readBinary(std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()), reading);
    case Form::UTF16:
      return reading.fail(0, "written in UTF-16; only UTF-8 is read");
    case Form::XML:
    case Form::Text:
      break;
  }
  if (const auto offset = plist::invalidUTF8(text)) return reading.fail(*offset, "not valid UTF-8");
  return form == Form::XML ? plist::readXML(text, reading) : plist::readText(text, reading);
}

std::size_t lineAt(std::string_view text, std::size_t offset) {
  const std::string_view before = text.substr(0, offset);
  return 1 + static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
}

}  // namespace

std::string PropertyListError::description() const {
  const std::string where = line > 0 ? "line " + std::to_string(line) : "byte " + std::to_string(offset);
  return where + ": " + reason;
}

Expected<Value, PropertyListError> readPropertyList(std::span<const std::uint8_t> data,
                                                    const PropertyListLimits& limits) {
  if (data.size() > limits.bytes) {
    return PropertyListError{.reason = "longer than " + std::to_string(limits.bytes) + " bytes"};
  }
  const std::string_view all(reinterpret_cast<const char*>(data.data()), data.size());
  const std::size_t start = all.substr(0, kByteOrderMark.size()) == kByteOrderMark ? kByteOrderMark.size() : 0;
  const std::string_view text = all.substr(start);
  if (plist::trimmed(text).empty()) return PropertyListError{.reason = "nothing in it"};

  const Form form = formOf(text);
  plist::Reading reading(limits);
  if (std::optional<Value> value = read(text, form, reading)) return *std::move(value);
  PropertyListError error = reading.error();
  if (form == Form::XML || form == Form::Text) error.line = lineAt(text, error.offset);
  error.offset += start;
  return error;
}

}  // namespace zpk
