#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "helper/archive/FileAccess.h"

struct ZSTD_DCtx_s;

namespace zpk {

enum class ClusterKind {
  Absent,  // The backing file's content, or zeros without one.
  Zeros,
  Plain,
  Compressed,
};

// Reads an image of the archive: which clusters it holds, and their content. It does not follow the backing file.
//
// The file may be damaged or crafted: every place and size in it is checked against the file before it is used,
// memory is bounded by the size of the file, and the answer to nonsense is an ArchiveError that names the place.
// One thread.
class Qcow2Reader {
 public:
  static ArchiveResult<Qcow2Reader> open(OpenFile file);

  std::uint64_t virtualSize() const { return _virtualSize; }
  unsigned clusterBits() const { return _clusterBits; }
  std::uint64_t clusterSize() const { return std::uint64_t{1} << _clusterBits; }
  std::uint64_t clusterCount() const { return divideUp(_virtualSize, clusterSize()); }
  const std::string& backingFile() const { return _backingFile; }

  ArchiveResult<ClusterKind> kindOf(std::uint64_t cluster);

  // Fills `content`, one cluster long; an absent cluster gives zeros.
  ArchiveResult<ClusterKind> read(std::uint64_t cluster, std::span<std::byte> content);

  // The exact frame of the compressed cluster that was read last, until the next read.
  ByteSpan frame() const { return _frame; }

  // The first cluster from `cluster` on that is not absent.
  ArchiveResult<std::optional<std::uint64_t>> nextPresent(std::uint64_t cluster);

 private:
  struct FreeContext {
    void operator()(ZSTD_DCtx_s* context) const;
  };

  Qcow2Reader() = default;
  ArchiveResult<Done> readHeader();
  ArchiveResult<Done> readBackingName(ByteSpan header);
  ArchiveResult<Done> readTablePlaces(std::uint64_t place, std::uint64_t count);
  ArchiveResult<std::uint64_t> entryOf(std::uint64_t cluster);
  ArchiveResult<Done> loadTable(std::uint64_t index);
  ArchiveResult<Done> readCompressed(std::uint64_t entry, std::span<std::byte> content);
  bool holds(std::uint64_t place, std::uint64_t size) const {
    return place <= _fileSize && size <= _fileSize - place;
  }
  ArchiveError damaged(const char* message, std::uint64_t place) const;

  OpenFile _file;
  std::uint64_t _fileSize = 0;
  std::uint64_t _virtualSize = 0;
  unsigned _clusterBits = 0;
  std::string _backingFile;
  std::vector<std::uint64_t> _tablePlaces;
  std::optional<std::uint64_t> _loadedTable;
  ByteBuffer _table;
  ByteBuffer _frame;
  std::unique_ptr<ZSTD_DCtx_s, FreeContext> _context;
};

}  // namespace zpk
