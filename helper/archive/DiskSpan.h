#pragma once

#include <cstdint>
#include <vector>

#include "helper/archive/AlignedBuffer.h"
#include "helper/archive/ChunkMap.h"
#include "helper/archive/DiskLayout.h"
#include "helper/archive/ParentHashes.h"
#include "helper/archive/SourceReader.h"

struct ZSTD_CCtx_s;

namespace zpk {

// One chunk of a span, ready to be written.
struct SpanChunk {
  std::uint64_t index = 0;  // On the whole disk.
  ChunkHash hash{};
  ByteSpan content;  // A compressed frame, or the plain chunk.
  bool isCompressed = false;
  bool isInParent = false;  // The parent has the same content there; `content` is empty.
};

// A stretch of the disk on its way through the pipeline: what is stored of it is read, the rest made zeros, and
// every chunk that is not all zeros hashed and compressed. Its memory is used again for the next stretch. One
// thread at a time.
class DiskSpan {
 public:
  static constexpr std::uint64_t size = std::uint64_t{1} << 20;
  // Free bytes between stored ones that are read over, because one large read is cheaper than two.
  static constexpr std::uint64_t largestGap = std::uint64_t{32} << 10;

  explicit DiskSpan(std::uint64_t chunkSize);

  // The first stretch at or behind `from` that holds stored bytes; false when there is none.
  bool plan(const DiskLayout& layout, std::uint64_t from);
  std::uint64_t end() const { return _end; }
  std::uint64_t usedBytes() const { return _usedBytes; }

  ArchiveResult<Done> read(SourceReader& disk);
  // Before `pack`, when there is a parent: what it has in this stretch.
  ArchiveResult<Done> look(ParentHashes& parent);
  void pack(ZSTD_CCtx_s* context, std::uint64_t seed);
  // The content points into this object; chunks that are all zeros are left out.
  const std::vector<SpanChunk>& chunks() const { return _chunks; }

 private:
  ArchiveResult<Done> readPiece(SourceReader& disk, ByteRange piece);
  void clearUnused();
  std::span<std::byte> at(ByteRange range) { return _content.bytes().subspan(range.start - _start, range.size()); }

  std::uint64_t _chunkSize;
  std::uint64_t _start = 0;
  std::uint64_t _end = 0;
  std::uint64_t _diskSize = 0;
  std::uint64_t _usedBytes = 0;
  std::vector<ByteRange> _used;
  AlignedBuffer _content;
  ByteBuffer _packed;
  std::vector<std::optional<ChunkHash>> _parentHashes;  // Empty without a parent.
  std::vector<SpanChunk> _chunks;
};

}  // namespace zpk
