#pragma once

#include <optional>
#include <vector>

#include "helper/archive/FileAccess.h"
#include "helper/archive/Qcow2Space.h"

namespace zpk {

// Gives an image another content in place, such that it is whole at every moment: everything new goes where the
// image refers to nothing, and writing one sector, the header, makes the new content the image's.
//
//   open → put… → prepare → switchOver → giveBack      or, instead of switchOver: discard
//
// What is in use is taken from the image's own tables, not from its stored reference counts: a wrong count must not
// cost a byte that somebody needs. One thread.
class Qcow2Rewriter {
 public:
  // `file` is open for reading and writing, and nobody else has it open. Damaged when the image contradicts itself.
  static ArchiveResult<Qcow2Rewriter> open(OpenFile file);

  std::uint64_t clusterSize() const { return _clusterSize; }
  std::uint64_t virtualSize() const { return _virtualSize; }
  // Where the image's first table lies: another place once it was switched over.
  std::uint64_t tablesPlace() const { return _l1Place; }

  // In ascending order of clusters, as Qcow2Writer takes them.
  ArchiveResult<Done> putCompressed(std::uint64_t cluster, ByteSpan frame);
  ArchiveResult<Done> putPlain(std::uint64_t cluster, ByteSpan content);
  ArchiveResult<Done> putZeros(std::uint64_t cluster);

  // Tables and sync. The image still has its old content.
  ArchiveResult<Done> prepare(const CancelFlag& cancel);
  // Header and sync: now it has the new one. After a failure it may have either.
  ArchiveResult<Done> switchOver();
  // The same for an image that an earlier process may have switched over without living to see it durable: until it
  // is, nothing of the old content may be given back.
  ArchiveResult<Done> confirmSwitch();
  // Hands what nothing refers to back to the file system, as far as that can take it back. Runs shorter than 64 KiB
  // keep their room while they are no more than a sixteenth of the image, as each costs a write to the file
  // system's journal. What stays, which is everything while somebody else has the image open, counts as free and is
  // used by the next rewriting.
  void giveBack();
  // Takes away what was added, behind the end of the file and in its holes. The last thing that is done with it.
  void discard();

 private:
  Qcow2Rewriter(OpenFile file, std::uint64_t clusterSize, std::uint64_t fileSize)
      : _file(std::move(file)),
        _clusterSize(clusterSize),
        _originalSize(fileSize),
        _space(clusterSize, fileSize),
        _table(clusterSize) {}
  ArchiveResult<Done> readHeader();
  ArchiveResult<Done> readTables();
  ArchiveResult<Done> readCountPlaces();
  ArchiveResult<Done> readEntries(std::uint64_t tablePlace);
  ArchiveResult<std::vector<std::uint64_t>> readNumbers(std::uint64_t place, std::uint64_t count) const;
  struct HostRange {
    std::uint64_t first = 0;
    std::uint64_t count = 0;
  };
  HostRange hostsOf(std::uint64_t entry) const;
  // Writes that follow each other in the file are gathered: one for every frame would cost more than its bytes.
  ArchiveResult<Done> put(std::uint64_t place, ByteSpan bytes);
  ArchiveResult<Done> writePending();
  ArchiveResult<Done> setEntry(std::uint64_t cluster, std::uint64_t entry);
  ArchiveResult<Done> loadTable(std::uint64_t index);
  ArchiveResult<Done> storeTable();
  ArchiveResult<Done> storeFirstTable();
  ArchiveResult<Done> storeCounts();
  ArchiveResult<Done> storeHeader(ByteSpan header);
  bool takesRoom(const Qcow2Space::Run& run) const;
  void punchUnused();
  ArchiveError damaged(const char* message, std::uint64_t place) const;

  OpenFile _file;
  std::uint64_t _clusterSize;
  std::uint64_t _originalSize;
  Qcow2Space _space;
  std::uint64_t _virtualSize = 0;
  unsigned _clusterBits = 0;
  bool _hasParent = false;
  std::uint64_t _l1Place = 0;
  std::vector<std::uint64_t> _l1;
  HostRange _countTable;
  std::vector<std::uint64_t> _countBlocks;  // Host clusters.
  std::uint64_t _newL1Place = 0;
  HostRange _newCountTable;
  std::optional<std::uint64_t> _tableIndex;  // Of the L2 table being changed.
  ByteBuffer _table;
  std::uint64_t _pendingPlace = 0;
  ByteBuffer _pending;  // Put there, but not written yet; nothing reads it before `prepare` has written all.
};

}  // namespace zpk
