#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "base/ByteBlock.h"

namespace zpk {

class Record;
class Value;

using Array = std::vector<Value>;

// A point in time: seconds since 1970-01-01 00:00:00 UTC, with their fraction.
struct Date {
  double secondsSince1970 = 0;
  friend bool operator==(const Date&, const Date&) = default;
};

// String keys to values, each key once. Kept sorted by key, so that two dictionaries with the same content are
// the same sequence.
class Dictionary {
 public:
  using Entry = std::pair<std::string, Value>;
  using const_iterator = std::vector<Entry>::const_iterator;

  Dictionary();
  Dictionary(std::initializer_list<Entry> entries);
  // Takes entries in any order; of a key that stands more than once the last one stays. Costs one sort, or none
  // when they are in order already, so it is the way to build a large dictionary from what a peer sent.
  explicit Dictionary(std::vector<Entry> entries);
  Dictionary(const Dictionary&);
  Dictionary(Dictionary&&) noexcept;
  Dictionary& operator=(const Dictionary&);
  Dictionary& operator=(Dictionary&&) noexcept;
  ~Dictionary();

  // The value under `key`, or the null value when there is none.
  const Value& operator[](std::string_view key) const;
  bool contains(std::string_view key) const;
  void set(std::string_view key, Value value);
  void remove(std::string_view key);
  // Gives the entries back, in the order of their keys.
  std::vector<Entry> release() &&;

  std::size_t size() const;
  bool empty() const;
  const_iterator begin() const;
  const_iterator end() const;

  friend bool operator==(const Dictionary& a, const Dictionary& b);

 private:
  std::vector<Entry> _entries;
};

// Anything that a status, a command's result, a record's field or an observable property can hold.
//
// A value type; text, bytes, arrays, dictionaries and records are shared and never changed, so that a copy costs a
// pointer at the most, even of a log of 100,000 lines.
//
// Reading accessors never fail: what is missing or of another kind reads as nothing, 0, false or empty, which is
// how an absent key of a status is meant to be read. Numbers (boolean, signed, unsigned, real) compare by numeric
// value across kinds: false equals 0. Arrays and dictionaries compare element by element, records by their coded
// content.
class Value {
 public:
  Value() = default;
  Value(std::nullptr_t) {}
  Value(bool value) : _content(value) {}
  Value(std::int32_t value) : _content(std::int64_t{value}) {}
  Value(std::uint32_t value) : _content(std::uint64_t{value}) {}
  Value(long value) : _content(std::int64_t{value}) {}
  Value(unsigned long value) : _content(std::uint64_t{value}) {}
  Value(long long value) : _content(static_cast<std::int64_t>(value)) {}
  Value(unsigned long long value) : _content(static_cast<std::uint64_t>(value)) {}
  Value(double value) : _content(value) {}
  Value(std::string value) : _content(std::move(value)) {}
  Value(std::string_view value) : _content(std::string(value)) {}
  Value(const char* value) : _content(std::string(value)) {}
  Value(Bytes value) : _content(ByteBlock(std::move(value))) {}
  explicit Value(std::span<const std::uint8_t> value) : _content(ByteBlock(value)) {}
  Value(Date value) : _content(value) {}
  Value(Array value);
  Value(Dictionary value);
  // A null pointer gives the null value.
  template <class R>
  requires std::is_convertible_v<std::shared_ptr<R>, std::shared_ptr<const Record>> Value(
      std::shared_ptr<R> record) {
    if (record) _content = std::shared_ptr<const Record>(std::move(record));
  }
  // Nothing gives the null value.
  template <class T>
  Value(const std::optional<T>& value) {
    if (value) *this = Value(*value);
  }

  bool isNull() const { return std::holds_alternative<std::monostate>(_content); }
  bool isNumber() const { return isBoolean() || isInteger() || isReal(); }
  bool isBoolean() const { return std::holds_alternative<bool>(_content); }
  bool isSigned() const { return std::holds_alternative<std::int64_t>(_content); }
  bool isUnsigned() const { return std::holds_alternative<std::uint64_t>(_content); }
  bool isInteger() const { return isSigned() || isUnsigned(); }
  bool isReal() const { return std::holds_alternative<double>(_content); }
  bool isText() const { return std::holds_alternative<std::string>(_content); }
  bool isBytes() const { return std::holds_alternative<ByteBlock>(_content); }
  bool isDate() const { return std::holds_alternative<Date>(_content); }
  bool isArray() const { return std::holds_alternative<std::shared_ptr<const Array>>(_content); }
  bool isDictionary() const { return std::holds_alternative<std::shared_ptr<const Dictionary>>(_content); }
  bool isRecord() const { return std::holds_alternative<std::shared_ptr<const Record>>(_content); }

  // A number as a truth value (non-zero); false for anything else.
  bool boolValue() const;
  // A number as an integer of 64 or 32 bits; 0 for anything else. A fraction is cut off; what does not fit keeps
  // its low bits (integers) or the nearest bound (reals, not-a-number gives 0).
  std::int64_t integerValue() const;
  std::uint64_t unsignedIntegerValue() const;
  std::int32_t intValue() const { return static_cast<std::int32_t>(integerValue()); }
  std::uint32_t unsignedIntValue() const { return static_cast<std::uint32_t>(unsignedIntegerValue()); }
  // A number as a real; 0 for anything else.
  double doubleValue() const;

  // The content of that kind, or null for anything else. The pointer lives as long as this value.
  const std::string* text() const { return std::get_if<std::string>(&_content); }
  const ByteBlock* bytes() const { return std::get_if<ByteBlock>(&_content); }
  const Date* date() const { return std::get_if<Date>(&_content); }
  const Array* array() const;
  const Dictionary* dictionary() const;
  std::shared_ptr<const Record> record() const;

  // The record when it is of class R (or a subclass), else null.
  template <class R>
  std::shared_ptr<const R> recordOf() const {
    return std::dynamic_pointer_cast<const R>(record());
  }

  // The shared array or dictionary itself, for holders that keep it; null for anything else.
  std::shared_ptr<const Array> sharedArray() const;
  std::shared_ptr<const Dictionary> sharedDictionary() const;

  std::string textOr(std::string_view fallback) const { return text() ? *text() : std::string(fallback); }
  // Text, or nothing for anything else.
  std::optional<std::string> optionalText() const { return text() ? std::optional(*text()) : std::nullopt; }

  friend bool operator==(const Value& a, const Value& b);

 private:
  std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double, std::string, ByteBlock, Date,
               std::shared_ptr<const Array>, std::shared_ptr<const Dictionary>, std::shared_ptr<const Record>>
      _content;
};

}  // namespace zpk
