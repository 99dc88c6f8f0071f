#include "mount/OpenMountedVolumes.h"

namespace zpk {
namespace {

void openThoseMountedNow(DeviceSet& devices, const OpenMountedVolumesEnvironment& environment) {
  for (const Mount& mount : environment.mountTable.mounts()) {
    if (devices.erase(mount.device) == 0) continue;
    environment.mainQueue.async(
        [&workspace = environment.workspace, path = mount.mountPoint] { workspace.openFile(path); });
  }
}

}  // namespace

void openMountedVolumes(DeviceSet devices, const OpenMountedVolumesEnvironment& environment) {
  for (int pass = 1; pass <= kMountPasses && !devices.empty(); ++pass) {
    openThoseMountedNow(devices, environment);
    if (!devices.empty() && !environment.sleep(kMountPause)) return;
  }
}

}  // namespace zpk
