#pragma once

#include <cstdint>
#include <string>

#include "helper/archive/FileAccess.h"
#include "helper/archive/RestorePlan.h"

namespace zpk {

// A disk that is written: a block device or a raw image file, open for nobody else. A block device is opened
// exclusively, which the kernel refuses while any of its partitions is mounted or part of another device. Of an
// image file everybody who has it open is found (ImageFileUse.h), and the programs of qemu are kept out until this
// object goes.
//
// Several threads may read and write, each at places of its own.
class RestoreTarget {
 public:
  // Writes nothing. Refused when somebody else uses the disk.
  static ArchiveResult<RestoreTarget> open(const std::string& path);

  const std::string& path() const { return _file.path; }
  std::uint64_t size() const { return _size; }
  int descriptor() const { return _file.fd.get(); }
  bool isImageFile() const { return _isImageFile; }

  // Whether it is still the disk that was chosen: the very device or file, its size, its sectors, its table's
  // identifier and every entry, read anew from the disk. Refused when it is not.
  ArchiveResult<Done> checkIs(const TargetLayout& chosen) const;

  // Whether its MBR names partitions of its own beside the GPT, for systems that start through the BIOS.
  ArchiveResult<bool> hasHybridMbr() const;

  ArchiveResult<Done> read(std::uint64_t offset, std::span<std::byte> bytes) const;
  ArchiveResult<Done> write(std::uint64_t offset, ByteSpan bytes) const;
  ArchiveResult<Done> writeZeros(ByteRange range) const;
  // Hands what was written so far to the device, so that little is left for `sync`.
  ArchiveResult<Done> startWriteback(std::uint64_t offset, std::uint64_t size) const;
  // Has the kernel look at the table of a block device again. Where it cannot now, it does when the disk is
  // attached next.
  void tellKernelOfTable() const;
  ArchiveResult<Done> sync(const CancelFlag& cancel) const;

 private:
  RestoreTarget() = default;
  ArchiveResult<Done> checkSectors(std::uint32_t sectorSize) const;
  ArchiveResult<Done> checkHasNoTable() const;
  ArchiveError otherDisk() const;

  OpenFile _file;
  std::uint64_t _size = 0;
  bool _isImageFile = false;
};

}  // namespace zpk
