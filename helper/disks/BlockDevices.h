#pragma once

#include <vector>

#include "helper/disks/FoundDisk.h"
#include "helper/disks/LinuxPaths.h"
#include "helper/disks/MountedVolumes.h"
#include "helper/disks/RunningSystem.h"

namespace zpk {

// The machine's disks, as the kernel lists them.
//
// Left out without a word: devices without media, memory disks, optical and floppy drives, boot areas of flash
// memory, and devices that are made from others (mapped devices, RAID). A disk that is itself part of such a device
// is passed over with a reason. Opens nothing.
FoundDisks listBlockDevices(const LinuxPaths& paths, const std::vector<MountedVolume>& mounts,
                            const RunningSystem& system);

}  // namespace zpk
