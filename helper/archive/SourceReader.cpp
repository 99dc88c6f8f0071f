#include "helper/archive/SourceReader.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include "helper/archive/AlignedBuffer.h"

namespace zpk {
namespace {

// A drive tries for seconds before it gives a sector up, so the steps are few: a single bad sector is asked for
// four times. The second one is the physical sector of most drives. The last one is the disk's own sector.
constexpr std::array<std::uint64_t, 2> steps = {std::uint64_t{64} << 10U, 4096};

}  // namespace

bool isBadPlace(const ArchiveError& error) {
  if (error.fault != ArchiveFault::ReadFailed) return false;
  switch (error.errorNumber) {
    case EIO:        // Of anything that says no more; the whole truth of the page cache.
    case ENODATA:    // The block layer's own numbers for a medium,
    case EREMOTEIO:  // a target
    case EILSEQ:     // and a checksum that failed.
    case EBADMSG:
      return true;
    default:
      return false;
  }
}

ArchiveError unreadablePlace(const std::string& name, const ArchiveError& error) {
  if (!isBadPlace(error)) return error;
  return readError(name + " cannot be read: the disk has bad sectors there", error.path, error.offset,
                   error.errorNumber);
}

ArchiveResult<Done> checkAnswers(const DiskSource& disk) {
  AlignedBuffer beginning(DiskSource::alignment);
  const ArchiveResult<Done> read = disk.readSectors(0, beginning.bytes());
  if (read) return read;
  return readError("The disk does not answer any more", disk.path(), 0, read.error().errorNumber);
}

ArchiveResult<Done> SourceReader::read(std::uint64_t offset, std::span<std::byte> bytes) {
  const ArchiveResult<Done> read = _disk.read(offset, bytes);
  if (read || !isBadPlace(read.error())) return read;
  return readAround({offset, bytes});
}

// Free bytes between the stored ones were read for speed alone, and may be bad without any harm.
ArchiveResult<Done> SourceReader::readAround(const Piece& piece) {
  ArchiveResult<Done> step = checkAnswers(_disk);
  const std::uint64_t end = piece.start + piece.bytes.size();
  std::ranges::fill(piece.bytes, std::byte{0});
  for (std::uint64_t next = piece.start; step;) {
    const std::optional<ByteRange> stored = _layout.next(next, end);
    if (!stored) break;
    const std::uint64_t first = std::max({roundDown(stored->start, _sectorSize), piece.start, next});
    const std::uint64_t last = std::min(roundUp(stored->end, _sectorSize), end);
    step = narrow({first, piece.bytes.subspan(first - piece.start, last - first)}, 0);
    next = last;
  }
  return step;
}

ArchiveResult<Done> SourceReader::narrow(const Piece& piece, std::size_t level) {
  const std::uint64_t step = level < steps.size() ? std::max(steps[level], _sectorSize) : _sectorSize;
  const std::uint64_t end = piece.start + piece.bytes.size();
  for (std::uint64_t start = piece.start; start < end;) {
    if (_cancel.isRequested()) return cancelledError();
    const std::uint64_t next = std::min(roundDown(start, step) + step, end);
    const Piece part{start, piece.bytes.subspan(start - piece.start, next - start)};
    ArchiveResult<Done> read = _disk.readSectors(part.start, part.bytes);
    if (!read && isBadPlace(read.error())) {
      read = level < steps.size() ? narrow(part, level + 1) : giveUp(part, read.error());
    }
    if (!read) return read;
    start = next;
  }
  return Done{};
}

ArchiveResult<Done> SourceReader::giveUp(const Piece& sector, const ArchiveError& error) {
  const ByteRange range{sector.start, sector.start + sector.bytes.size()};
  const ArchiveResult<Done> answers = checkAnswers(_disk);
  if (!answers) return answers;
  for (const VitalPlace& place : _vital) {
    const bool isWithin = range.start < place.range.end && place.range.start < range.end;
    if (isWithin) return unreadablePlace(place.name, error);
  }
  std::ranges::fill(sector.bytes, std::byte{0});
  const std::lock_guard lock(_mutex);
  _unreadable.push_back(range);
  _unreadableBytes += range.size();
  if (_unreadableBytes <= mostUnreadable) return Done{};
  return readError("Too much of the disk cannot be read: it is failing. Copy what you need from it and replace it",
                   path(), range.start, error.errorNumber);
}

std::vector<ByteRange> SourceReader::unreadable() const {
  std::vector<ByteRange> sorted;
  {
    const std::lock_guard lock(_mutex);
    sorted = _unreadable;
  }
  std::ranges::sort(sorted, {}, &ByteRange::start);
  std::vector<ByteRange> ranges;
  for (const ByteRange& range : sorted) {
    if (!ranges.empty() && range.start <= ranges.back().end) {
      ranges.back().end = std::max(ranges.back().end, range.end);
    } else {
      ranges.push_back(range);
    }
  }
  return ranges;
}

}  // namespace zpk
