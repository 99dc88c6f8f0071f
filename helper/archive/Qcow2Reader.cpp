#include "helper/archive/Qcow2Reader.h"

#include <zstd.h>

#include <algorithm>
#include <array>
#include <cassert>

#include "helper/archive/Qcow2Format.h"

namespace zpk {
namespace {

// Frames of one cluster never need a larger window; more would let a crafted frame ask for memory.
constexpr int largestWindowLog = 20;
constexpr std::size_t longestName = 1023;

constexpr std::uint64_t gatheredAtOnce = std::uint64_t{1} << 20U;

// The place that an entry leads to is the only thing that its bits leave open: one more of them that is set, or one
// that is missing, is damage, also where the content that it leads to would happen to be the right one.
bool leadsSomewhere(std::uint64_t entry) {
  return (entry & ~qcow2::offsetMask) == qcow2::onlyReference && entry != qcow2::onlyReference;
}

// Nothing for an entry that makes no sense.
std::optional<ClusterKind> kindOfEntry(std::uint64_t entry) {
  if (entry == 0) return ClusterKind::Absent;
  if (entry == qcow2::readsAsZeros) return ClusterKind::Zeros;
  if (leadsSomewhere(entry)) return ClusterKind::Plain;
  const bool isCompressed = (entry & (qcow2::compressed | qcow2::onlyReference)) == qcow2::compressed;
  return isCompressed ? std::optional(ClusterKind::Compressed) : std::nullopt;
}

}  // namespace

void Qcow2Reader::FreeContext::operator()(ZSTD_DCtx_s* context) const {
  ZSTD_freeDCtx(context);
}

ArchiveError Qcow2Reader::damaged(const char* message, std::uint64_t place) const {
  return damagedError(message, _file.path, place);
}

ArchiveResult<Qcow2Reader> Qcow2Reader::open(OpenFile file) {
  Qcow2Reader reader;
  reader._file = std::move(file);
  const ArchiveResult<std::uint64_t> size = sizeOf(reader._file);
  if (!size) return size.error();
  reader._fileSize = *size;
  const ArchiveResult<Done> header = reader.readHeader();
  if (!header) return header.error();
  reader._context.reset(ZSTD_createDCtx());
  if (!reader._context) return readError("Not enough memory to read the image", reader._file.path, 0, 0);
  ZSTD_DCtx_setParameter(reader._context.get(), ZSTD_d_windowLogMax, largestWindowLog);
  return reader;
}

ArchiveResult<Done> Qcow2Reader::readHeader() {
  ByteBuffer header(qcow2::sectorSize);
  if (!holds(0, header.size())) return damaged("The image is too short", 0);
  ArchiveResult<Done> step = readAt(_file, 0, header);
  if (!step) return step;
  if (bigEndianAt<std::uint32_t>(header, 0) != qcow2::magic) return damaged("The image has no header", 0);
  if (bigEndianAt<std::uint32_t>(header, 4) != qcow2::version ||
      bigEndianAt<std::uint64_t>(header, 72) != qcow2::compressionTypeFeature ||
      bigEndianAt<std::uint32_t>(header, 32) != 0 || bigEndianAt<std::uint32_t>(header, 60) != 0 ||
      bigEndianAt<std::uint32_t>(header, 96) != qcow2::refcountOrder ||
      bigEndianAt<std::uint64_t>(header, 80) != 0 || bigEndianAt<std::uint64_t>(header, 88) != 0 ||
      bigEndianAt<std::uint32_t>(header, 100) != qcow2::headerLength ||
      bigEndianAt<std::uint64_t>(header, 104) != std::uint64_t{qcow2::zstdCompression} << 56U) {
    return damaged("The image is of a kind that no archive holds", 0);
  }
  _clusterBits = bigEndianAt<std::uint32_t>(header, 20);
  if (_clusterBits != qcow2::smallClusterBits && _clusterBits != qcow2::largeClusterBits)
    return damaged("The image's cluster size is impossible", 20);
  _virtualSize = bigEndianAt<std::uint64_t>(header, 24);
  if (_virtualSize % 512 != 0 || _virtualSize > std::uint64_t{1} << 56U) {
    return damaged("The image's disk size is impossible", 24);
  }
  step = readBackingName(header);
  if (step) step = readTablePlaces(bigEndianAt<std::uint64_t>(header, 40), bigEndianAt<std::uint32_t>(header, 36));
  return step;
}

ArchiveResult<Done> Qcow2Reader::readBackingName(ByteSpan header) {
  const auto place = bigEndianAt<std::uint64_t>(header, 8);
  const auto size = bigEndianAt<std::uint32_t>(header, 16);
  if (place == 0) return Done{};
  if (place > clusterSize() || size > longestName || size > clusterSize() - place || !holds(place, size)) {
    return damaged("The name of the image's parent is out of place", 8);
  }
  _backingFile.resize(size);
  return readAt(_file, place, std::as_writable_bytes(std::span(_backingFile)));
}

ArchiveResult<Done> Qcow2Reader::readTablePlaces(std::uint64_t place, std::uint64_t count) {
  const std::uint64_t needed = divideUp(clusterCount(), clusterSize() / 8);
  if (count != needed || needed > qcow2::largestFirstTable / 8 || place % clusterSize() != 0 ||
      !holds(place, needed * 8)) {
    return damaged("The image's table of tables is out of place", 36);
  }
  ByteBuffer bytes(needed * 8);
  ArchiveResult<Done> step = readAt(_file, place, bytes);
  if (!step) return step;
  _tablePlaces.resize(needed);
  for (std::size_t i = 0; i < needed; ++i) {
    _tablePlaces[i] = bigEndianAt<std::uint64_t>(bytes, i * 8);
    if (_tablePlaces[i] != 0 && !leadsSomewhere(_tablePlaces[i])) {
      return damaged("An entry in the image's table of tables makes no sense", place + i * 8);
    }
  }
  return Done{};
}

ArchiveResult<Done> Qcow2Reader::loadTable(std::uint64_t index) {
  if (_loadedTable == index) return Done{};
  if (_failedTable && _failedTable->first == index) return _failedTable->second;
  const std::uint64_t place = _tablePlaces[index] & qcow2::offsetMask;
  if (place % clusterSize() != 0 || !holds(place, clusterSize())) {
    return damaged("A table of the image is out of place", place);
  }
  _loadedTable.reset();
  _table.resize(clusterSize());
  ArchiveResult<Done> step = readAt(_file, place, _table);
  if (step) {
    _loadedTable = index;
  } else {
    _failedTable.emplace(index, step.error());
  }
  return step;
}

ArchiveResult<std::uint64_t> Qcow2Reader::entryOf(std::uint64_t cluster) {
  assert(cluster < clusterCount());
  const std::uint64_t entries = clusterSize() / 8;
  if (_tablePlaces[cluster / entries] == 0) return std::uint64_t{0};
  const ArchiveResult<Done> loaded = loadTable(cluster / entries);
  if (!loaded) return loaded.error();
  return bigEndianAt<std::uint64_t>(_table, cluster % entries * 8);
}

ArchiveResult<ClusterKind> Qcow2Reader::kindOf(std::uint64_t cluster) {
  const ArchiveResult<std::uint64_t> entry = entryOf(cluster);
  if (!entry) return entry.error();
  const std::optional<ClusterKind> kind = kindOfEntry(*entry);
  if (!kind) return damaged("An entry in a table of the image makes no sense", cluster * clusterSize());
  return *kind;
}

ArchiveResult<ClusterKind> Qcow2Reader::read(std::uint64_t cluster, std::span<std::byte> content) {
  assert(content.size() == clusterSize());
  const ArchiveResult<ClusterKind> kind = kindOf(cluster);
  if (!kind) return kind;
  if (*kind == ClusterKind::Absent || *kind == ClusterKind::Zeros) {
    std::fill(content.begin(), content.end(), std::byte{0});
    return kind;
  }
  const std::uint64_t entry = *entryOf(cluster);
  const ArchiveResult<Done> step = *kind == ClusterKind::Compressed ? readCompressed(cluster, entry, content)
                                                                    : readPlain(cluster, entry, content);
  if (!step) return step.error();
  return kind;
}

ArchiveResult<Done> Qcow2Reader::readPlain(std::uint64_t cluster, std::uint64_t entry,
                                           std::span<std::byte> content) {
  const std::optional<ByteRange> extent = extentOf(entry);
  if (!extent) return damaged("A cluster of the image is out of place", entry & qcow2::offsetMask);
  const ArchiveResult<ByteSpan> bytes = bytesOf(cluster, *extent, _plain);
  if (!bytes) return bytes.error();
  std::ranges::copy(*bytes, content.begin());
  return Done{};
}

ArchiveResult<Done> Qcow2Reader::readCompressed(std::uint64_t cluster, std::uint64_t entry,
                                                std::span<std::byte> content) {
  const std::optional<ByteRange> extent = extentOf(entry);
  if (!extent) return damaged("A compressed cluster of the image is out of place", compressedPlace(entry));
  const ArchiveResult<ByteSpan> bytes = bytesOf(cluster, *extent, _frames);
  return bytes ? unpack(*bytes, extent->start, content) : bytes.error();
}

std::uint64_t Qcow2Reader::compressedPlace(std::uint64_t entry) const {
  return entry & ((std::uint64_t{1} << qcow2::compressedOffsetBits(_clusterBits)) - 1);
}

std::optional<ByteRange> Qcow2Reader::extentOf(std::uint64_t entry) const {
  if ((entry & qcow2::compressed) == 0) {
    const std::uint64_t place = entry & qcow2::offsetMask;
    if (place % clusterSize() != 0 || !holds(place, clusterSize())) return std::nullopt;
    return ByteRange{place, place + clusterSize()};
  }
  const unsigned offsetBits = qcow2::compressedOffsetBits(_clusterBits);
  const std::uint64_t place = compressedPlace(entry);
  const std::uint64_t sectors = (entry & ~qcow2::compressed) >> offsetBits;
  const std::uint64_t end =
      std::min(_fileSize, roundDown(place, qcow2::sectorSize) + (sectors + 1) * qcow2::sectorSize);
  return place < end ? std::optional(ByteRange{place, end}) : std::nullopt;
}

std::uint64_t Qcow2Reader::gatheredEnd(std::uint64_t cluster, const ByteRange& extent) const {
  const std::uint64_t entries = clusterSize() / 8;
  const auto entryAt = [this](std::uint64_t i) { return bigEndianAt<std::uint64_t>(_table, i * 8); };
  const std::optional<ClusterKind> kind = kindOfEntry(entryAt(cluster % entries));
  std::uint64_t end = extent.end;
  for (std::uint64_t i = cluster % entries + 1; i < entries; ++i) {
    if (kindOfEntry(entryAt(i)) != kind) continue;
    // Clusters are written in their order; what was put into a gap later lies elsewhere, and ends what is gathered.
    const std::optional<ByteRange> next = extentOf(entryAt(i));
    if (!next || next->start < extent.start || next->start > end + clusterSize() ||
        next->end > extent.start + gatheredAtOnce) {
      break;
    }
    end = std::max(end, next->end);
  }
  return end;
}

// `cluster` lies there, and its table is the loaded one.
ArchiveResult<ByteSpan> Qcow2Reader::bytesOf(std::uint64_t cluster, const ByteRange& extent, Stretch& stretch) {
  const bool isThere = extent.start >= stretch.place && extent.end <= stretch.place + stretch.bytes.size();
  if (!_gathers || !isThere) {
    const std::uint64_t end = _gathers ? gatheredEnd(cluster, extent) : extent.end;
    ArchiveResult<Done> step = fill(stretch, {extent.start, end});
    if (!step && end > extent.end) {
      // What cannot be read may be another cluster. A disk takes its time before it says so: once is enough.
      _gathers = false;
      step = fill(stretch, extent);
    }
    if (!step) return step.error();
  }
  return ByteSpan(stretch.bytes).subspan(extent.start - stretch.place, extent.size());
}

ArchiveResult<Done> Qcow2Reader::fill(Stretch& stretch, const ByteRange& range) const {
  stretch.place = range.start;
  stretch.bytes.resize(range.size());
  ArchiveResult<Done> step = readAt(_file, range.start, stretch.bytes);
  if (!step) stretch.bytes.clear();
  return step;
}

// The frame ends somewhere in its last sector; what follows it belongs to others.
ArchiveResult<Done> Qcow2Reader::unpack(ByteSpan sectors, std::uint64_t place, std::span<std::byte> content) {
  ZSTD_DCtx_reset(_context.get(), ZSTD_reset_session_only);
  ZSTD_inBuffer in{sectors.data(), sectors.size(), 0};
  ZSTD_outBuffer out{content.data(), content.size(), 0};
  std::size_t left = 1;
  while (left != 0) {
    const std::size_t before = in.pos + out.pos;
    left = ZSTD_decompressStream(_context.get(), &out, &in);
    if (ZSTD_isError(left) != 0 || (left != 0 && in.pos + out.pos == before)) {
      return damaged("A compressed cluster of the image cannot be unpacked", place);
    }
  }
  if (out.pos != content.size()) return damaged("A compressed cluster of the image is too short", place);
  _frame = sectors.first(in.pos);
  return Done{};
}

ArchiveResult<std::optional<std::uint64_t>> Qcow2Reader::nextPresent(std::uint64_t cluster) {
  const std::uint64_t entries = clusterSize() / 8;
  while (cluster < clusterCount()) {
    if (_tablePlaces[cluster / entries] == 0) {
      cluster = roundDown(cluster, entries) + entries;
      continue;
    }
    const ArchiveResult<std::uint64_t> entry = entryOf(cluster);
    if (!entry) return entry.error();
    if (*entry != 0) return std::optional(cluster);
    ++cluster;
  }
  return std::optional<std::uint64_t>();
}

}  // namespace zpk
