#include "helper/archive/DiskSpan.h"

#include <zstd.h>

#include <algorithm>

namespace zpk {

DiskSpan::DiskSpan(std::uint64_t chunkSize) : _chunkSize(chunkSize), _content(size), _packed(size) {}

bool DiskSpan::plan(const DiskLayout& layout, std::uint64_t from) {
  _used.clear();
  _usedBytes = 0;
  _diskSize = layout.diskSize();
  std::optional<ByteRange> found = layout.next(from, _diskSize);
  if (!found) return false;
  // The first range may go on for very long; only what lies within the span counts.
  _start = roundDown(found->start, _chunkSize);
  _end = std::min(_start + size, roundUp(_diskSize, _chunkSize));
  const std::uint64_t limit = std::min(_end, _diskSize);
  for (std::uint64_t next = found->start; (found = layout.next(next, limit)); next = found->end) {
    _used.push_back(*found);
    _usedBytes += found->size();
  }
  return true;
}

ArchiveResult<Done> DiskSpan::read(SourceReader& disk) {
  for (std::size_t i = 0; i < _used.size();) {
    ByteRange piece = _used[i];
    for (++i; i < _used.size() && _used[i].start - piece.end <= largestGap; ++i) piece.end = _used[i].end;
    ArchiveResult<Done> step = readPiece(disk, piece);
    if (!step) return step;
  }
  clearUnused();
  return Done{};
}

ArchiveResult<Done> DiskSpan::readPiece(SourceReader& disk, ByteRange piece) {
  // Whole blocks, which can bypass the page cache; what is too much is cleared afterwards.
  const ByteRange blocks{roundDown(piece.start, DiskSource::alignment),
                         std::min({roundUp(piece.end, DiskSource::alignment), _end, disk.size()})};
  if (blocks.end < piece.end)
    return readError("The disk ends before a partition of it", disk.path(), disk.size(), 0);
  return disk.read(blocks.start, at(blocks));
}

void DiskSpan::clearUnused() {
  std::uint64_t done = _start;
  for (const ByteRange& used : _used) {
    std::ranges::fill(at({done, used.start}), std::byte{0});
    done = used.end;
  }
  std::ranges::fill(at({done, _end}), std::byte{0});
}

ArchiveResult<Done> DiskSpan::look(ParentHashes& parent) {
  return parent.read(_start / _chunkSize, divideUp(_end - _start, _chunkSize), _parentHashes);
}

void DiskSpan::pack(ZSTD_CCtx_s* context, std::uint64_t seed) {
  _chunks.clear();
  std::size_t packedSize = 0;
  // A frame that saves less than this is not worth the unpacking.
  const std::uint64_t worthwhile = _chunkSize - _chunkSize / 16;
  auto used = _used.begin();
  for (std::uint64_t start = _start; start < _end; start += _chunkSize) {
    while (used != _used.end() && used->end <= start) ++used;
    if (used == _used.end()) break;
    if (used->start >= start + _chunkSize) continue;
    const ByteSpan plain = at({start, start + _chunkSize});
    if (isAllZero(plain)) continue;
    SpanChunk chunk{start / _chunkSize, hashOfChunk(plain, seed), plain, false, false};
    if (!_parentHashes.empty() && _parentHashes[(start - _start) / _chunkSize] == chunk.hash) {
      chunk.content = {};
      chunk.isInParent = true;
      _chunks.push_back(chunk);
      continue;
    }
    const std::size_t frame = ZSTD_compress2(context, &_packed[packedSize], worthwhile, plain.data(), plain.size());
    if (ZSTD_isError(frame) == 0) {
      chunk.content = ByteSpan(_packed).subspan(packedSize, frame);
      chunk.isCompressed = true;
      packedSize += frame;
    }
    _chunks.push_back(chunk);
  }
}

}  // namespace zpk
