// The binary form. Numbers are big-endian.
//
//   "bplist00"
//   objects, each a marker byte and its content; of the marker the high half is the kind, the low half a size n:
//     0 8/9       false / true                1 n   integer of 2^n bytes (up to 4 unsigned, 8 signed, 16 signed)
//     2 n         real of 2^n bytes           3 3   date: seconds since 2001-01-01 00:00:00 UTC as a real of 8
//     bytes 4 n …       n bytes of data             5 n …  ASCII text          6 n …  UTF-16 text of n units A n
//     refs    array                       D n key refs, value refs   dictionary where n = 15 says that an integer
//     object with the size stands next
//   offset table: where each object begins
//   trailer of 32 bytes: 6 unused, width of an offset, width of a reference, then 8 bytes each: number of objects,
//     number of the outermost one, where the offset table begins
//
// The integer 5 alone is 62 70 6C 69 73 74 30 30 | 10 05 | 08 | 00 00 00 00 00 00 01 01 00…01 00…00 00…0A.

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <vector>

#include "base/PropertyListReading.h"

namespace zpk::plist {

namespace {

constexpr std::size_t kHeaderSize = 8;
constexpr std::size_t kTrailerSize = 32;
constexpr double kSecondsFrom1970To2001 = 978307200;

class BinaryReader {
 public:
  BinaryReader(std::span<const std::uint8_t> data, Reading& reading) : _data(data), _reading(reading) {}

  std::optional<Value> document() {
    if (_data.size() < kHeaderSize + kTrailerSize) return _reading.fail(0, "cut short");
    if (_data[6] != '0' || _data[7] != '0') return _reading.fail(6, "a binary form of an unknown version");
    if (!readTrailer()) return std::nullopt;
    return object(_topObject, _data.size() - 16);
  }

 private:
  // Where an object's content stands: `size` is the low half of its marker, or the integer after it.
  struct Content {
    std::size_t start;
    std::uint8_t kind;
    std::uint64_t size;
  };

  // The caller has checked that the bytes are there.
  std::uint64_t number(std::size_t at, std::size_t width) const {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < width; ++i) value = value << 8 | _data[at + i];
    return value;
  }

  bool readTrailer() {
    const std::size_t trailer = _data.size() - kTrailerSize;
    _offsetWidth = _data[trailer + 6];
    _refWidth = _data[trailer + 7];
    const std::uint64_t objects = number(trailer + 8, 8);
    const std::uint64_t table = number(trailer + 24, 8);
    _topObject = number(trailer + 16, 8);
    const auto fits = [](std::size_t width) { return width >= 1 && width <= 8; };
    if (!fits(_offsetWidth) || !fits(_refWidth)) {
      _reading.fail(trailer + 6, "offsets or references of an impossible width");
    } else if (table < kHeaderSize || table > trailer || objects > (trailer - table) / _offsetWidth) {
      _reading.fail(trailer + 8, "an offset table that is not in the data");
    } else {
      _objects = objects;
      _table = static_cast<std::size_t>(table);
      return true;
    }
    return false;
  }

  // The object of that number. `from` is where it is referred to.
  std::optional<Value> object(std::uint64_t ref, std::size_t from) {
    if (!_reading.payNodes(from, 1)) return std::nullopt;
    const auto content = contentOf(ref, from);
    if (!content) return std::nullopt;
    switch (content->kind) {
      case 0xA:
      case 0xD:
        return container(ref, *content);
      default:
        return leaf(*content);
    }
  }

  std::optional<Content> contentOf(std::uint64_t ref, std::size_t from) {
    if (ref >= _objects) return _reading.fail(from, "a reference to no object");
    const std::uint64_t start = number(_table + static_cast<std::size_t>(ref) * _offsetWidth, _offsetWidth);
    if (start < kHeaderSize || start >= _table) return _reading.fail(from, "an object outside the data");
    const std::uint8_t marker = _data[static_cast<std::size_t>(start)];
    Content content{static_cast<std::size_t>(start) + 1, static_cast<std::uint8_t>(marker >> 4), marker & 0xFU};
    const bool counted = content.kind >= 4 && content.kind != 8;
    if (!counted || content.size != 0xF) return content;
    if (!need(content.start, 1)) return std::nullopt;
    const std::uint8_t size = _data[content.start];
    if (size >> 4 != 1 || (size & 0xF) > 3) return _reading.fail(content.start, "a size that is no integer");
    const std::size_t width = std::size_t{1} << (size & 0xF);
    if (!need(content.start + 1, width)) return std::nullopt;
    content.size = number(content.start + 1, width);
    content.start += 1 + width;
    return content;
  }

