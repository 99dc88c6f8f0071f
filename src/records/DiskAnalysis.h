#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

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

// A way in which a disk can be laid out, and what that says about it.
struct LayoutRule {
  // One letter a used partition, in their order: e EFI, h HFS+, c Core Storage, r Apple Boot, m Microsoft Reserved,
  // w Basic Data, o Windows Recovery; any other letter stands for a partition of an unknown type. Upper case is
  // required, lower case optional.
  std::string_view letters;
  // A Boot Camp disk is a restore target in any case.
  bool isBootCamp;
  bool isRestoreTarget;
};

// Matches the disk's partitions against the known layouts; nothing for a disk that is of no interest: neither laid
// out in a known way nor empty.
std::optional<DiskAnalysis> analyseDisk(const RLDDisk& disk);

// The same with `layouts` for the known ones. They are tried in their order; the first full match wins.
std::optional<DiskAnalysis> analyseDiskByLayouts(const RLDDisk& disk, std::span<const LayoutRule> layouts);

}  // namespace zpk
