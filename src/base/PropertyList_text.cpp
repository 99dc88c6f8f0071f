// The old-style text form, on text that is known to be valid UTF-8.
//
//   value       text | ( value, … ) | { text = value; … } | <hexadecimal digits> | <[base64]> | typed
//   text        letters, digits and _ $ / : . - + @  or anything in quotes, with \ before what is special
//   typed       <*I5> an integer, <*R1.5> a real, <*BY> and <*BN> yes and no, <*D2024-01-02 03:04:05 +0000> a date;
//               what follows the letter may stand in quotes
//
// A comma after the last element and a missing semicolon after the last entry are allowed.

#include <algorithm>
#include <vector>

#include "base/PropertyListReading.h"

namespace zpk::plist {

namespace {

bool isPlainCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         std::string_view("_$/:.-+@").find(c) != std::string_view::npos;
}

bool isOctalDigit(char c) {
  return c >= '0' && c <= '7';
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

class TextReader {
 public:
  TextReader(std::string_view text, Reading& reading) : _here(text), _reading(reading) {}

  std::optional<Value> document() {
    auto root = value();
    if (!root || !skipBlanks()) return std::nullopt;
    if (!_here.atEnd()) return fail("something after the end of the value");
    return root;
  }

 private:
  std::nullopt_t fail(std::string reason) { return _reading.fail(_here.offset(), std::move(reason)); }

  // White space and comments.
  bool skipBlanks() {
    for (;;) {
      _here.skipSpaces();
      const std::size_t start = _here.offset();
      if (_here.skip("//")) {
        _here.takeWhile([](char c) { return c != '\n' && c != '\r'; });
      } else if (!_here.skip("/*")) {
        return true;
      } else if (!_here.takeUntil("*/")) {
        _reading.fail(start, "a comment without an end");
        return false;
      }
    }
  }

  std::optional<Value> value() {
    if (!skipBlanks() || !_reading.payNodes(_here.offset(), 1)) return std::nullopt;
    switch (_here.peek()) {
      case '{':
      case '(':
        return container();
      case '<':
        return bracketed();
      default: {
        auto read = text();
        return read ? std::optional<Value>(*std::move(read)) : std::nullopt;
      }
    }
  }

  std::optional<Value> container() {
    if (!_reading.enter(_here.offset())) return std::nullopt;
    auto read = _here.next() == '{' ? dictionary() : array();
    _reading.leave();
    return read;
  }

  std::optional<Value> array() {
    Array elements;
    while (skipBlanks()) {
      if (_here.skip(")")) return Value(std::move(elements));
      auto element = value();
      if (!element || !skipBlanks()) break;
      elements.push_back(*std::move(element));
      if (!_here.skip(",") && _here.peek() != ')') return failAt("a comma or the end of the array");
    }
    return std::nullopt;
  }

  std::optional<Value> dictionary() {
    std::vector<Dictionary::Entry> entries;
    while (skipBlanks()) {
      if (_here.skip("}")) return Value(Dictionary(std::move(entries)));
      if (!_reading.payNodes(_here.offset(), 1)) break;
      auto key = text();
      if (!key || !skipBlanks()) break;
      if (!_here.skip("=")) return failAt("an equals sign");
      auto entry = value();
      if (!entry || !skipBlanks()) break;
      entries.emplace_back(*std::move(key), *std::move(entry));
      if (!_here.skip(";") && _here.peek() != '}') return failAt("a semicolon or the end of the dictionary");
    }
    return std::nullopt;
  }

  std::nullopt_t failAt(const char* expected) {
    if (_here.atEnd()) return fail("cut short");
    return fail(std::string("something else where there must be ") + expected);
  }

  std::optional<std::string> text() {
    const std::size_t start = _here.offset();
    const char quote = _here.peek();
    std::optional<std::string> read;
    if (quote == '"' || quote == '\'') {
      _here.next();
      read = quoted(quote);
    } else {
      read = std::string(_here.takeWhile(isPlainCharacter));
      if (read->empty()) return failAt("a value");
    }
    if (!read || !_reading.payText(start, read->size())) return std::nullopt;
    return read;
  }

  // Up to and past the closing quote.
  std::optional<std::string> quoted(char quote) {
    const std::size_t start = _here.offset();
    std::string text;
    for (;;) {
      text += _here.takeWhile([quote](char c) { return c != quote && c != '\\'; });
      if (_here.atEnd()) return _reading.fail(start, "a text without an end");
      if (_here.next() == quote) return text;
      if (!escape(text)) return std::nullopt;
    }
  }

  // What stands after a backslash: a letter for a control character, one to three octal digits or, after "U", one
  // to four hexadecimal ones for a code point; anything else stands for itself.
  bool escape(std::string& text) {
    static constexpr std::string_view kLetters = "abfnrtv";
    static constexpr std::string_view kControls = "\a\b\f\n\r\t\v";
    if (isOctalDigit(_here.peek())) return octal(text), true;
    if (_here.atEnd()) return true;
    const char c = _here.next();
    if (c == 'U' || c == 'u') return codePoint(text);
    const std::size_t letter = kLetters.find(c);
    text += letter == std::string_view::npos ? c : kControls[letter];
    return true;
  }

  void octal(std::string& text) {
    std::uint32_t number = 0;
    for (int i = 0; i < 3 && isOctalDigit(_here.peek()); ++i) {
      number = number * 8 + static_cast<std::uint32_t>(_here.next() - '0');
    }
    appendUTF8(text, number);
  }

  // A character beyond U+FFFF is written as its two surrogates.
  bool codePoint(std::string& text) {
    const std::size_t start = _here.offset() - 2;
    auto number = unit();
    if (number && *number >= 0xD800 && *number < 0xDC00 && (_here.skip("\\U") || _here.skip("\\u"))) {
      const auto low = unit();
      const bool isPair = low && *low >= 0xDC00 && *low < 0xE000;
      if (isPair) number = 0x10000 + ((*number - 0xD800) << 10) + (*low - 0xDC00);
    }
    if (number && isCharacter(*number)) {
      appendUTF8(text, *number);
      return true;
    }
    _reading.fail(start, "an escape that stands for no character");
    return false;
  }

  std::optional<std::uint32_t> unit() {
    std::uint32_t number = 0;
    int count = 0;
    for (; count < 4 && hexDigit(_here.peek()) >= 0; ++count) {
      number = number * 16 + static_cast<std::uint32_t>(hexDigit(_here.next()));
    }
    return count > 0 ? std::optional(number) : std::nullopt;
  }

  std::optional<Value> bracketed() {
    const std::size_t start = _here.offset();
    _here.next();
    const bool isTyped = _here.skip("*");
    const bool isBase64 = !isTyped && _here.skip("[");
    const auto content = _here.takeUntil(isBase64 ? "]>" : ">");
    if (!content) return _reading.fail(start, "cut short");
    if (isTyped) return typed(start, *content);
    auto bytes = isBase64 ? parsedBase64(*content) : hexadecimal(*content);
    if (!bytes) return _reading.fail(start, "malformed data");
    if (!_reading.payData(start, bytes->size())) return std::nullopt;
    return Value(*std::move(bytes));
  }

  static std::optional<Bytes> hexadecimal(std::string_view digits) {
    Bytes bytes;
    bool isHalf = false;
    for (const char c : digits) {
      if (isSpace(c)) continue;
      const int digit = hexDigit(c);
      if (digit < 0) return std::nullopt;
      if (!isHalf) bytes.push_back(0);
      bytes.back() = static_cast<std::uint8_t>(bytes.back() << 4 | digit);
      isHalf = !isHalf;
    }
    return isHalf ? std::nullopt : std::optional(std::move(bytes));
  }

  std::optional<Value> typed(std::size_t start, std::string_view content) {
    const char kind = content.empty() ? '\0' : content.front();
    std::string_view text = content.substr(std::min<std::size_t>(1, content.size()));
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"') text = text.substr(1, text.size() - 2);
    std::optional<Value> read;
    if (kind == 'I') {
      read = parsedInteger(text);
    } else if (kind == 'R') {
      if (const auto number = parsedReal(text)) read = Value(*number);
    } else if (kind == 'D') {
      if (const auto date = parsedTextDate(text)) read = Value(*date);
    } else if (kind == 'B' && (text == "Y" || text == "N")) {
      read = Value(text == "Y");
    }
    if (!read) return _reading.fail(start, "a malformed typed value");
    return read;
  }

  Cursor _here;
  Reading& _reading;
};

}  // namespace

std::optional<Value> readText(std::string_view text, Reading& reading) {
  return TextReader(text, reading).document();
}

}  // namespace zpk::plist
