#pragma once

#include <cstdint>

namespace zpk {

// Bytes [start, end) of a disk.
struct ByteRange {
  std::uint64_t start = 0;
  std::uint64_t end = 0;
  std::uint64_t size() const { return end - start; }

  bool operator==(const ByteRange&) const = default;
};

}  // namespace zpk