  // Objects end where the offset table begins.
  bool need(std::size_t at, std::uint64_t bytes) {
    if (at <= _table && bytes <= _table - at) return true;
    _reading.fail(at, "an object that reaches beyond the data");
    return false;
  }
  bool need(std::size_t at, std::uint64_t count, std::size_t width) {
    if (count <= _data.size() && need(at, count * width)) return true;
    _reading.fail(at, "an object that reaches beyond the data");
    return false;
  }

  std::optional<Value> leaf(const Content& content) {
    const std::size_t marker = content.start - 1;
    switch (content.kind) {
      case 0x0:
        if (content.size == 8 || content.size == 9) return Value(content.size == 9);
        return _reading.fail(marker, content.size == 0 ? "null" : "an object of an unknown kind");
      case 0x1:
        return integer(content);
      case 0x2:
        return real(content);
      case 0x3:
        return date(content);
      case 0x4:
        return bytes(content);
      case 0x5:
      case 0x6: {
        auto read = text(content);
        return read ? std::optional<Value>(*std::move(read)) : std::nullopt;
      }
      case 0x8:
        return _reading.fail(marker, "a keyed-archive reference");
      case 0xB:
      case 0xC:
        return _reading.fail(marker, "a set");
      default:
        return _reading.fail(marker, "an object of an unknown kind");
    }
  }

  std::optional<Value> integer(const Content& content) {
    if (content.size > 4) return _reading.fail(content.start - 1, "an integer of more than 16 bytes");
    const std::size_t width = std::size_t{1} << content.size;
    if (!need(content.start, width)) return std::nullopt;
    const std::size_t low = width > 8 ? content.start + 8 : content.start;
    const std::uint64_t high = width > 8 ? number(content.start, 8) : 0;
    const std::uint64_t value = number(low, std::min<std::size_t>(width, 8));
    const bool topBit = value >> 63 != 0;
    const bool negative = topBit && (width == 8 || high == std::numeric_limits<std::uint64_t>::max());
    if (negative || (high == 0 && !topBit)) return Value(static_cast<std::int64_t>(value));
    if (high == 0) return Value(value);
    return _reading.fail(content.start - 1, "an integer of more than 64 bits");
  }

  std::optional<Value> real(const Content& content) {
    if (content.size != 2 && content.size != 3)
      return _reading.fail(content.start - 1, "a real of an unknown width");
    if (!need(content.start, std::size_t{1} << content.size)) return std::nullopt;
    if (content.size == 3) return Value(std::bit_cast<double>(number(content.start, 8)));
    return Value(double{std::bit_cast<float>(static_cast<std::uint32_t>(number(content.start, 4)))});
  }

  std::optional<Value> date(const Content& content) {
    if (content.size != 3) return _reading.fail(content.start - 1, "a date of an unknown width");
    if (!need(content.start, 8)) return std::nullopt;
    const double seconds = std::bit_cast<double>(number(content.start, 8));
    if (!std::isfinite(seconds)) return _reading.fail(content.start, "a date that is no point in time");
    return Value(Date{seconds + kSecondsFrom1970To2001});
  }

  std::optional<Value> bytes(const Content& content) {
    if (!need(content.start, content.size)) return std::nullopt;
    if (!_reading.payData(content.start, static_cast<std::size_t>(content.size))) return std::nullopt;
    return Value(_data.subspan(content.start, static_cast<std::size_t>(content.size)));
  }

