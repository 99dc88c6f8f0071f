#pragma once

// What the three readers of PropertyList.h share. Private to PropertyList*.cpp.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "base/PropertyList.h"

namespace zpk::plist {

// One reading: what is left of its limits, and the first thing that went wrong. A reader's steps give nothing on
// failure, and its caller gives that up the stack; the reason stays here.
class Reading {
 public:
  explicit Reading(const PropertyListLimits& limits) : _limits(limits) {}

  // Keeps the first failure. Converts to a missing value of any kind.
  std::nullopt_t fail(std::size_t offset, std::string reason);
  const PropertyListError& error() const { return _error; }

  // Each pays for one step of a reader, and gives false (having failed) when the limit does not allow it.
  bool payNodes(std::size_t offset, std::size_t count);
  bool payText(std::size_t offset, std::size_t bytes);
  bool payData(std::size_t offset, std::size_t bytes);
  bool enter(std::size_t offset);
  void leave() { --_depth; }

 private:
  bool payContent(std::size_t offset, std::size_t bytes);

  PropertyListLimits _limits;
  PropertyListError _error;
  bool _failed = false;
  std::size_t _nodes = 0;
  std::size_t _content = 0;
  std::size_t _depth = 0;
};

// A place in a text that is known to be valid UTF-8.
class Cursor {
 public:
  explicit Cursor(std::string_view text, std::size_t at = 0) : _text(text), _at(at) {}

  std::size_t offset() const { return _at; }
  bool atEnd() const { return _at >= _text.size(); }
  // The byte here, or NUL at the end.
  char peek() const { return atEnd() ? '\0' : _text[_at]; }
  char next() { return atEnd() ? '\0' : _text[_at++]; }
  bool startsWith(std::string_view prefix) const { return rest().substr(0, prefix.size()) == prefix; }
  // Goes past `prefix` when it stands here.
  bool skip(std::string_view prefix);
  void skipSpaces();
  // What stands before the next `mark`, and goes past both; nothing (and goes nowhere) when it never comes.
  std::optional<std::string_view> takeUntil(std::string_view mark);
  // As many bytes as satisfy `belongs`.
  template <class Predicate>
  std::string_view takeWhile(Predicate belongs) {
    const std::size_t start = _at;
    while (!atEnd() && belongs(_text[_at])) ++_at;
    return _text.substr(start, _at - start);
  }

 private:
  std::string_view rest() const { return _text.substr(_at); }

  std::string_view _text;
  std::size_t _at;
};

// White space of XML and of the text form.
bool isSpace(char c);
std::string_view trimmed(std::string_view text);

// The offset of the first byte that is not part of a well-formed UTF-8 sequence, if there is one.
std::optional<std::size_t> invalidUTF8(std::string_view text);
// A code point that is not a surrogate and not above U+10FFFF.
bool isCharacter(std::uint32_t codePoint);
// One that XML 1.0 lets a document hold.
bool isXMLCharacter(std::uint32_t codePoint);
void appendUTF8(std::string& text, std::uint32_t codePoint);

// The content of leaves, as all text forms write it. White space around it does not count; nothing when it is not
// exactly one of that kind, or does not fit 64 bits.
std::optional<std::uint64_t> parsedDigits(std::string_view text, int base);
std::optional<Value> parsedInteger(std::string_view text);
std::optional<double> parsedReal(std::string_view text);
// "2024-01-02T03:04:05Z"
std::optional<Date> parsedXMLDate(std::string_view text);
// "2024-01-02 03:04:05 +0000"
std::optional<Date> parsedTextDate(std::string_view text);
// White space anywhere does not count.
std::optional<Bytes> parsedBase64(std::string_view text);

// One reader for each form. `data` is within the limit of bytes; that of the first two is valid UTF-8.
std::optional<Value> readXML(std::string_view text, Reading& reading);
std::optional<Value> readText(std::string_view text, Reading& reading);
std::optional<Value> readBinary(std::span<const std::uint8_t> data, Reading& reading);

}  // namespace zpk::plist
