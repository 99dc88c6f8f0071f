#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "helper/archive/ArchiveError.h"
#include "helper/archive/ByteRange.h"
#include "helper/archive/ClusterBitmap.h"

namespace zpk {

// Which bytes of a disk a backup point stores: the partition table's two places, partitions as a whole, and the
// used clusters of file systems. Everything else reads as zeros.
//
// Filled by one thread, then shared for reading.
class DiskLayout {
 public:
  explicit DiskLayout(std::uint64_t diskSize) : _diskSize(diskSize) {}

  // Each refuses what lies outside the disk or overlaps what is there already (SourceUnfit).
  ArchiveResult<Done> addWhole(ByteRange range);
  ArchiveResult<Done> addClusters(std::uint64_t start, std::uint64_t clusterSize, ClusterBitmap bitmap);

  std::uint64_t diskSize() const { return _diskSize; }
  std::uint64_t usedBytes() const { return _usedBytes; }

  // The first stored bytes in [from, limit), as far as they go on without a gap within one area; nothing when there
  // are none.
  std::optional<ByteRange> next(std::uint64_t from, std::uint64_t limit) const;

 private:
  struct Area {
    ByteRange range;
    std::uint64_t clusterSize = 0;
    std::shared_ptr<const ClusterBitmap> bitmap;  // None: all of it.
  };

  ArchiveResult<Done> add(Area area, std::uint64_t usedBytes);
  static std::optional<ByteRange> nextIn(const Area& area, ByteRange wanted);

  std::uint64_t _diskSize;
  std::uint64_t _usedBytes = 0;
  std::vector<Area> _areas;  // In order of their start.
};

}  // namespace zpk
