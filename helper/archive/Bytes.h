#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

namespace zpk {

using ByteSpan = std::span<const std::byte>;
using ByteBuffer = std::vector<std::byte>;

// Integers at a place in a buffer, in the byte order of the format they belong to. The caller has checked the
// bounds.
template <std::unsigned_integral T>
T littleEndianAt(ByteSpan bytes, std::size_t offset) {
  T value = 0;
  for (std::size_t i = sizeof(T); i-- > 0;) {
    value =
        static_cast<T>(static_cast<std::uint64_t>(value) << 8U | std::to_integer<std::uint64_t>(bytes[offset + i]));
  }
  return value;
}

template <std::unsigned_integral T>
T bigEndianAt(ByteSpan bytes, std::size_t offset) {
  T value = 0;
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    value =
        static_cast<T>(static_cast<std::uint64_t>(value) << 8U | std::to_integer<std::uint64_t>(bytes[offset + i]));
  }
  return value;
}

template <std::unsigned_integral T>
void putLittleEndian(std::span<std::byte> bytes, std::size_t offset, T value) {
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    bytes[offset + i] = static_cast<std::byte>(static_cast<std::uint64_t>(value) >> (8 * i) & 0xFFU);
  }
}

template <std::unsigned_integral T>
void putBigEndian(std::span<std::byte> bytes, std::size_t offset, T value) {
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    bytes[offset + sizeof(T) - 1 - i] =
        static_cast<std::byte>(static_cast<std::uint64_t>(value) >> (8 * i) & 0xFFU);
  }
}

// The numbers one behind the other, eight bytes each, and zeros up to `bytes`.
inline ByteBuffer bigEndianTable(const std::vector<std::uint64_t>& values, std::uint64_t bytes) {
  ByteBuffer table(bytes);
  for (std::size_t i = 0; i < values.size(); ++i) putBigEndian(table, i * 8, values[i]);
  return table;
}

inline bool isAllZero(ByteSpan bytes) {
  return bytes.empty() ||
         (bytes.front() == std::byte{0} && std::memcmp(bytes.data(), bytes.data() + 1, bytes.size() - 1) == 0);
}

constexpr std::uint64_t roundDown(std::uint64_t value, std::uint64_t step) {
  return value / step * step;
}
constexpr std::uint64_t roundUp(std::uint64_t value, std::uint64_t step) {
  return (value + step - 1) / step * step;
}
constexpr std::uint64_t divideUp(std::uint64_t value, std::uint64_t step) {
  return (value + step - 1) / step;
}

}  // namespace zpk
