#pragma once

#include <cstdint>

#include "helper/archive/DiskLayout.h"
#include "helper/archive/DiskSource.h"

namespace zpk {

// A stretch of a disk as a read-only block device, for image files and block devices alike; the kernel refuses
// every write to it. Needs the right to set up loop devices.
//
// It is detached when this object goes, and by the kernel when the process dies.
class LoopDevice {
 public:
  // The error is the errno of what was refused.
  static Expected<LoopDevice, int> attach(const DiskSource& disk, ByteRange range, std::uint32_t sectorSize);

  const std::string& path() const { return _loop.path; }

 private:
  explicit LoopDevice(OpenFile loop) : _loop(std::move(loop)) {}

  OpenFile _loop;
};

}  // namespace zpk
