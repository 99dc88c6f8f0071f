#pragma once

#include <optional>
#include <string>
#include <vector>

#include "helper/disks/LinuxPaths.h"
#include "helper/disks/SystemFiles.h"

namespace zpk {

// One line of the kernel's mount table.
struct MountedVolume {
  DeviceNumber device;  // Major 0 where the file system has no device of its own (overlay, btrfs, network).
  std::string mountPoint;
  std::string source;
};

// The mounts that this process sees, in the order in which they were made.
std::vector<MountedVolume> mountedVolumes(const LinuxPaths& paths);

// Where the device is mounted first; nothing when it is not.
std::optional<std::string> mountPointOf(const std::vector<MountedVolume>& mounts, DeviceNumber device);

// A loop device and what it shows: `offset` bytes into the file behind it.
struct LoopMapping {
  DeviceNumber device;
  std::string backingFile;
  std::uint64_t offset = 0;
};

// Every attached loop device, and each partition that the kernel found on one, as a stretch of the file behind it.
std::vector<LoopMapping> loopDevices(const LinuxPaths& paths);

}  // namespace zpk
