#pragma once

#include <cstdint>
#include <optional>

#include "base/Value.h"
#include "records/RLDDisk.h"

namespace zpk {

// Stands for the index of a partition that was not found.
inline constexpr std::uint64_t kPartitionNotFound = 9223372036854775807ULL;

// What a disk is to this program.
struct DiskAnalysis {
  // Role name to index in the disk's partitions, unused entries counted; exactly the keys "hfsPartition",
  // "recoveryPartition", "msrPartition", "winPartition" and "winRecPartition".
  Dictionary partIndexes = {};
  bool isBootCamp = false;
  bool isRestoreTarget = false;
  bool isEmpty = false;
};

// Matches the disk's partitions against the known layouts; nothing for a disk that is of no interest: neither laid
// out in a known way nor empty.
std::optional<DiskAnalysis> analyseDisk(const RLDDisk& disk);

}  // namespace zpk
