#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "helper/archive/AlignedBuffer.h"
#include "helper/archive/FileAccess.h"
#include "helper/archive/Qcow2Refcounts.h"

namespace zpk {

// Writes one disk image from its first cluster to its last and never goes back, but for the header, which comes at
// the very end: before that the file is no image at all.
//
// Clusters come in ascending order; those left out read as zeros (or as the backing file's). Compressed clusters
// are packed byte behind byte, plain ones lie on cluster boundaries; each kind fills stretches of 2 MiB, so that
// every write is large. An L2 table or refcount block is written as soon as nothing can change in it, which keeps
// memory constant. One thread at a time. After the first error the image is void and only destruction is left.
class Qcow2Writer {
 public:
  struct Options {
    std::uint64_t virtualSize = 0;  // Bytes, a multiple of 512.
    unsigned clusterBits = 14;
    std::string backingFile;  // Relative path of the parent's image, or empty; at most 300 bytes.
  };

  // `file` is new and empty; it stays open until the writer is destroyed.
  Qcow2Writer(OpenFile file, Options options);

  // A whole zstd frame that gives one cluster. Shorter than a cluster.
  ArchiveResult<Done> addCompressed(std::uint64_t cluster, ByteSpan frame);
  ArchiveResult<Done> addPlain(std::uint64_t cluster, ByteSpan content);
  // Zeros that hide what the backing file has there.
  ArchiveResult<Done> addZeros(std::uint64_t cluster);

  // Tables, sync, header, sync. On success the file is a complete and durable image.
  ArchiveResult<Done> finish(const CancelFlag& cancel);

  std::uint64_t clusterSize() const { return _clusterSize; }
  std::uint64_t writtenBytes() const { return _end * _clusterSize; }

 private:
  // A stretch of the file that is being filled in memory.
  struct Stretch {
    std::uint64_t start = 0;  // Host cluster.
    std::size_t used = 0;     // Bytes.
    AlignedBuffer memory;     // Empty while there is no stretch.
  };

  ArchiveResult<Done> setEntry(std::uint64_t cluster, std::uint64_t entry);
  ArchiveResult<Done> writeTable();
  ArchiveResult<std::uint64_t> appendCluster(ByteSpan content);
  ArchiveResult<std::uint64_t> append(Stretch& stretch, ByteSpan bytes);
  ArchiveResult<Done> open(Stretch& stretch);
  ArchiveResult<Done> flush(Stretch& stretch);
  ArchiveResult<Done> storeFinishedCounts();
  ArchiveResult<Done> writeTables();
  ArchiveResult<Done> writeCounts(std::uint64_t place, std::uint64_t tableClusters);
  ByteBuffer header() const;

  OpenFile _file;
  OpenFile _direct;  // The same file past the page cache; without a descriptor where that is not possible.
  Options _options;
  std::uint64_t _clusterSize;
  std::uint64_t _entriesPerTable;
  std::uint64_t _end = 1;  // Host clusters given out; the first is the header's.
  Stretch _packed;
  Stretch _plain;
  Qcow2Refcounts _counts;
  std::vector<std::uint64_t> _tablePlaces;  // L1: place of each L2 table, 0 for none.
  std::uint64_t _tableIndex = 0;
  bool _tableTouched = false;
  ByteBuffer _table;  // The L2 table being filled.
  std::uint64_t _l1Place = 0;
  std::uint64_t _countTablePlace = 0;
  std::uint64_t _countTableClusters = 0;
};

}  // namespace zpk
