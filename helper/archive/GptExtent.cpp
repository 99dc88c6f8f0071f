#include "helper/archive/GptExtent.h"

#include <algorithm>

namespace zpk {
namespace {

constexpr std::uint64_t largestTable = std::uint64_t{1} << 20;

ArchiveError unfit(const char* message, const DiskSource& disk) {
  return {ArchiveFault::SourceUnfit, message, disk.path(), 0, 0};
}

}  // namespace

ArchiveResult<GptExtent> readGptExtent(const DiskSource& disk, std::uint32_t sectorSize) {
  if (sectorSize != 512 && sectorSize != 4096) return unfit("The disk's sector size is not supported", disk);
  ByteBuffer header(sectorSize);
  const ArchiveResult<Done> read = disk.read(sectorSize, header);
  if (!read) return read.error();
  if (std::memcmp(header.data(), "EFI PART", 8) != 0) return unfit("The disk has no GPT partition table", disk);

  // UEFI: own sector 24, first usable 40, last usable 48, entries' sector 72, their count 80, their size 84.
  const std::uint64_t sectors = disk.size() / sectorSize;
  const auto firstUsable = littleEndianAt<std::uint64_t>(header, 40);
  const auto lastUsable = littleEndianAt<std::uint64_t>(header, 48);
  const auto entries = littleEndianAt<std::uint64_t>(header, 72);
  const std::uint64_t entryBytes =
      std::uint64_t{littleEndianAt<std::uint32_t>(header, 80)} * littleEndianAt<std::uint32_t>(header, 84);
  if (littleEndianAt<std::uint64_t>(header, 24) != 1 || firstUsable > lastUsable || lastUsable >= sectors ||
      entries < 2 || entries > firstUsable || entryBytes == 0 || entryBytes > largestTable) {
    return unfit("The disk's partition table contradicts itself", disk);
  }
  // Behind the table the usable sectors begin; what is between belongs to nobody and may be old content.
  const std::uint64_t tableSectors = divideUp(entryBytes, sectorSize);
  const std::uint64_t headSectors = std::min(firstUsable, entries + tableSectors);
  const std::uint64_t tailSectors = std::min(sectors - 1 - lastUsable, tableSectors + 1);
  if (headSectors * sectorSize > 2 * largestTable) return unfit("The disk's partition table is out of place", disk);
  return GptExtent{{0, headSectors * sectorSize}, {(sectors - tailSectors) * sectorSize, sectors * sectorSize}};
}

}  // namespace zpk
