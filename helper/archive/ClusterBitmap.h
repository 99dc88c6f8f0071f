#pragma once

#include <cstdint>
#include <optional>

#include "helper/archive/Bytes.h"

namespace zpk {

// Which clusters of a file system are in use: bit n of byte n / 8, lowest bit first. 32 MiB for 1 TiB in 4 KiB
// clusters. A value that is not changed once it is filled.
class ClusterBitmap {
 public:
  // `bytes` holds at least `clusters` bits; what is beyond them is ignored.
  ClusterBitmap(ByteBuffer bytes, std::uint64_t clusters);

  std::uint64_t clusters() const { return _clusters; }
  std::uint64_t countUsed() const;
  bool isUsed(std::uint64_t cluster) const;

  // The first used or free cluster in [from, end), or `end`.
  std::uint64_t nextUsed(std::uint64_t from, std::uint64_t end) const { return next(from, end, 0); }
  std::uint64_t nextFree(std::uint64_t from, std::uint64_t end) const { return next(from, end, ~std::uint64_t{0}); }

 private:
  std::uint64_t word(std::uint64_t index) const;
  // The first bit that differs from the bits of `pattern`.
  std::uint64_t next(std::uint64_t from, std::uint64_t end, std::uint64_t pattern) const;

  std::uint64_t _clusters;
  ByteBuffer _bytes;  // A multiple of 8 long, zero beyond the last cluster.
};

}  // namespace zpk
