#pragma once

#include <functional>
#include <set>
#include <string>

#include "base/DispatchQueue.h"
#include "base/MountTable.h"
#include "base/RunLoop.h"
#include "base/Workspace.h"

namespace zpk {

using DeviceSet = std::set<std::string>;  // "/dev/disk4s2"

// The system mounts a new device's volumes by itself, a little later.
inline constexpr int kMountPasses = 10;
inline constexpr Seconds kMountPause{2};

// What openMountedVolumes asks of the platform. All of it outlives the work on the queues.
struct OpenMountedVolumesEnvironment {
  const MountTable& mountTable;
  Workspace& workspace;      // asked on the main thread
  DispatchQueue& mainQueue;  // of that thread
  // Of the calling thread. False: the program is about to end, so there is nothing to go on for. Any thread.
  std::function<bool(Seconds)> sleep;
};

// Opens the volume of each of these devices in the file viewer as soon as it is mounted, once. Devices that have
// not been mounted after ten looks at the mount table, two seconds apart, are forgotten. Blocks for up to 20 s, so
// it belongs on a background thread.
void openMountedVolumes(DeviceSet devices, const OpenMountedVolumesEnvironment& environment);

}  // namespace zpk
