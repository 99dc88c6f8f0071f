// The XML form: a pull parser for exactly this grammar, on text that is known to be valid UTF-8.
//
//   document  prolog, then <plist>value</plist> or a value alone, then nothing but comments and instructions
//   value     <true/> <false/> <integer> <real> <string> <date> <data> <array>value…</array>
//             <dict>(<key> value)…</dict>
//
// Attributes are allowed anywhere and mean nothing. Comments, processing instructions and CDATA sections may stand
// wherever XML has them, so also in the middle of a text.

#include <algorithm>
#include <vector>

#include "base/PropertyListReading.h"

namespace zpk::plist {

namespace {

bool isNameCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-' ||
         c == ':' || c == '.';
}

std::string lowercase(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

// "<name …>" or, when `isEmpty`, "<name …/>".
struct StartTag {
  std::size_t offset = 0;
  std::string_view name;
  bool isEmpty = false;
};

class XMLReader {
 public:
  XMLReader(std::string_view text, Reading& reading) : _text(text), _here(text), _reading(reading) {}

  std::optional<Value> document() {
    if (const auto bad = characterThatXMLCannotHold())
      return _reading.fail(*bad, "a character that XML cannot hold");
    if (!declaration() || !skipMisc() || !documentType()) return std::nullopt;
    const auto tag = startTag();
    if (!tag) return std::nullopt;
    auto root = tag->name == "plist" ? insidePlist(*tag) : value(*tag);
    if (!root || !skipMisc()) return std::nullopt;
    if (!_here.atEnd()) return fail("something after the end of the document");
    return root;
  }

 private:
  std::nullopt_t fail(std::string reason) { return _reading.fail(_here.offset(), std::move(reason)); }

  // Control characters are of one byte, U+FFFE and U+FFFF are EF BF BE and EF BF BF.
  std::optional<std::size_t> characterThatXMLCannotHold() const {
    for (std::size_t at = 0; at < _text.size(); ++at) {
      const auto byte = static_cast<std::uint8_t>(_text[at]);
      if (byte < 0x20 && !isXMLCharacter(byte)) return at;
      if (byte == 0xEF && (_text.substr(at, 3) == "\xEF\xBF\xBE" || _text.substr(at, 3) == "\xEF\xBF\xBF"))
        return at;
    }
    return std::nullopt;
  }

  // "<?xml … ?>", of which the encoding matters: the text is read as UTF-8 whatever it says of itself.
  bool declaration() {
    const std::size_t start = _here.offset();
    if (!_here.skip("<?xml")) return true;
    const auto content = _here.takeUntil("?>");
    if (!content) return fail("a declaration without an end"), false;
    const std::size_t name = content->find("encoding");
    if (name == std::string_view::npos) return true;
    Cursor encoding(*content, name + 8);
    encoding.skipSpaces();
    encoding.skip("=");
    encoding.skipSpaces();
    const char quote = encoding.next();
    const std::string given = lowercase(encoding.takeWhile([quote](char c) { return c != quote; }));
    if (given == "utf-8" || given == "utf8" || given == "us-ascii" || given == "ascii") return true;
    return _reading.fail(start, "written in another encoding; only UTF-8 is read"), false;
  }

  // White space, comments and processing instructions.
  bool skipMisc() {
    for (;;) {
      _here.skipSpaces();
      const bool isComment = _here.startsWith("<!--");
      if (!isComment && !_here.startsWith("<?")) return true;
      if (!skipComment(isComment)) return false;
    }
  }

  bool skipComment(bool isComment) {
    const std::size_t start = _here.offset();
    _here.skip(isComment ? "<!--" : "<?");
    if (_here.takeUntil(isComment ? "-->" : "?>")) return true;
    _reading.fail(start, isComment ? "a comment without an end" : "an instruction without an end");
    return false;
  }

  // A document type could define entities that stand for each other, and so a document of any size.
  bool documentType() {
    if (!_here.skip("<!DOCTYPE")) return true;
    for (;;) {
      _here.takeWhile([](char c) { return c != '>' && c != '[' && c != '"' && c != '\'' && c != '<'; });
      const char mark = _here.next();
      if (mark == '>') return skipMisc();
      const bool isQuote = mark == '"' || mark == '\'';
      if (isQuote && _here.takeUntil(std::string_view(&mark, 1))) continue;
      return fail(mark == '[' ? "a document type with definitions of its own" : "a malformed document type"), false;
    }
  }

  std::optional<StartTag> startTag() {
    StartTag tag;
    tag.offset = _here.offset();
    if (!_here.skip("<")) return fail(_here.atEnd() ? "cut short" : "text where an element must be");
    tag.name = _here.takeWhile(isNameCharacter);
    if (tag.name.empty()) return _reading.fail(tag.offset, "not an element");
    for (;;) {
      const bool spaced = isSpace(_here.peek());
      _here.skipSpaces();
      if (_here.skip("/>")) {
        tag.isEmpty = true;
        return tag;
      }
      if (_here.skip(">")) return tag;
      if (!spaced || !attribute()) return _reading.fail(tag.offset, "a malformed element");
    }
  }

  bool attribute() {
    if (_here.takeWhile(isNameCharacter).empty()) return false;
    _here.skipSpaces();
    if (!_here.skip("=")) return false;
    _here.skipSpaces();
    const char quote = _here.next();
    if (quote != '"' && quote != '\'') return false;
    _here.takeWhile([quote](char c) { return c != quote && c != '<'; });
    return _here.next() == quote;
  }

  bool atEndTag() const { return _here.startsWith("</"); }

  bool endTag(const StartTag& tag) {
    const std::size_t start = _here.offset();
    if (_here.skip("</") && _here.takeWhile(isNameCharacter) == tag.name) {
      _here.skipSpaces();
      if (_here.skip(">")) return true;
    }
    const bool ended = start >= _text.size();
    _reading.fail(start, ended ? "cut short" : "not the end of the element \"" + std::string(tag.name) + "\"");
    return false;
  }

  std::optional<Value> insidePlist(const StartTag& plist) {
    if (plist.isEmpty || !skipMisc()) return _reading.fail(plist.offset, "no value in it");
    if (atEndTag()) return _reading.fail(plist.offset, "no value in it");
    const auto tag = startTag();
    if (!tag) return std::nullopt;
    auto root = value(*tag);
    if (!root || !skipMisc() || !endTag(plist)) return std::nullopt;
    return root;
  }

  std::optional<Value> value(const StartTag& tag) {
    if (!_reading.payNodes(tag.offset, 1)) return std::nullopt;
    if (tag.name == "dict" || tag.name == "array") return container(tag);
    if (tag.name == "true" || tag.name == "false") return boolean(tag);
    if (tag.name == "string") {
      auto text = content(tag);
      if (!text || !_reading.payText(tag.offset, text->size())) return std::nullopt;
      return Value(*std::move(text));
    }
    if (tag.name == "integer" || tag.name == "real" || tag.name == "date" || tag.name == "data") return leaf(tag);
    // What is quoted is cut, so that a message stays a line.
    return _reading.fail(tag.offset, "an unknown element \"" + std::string(tag.name.substr(0, 32)) + "\"");
  }

  std::optional<Value> boolean(const StartTag& tag) {
    if (!tag.isEmpty && (!skipMisc() || !endTag(tag))) return std::nullopt;
    return Value(tag.name == "true");
  }

  std::optional<Value> leaf(const StartTag& tag) {
    const auto text = content(tag);
    if (!text) return std::nullopt;
    if (tag.name == "data") return data(tag, *text);
    if (tag.name == "integer") {
      if (const auto number = parsedInteger(*text)) return number;
      return _reading.fail(tag.offset, "not an integer of 64 bits");
    }
    if (tag.name == "real") {
      if (const auto number = parsedReal(*text)) return Value(*number);
      return _reading.fail(tag.offset, "not a real");
    }
    if (const auto date = parsedXMLDate(*text)) return Value(*date);
    return _reading.fail(tag.offset, "not a date");
  }

  std::optional<Value> data(const StartTag& tag, std::string_view text) {
    auto bytes = parsedBase64(text);
    if (!bytes) return _reading.fail(tag.offset, "not base64");
    if (!_reading.payData(tag.offset, bytes->size())) return std::nullopt;
    return Value(*std::move(bytes));
  }

  std::optional<Value> container(const StartTag& tag) {
    const bool isDictionary = tag.name == "dict";
    if (!_reading.enter(tag.offset)) return std::nullopt;
    std::optional<Value> read;
    if (tag.isEmpty) {
      read = isDictionary ? Value(Dictionary()) : Value(Array());
    } else {
      read = isDictionary ? dictionary() : array();
      if (read && !endTag(tag)) read.reset();
    }
    _reading.leave();
    return read;
  }

  // Up to the end tag, not past it.
  std::optional<Value> array() {
    Array elements;
    while (skipMisc()) {
      if (atEndTag()) return Value(std::move(elements));
      const auto tag = startTag();
      if (!tag) break;
      auto element = value(*tag);
      if (!element) break;
      elements.push_back(*std::move(element));
    }
    return std::nullopt;
  }

  std::optional<Value> dictionary() {
    std::vector<Dictionary::Entry> entries;
    while (skipMisc()) {
      if (atEndTag()) return Value(Dictionary(std::move(entries)));
      auto entryKey = key();
      if (!entryKey || !skipMisc()) break;
      if (atEndTag()) return fail("a key without a value");
      const auto tag = startTag();
      if (!tag) break;
      auto entry = value(*tag);
      if (!entry) break;
      entries.emplace_back(*std::move(entryKey), *std::move(entry));
    }
    return std::nullopt;
  }

  std::optional<std::string> key() {
    const auto tag = startTag();
    if (!tag) return std::nullopt;
    if (tag->name != "key") return _reading.fail(tag->offset, "a value without a key");
    if (!_reading.payNodes(tag->offset, 1)) return std::nullopt;
    auto text = content(*tag);
    if (!text || !_reading.payText(tag->offset, text->size())) return std::nullopt;
    return text;
  }

  // The characters of a leaf, up to and past its end tag.
  std::optional<std::string> content(const StartTag& tag) {
    std::string text;
    if (tag.isEmpty) return text;
    for (;;) {
      appendLines(text, _here.takeWhile([](char c) { return c != '<' && c != '&'; }));
      if (_here.peek() == '&') {
        if (!reference(text)) return std::nullopt;
      } else if (_here.skip("<![CDATA[")) {
        const auto section = _here.takeUntil("]]>");
        if (!section) return fail("a section without an end");
        appendLines(text, *section);
      } else if (_here.startsWith("<!--") || _here.startsWith("<?")) {
        if (!skipComment(_here.startsWith("<!--"))) return std::nullopt;
      } else {
        if (!endTag(tag)) return std::nullopt;
        return text;
      }
    }
  }

  // XML has one line end: "\r\n" and a lone "\r" are read as "\n".
  static void appendLines(std::string& text, std::string_view raw) {
    for (std::size_t i = 0; i < raw.size(); ++i) {
      if (raw[i] != '\r') {
        text += raw[i];
      } else if (i + 1 == raw.size() || raw[i + 1] != '\n') {
        text += '\n';
      }
    }
  }

  bool reference(std::string& text) {
    static constexpr std::pair<std::string_view, char> kEntities[] = {
        {"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"quot", '"'}, {"apos", '\''}};
    const std::size_t start = _here.offset();
    _here.skip("&");
    const bool isNumeric = _here.skip("#");
    const std::string_view name = _here.takeWhile(isNameCharacter);
    if (_here.skip(";")) {
      if (isNumeric && numericReference(text, name)) return true;
      for (const auto& [entity, character] : kEntities) {
        if (isNumeric || entity != name) continue;
        text += character;
        return true;
      }
    }
    _reading.fail(start, "an unknown entity");
    return false;
  }

  // "233" or "xE9".
  static bool numericReference(std::string& text, std::string_view name) {
    const bool isHexadecimal = name.substr(0, 1) == "x";
    const auto number = parsedDigits(isHexadecimal ? name.substr(1) : name, isHexadecimal ? 16 : 10);
    if (!number || *number > 0x10FFFF || !isXMLCharacter(static_cast<std::uint32_t>(*number))) return false;
    appendUTF8(text, static_cast<std::uint32_t>(*number));
    return true;
  }

  std::string_view _text;
  Cursor _here;
  Reading& _reading;
};

}  // namespace

std::optional<Value> readXML(std::string_view text, Reading& reading) {
  return XMLReader(text, reading).document();
}

}  // namespace zpk::plist
