#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "helper/archive/ChunkSet.h"
#include "helper/archive/FileAccess.h"

namespace zpk {

// XXH3-128 of one chunk, seeded with the archive's seed, in its canonical (big-endian) form. A chunk is one cluster
// of the image.
using ChunkHash = std::array<std::byte, 16>;

ChunkHash hashOfChunk(ByteSpan chunk, std::uint64_t seed);

// The hash of every chunk of a point's disk that is not all zeros: the whole content of the point, also what its
// image leaves to a parent. Chunks not named read as zeros.
//
//   offset       size      content, little-endian
//   0            8         magic "RLDMAP\0\1"
//   8            4         chunk size, bytes
//   12           4         0
//   16           8         hash seed
//   24           8         number of hashes
//   32           8         number of runs
//   40           16        XXH3-128 of bytes 8 to 39 and the runs, with the seed
//   4096         16 each   hashes, in the order of their chunks
//   behind them  16 each   runs: first chunk (8), number of chunks (8); ascending, apart from each other
//
// So the hash of chunk n is found with one search in the runs and one read.
class ChunkMapWriter {
 public:
  ChunkMapWriter(OpenFile file, std::uint64_t chunkSize, std::uint64_t seed);

  // In ascending order of chunks, which are below ChunkSet::limit.
  ArchiveResult<Done> add(std::uint64_t chunk, const ChunkHash& hash);
  // Runs, sync, header, sync.
  ArchiveResult<Done> finish(const CancelFlag& cancel);

 private:
  ArchiveResult<Done> flush();
  // Gives the header that they are to have.
  ArchiveResult<ByteBuffer> writeRuns() const;

  OpenFile _file;
  std::uint64_t _chunkSize;
  std::uint64_t _seed;
  std::uint64_t _flushed = 0;
  ByteBuffer _pending;
  ChunkSet _chunks;
};

// Reads a map back; a damaged one is refused on opening. Which chunks have a hash is held in memory, the hashes are
// read when they are asked for.
class ChunkMapReader {
 public:
  static ArchiveResult<ChunkMapReader> open(OpenFile file);

  std::uint64_t chunkSize() const { return _chunkSize; }
  std::uint64_t seed() const { return _seed; }
  std::uint64_t count() const { return _chunks.count(); }

  // Nothing for a chunk that reads as zeros. Neighbouring chunks asked for in order cost one read per 4,096 of
  // them.
  ArchiveResult<std::optional<ChunkHash>> hashOf(std::uint64_t chunk);

  // The first chunk from `chunk` on that has a hash.
  std::optional<std::uint64_t> nextChunk(std::uint64_t chunk) const { return _chunks.next(chunk); }

 private:
  ChunkMapReader() = default;
  ArchiveResult<Done> readRuns(std::uint64_t fileSize, ByteSpan header);
  ArchiveResult<Done> takeRuns(ByteSpan bytes, std::uint64_t count);

  OpenFile _file;
  std::uint64_t _chunkSize = 0;
  std::uint64_t _seed = 0;
  ChunkSet _chunks;
  ByteBuffer _window;
  std::uint64_t _windowStart = 0;
};

}  // namespace zpk
