#pragma once

#include <mutex>
#include <optional>

#include "helper/archive/ChunkMap.h"
#include "helper/archive/Qcow2Chain.h"

namespace zpk {

// A disk of a backup point as bytes. What is read is compared with its hash on the way, so that damage of the
// archive never gets onto a disk unnoticed. Several threads may read, one after the other.
class PointDisk {
 public:
  static ArchiveResult<PointDisk> open(const Archive& archive, std::size_t point, std::size_t disk);
  PointDisk(PointDisk&& other) noexcept;
  PointDisk& operator=(PointDisk&&) = delete;
  ~PointDisk() = default;

  const StoredDisk& description() const { return _description; }
  std::uint64_t size() const { return _chain.virtualSize(); }
  // How many images its content is spread over.
  std::size_t chainLength() const { return _chain.length(); }

  // What lies behind the end reads as zeros.
  ArchiveResult<Done> read(std::uint64_t offset, std::span<std::byte> bytes);

  // The first error of any read. For those who get its bytes through others that do not pass errors on.
  std::optional<ArchiveError> damage() const;

 private:
  PointDisk(StoredDisk description, std::string imagePath, Qcow2Chain chain, ChunkMapReader map);
  ArchiveResult<Done> load(std::uint64_t chunk);

  StoredDisk _description;
  std::string _imagePath;
  mutable std::mutex _mutex;  // Guards all that follows.
  Qcow2Chain _chain;
  ChunkMapReader _map;
  ByteBuffer _content;  // Of the chunk that was read last.
  std::optional<std::uint64_t> _loaded;
  std::optional<ArchiveError> _damage;
};

}  // namespace zpk
