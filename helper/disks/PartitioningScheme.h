#pragma once

#include <cstdint>

namespace zpk {

// What `partitioningSchemes` of a disk record says, a set of bits that this helper fills in.
//
// A plain MBR disk has `Mbr`, a GPT disk `Gpt`. A disk whose MBR repeats some of the GPT's partitions for the sake
// of old loaders has all three. A disk without a table has none. The entries of a disk with `Gpt` are always the
// GPT's.
enum PartitioningScheme : int {
  PartitioningSchemeNone = 0,
  PartitioningSchemeMbr = 1,
  PartitioningSchemeGpt = 2,
  PartitioningSchemeHybrid = 4,
};

// What `partType` of a partition record says. Unused entries have 0. An MBR entry has its type byte (0x07, 0x0c,
// …), a GPT entry the code of its type GUID above `partTypeGptBase`, so that 0x100 is a GPT entry of a type that
// the system does not know.
inline constexpr std::uint64_t partTypeUnused = 0;
inline constexpr std::uint64_t partTypeGptBase = 0x100;

}  // namespace zpk
