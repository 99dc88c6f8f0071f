#pragma once

#include <mutex>
#include <vector>

#include "helper/archive/ChunkMap.h"

namespace zpk {

// The hashes of the point that an increment builds on. Several threads may ask at once.
class ParentHashes {
 public:
  explicit ParentHashes(ChunkMapReader map) : _map(std::move(map)) {}

  // The hashes of `count` chunks from `first` on, in their order; nothing for one that reads as zeros.
  ArchiveResult<Done> read(std::uint64_t first, std::size_t count, std::vector<std::optional<ChunkHash>>& hashes) {
    hashes.assign(count, std::nullopt);
    const std::lock_guard lock(_mutex);
    for (std::size_t i = 0; i < count; ++i) {
      ArchiveResult<std::optional<ChunkHash>> hash = _map.hashOf(first + i);
      if (!hash) return hash.error();
      hashes[i] = *hash;
    }
    return Done{};
  }

  // The first chunk from `chunk` on that does not read as zeros.
  std::optional<std::uint64_t> nextChunk(std::uint64_t chunk) const { return _map.nextChunk(chunk); }

 private:
  std::mutex _mutex;
  ChunkMapReader _map;  // Its hashes are guarded by the mutex; its runs never change.
};

}  // namespace zpk
