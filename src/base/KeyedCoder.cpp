#include "base/KeyedCoder.h"

#include "base/Record.h"

namespace zpk {

void KeyedEncoder::encodeBytes(std::span<const std::uint8_t> block) {
  put(kUnkeyedBytesKey, Value(block));
}

void KeyedEncoder::put(std::string_view key, Value value) {
  _entries.emplace_back(std::string(key), std::move(value));
}

Dictionary KeyedEncoder::take() {
  return Dictionary(std::exchange(_entries, {}));
}

std::span<const std::uint8_t> KeyedDecoder::requiredBlock(std::string_view key, std::size_t length) const {
  const ByteBlock* block = _keys[key].bytes();
  if (block == nullptr) throw MalformedRecord("no bytes under \"" + std::string(key) + "\"");
  if (block->size() < length) {
    throw MalformedRecord("only " + std::to_string(block->size()) + " of " + std::to_string(length) +
                          " bytes under \"" + std::string(key) + "\"");
  }
  return {block->data(), length};
}

Dictionary keyedForm(const Record& record) {
  KeyedEncoder coder;
  record.encodeWithCoder(coder);
  return coder.take();
}

}  // namespace zpk
