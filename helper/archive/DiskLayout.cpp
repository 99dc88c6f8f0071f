#include "helper/archive/DiskLayout.h"

#include <algorithm>

namespace zpk {

ArchiveResult<Done> DiskLayout::addWhole(ByteRange range) {
  return add({range, 0, nullptr}, range.end - range.start);
}

ArchiveResult<Done> DiskLayout::addClusters(std::uint64_t start, std::uint64_t clusterSize, ClusterBitmap bitmap) {
  const ByteRange range{start, start + clusterSize * bitmap.clusters()};
  const std::uint64_t used = bitmap.countUsed() * clusterSize;
  return add({range, clusterSize, std::make_shared<const ClusterBitmap>(std::move(bitmap))}, used);
}

ArchiveResult<Done> DiskLayout::add(Area area, std::uint64_t usedBytes) {
  const ByteRange range = area.range;
  if (range.start > range.end || range.end > _diskSize) {
    return ArchiveError{ArchiveFault::SourceUnfit, "A partition reaches beyond the end of its disk", {}, 0, 0};
  }
  if (range.size() == 0) return Done{};
  const auto place =
      std::find_if(_areas.begin(), _areas.end(), [&](const Area& other) { return other.range.end > range.start; });
  if (place != _areas.end() && place->range.start < range.end) {
    return ArchiveError{ArchiveFault::SourceUnfit, "Two partitions of the disk overlap", {}, 0, 0};
  }
  _areas.insert(place, std::move(area));
  _usedBytes += usedBytes;
  return Done{};
}

std::optional<ByteRange> DiskLayout::next(std::uint64_t from, std::uint64_t limit) const {
  if (from >= limit) return std::nullopt;
  for (const Area& area : _areas) {
    if (area.range.end <= from) continue;
    if (area.range.start >= limit) break;
    const ByteRange wanted{std::max(from, area.range.start), std::min(limit, area.range.end)};
    if (const std::optional<ByteRange> found = nextIn(area, wanted)) return found;
  }
  return std::nullopt;
}

std::optional<ByteRange> DiskLayout::nextIn(const Area& area, ByteRange wanted) {
  if (!area.bitmap) return wanted;
  const std::uint64_t first = (wanted.start - area.range.start) / area.clusterSize;
  const std::uint64_t end = divideUp(wanted.end - area.range.start, area.clusterSize);
  const std::uint64_t used = area.bitmap->nextUsed(first, end);
  if (used == end) return std::nullopt;
  const std::uint64_t free = area.bitmap->nextFree(used, end);
  return ByteRange{std::max(wanted.start, area.range.start + used * area.clusterSize),
                   std::min(wanted.end, area.range.start + free * area.clusterSize)};
}

}  // namespace zpk
