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
// cost a byte that somebody needs. The tables are read one by one, once to find what is in use and again to count;
// what is held of them is two bits for each cluster of the file, and 64 MiB while the references are counted. One
// thread.
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
        _newSpace(clusterSize, 0),
        _table(clusterSize) {}
  struct HostRange {
    std::uint64_t first = 0;
    std::uint64_t count = 0;
  };
  ArchiveResult<Done> readHeader();
  ArchiveResult<Done> readCountPlaces();
  ArchiveResult<std::vector<std::uint64_t>> readNumbers(std::uint64_t place, std::uint64_t count) const;
  ArchiveResult<Done> findUsed();
  // Tells `visit` all that the first table leads to: tables and clusters. What it answers with false is damage.
  template <class Visit>
  ArchiveResult<Done> visitContent(const CancelFlag& cancel, const Visit& visit) const;
  template <class Visit>
  ArchiveResult<Done> visitTable(std::uint64_t place, ByteBuffer& table, const Visit& visit) const;
  HostRange hostsOf(std::uint64_t entry) const;
  // How often the new content refers to each cluster of that range.
  ArchiveResult<std::vector<std::uint16_t>> countReferences(const HostRange& window,
                                                            const CancelFlag& cancel) const;
  // Writes that follow each other in the file are gathered: one for every frame would cost more than its bytes.
  ArchiveResult<Done> put(std::uint64_t place, ByteSpan bytes);
  ArchiveResult<Done> writePending();
  ArchiveResult<Done> setEntry(std::uint64_t cluster, std::uint64_t entry);
  ArchiveResult<Done> loadTable(std::uint64_t index);
  ArchiveResult<Done> storeTable();
  ArchiveResult<Done> storeFirstTable();
  ArchiveResult<Done> placeCounts();
  ArchiveResult<Done> storeCounts(const CancelFlag& cancel);
  ArchiveResult<Done> storeHeader(ByteSpan header);
  bool takesRoom(const Qcow2Space::Run& run) const;
  // Whether what the short runs take is little enough to be left to them.
  bool mayKeepShortRuns() const;
  void punchUnused();
  ArchiveError damaged(const char* message, std::uint64_t place) const;

  OpenFile _file;
  std::uint64_t _clusterSize;
  std::uint64_t _originalSize;
  Qcow2Space _space;     // What the content refers to, old and new.
  Qcow2Space _newSpace;  // The new one alone, once the references were counted.
  std::uint64_t _virtualSize = 0;
  unsigned _clusterBits = 0;
  bool _hasParent = false;
  std::uint64_t _l1Place = 0;
  std::vector<std::uint64_t> _l1;
  HostRange _countTable;
  std::uint64_t _newL1Place = 0;
  HostRange _newCountTable;
  std::vector<std::uint64_t> _newCountPlaces;  // Of the blocks of counts.
  std::optional<std::uint64_t> _tableIndex;    // Of the L2 table being changed.
  ByteBuffer _table;
  std::uint64_t _pendingPlace = 0;
  ByteBuffer _pending;  // Put there, but not written yet; nothing reads it before `prepare` has written all.
};

}  // namespace zpk
