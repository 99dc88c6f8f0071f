#pragma once

#include <cstdint>
#include <optional>

#include "helper/archive/Bytes.h"

namespace zpk {

// The shape of an NTFS volume as its boot sector tells it.
struct NtfsGeometry {
  std::uint32_t sectorSize = 0;
  std::uint32_t clusterSize = 0;
  std::uint64_t sectors = 0;    // Of the volume; its backup boot sector is the one behind them.
  std::uint64_t fileTable = 0;  // Where the file table begins: bytes from the start of the volume, within it.

  // None, of a volume that has no shape yet.
  std::uint64_t clusters() const {
    const std::uint32_t sectorsOfOne = sectorSize == 0 ? 0 : clusterSize / sectorSize;
    return sectorsOfOne == 0 ? 0 : sectors / sectorsOfOne;
  }
};

bool looksLikeNtfs(ByteSpan bootSector);
// A volume encrypted by Windows, of which only Windows knows the used clusters.
bool looksEncryptedByWindows(ByteSpan bootSector);

// Nothing when a field is impossible or the volume does not fit into `partitionSize` bytes. `bootSector` is at
// least 512 bytes long.
std::optional<NtfsGeometry> parseNtfsBootSector(ByteSpan bootSector, std::uint64_t partitionSize);

// Makes the boot sector right for another place: the sector of the disk that the volume begins with, which Windows'
// boot code reads from; the sectors that the partition has, when the volume uses all clusters that fit there; and
// the geometry that every firmware reports, where the volume has none at all.
void placeNtfsBootSector(std::span<std::byte> bootSector, std::uint64_t partitionStart,
                         std::uint64_t partitionSize);

}  // namespace zpk
