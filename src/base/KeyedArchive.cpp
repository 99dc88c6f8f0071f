#include "base/KeyedArchive.h"

#include <bit>
#include <cstring>
#include <stdexcept>

#include "base/KeyedCoder.h"

namespace zpk {

namespace {

constexpr std::string_view kMagic = "ZKA1";
constexpr int kMaxDepth = 64;

class Writer {
 public:
  explicit Writer(Bytes& out) : _out(out) {}

  void value(const Value& value) {
    if (value.isNull()) {
      tag('n');
    } else if (value.isBoolean()) {
      tag(value.boolValue() ? 't' : 'f');
    } else if (value.isSigned()) {
      tag('i');
      number(value.unsignedIntegerValue());
    } else if (value.isUnsigned()) {
      tag('u');
      number(value.unsignedIntegerValue());
    } else if (value.isReal()) {
      tag('d');
      number(std::bit_cast<std::uint64_t>(value.doubleValue()));
    } else if (const Date* date = value.date()) {
      tag('D');
      number(std::bit_cast<std::uint64_t>(date->secondsSince1970));
    } else if (const std::string* text = value.text()) {
      tag('s');
      block(*text);
    } else if (const ByteBlock* bytes = value.bytes()) {
      tag('b');
      count(bytes->size());
      _out.insert(_out.end(), bytes->begin(), bytes->end());
    } else if (const Array* array = value.array()) {
      tag('a');
      count(array->size());
      for (const Value& element : *array) this->value(element);
    } else if (const Dictionary* dictionary = value.dictionary()) {
      tag('m');
      keys(*dictionary);
    } else {
      const auto record = value.record();
      tag('r');
      block(record->className());
      keys(keyedForm(*record));
    }
  }

 private:
  void tag(char c) { _out.push_back(static_cast<std::uint8_t>(c)); }
  void count(std::size_t n) { littleEndian(n, 4); }
  void number(std::uint64_t n) { littleEndian(n, 8); }
  void littleEndian(std::uint64_t n, int width) {
    for (int i = 0; i < width; ++i) _out.push_back(static_cast<std::uint8_t>(n >> (8 * i)));
  }
  void block(std::string_view bytes) {
    count(bytes.size());
    _out.insert(_out.end(), bytes.begin(), bytes.end());
  }
  void keys(const Dictionary& dictionary) {
    count(dictionary.size());
    for (const auto& [key, value] : dictionary) {
      block(key);
      this->value(value);
    }
  }

  Bytes& _out;
};

// Throws MalformedRecord, which unarchivedValue turns into an error.
class Reader {
 public:
  Reader(std::span<const std::uint8_t> data, const RecordRegistry& classes) : _rest(data), _classes(classes) {}

  bool atEnd() const { return _rest.empty(); }

  Value value(int depth) {
    switch (take(1)[0]) {
      case 'n':
        return {};
      case 't':
        return true;
      case 'f':
        return false;
      case 'i':
        return static_cast<std::int64_t>(number(8));
      case 'u':
        return number(8);
      case 'd':
        return std::bit_cast<double>(number(8));
      case 'D':
        return Date{std::bit_cast<double>(number(8))};
      case 's':
        return text();
      case 'b': {
        const auto bytes = take(count());
        return Bytes(bytes.begin(), bytes.end());
      }
      case 'a':
        return array(inside(depth));
      case 'm':
        return dictionary(inside(depth));
      case 'r': {
        const std::string className = text();
        const Dictionary keys = dictionary(inside(depth));
        return _classes.make(className, KeyedDecoder(keys));
      }
      default:
        throw MalformedRecord("unknown tag");
    }
  }

  void expect(std::string_view magic) {
    const auto bytes = take(magic.size());
    if (std::memcmp(bytes.data(), magic.data(), magic.size()) != 0) throw MalformedRecord("not a keyed archive");
  }

 private:
  // The depth of what is in a container at `depth`. Only containers count: a record that was read with absent keys
  // writes them as null one level further in, and must be readable again.
  static int inside(int depth) {
    if (depth >= kMaxDepth) throw MalformedRecord("nested too deeply");
    return depth + 1;
  }
  std::span<const std::uint8_t> take(std::size_t n) {
    if (n > _rest.size()) throw MalformedRecord("cut short");
    const auto taken = _rest.first(n);
    _rest = _rest.subspan(n);
    return taken;
  }
  std::uint64_t number(std::size_t width) {
    std::uint64_t n = 0;
    const auto bytes = take(width);
    for (std::size_t i = 0; i < width; ++i) n |= std::uint64_t{bytes[i]} << (8 * i);
    return n;
  }
  std::size_t count() { return static_cast<std::size_t>(number(4)); }
  std::string text() {
    const auto bytes = take(count());
    return std::string(bytes.begin(), bytes.end());
  }
  // Elements are collected one by one, never reserved by the count told: each costs at least one byte of input.
  Array array(int depth) {
    Array elements;
    for (std::size_t left = count(); left > 0; --left) elements.push_back(value(depth));
    return elements;
  }
  Dictionary dictionary(int depth) {
    std::vector<Dictionary::Entry> entries;
    for (std::size_t left = count(); left > 0; --left) {
      std::string key = text();
      entries.emplace_back(std::move(key), value(depth));
    }
    return Dictionary(std::move(entries));
  }

  std::span<const std::uint8_t> _rest;
  const RecordRegistry& _classes;
};

}  // namespace

Bytes archivedData(const Value& value) {
  Bytes data(kMagic.begin(), kMagic.end());
  Writer(data).value(value);
  return data;
}

Expected<Value, KeyedArchiveError> unarchivedValue(std::span<const std::uint8_t> data,
                                                   const RecordRegistry& classes) {
  try {
    Reader reader(data, classes);
    reader.expect(kMagic);
    Value value = reader.value(0);
    if (!reader.atEnd()) throw MalformedRecord("bytes after the end");
    return value;
  } catch (const MalformedRecord& malformed) {
    return KeyedArchiveError{malformed.what()};
  }
}

Dictionary roundTrip(const Record& record, const RecordRegistry& classes) {
  const auto copy = unarchivedValue(archivedData(keyedForm(record)), classes);
  if (!copy) throw std::logic_error("a record cannot be read back: " + copy.error().reason);
  return *copy->dictionary();
}

}  // namespace zpk
