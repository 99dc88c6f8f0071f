#pragma once

#include <string_view>

#include "platform/posix/FileDescriptor.h"

namespace zpk {

// Tells when a disk was plugged in, changed or pulled out, also one that nobody mounts.
//
// For an event loop: wait until `fd()` is readable, then call `drain()`. It listens to the kernel itself and not to
// the device manager, whose word does not get into the network namespace of a service that has no network.
class DeviceWatcher {
 public:
  DeviceWatcher();

  // -1 where the kernel tells nothing, as in a container; then only a reload finds what has changed.
  int fd() const { return _fd.get(); }

  // Takes all that was reported and says whether any of it means that the disks should be read again.
  bool drain();

 private:
  FileDescriptor _fd;
};

// Whether a message of the kernel's is about what may be a disk or a part of one. Example, with ␀ for a zero byte:
//
//   add@/devices/pci0000:00/…/block/sdb␀ACTION=add␀DEVPATH=/devices/…␀SUBSYSTEM=block␀DEVNAME=sdb␀SEQNUM=4711␀
bool tellsOfDisk(std::string_view message);

}  // namespace zpk