  std::optional<std::string> text(const Content& content) {
    const bool wide = content.kind == 0x6;
    if (!need(content.start, content.size, wide ? 2 : 1)) return std::nullopt;
    const auto size = static_cast<std::size_t>(content.size);
    return wide ? wideText(content.start, size) : plainText(content.start, size);
  }

  std::optional<std::string> plainText(std::size_t start, std::size_t size) {
    if (!_reading.payText(start, size)) return std::nullopt;
    const auto characters = _data.subspan(start, size);
    const auto isASCII = [](std::uint8_t c) { return c < 0x80; };
    if (!std::all_of(characters.begin(), characters.end(), isASCII)) {
      return _reading.fail(start, "ASCII text with other characters in it");
    }
    return std::string(characters.begin(), characters.end());
  }

  std::optional<std::string> wideText(std::size_t start, std::size_t units) {
    std::string text;
    for (std::size_t i = 0; i < units; ++i) {
      const std::size_t at = start + 2 * i;
      auto codePoint = static_cast<std::uint32_t>(number(at, 2));
      const bool high = codePoint >= 0xD800 && codePoint < 0xDC00;
      if (high && i + 1 < units) {
        const auto low = static_cast<std::uint32_t>(number(at + 2, 2));
        if (low >= 0xDC00 && low < 0xE000) {
          codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (low - 0xDC00);
          ++i;
        }
      }
      if (!isCharacter(codePoint)) return _reading.fail(at, "not valid UTF-16");
      appendUTF8(text, codePoint);
    }
    if (!_reading.payText(start, text.size())) return std::nullopt;
    return text;
  }

  std::optional<Value> container(std::uint64_t ref, const Content& content) {
    if (std::find(_open.begin(), _open.end(), ref) != _open.end()) {
      return _reading.fail(content.start, "an object inside itself");
    }
    const bool isDictionary = content.kind == 0xD;
    if (!need(content.start, content.size, isDictionary ? 2 * _refWidth : _refWidth)) return std::nullopt;
    if (!_reading.enter(content.start)) return std::nullopt;
    _open.push_back(ref);
    auto read = isDictionary ? dictionary(content) : array(content);
    _open.pop_back();
    _reading.leave();
    return read;
  }

  std::uint64_t refAt(std::size_t start, std::uint64_t index) const {
    return number(start + static_cast<std::size_t>(index) * _refWidth, _refWidth);
  }

  std::optional<Value> array(const Content& content) {
    Array elements;
    for (std::uint64_t i = 0; i < content.size; ++i) {
      auto element = object(refAt(content.start, i), content.start);
      if (!element) return std::nullopt;
      elements.push_back(*std::move(element));
    }
    return Value(std::move(elements));
  }

  std::optional<Value> dictionary(const Content& content) {
    std::vector<Dictionary::Entry> entries;
    for (std::uint64_t i = 0; i < content.size; ++i) {
      auto entryKey = key(refAt(content.start, i), content.start);
      if (!entryKey) return std::nullopt;
      auto value = object(refAt(content.start, content.size + i), content.start);
      if (!value) return std::nullopt;
      entries.emplace_back(*std::move(entryKey), *std::move(value));
    }
    return Value(Dictionary(std::move(entries)));
  }

  std::optional<std::string> key(std::uint64_t ref, std::size_t from) {
    if (!_reading.payNodes(from, 1)) return std::nullopt;
    const auto content = contentOf(ref, from);
    if (!content) return std::nullopt;
    if (content->kind != 0x5 && content->kind != 0x6) return _reading.fail(content->start, "a key that is no text");
    return text(*content);
  }

  std::span<const std::uint8_t> _data;
  Reading& _reading;
  std::size_t _offsetWidth = 0;
  std::size_t _refWidth = 0;
  std::size_t _table = 0;
  std::uint64_t _objects = 0;
  std::uint64_t _topObject = 0;
  // The containers around the object that is being read.
  std::vector<std::uint64_t> _open;
};

}  // namespace

std::optional<Value> readBinary(std::span<const std::uint8_t> data, Reading& reading) {
  return BinaryReader(data, reading).document();
}

}  // namespace zpk::plist
