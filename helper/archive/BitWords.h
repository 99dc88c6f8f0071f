#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <span>

namespace zpk {

// Bits in words of 64, the lowest of each first.
inline constexpr std::uint64_t bitsPerWord = 64;

inline void setBit(std::span<std::uint64_t> words, std::uint64_t bit) {
  words[bit / bitsPerWord] |= std::uint64_t{1} << bit % bitsPerWord;
}

inline void clearBit(std::span<std::uint64_t> words, std::uint64_t bit) {
  words[bit / bitsPerWord] &= ~(std::uint64_t{1} << bit % bitsPerWord);
}

// The first bit in [from, end) that is set or not set, or `end`.
inline std::uint64_t nextBit(std::span<const std::uint64_t> words, std::uint64_t from, std::uint64_t end,
                             bool isSet) {
  const std::uint64_t pattern = isSet ? 0 : ~std::uint64_t{0};
  while (from < end) {
    const std::uint64_t found = (words[from / bitsPerWord] ^ pattern) >> from % bitsPerWord;
    if (found != 0) return std::min(end, from + static_cast<std::uint64_t>(std::countr_zero(found)));
    from = (from / bitsPerWord + 1) * bitsPerWord;
  }
  return end;
}

}  // namespace zpk
