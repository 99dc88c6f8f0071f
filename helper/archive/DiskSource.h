#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "helper/archive/FileAccess.h"

namespace zpk {

// A disk that is read: a block device or a raw image file. Opened for reading only, and a block device exclusively,
// so that nobody mounts or writes it meanwhile.
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

  ArchiveResult<Done> read(std::uint64_t offset, std::span<std::byte> bytes) const;

 private:
  DiskSource() = default;

  OpenFile _file;
  OpenFile _direct;  // Without a descriptor where reads cannot bypass the cache.
  std::uint64_t _size = 0;
};

}  // namespace zpk
