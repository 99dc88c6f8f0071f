#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "helper/archive/ArchiveError.h"
#include "helper/archive/ByteRange.h"

namespace zpk {

// How much of a partition a backup point holds.
enum class PartitionContent {
  NotStored,     // Its entry in the partition table alone.
  Whole,         // Every byte.
  UsedClusters,  // What its NTFS file system uses.
};

// The 16 bytes of a GUID as they are on the disk.
using GuidBytes = std::array<std::uint8_t, 16>;

// One entry of a stored disk's partition table. Positions and sizes are bytes; `end` is the last byte.
struct StoredPartition {
  std::uint32_t number = 0;
  std::uint64_t start = 0;
  std::uint64_t end = 0;
  std::uint64_t size = 0;
  std::uint64_t minSize = 0;
  std::uint64_t maxSize = 0;
  std::uint64_t usedSize = 0;
  std::uint64_t type = 0;
  GuidBytes typeGuid{};
  std::int64_t fileSystemType = 0;  // Index into the table of file-system names.
  std::string name;
  std::string bsdName;
  std::string serialNumber;
  bool isResizable = false;
  bool isSystem = false;
  PartitionContent content = PartitionContent::NotStored;

  bool operator==(const StoredPartition&) const = default;
};

// A disk as it was when the point was made, and the files of the point that hold it.
struct StoredDisk {
  std::uint32_t number = 0;
  std::uint32_t sectorSize = 512;
  std::uint64_t size = 0;
  std::uint64_t minSize = 0;
  std::uint64_t storedBytes = 0;  // What the point holds of it before compression.
  std::int64_t partitioningSchemes = 0;
  GuidBytes gptId{};
  std::string name;
  std::string bsdName;
  std::string image;  // Name of a file in the point's folder.
  std::string map;
  std::vector<StoredPartition> partitions;  // In table order, unused entries included.
  // What the disk did not give when the point was made: whole sectors, ascending, apart from each other. They read
  // as zeros.
  std::vector<ByteRange> unreadable{};

  bool operator==(const StoredDisk&) const = default;
};

enum class PointKind { Full, Increment };

// When a point was read back and compared with its hashes the last time, and what came of it.
struct LastCheck {
  std::int64_t time = 0;   // Seconds since 1970, UTC.
  bool isDamaged = false;  // Nothing is built on it any more.

  bool operator==(const LastCheck&) const = default;
};

// What index.json of a backup point says.
struct PointIndex {
  std::string id;      // 32 hexadecimal digits.
  std::string parent;  // Id of the point whose images this one's build on; empty for a full one.
  PointKind kind = PointKind::Full;
  std::int64_t creationTime = 0;  // Seconds since 1970, UTC.
  std::string label;
  bool isPinned = false;
  std::vector<StoredDisk> disks;
  std::optional<LastCheck> check{};

  bool operator==(const PointIndex&) const = default;
};

// How many sectors of its disks the point does not hold because they could not be read.
std::uint64_t unreadableSectors(const PointIndex& index);

// The same for what `before`, an earlier point of the same disks, does hold: there it may be the last good copy.
std::uint64_t unreadableSectorsSince(const PointIndex& before, const PointIndex& index);

std::string textOf(const PointIndex& index);

// `path` is for the error, which names the first field that is wrong.
ArchiveResult<PointIndex> parsePointIndex(const std::string& text, const std::string& path);

// Version of the format that this code writes, and the newest it reads.
inline constexpr std::uint64_t archiveFormatVersion = 1;

}  // namespace zpk
