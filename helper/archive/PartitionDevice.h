#pragma once

#include <cstdint>
#include <string>

#include "helper/archive/DiskLayout.h"
#include "helper/archive/DiskSource.h"

namespace zpk {

// A partition of a disk as a read-only device of its own, which is what the file-system tools want: they expect the
// boot sector at the start of what they open.
//
// It is a loop device over the disk, for image files and block devices alike; the kernel refuses every write to it.
// It is detached when this object goes, and by the kernel when the process dies. Needs the right to set up loop
// devices.
class PartitionDevice {
 public:
  static ArchiveResult<PartitionDevice> attach(const DiskSource& disk, ByteRange range, std::uint32_t sectorSize);

  const std::string& path() const { return _loop.path; }

 private:
  explicit PartitionDevice(OpenFile loop) : _loop(std::move(loop)) {}

  OpenFile _loop;
};

}  // namespace zpk
