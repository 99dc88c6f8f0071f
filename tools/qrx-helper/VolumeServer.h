#pragma once

#include <functional>
#include <string>

#include "tools/qrx-helper/NtfsVolume.h"

namespace zpk {

// How a volume appears in the mount table.
struct VolumeMount {
  std::string device;      // "/dev/disk4s2"
  std::string mountPoint;  // an empty folder of this user's
};

// Mounts the volume through FUSE, read-only, nosuid, nodev and noexec, for this user alone, and serves it on this
// thread until it is unmounted or the process is asked to end (SIGTERM, SIGINT, SIGHUP). `mounted` is called once
// it can be looked at. Answers false when it could not be mounted.
bool serveVolume(NtfsVolume& volume, const VolumeMount& mount, const std::function<void()>& mounted);

}  // namespace zpk
