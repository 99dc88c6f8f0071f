#include "helper/archive/LoopDevice.h"

#include <fcntl.h>
#include <linux/loop.h>
#include <sys/ioctl.h>

#include <cerrno>

namespace zpk {

Expected<LoopDevice, int> LoopDevice::attach(const DiskSource& disk, ByteRange range, std::uint32_t sectorSize) {
  const FileDescriptor control(::open("/dev/loop-control", O_RDWR | O_CLOEXEC));
  if (!control) return errno;
  loop_config config = {};
  config.fd = static_cast<std::uint32_t>(disk.file().fd.get());
  config.block_size = sectorSize;
  config.info.lo_offset = range.start;
  config.info.lo_sizelimit = range.size();
  // The kernel takes the device down with its last descriptor, so that a killed helper leaves nothing behind.
  config.info.lo_flags = LO_FLAGS_READ_ONLY | LO_FLAGS_AUTOCLEAR;
  constexpr int attempts = 64;
  for (int i = 0; i < attempts; ++i) {
    const int number = ::ioctl(control.get(), LOOP_CTL_GET_FREE);
    if (number < 0) return errno;
    const std::string path = "/dev/loop" + std::to_string(number);
    FileDescriptor loop(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!loop) return errno;
    if (::ioctl(loop.get(), LOOP_CONFIGURE, &config) == 0) return LoopDevice(OpenFile{std::move(loop), path});
    // Somebody else took the free device between the two calls.
    if (errno != EBUSY) return errno;
  }
  return EBUSY;
}

}  // namespace zpk
