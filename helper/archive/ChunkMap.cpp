#include "helper/archive/ChunkMap.h"

#include <xxhash.h>

#include <algorithm>
#include <memory>
#include <new>

namespace zpk {
namespace {

constexpr std::array<std::byte, 8> mapMagic = {std::byte{'R'}, std::byte{'L'}, std::byte{'D'}, std::byte{'M'},
                                               std::byte{'A'}, std::byte{'P'}, std::byte{0},   std::byte{1}};
constexpr std::size_t headerSize = 56;
constexpr std::size_t hashPlace = 40;
constexpr std::uint64_t hashesPlace = 4096;
constexpr std::size_t hashSize = sizeof(ChunkHash);
constexpr std::size_t runSize = 16;
constexpr std::size_t pendingLimit = std::size_t{1} << 20;
constexpr std::size_t windowHashes = 4096;
constexpr std::uint64_t runsAtOnce = 4096;

// Of bytes that are never all in memory.
class RunsHash {
 public:
  explicit RunsHash(std::uint64_t seed) : _state(XXH3_createState()) {
    if (!_state) throw std::bad_alloc();
    XXH3_128bits_reset_withSeed(_state.get(), seed);
  }
  void add(ByteSpan bytes) { XXH3_128bits_update(_state.get(), bytes.data(), bytes.size()); }
  ChunkHash value() const { return canonical(XXH3_128bits_digest(_state.get())); }

  static ChunkHash canonical(XXH128_hash_t value) {
    XXH128_canonical_t canonical;
    XXH128_canonicalFromHash(&canonical, value);
    ChunkHash hash;
    std::memcpy(hash.data(), canonical.digest, hash.size());
    return hash;
  }

 private:
  struct Free {
    void operator()(XXH3_state_t* state) const { XXH3_freeState(state); }
  };
  std::unique_ptr<XXH3_state_t, Free> _state;
};

// Without its hash.
ByteBuffer headerOf(std::uint64_t chunkSize, std::uint64_t seed, const ChunkSet& chunks) {
  ByteBuffer header(headerSize);
  std::copy(mapMagic.begin(), mapMagic.end(), header.begin());
  putLittleEndian(header, 8, static_cast<std::uint32_t>(chunkSize));
  putLittleEndian(header, 16, seed);
  putLittleEndian(header, 24, chunks.count());
  putLittleEndian(header, 32, chunks.stretches());
  return header;
}

ByteSpan hashedPart(ByteSpan header) {
  return header.subspan(8, 32);
}

}  // namespace

ChunkHash hashOfChunk(ByteSpan chunk, std::uint64_t seed) {
  return RunsHash::canonical(XXH3_128bits_withSeed(chunk.data(), chunk.size(), seed));
}

ChunkMapWriter::ChunkMapWriter(OpenFile file, std::uint64_t chunkSize, std::uint64_t seed)
    : _file(std::move(file)), _chunkSize(chunkSize), _seed(seed) {
  _pending.reserve(pendingLimit);
}

ArchiveResult<Done> ChunkMapWriter::add(std::uint64_t chunk, const ChunkHash& hash) {
  _chunks.add(chunk);
  _pending.insert(_pending.end(), hash.begin(), hash.end());
  return _pending.size() >= pendingLimit ? flush() : Done{};
}

ArchiveResult<Done> ChunkMapWriter::flush() {
  ArchiveResult<Done> written = writeAt(_file, hashesPlace + _flushed, _pending);
  _flushed += _pending.size();
  _pending.clear();
  return written;
}

ArchiveResult<ByteBuffer> ChunkMapWriter::writeRuns() const {
  ByteBuffer header = headerOf(_chunkSize, _seed, _chunks);
  RunsHash hash(_seed);
  hash.add(hashedPart(header));
  std::uint64_t place = hashesPlace + _flushed;
  ByteBuffer runs;
  for (auto run = _chunks.nextStretch(0); run; run = _chunks.nextStretch(run->first + run->count)) {
    runs.resize(runs.size() + runSize);
    putLittleEndian(runs, runs.size() - runSize, run->first);
    putLittleEndian(runs, runs.size() - runSize + 8, run->count);
    const bool isLast = run->first + run->count == _chunks.end();
    if (runs.size() < runsAtOnce * runSize && !isLast) continue;
    const ArchiveResult<Done> written = writeAt(_file, place, runs);
    if (!written) return written.error();
    hash.add(runs);
    place += runs.size();
    runs.clear();
  }
  const ChunkHash value = hash.value();
  std::copy(value.begin(), value.end(), header.begin() + hashPlace);
  return header;
}

ArchiveResult<Done> ChunkMapWriter::finish(const CancelFlag& cancel) {
  ArchiveResult<Done> step = flush();
  if (!step) return step;
  const ArchiveResult<ByteBuffer> header = writeRuns();
  if (!header) return header.error();
  step = syncFile(_file, cancel);
  if (step) step = writeAt(_file, 0, *header);
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
  step = reader.readRuns(*fileSize, header);
  if (!step) return step.error();
  return reader;
}

ArchiveResult<Done> ChunkMapReader::readRuns(std::uint64_t fileSize, ByteSpan header) {
  const auto count = littleEndianAt<std::uint64_t>(header, 24);
  const auto runCount = littleEndianAt<std::uint64_t>(header, 32);
  const std::uint64_t room = fileSize > hashesPlace ? fileSize - hashesPlace : 0;
  if (count > room / hashSize || runCount > (room - count * hashSize) / runSize) {
    return damagedError("The hash map is shorter than it says", _file.path, 24);
  }
  // Piece by piece, each run checked before the next piece is asked for: a file of a claimed size may be one hole.
  RunsHash hash(_seed);
  hash.add(hashedPart(header));
  const std::uint64_t end = runCount * runSize;
  for (std::uint64_t done = 0; done < end;) {
    ByteBuffer bytes(std::min(end - done, runsAtOnce * runSize));
    ArchiveResult<Done> step = readAt(_file, hashesPlace + count * hashSize + done, bytes);
    if (step) step = takeRuns(bytes, count);
    if (!step) return step;
    hash.add(bytes);
    done += bytes.size();
  }
  const ChunkHash value = hash.value();
  if (!std::equal(value.begin(), value.end(), header.begin() + hashPlace)) {
    return damagedError("The hash map does not match its own hash", _file.path, hashPlace);
  }
  if (_chunks.count() != count) {
    return damagedError("The runs of the hash map contradict each other", _file.path);
  }
  return Done{};
}

ArchiveResult<Done> ChunkMapReader::takeRuns(ByteSpan bytes, std::uint64_t count) {
  for (std::size_t i = 0; i < bytes.size(); i += runSize) {
    const auto first = littleEndianAt<std::uint64_t>(bytes, i);
    const auto chunks = littleEndianAt<std::uint64_t>(bytes, i + 8);
    if (first < _chunks.end() || chunks == 0 || chunks > count - _chunks.count() || chunks > ChunkSet::limit ||
        first > ChunkSet::limit - chunks) {
      return damagedError("The runs of the hash map contradict each other", _file.path);
    }
    _chunks.add(first, chunks);
  }
  return Done{};
}

ArchiveResult<std::optional<ChunkHash>> ChunkMapReader::hashOf(std::uint64_t chunk) {
  const std::optional<std::uint64_t> rank = _chunks.rankOf(chunk);
  if (!rank) return std::optional<ChunkHash>();
  const std::uint64_t index = *rank;
  if (index < _windowStart || index - _windowStart >= _window.size() / hashSize) {
    _window.resize(std::min<std::uint64_t>(windowHashes, _chunks.count() - index) * hashSize);
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
