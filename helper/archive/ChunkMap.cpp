#include "helper/archive/ChunkMap.h"

#include <xxhash.h>

#include <algorithm>
#include <cassert>

namespace zpk {
namespace {

constexpr std::array<std::byte, 8> mapMagic = {std::byte{'R'}, std::byte{'L'}, std::byte{'D'}, std::byte{'M'},
                                               std::byte{'A'}, std::byte{'P'}, std::byte{0},   std::byte{1}};
constexpr std::size_t headerSize = 56;
constexpr std::uint64_t hashesPlace = 4096;
constexpr std::size_t hashSize = sizeof(ChunkHash);
constexpr std::size_t runSize = 16;
constexpr std::size_t pendingLimit = std::size_t{1} << 20;
constexpr std::size_t windowHashes = 4096;
constexpr std::uint64_t runsAtOnce = 4096;

ByteBuffer headerOf(std::uint64_t chunkSize, std::uint64_t seed, std::uint64_t count, ByteSpan runs) {
  ByteBuffer header(headerSize);
  std::copy(mapMagic.begin(), mapMagic.end(), header.begin());
  putLittleEndian(header, 8, static_cast<std::uint32_t>(chunkSize));
  putLittleEndian(header, 16, seed);
  putLittleEndian(header, 24, count);
  putLittleEndian(header, 32, static_cast<std::uint64_t>(runs.size() / runSize));
  ByteBuffer hashed(header.begin() + 8, header.begin() + 40);
  hashed.insert(hashed.end(), runs.begin(), runs.end());
  const ChunkHash hash = hashOfChunk(hashed, seed);
  std::copy(hash.begin(), hash.end(), header.begin() + 40);
  return header;
}

}  // namespace

ChunkHash hashOfChunk(ByteSpan chunk, std::uint64_t seed) {
  XXH128_canonical_t canonical;
  XXH128_canonicalFromHash(&canonical, XXH3_128bits_withSeed(chunk.data(), chunk.size(), seed));
  ChunkHash hash;
  std::memcpy(hash.data(), canonical.digest, hash.size());
  return hash;
}

ChunkMapWriter::ChunkMapWriter(OpenFile file, std::uint64_t chunkSize, std::uint64_t seed)
    : _file(std::move(file)), _chunkSize(chunkSize), _seed(seed) {
  _pending.reserve(pendingLimit);
}

ArchiveResult<Done> ChunkMapWriter::add(std::uint64_t chunk, const ChunkHash& hash) {
  assert(_runs.empty() || chunk >= _runs.back().first + _runs.back().second);
  if (!_runs.empty() && chunk == _runs.back().first + _runs.back().second) {
    ++_runs.back().second;
  } else {
    _runs.emplace_back(chunk, 1);
  }
  _pending.insert(_pending.end(), hash.begin(), hash.end());
  ++_count;
  return _pending.size() >= pendingLimit ? flush() : Done{};
}

ArchiveResult<Done> ChunkMapWriter::flush() {
  ArchiveResult<Done> written = writeAt(_file, hashesPlace + _flushed, _pending);
  _flushed += _pending.size();
  _pending.clear();
  return written;
}

ArchiveResult<Done> ChunkMapWriter::finish(const CancelFlag& cancel) {
  ByteBuffer runs(_runs.size() * runSize);
  for (std::size_t i = 0; i < _runs.size(); ++i) {
    putLittleEndian(runs, i * runSize, _runs[i].first);
    putLittleEndian(runs, i * runSize + 8, _runs[i].second);
  }
  ArchiveResult<Done> step = flush();
  if (step) step = writeAt(_file, hashesPlace + _flushed, runs);
  if (step) step = syncFile(_file, cancel);
  if (step) step = writeAt(_file, 0, headerOf(_chunkSize, _seed, _count, runs));
  if (step) step = syncFile(_file, cancel);
  return step;
}

ArchiveResult<ChunkMapReader> ChunkMapReader::open(OpenFile file) {
  ChunkMapReader reader;
  reader._file = std::move(file);
  const ArchiveResult<std::uint64_t> fileSize = sizeOf(reader._file);
  if (!fileSize) return fileSize.error();
  ByteBuffer header(headerSize);
  if (*fileSize < headerSize) return damagedError("The hash map is too short", reader._file.path);
  ArchiveResult<Done> step = readAt(reader._file, 0, header);
  if (!step) return step.error();
  if (!std::equal(mapMagic.begin(), mapMagic.end(), header.begin())) {
    return damagedError("The hash map has no header", reader._file.path);
  }
  reader._chunkSize = littleEndianAt<std::uint32_t>(header, 8);
  reader._seed = littleEndianAt<std::uint64_t>(header, 16);
  reader._count = littleEndianAt<std::uint64_t>(header, 24);
  step = reader.readRuns(littleEndianAt<std::uint64_t>(header, 32), *fileSize, header);
  if (!step) return step.error();
  return reader;
}

ArchiveResult<Done> ChunkMapReader::readRuns(std::uint64_t runCount, std::uint64_t fileSize, ByteSpan header) {
  const std::uint64_t room = fileSize > hashesPlace ? fileSize - hashesPlace : 0;
  if (_count > room / hashSize || runCount > (room - _count * hashSize) / runSize) {
    return damagedError("The hash map is shorter than it says", _file.path, 24);
  }
  // Piece by piece, each run checked before the next piece is asked for: a file of a claimed size may be one hole.
  ByteBuffer bytes;
  while (bytes.size() < runCount * runSize) {
    const std::size_t before = bytes.size();
    bytes.resize(std::min<std::uint64_t>(runCount * runSize, before + runsAtOnce * runSize));
    ArchiveResult<Done> step =
        readAt(_file, hashesPlace + _count * hashSize + before, std::span(bytes).subspan(before));
    if (step) step = takeRuns(ByteSpan(bytes).subspan(before));
    if (!step) return step;
  }
  const ByteBuffer expected = headerOf(_chunkSize, _seed, _count, bytes);
  if (!std::equal(expected.begin(), expected.end(), header.begin())) {
    return damagedError("The hash map does not match its own hash", _file.path, 40);
  }
  const std::uint64_t named = _runs.empty() ? 0 : _runs.back().before + _runs.back().count;
  if (named != _count) return damagedError("The runs of the hash map contradict each other", _file.path);
  return Done{};
}

ArchiveResult<Done> ChunkMapReader::takeRuns(ByteSpan bytes) {
  for (std::size_t i = 0; i < bytes.size(); i += runSize) {
    const std::uint64_t end = _runs.empty() ? 0 : _runs.back().first + _runs.back().count;
    const std::uint64_t before = _runs.empty() ? 0 : _runs.back().before + _runs.back().count;
    const Run run{littleEndianAt<std::uint64_t>(bytes, i), littleEndianAt<std::uint64_t>(bytes, i + 8), before};
    if (run.first < end || run.count == 0 || run.count > _count - before || run.first > UINT64_MAX - run.count) {
      return damagedError("The runs of the hash map contradict each other", _file.path);
    }
    _runs.push_back(run);
  }
  return Done{};
}

const ChunkMapReader::Run* ChunkMapReader::runAtOrAfter(std::uint64_t chunk) const {
  const auto found = std::partition_point(_runs.begin(), _runs.end(),
                                          [chunk](const Run& run) { return run.first + run.count <= chunk; });
  return found == _runs.end() ? nullptr : &*found;
}

std::optional<std::uint64_t> ChunkMapReader::nextChunk(std::uint64_t chunk) const {
  const Run* run = runAtOrAfter(chunk);
  if (run == nullptr) return std::nullopt;
  return std::max(run->first, chunk);
}

ArchiveResult<std::optional<ChunkHash>> ChunkMapReader::hashOf(std::uint64_t chunk) {
  const Run* run = runAtOrAfter(chunk);
  if (run == nullptr || run->first > chunk) return std::optional<ChunkHash>();
  const std::uint64_t index = run->before + (chunk - run->first);
  if (index < _windowStart || index - _windowStart >= _window.size() / hashSize) {
    _window.resize(std::min<std::uint64_t>(windowHashes, _count - index) * hashSize);
    const ArchiveResult<Done> step = readAt(_file, hashesPlace + index * hashSize, _window);
    if (!step) {
      _window.clear();
      return step.error();
    }
    _windowStart = index;
  }
  ChunkHash hash;
  std::memcpy(hash.data(), &_window[(index - _windowStart) * hashSize], hash.size());
  return std::optional(hash);
}

}  // namespace zpk
