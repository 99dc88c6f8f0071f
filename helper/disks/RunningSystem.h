#pragma once

#include <set>
#include <utility>
#include <vector>

#include "helper/disks/LinuxPaths.h"
#include "helper/disks/MountedVolumes.h"
#include "helper/disks/probe/DiskReader.h"

namespace zpk {

// What the running system stands on: a restore onto any of it would pull the ground from under its feet.
//
// Found from the mounts of the system's folders and from swap space, followed down through partitions, mapped
// devices, RAID and loop devices to whole disks, and to image files where a loop device lies between. Where the
// root has no device that can be followed (a live system), every mounted disk counts, but for those under /media,
// /mnt and /run/media.
class RunningSystem {
 public:
  static RunningSystem find(const LinuxPaths& paths, const std::vector<MountedVolume>& mounts);

  // Disks as well as partitions.
  bool standsOn(DeviceNumber device) const { return _devices.count(device) != 0; }
  bool standsOn(const FileIdentity& file) const { return _files.count({file.device, file.inode}) != 0; }

 private:
  void add(const LinuxPaths& paths, DeviceNumber device);
  void addFile(const LinuxPaths& paths, const std::string& path);
  bool addMount(const LinuxPaths& paths, const MountedVolume& mount);
  void addSwap(const LinuxPaths& paths);

  std::set<DeviceNumber> _devices;
  std::set<std::pair<std::uint64_t, std::uint64_t>> _files;
};

}  // namespace zpk
