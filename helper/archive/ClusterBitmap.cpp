#include "helper/archive/ClusterBitmap.h"

#include <algorithm>
#include <bit>
#include <cassert>

namespace zpk {

ClusterBitmap::ClusterBitmap(ByteBuffer bytes, std::uint64_t clusters)
    : _clusters(clusters), _bytes(std::move(bytes)) {
  assert(_bytes.size() >= divideUp(clusters, 8));
  _bytes.resize(divideUp(clusters, 8));
  if (clusters % 8 != 0) _bytes.back() &= static_cast<std::byte>((1U << (clusters % 8)) - 1U);
  _bytes.resize(roundUp(_bytes.size(), 8));
}

std::uint64_t ClusterBitmap::word(std::uint64_t index) const {
  return littleEndianAt<std::uint64_t>(_bytes, index * 8);
}

std::uint64_t ClusterBitmap::countUsed() const {
  std::uint64_t used = 0;
  for (std::uint64_t i = 0; i < _bytes.size() / 8; ++i) used += static_cast<std::uint64_t>(std::popcount(word(i)));
  return used;
}

bool ClusterBitmap::isUsed(std::uint64_t cluster) const {
  return cluster < _clusters && (std::to_integer<unsigned>(_bytes[cluster / 8]) >> (cluster % 8) & 1U) != 0;
}

std::uint64_t ClusterBitmap::next(std::uint64_t from, std::uint64_t end, std::uint64_t pattern) const {
  end = std::min(end, _clusters);
  while (from < end) {
    const std::uint64_t differing = (word(from / 64) ^ pattern) >> (from % 64);
    if (differing != 0) return std::min(end, from + static_cast<std::uint64_t>(std::countr_zero(differing)));
    from = roundDown(from, 64) + 64;
  }
  return end;
}

}  // namespace zpk
