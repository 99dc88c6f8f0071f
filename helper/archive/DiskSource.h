#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "helper/archive/FileAccess.h"

namespace zpk {

// A disk that is read: a block device or a raw image file. Opened for reading only. A block device is opened
// exclusively, so that nobody mounts or writes it meanwhile. An image file that another program has open for
// writing is refused; nobody can be kept from writing to it later, but `checkUnchanged` tells whether somebody did.
//
// Reads bypass the page cache where the file system allows it: a whole disk would push everything else out of it.
// Several threads may read at once.
class DiskSource {
 public:
  // Alignment of the memory, place and size of a read that can bypass the page cache.
  static constexpr std::uint64_t alignment = 4096;

  static ArchiveResult<DiskSource> open(const std::string& path);

  const std::string& path() const { return _file.path; }
  std::uint64_t size() const { return _size; }
  const OpenFile& file() const { return _file; }
  bool isImageFile() const { return _writtenAt.has_value(); }
  // An image file that was written since it was opened is SourceUnfit.
  ArchiveResult<Done> checkUnchanged() const;

  ArchiveResult<Done> read(std::uint64_t offset, std::span<std::byte> bytes) const;
  // Whole sectors, however few, and from the medium: what the page cache reads is larger than a bad sector, and
  // what it holds says nothing about the disk. For memory that is aligned as well.
  ArchiveResult<Done> readSectors(std::uint64_t offset, std::span<std::byte> bytes) const;

 private:
  DiskSource() = default;

  OpenFile _file;
  OpenFile _direct;  // Without a descriptor where reads cannot bypass the cache.
  std::uint64_t _size = 0;
  struct WriteTime {
    std::int64_t seconds = 0;
    std::int64_t nanoseconds = 0;
    bool operator==(const WriteTime&) const = default;
  };
  static std::optional<WriteTime> writeTime(const OpenFile& file);
  std::optional<WriteTime> _writtenAt;  // Of an image file.
};

}  // namespace zpk
