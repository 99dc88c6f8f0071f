#include "helper/disks/probe/NtfsVolume.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <vector>

namespace zpk {
namespace {

constexpr std::uint64_t volumeRecord = 3;
constexpr std::uint64_t bitmapRecord = 6;
constexpr std::uint32_t volumeInformationAttribute = 0x70;
constexpr std::uint32_t dataAttribute = 0x80;
constexpr std::uint32_t endOfAttributes = 0xFFFFFFFF;
constexpr std::uint16_t dirtyFlags = 0x0001 | 0x8000;  // Dirty; changed by a check that was not finished.
constexpr std::size_t updateStride = 512;              // Bytes that one entry of an update sequence protects.
constexpr std::uint64_t largestCluster = std::uint64_t{2} << 20;
constexpr std::uint64_t largestRecord = std::uint64_t{64} << 10;
constexpr std::size_t largestRead = std::size_t{1} << 20;

using Bytes = std::vector<std::uint8_t>;
using Part = std::span<const std::uint8_t>;

// A little-endian number of 1 to 8 bytes; whatever lies past the end reads as zero.
std::uint64_t number(Part bytes, std::size_t position, std::size_t width) {
  std::uint64_t result = 0;
  for (std::size_t i = 0; i < width && position + i < bytes.size(); ++i) {
    result |= std::uint64_t{bytes[position + i]} << (8 * i);
  }
  return result;
}

struct Geometry {
  std::uint64_t start = 0;  // Of the volume, on the disk.
  std::uint64_t clusterSize = 0;
  std::uint64_t clusters = 0;
  std::uint64_t tableCluster = 0;  // Where the table of file records begins.
  std::uint64_t recordSize = 0;
};

// A count of clusters, or, when negative, the power of two of a count of bytes.
std::uint64_t recordSizeOf(std::uint8_t raw, std::uint64_t clusterSize) {
  if (raw < 0x80) return raw * clusterSize;
  const unsigned power = 256U - raw;
  return power < 32 ? std::uint64_t{1} << power : 0;
}

std::uint64_t sectorsPerCluster(std::uint8_t raw) {
  if (raw <= 0x80) return raw;
  const unsigned power = 256U - raw;
  return power < 32 ? std::uint64_t{1} << power : 0;
}

bool isPowerBetween(std::uint64_t value, std::uint64_t least, std::uint64_t most) {
  return std::has_single_bit(value) && value >= least && value <= most;
}

std::optional<Geometry> geometryOf(const DiskReader& disk, std::uint64_t start, std::uint64_t size) {
  Bytes boot(512);
  if (size < boot.size() || !disk.read(start, boot)) return std::nullopt;
  const std::uint64_t sector = number(boot, 0x0B, 2);
  if (!isPowerBetween(sector, 256, 4096)) return std::nullopt;
  Geometry geometry;
  geometry.start = start;
  geometry.clusterSize = sector * sectorsPerCluster(boot[0x0D]);
  if (!isPowerBetween(geometry.clusterSize, sector, largestCluster)) return std::nullopt;
  // The boot sector counts all sectors but the one of its copy; the volume never reaches beyond its partition.
  const std::uint64_t sectors = number(boot, 0x28, 8);
  if (sectors == 0 || sectors > size / sector) return std::nullopt;
  geometry.clusters = sectors / (geometry.clusterSize / sector);
  geometry.tableCluster = number(boot, 0x30, 8);
  if (geometry.tableCluster >= geometry.clusters) return std::nullopt;
  geometry.recordSize = recordSizeOf(boot[0x40], geometry.clusterSize);
  if (!isPowerBetween(geometry.recordSize, updateStride, largestRecord)) return std::nullopt;
  return geometry;
}

// The last two bytes of each stride were moved to the head of the record when it was written; a record that was not
// written whole shows there.
bool undoUpdateSequence(Bytes& record) {
  const std::uint64_t offset = number(record, 4, 2);
  const std::uint64_t count = number(record, 6, 2);
  if (count != record.size() / updateStride + 1 || offset + 2 * count > record.size()) return false;
  for (std::size_t i = 1; i < count; ++i) {
    std::uint8_t* end = record.data() + i * updateStride - 2;
    if (std::memcmp(end, record.data() + offset, 2) != 0) return false;
    std::memcpy(end, record.data() + offset + 2 * i, 2);
  }
  return true;
}

// The first records of the table lie together at its beginning in every volume.
std::optional<Bytes> readRecord(const DiskReader& disk, const Geometry& geometry, std::uint64_t index) {
  Bytes record(geometry.recordSize);
  const std::uint64_t position = geometry.tableCluster * geometry.clusterSize + index * geometry.recordSize;
  if (position + record.size() > geometry.clusters * geometry.clusterSize) return std::nullopt;
  if (!disk.read(geometry.start + position, record)) return std::nullopt;
  if (std::memcmp(record.data(), "FILE", 4) != 0 || !undoUpdateSequence(record)) return std::nullopt;
  return record;
}

// The first attribute of a type without a name of its own; empty when the record has none.
Part attributeOf(const Bytes& record, std::uint32_t type) {
  std::size_t position = number(record, 0x14, 2);
  while (position + 16 <= record.size()) {
    const std::uint64_t found = number(record, position, 4);
    const std::uint64_t length = number(record, position + 4, 4);
    if (found == endOfAttributes || length < 16 || length > record.size() - position) return {};
    if (found == type && record[position + 9] == 0) return Part(record).subspan(position, length);
    position += length;
  }
  return {};
}

std::optional<bool> isDirty(const DiskReader& disk, const Geometry& geometry) {
  const std::optional<Bytes> record = readRecord(disk, geometry, volumeRecord);
  if (!record) return std::nullopt;
  const Part attribute = attributeOf(*record, volumeInformationAttribute);
  const std::uint64_t value = number(attribute, 0x14, 2);
  if (attribute.empty() || value + 12 > attribute.size()) return std::nullopt;
  return (number(attribute, value + 10, 2) & dirtyFlags) != 0;
}

struct Run {
  std::uint64_t cluster = 0;
  std::uint64_t count = 0;
};

// The runs of a non-resident attribute. Each is a byte with the widths of two numbers, then the count of clusters
// and the signed distance from the run before.
std::optional<std::vector<Run>> runsOf(Part attribute, const Geometry& geometry) {
  std::vector<Run> runs;
  std::uint64_t cluster = 0;
  std::size_t position = number(attribute, 0x20, 2);
  while (position < attribute.size() && attribute[position] != 0) {
    const std::size_t countWidth = attribute[position] & 15U;
    const std::size_t distanceWidth = attribute[position] >> 4U;
    if (countWidth == 0 || countWidth > 8 || distanceWidth == 0 || distanceWidth > 8) return std::nullopt;
    const std::uint64_t count = number(attribute, position + 1, countWidth);
    std::uint64_t distance = number(attribute, position + 1 + countWidth, distanceWidth);
    const std::uint64_t sign = std::uint64_t{1} << (8 * distanceWidth - 1);
    if (distance & sign) distance |= ~(sign - 1);
    cluster += distance;  // Wraps around where the distance is negative.
    if (cluster >= geometry.clusters || count == 0 || count > geometry.clusters - cluster) return std::nullopt;
    runs.push_back({cluster, count});
    position += 1 + countWidth + distanceWidth;
  }
  return runs;
}

std::uint64_t bitsIn(Part bytes) {
  std::uint64_t bits = 0;
  for (const std::uint8_t byte : bytes) bits += static_cast<unsigned>(std::popcount(byte));
  return bits;
}

// Counts the set bits among the first `clusters` of the bitmap; the bits behind them are set as padding.
std::optional<std::uint64_t> countUsed(const DiskReader& disk, const Geometry& geometry,
                                       const std::vector<Run>& runs) {
  std::uint64_t left = geometry.clusters;  // Bits.
  std::uint64_t used = 0;
  Bytes buffer(largestRead);
  for (const Run& run : runs) {
    std::uint64_t position = geometry.start + run.cluster * geometry.clusterSize;
    std::uint64_t bytes = run.count * geometry.clusterSize;
    while (left > 0 && bytes > 0) {
      const std::uint64_t wanted = std::min({bytes, (left + 7) / 8, std::uint64_t{largestRead}});
      const std::span<std::uint8_t> piece(buffer.data(), static_cast<std::size_t>(wanted));
      if (!disk.read(position, piece)) return std::nullopt;
      if (left < wanted * 8) piece.back() &= static_cast<std::uint8_t>((1U << (left - (wanted - 1) * 8)) - 1);
      used += bitsIn(piece);
      left -= std::min(left, wanted * 8);
      position += wanted;
      bytes -= wanted;
    }
  }
  if (left > 0) return std::nullopt;
  return used;
}

std::optional<std::uint64_t> usedClusters(const DiskReader& disk, const Geometry& geometry) {
  const std::optional<Bytes> record = readRecord(disk, geometry, bitmapRecord);
  if (!record) return std::nullopt;
  const Part attribute = attributeOf(*record, dataAttribute);
  const bool isElsewhere = attribute.size() > 0x40 && attribute[8] != 0;
  if (!isElsewhere || number(attribute, 0x30, 8) < (geometry.clusters + 7) / 8) return std::nullopt;
  const std::optional<std::vector<Run>> runs = runsOf(attribute, geometry);
  if (!runs) return std::nullopt;
  return countUsed(disk, geometry, *runs);
}

}  // namespace

std::optional<NtfsFigures> readNtfsFigures(const DiskReader& disk, std::uint64_t start, std::uint64_t size) {
  const std::optional<Geometry> geometry = geometryOf(disk, start, size);
  if (!geometry) return std::nullopt;
  const std::optional<std::uint64_t> used = usedClusters(disk, *geometry);
  const std::optional<bool> dirty = isDirty(disk, *geometry);
  if (!used || !dirty) return std::nullopt;
  NtfsFigures figures;
  figures.volumeSize = geometry->clusters * geometry->clusterSize;
  figures.usedSize = *used * geometry->clusterSize;
  // A cluster more than what the tools would shrink the volume to: they count none for the copy of the boot sector.
  figures.minimumSize = std::min(size, (*used + 2) * geometry->clusterSize);
  figures.isDirty = *dirty;
  return figures;
}

}  // namespace zpk
