#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "helper/archive/DiskLayout.h"
#include "helper/archive/PointIndex.h"

namespace zpk {

// What of a disk a restore takes.
enum class TargetUse {
  WindowsPartition,  // The existing partition of a disk with a Windows side; no other byte of the disk.
  FreeSpace,         // The largest free stretch, where the Windows side gets new partitions.
  WholeDisk,         // All of it: a disk with nothing on it but auxiliary partitions.
};

// One used entry of the target's partition table. Places are bytes.
struct TargetPartition {
  std::uint32_t number = 0;
  std::uint64_t start = 0;
  std::uint64_t size = 0;
  GuidBytes type{};

  bool operator==(const TargetPartition&) const = default;
};

// The disk that is restored onto, as it was when somebody chose it.
struct TargetLayout {
  std::uint64_t size = 0;
  std::uint32_t sectorSize = 512;
  std::optional<GuidBytes> id{};  // Of its GPT; none when it has no table, or another kind.
  std::vector<TargetPartition> partitions{};
  std::string identity{};  // What its path led to (DeviceIdentity.h); empty when that is not known.

  bool operator==(const TargetLayout&) const = default;
};

// A stored partition and the place that it gets.
struct PartitionMove {
  std::size_t stored = 0;  // Its place among the stored disk's partitions.
  ByteRange source;        // On the stored disk.
  ByteRange place;         // On the target.
};

// An entry that the target's table gets once everything else is written.
struct PlannedEntry {
  ByteRange place;
  GuidBytes type{};
  // The stored partition whose identifier, name and attributes it takes; none: the new EFI partition's.
  std::optional<std::size_t> stored{};
};

struct RestorePlan {
  TargetUse use = TargetUse::WindowsPartition;
  std::vector<PartitionMove> moves;   // In the order of the stored disk.
  std::size_t windows = 0;            // Which of the moves is the Windows volume's, whose size may differ.
  std::vector<PlannedEntry> entries;  // None when the table stays as it is.
  std::vector<std::string> remarks;   // What is not restored, and why; for the log.
};

// Where a backup point's disk goes on a target, or why it cannot go there (Refused, with a sentence for people).
//
//   WindowsPartition  the Windows volume alone; it gets the size of the partition, `wantedSize` does not count
//   FreeSpace         all stored partitions; the Windows volume gets `wantedSize`, or what the others leave of the
//                     stretch when that is less. A partition of a kind that the disk has already is not restored
//                     again: the disk's layout would not be recognised any more
//   WholeDisk         a new table with an EFI partition, when the stored disk had one, and all stored partitions;
//                     the Windows volume gets what the others leave, `wantedSize` does not count
//
// Where Windows has room, but not all of the others beside it, some of those are left out, the largest first. So
// any size from leastRoomFor() the Windows volume to the whole stretch can be had.
//
// New partitions begin and end on whole mebibytes. Whether the volume can really be made as small as it must be is
// known only to who looks into it; what is checked here is what the point's index tells.
ArchiveResult<RestorePlan> planRestore(const StoredDisk& stored, const TargetLayout& target, TargetUse use,
                                       std::uint64_t wantedSize);

// The least room that a stored partition can be given, wherever it goes: only a volume whose file system the tools
// know, and which was put down in order, can be made smaller than it was.
std::uint64_t leastRoomFor(const StoredPartition& partition);

// "1,234 MB", rounded up: of a need never less than it is.
std::string megabytesText(std::uint64_t bytes);

}  // namespace zpk
