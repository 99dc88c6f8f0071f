#include "helper/archive/NtfsBootSector.h"

#include <bit>

namespace zpk {
namespace {

bool hasName(ByteSpan bootSector, const char* name) {
  return bootSector.size() >= 512 && std::memcmp(&bootSector[3], name, 8) == 0;
}

// The field counts sectors up to 128; above, it is the negative power of two of that count.
std::uint64_t sectorsPerCluster(unsigned field) {
  if (field <= 128) return field;
  return field >= 224 ? std::uint64_t{1} << (256 - field) : 0;
}

}  // namespace

bool looksLikeNtfs(ByteSpan bootSector) {
  return hasName(bootSector, "NTFS    ");
}

bool looksEncryptedByWindows(ByteSpan bootSector) {
  return hasName(bootSector, "-FVE-FS-");
}

std::optional<NtfsGeometry> parseNtfsBootSector(ByteSpan bootSector, std::uint64_t partitionSize) {
  if (!looksLikeNtfs(bootSector)) return std::nullopt;
  const std::uint32_t sectorSize = littleEndianAt<std::uint16_t>(bootSector, 11);
  const std::uint64_t perCluster = sectorsPerCluster(std::to_integer<unsigned>(bootSector[13]));
  const auto sectors = littleEndianAt<std::uint64_t>(bootSector, 40);
  if (!std::has_single_bit(sectorSize) || sectorSize < 512 || sectorSize > 4096) return std::nullopt;
  if (!std::has_single_bit(perCluster) || perCluster * sectorSize > (std::uint64_t{2} << 20U)) return std::nullopt;
  if (sectors == 0 || sectors > partitionSize / sectorSize) return std::nullopt;
  return NtfsGeometry{sectorSize, static_cast<std::uint32_t>(perCluster * sectorSize), sectors};
}

}  // namespace zpk
