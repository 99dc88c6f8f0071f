#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "helper/archive/ByteRange.h"
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

  // For whoever reads most of what the image holds, in ascending order: clusters that lie together in the file are
  // read from it together, up to a MiB at once. Once that fails, each is read by itself.
  void gatherReads() { _gathers = true; }

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
  ArchiveResult<Done> readPlain(std::uint64_t cluster, std::uint64_t entry, std::span<std::byte> content);
  ArchiveResult<Done> readCompressed(std::uint64_t cluster, std::uint64_t entry, std::span<std::byte> content);
  ArchiveResult<Done> unpack(ByteSpan sectors, std::uint64_t place, std::span<std::byte> content);
  std::uint64_t compressedPlace(std::uint64_t entry) const;
  // Where the file holds the cluster of a compressed or plain entry: nothing when that is out of place.
  std::optional<ByteRange> extentOf(std::uint64_t entry) const;
  // How far reading on from `extent`, where that cluster is, pays.
  std::uint64_t gatheredEnd(std::uint64_t cluster, const ByteRange& extent) const;
  // A part of the file that was read in one go.
  struct Stretch {
    std::uint64_t place = 0;
    ByteBuffer bytes;
  };
  ArchiveResult<ByteSpan> bytesOf(std::uint64_t cluster, const ByteRange& extent, Stretch& stretch);
  ArchiveResult<Done> fill(Stretch& stretch, const ByteRange& range) const;
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
  // A failing disk takes seconds to refuse it, which thousands of clusters would ask for.
  std::optional<std::pair<std::uint64_t, ArchiveError>> _failedTable;
  ByteBuffer _table;
  bool _gathers = false;
  Stretch _frames;
  Stretch _plain;   // Plain clusters lie in stretches of their own.
  ByteSpan _frame;  // In _frames.
  std::unique_ptr<ZSTD_DCtx_s, FreeContext> _context;
};

}  // namespace zpk
