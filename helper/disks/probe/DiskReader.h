#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "base/Expected.h"
#include "platform/posix/FileDescriptor.h"

namespace zpk {

// Which file a path led to when it was looked at: opening it again must lead to the same one.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
};

// A disk image or a block device, open for reading.
//
// Opening follows no link, waits for nothing and takes regular files and block devices only, so that whatever lies
// in a folder of images can be handed in. Reads are bounds-checked against the size at opening.
class DiskReader {
 public:
  // The error is a sentence part: "it is not a disk image but a pipe".
  static Expected<DiskReader, std::string> open(const std::string& path, std::optional<FileIdentity> expected);

  // Fills all of `out` from the given byte, or says that this is not possible.
  bool read(std::uint64_t position, std::span<std::uint8_t> out) const;

  int fd() const { return _fd.get(); }
  std::uint64_t size() const { return _size; }
  bool isBlockDevice() const { return _isBlockDevice; }

 private:
  DiskReader(FileDescriptor fd, std::uint64_t size, bool isBlockDevice)
      : _fd(std::move(fd)), _size(size), _isBlockDevice(isBlockDevice) {}

  FileDescriptor _fd;
  std::uint64_t _size;
  bool _isBlockDevice;
};

}  // namespace zpk
