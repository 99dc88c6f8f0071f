#pragma once

#include <algorithm>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "mount/DriveControl.h"

namespace zpk {

// Drives that are there because a test says so. Their servers end as they are asked to, unless they are stubborn.
struct DriveControlDouble final : DriveControl {
  void attach(const std::string& id, const std::string& imagePath, const std::string& missing = {}) {
    drives.push_back({id, imagePath, missing});
    announce();
  }
  // Its server unmounts and ends, as after an unmount in the file viewer.
  void end(const std::string& id) {
    std::erase_if(drives, [&](const AttachedDrive& drive) { return drive.id == id; });
    announce();
  }
  // Its server is killed.
  void lose(const std::string& id) {
    remains.insert(id);
    end(id);
  }

  std::vector<AttachedDrive> attachedDrives() override { return drives; }
  Token watchDrives(std::function<void()> changed) override {
    _changed = std::move(changed);
    return Token([this] { _changed = nullptr; });
  }
  void detach(const std::string& id) override {
    detached.push_back(id);
    if (!stubborn) end(id);
  }
  bool hasRemains(const std::string& id) override { return remains.contains(id); }
  void remove(const std::string& id) override {
    removed.push_back(id);
    remains.erase(id);
    if (!immortal) end(id);
  }
  void removeAllRemains() override { ++cleanings; }

  std::vector<AttachedDrive> drives;
  std::set<std::string> remains;
  std::vector<std::string> detached;
  std::vector<std::string> removed;
  int cleanings = 0;
  bool stubborn = false;  // being asked to end does nothing
  bool immortal = false;  // nor does being killed

 private:
  void announce() {
    if (const auto changed = _changed) changed();
  }
  std::function<void()> _changed;
};

}  // namespace zpk
