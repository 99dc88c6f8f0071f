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
  const std::uint64_t clusterSize = perCluster * sectorSize;
  const auto fileTable = littleEndianAt<std::uint64_t>(bootSector, 48);
  if (fileTable >= sectors / perCluster) return std::nullopt;
  return NtfsGeometry{sectorSize, static_cast<std::uint32_t>(clusterSize), sectors, fileTable * clusterSize};
}

void placeNtfsBootSector(std::span<std::byte> bootSector, std::uint64_t partitionStart,
                         std::uint64_t partitionSize) {
  constexpr std::size_t sectorsPerTrack = 24;
  constexpr std::size_t heads = 26;
  constexpr std::size_t hiddenSectors = 28;
  constexpr std::size_t sectorCount = 40;
  const std::optional<NtfsGeometry> geometry = parseNtfsBootSector(bootSector, partitionSize);
  if (!geometry) return;
  // The field has 32 bits; nobody who starts from beyond them reads it.
  putLittleEndian(bootSector, hiddenSectors, static_cast<std::uint32_t>(partitionStart / geometry->sectorSize));
  // The last sector is that of the copy.
  NtfsGeometry whole = *geometry;
  whole.sectors = partitionSize / geometry->sectorSize - 1;
  if (whole.clusters() == geometry->clusters()) putLittleEndian(bootSector, sectorCount, whole.sectors);
  if (littleEndianAt<std::uint16_t>(bootSector, sectorsPerTrack) == 0 ||
      littleEndianAt<std::uint16_t>(bootSector, heads) == 0) {
    putLittleEndian(bootSector, sectorsPerTrack, std::uint16_t{63});
    putLittleEndian(bootSector, heads, std::uint16_t{255});
  }
}

}  // namespace zpk
