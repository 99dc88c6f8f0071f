#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "helper/archive/DiskLayout.h"
#include "helper/archive/DiskSource.h"
#include "helper/process/CancelFlag.h"

namespace zpk {

// A place of a disk without which the rest of what is stored is of no use: "The partition table".
struct VitalPlace {
  ByteRange range;
  std::string name;
};

// Whether a read failed because of the place that was read, as it does on bad sectors, and not because the device
// is gone.
bool isBadPlace(const ArchiveError& error);
// The same error, in plain words: "The partition table cannot be read: the disk has bad sectors there".
ArchiveError unreadablePlace(const std::string& name, const ArchiveError& error);

// Whether the disk is still there to be asked: its beginning could be read when it was opened.
ArchiveResult<Done> checkAnswers(const DiskSource& disk);

// Reads what is stored of a disk for its image, also where the disk has bad sectors.
//
// A read that fails is repeated in smaller and smaller pieces, of stored bytes alone, down to the sector. What
// stays unreadable reads as zeros and is noted. Three things are errors instead: a disk whose beginning cannot be
// read any more either, because then it is gone; a bad sector in a vital place; and more than `mostUnreadable`
// bytes.
//
// Several threads may read at once. Disk, layout and flag are the caller's and outlive this.
class SourceReader {
 public:
  // A sector costs a failing disk seconds, and a copy with more holes is none that anybody would want to go back
  // to.
  static constexpr std::uint64_t mostUnreadable = std::uint64_t{16} << 20U;

  SourceReader(const DiskSource& disk, const DiskLayout& layout, std::uint32_t sectorSize,
               const std::vector<VitalPlace>& vital, const CancelFlag& cancel)
      : _disk(disk), _layout(layout), _sectorSize(sectorSize), _vital(vital), _cancel(cancel) {}

  const std::string& path() const { return _disk.path(); }
  std::uint64_t size() const { return _disk.size(); }

  ArchiveResult<Done> read(std::uint64_t offset, std::span<std::byte> bytes);

  // What could not be read so far: whole sectors, in order, neighbouring ones as one range.
  std::vector<ByteRange> unreadable() const;

 private:
  struct Piece {
    std::uint64_t start = 0;  // On the disk.
    std::span<std::byte> bytes;
  };

  ArchiveResult<Done> readAround(const Piece& piece);
  ArchiveResult<Done> narrow(const Piece& piece, std::size_t level);
  ArchiveResult<Done> giveUp(const Piece& sector, const ArchiveError& error);

  const DiskSource& _disk;
  const DiskLayout& _layout;
  const std::uint64_t _sectorSize;
  const std::vector<VitalPlace>& _vital;
  const CancelFlag& _cancel;
  mutable std::mutex _mutex;  // Guards what follows.
  std::vector<ByteRange> _unreadable;
  std::uint64_t _unreadableBytes = 0;
};

}  // namespace zpk
