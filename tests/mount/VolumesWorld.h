#pragma once

#include <string>
#include <utility>
#include <vector>

#include "mount/OpenMountedVolumes.h"
#include "support/ImmediateQueue.h"
#include "support/RecordingWorkspace.h"

namespace zpk {

// Mount points that are there from a certain look at the table on.
struct GrowingMountTable final : MountTable {
  std::vector<Mount> mounts() const override {
    ++looks;
    std::vector<Mount> now;
    for (const auto& [mount, fromLook] : all) {
      if (looks >= fromLook) now.push_back(mount);
    }
    return now;
  }
  std::vector<std::pair<Mount, int>> all;
  mutable int looks = 0;
};

// A desktop and a mount table; the pauses are noted and cost nothing.
struct VolumesWorld {
  void mount(const std::string& device, const std::string& mountPoint, int fromLook = 1) {
    table.all.push_back({{device, mountPoint, "ntfs"}, fromLook});
  }
  OpenMountedVolumesEnvironment environment() {
    return {table, workspace, mainQueue, [this](Seconds duration) {
              sleeps.push_back(duration);
              return static_cast<int>(sleeps.size()) != endsAfterSleeps;
            }};
  }

  GrowingMountTable table;
  RecordingWorkspace workspace;
  ImmediateQueue mainQueue;
  std::vector<Seconds> sleeps;
  int endsAfterSleeps = -1;
};

}  // namespace zpk
