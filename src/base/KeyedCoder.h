#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "base/Value.h"

namespace zpk {

// Thrown while decoding a record that lacks what its class requires, or that no registered class can take. Caught
// where bytes become values (the link's wire form, KeyedArchive); nothing else lets it through.
class MalformedRecord : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Where the one block that a record may write without a key stands among its keys. No record uses it as a key.
inline constexpr std::string_view kUnkeyedBytesKey = "$bytes";

// Collects a record's keyed form: key to boolean, integer, raw bytes or object. Both containers (KeyedArchive and
// the link's wire form) are made from the dictionary that comes out of it.
class KeyedEncoder {
 public:
  void encodeBool(bool value, std::string_view key) { put(key, Value(value)); }
  void encodeInteger(std::int64_t value, std::string_view key) { put(key, Value(value)); }
  // A fixed-width number as its bytes in little-endian order.
  template <class T>
  requires std::is_unsigned_v<T>
  void encodeRawBytes(T value, std::string_view key) {
    std::array<std::uint8_t, sizeof(T)> block{};
    for (std::size_t i = 0; i < sizeof(T); ++i) block[i] = static_cast<std::uint8_t>(value >> (8 * i));
    put(key, Value(std::span<const std::uint8_t>(block)));
  }
  // Text, date, array, dictionary or record. The null value is written too: the key is there, and reads back as
  // nil. (A container that has no null leaves the key out, which reads back the same.)
  void encodeObject(Value value, std::string_view key) { put(key, std::move(value)); }
  // The record's block without a key; at most one.
  void encodeBytes(std::span<const std::uint8_t> block);

  // The keyed form collected so far; the encoder is empty afterwards.
  Dictionary take();

 private:
  void put(std::string_view key, Value value);

  std::vector<Dictionary::Entry> _entries;
};

// Reads a record's keyed form. Absent booleans read as false, absent integers as 0, absent objects as the null
// value; a required raw-bytes key that is missing or short is a MalformedRecord.
class KeyedDecoder {
 public:
  explicit KeyedDecoder(const Dictionary& keys) : _keys(keys) {}

  bool decodeBool(std::string_view key) const { return _keys[key].boolValue(); }
  std::int64_t decodeInteger(std::string_view key) const { return _keys[key].integerValue(); }
  // The first sizeof(T) bytes of the block under `key` as a little-endian number.
  template <class T>
  requires std::is_unsigned_v<T> T decodeRawBytes(std::string_view key)
  const {
    const std::span<const std::uint8_t> block = requiredBlock(key, sizeof(T));
    T value = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i)
      value = static_cast<T>(value | (static_cast<T>(block[i]) << (8 * i)));
    return value;
  }
  const Value& decodeObject(std::string_view key) const { return _keys[key]; }
  // The block written without a key; at least `length` bytes, else MalformedRecord.
  std::span<const std::uint8_t> decodeBytes(std::size_t length) const {
    return requiredBlock(kUnkeyedBytesKey, length);
  }

 private:
  std::span<const std::uint8_t> requiredBlock(std::string_view key, std::size_t length) const;

  const Dictionary& _keys;
};

// The keyed form of a record.
Dictionary keyedForm(const Record& record);

}  // namespace zpk
