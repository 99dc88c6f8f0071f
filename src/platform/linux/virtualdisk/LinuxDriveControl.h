#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/DispatchQueue.h"
#include "mount/DriveControl.h"
#include "platform/linux/virtualdisk/DriveFolder.h"
#include "platform/posix/FileDescriptor.h"
#include "platform/posix/FileDescriptorWatcher.h"

namespace zpk {

// The drives below the user's runtime folder. A change is a notice of the kernel's: of a file in one of the folders
// (inotify), or of the end of a helper (pidfd). A helper is only signalled through its pidfd, opened while it held
// the drive's lock, so that no other process can be hit.
class LinuxDriveControl final : public DriveControl {
 public:
  // `backgroundQueue` unmounts what was left; it and the watcher outlive this object.
  LinuxDriveControl(FileDescriptorWatcher& watcher, DispatchQueue& backgroundQueue, std::string runtimeFolder);
  ~LinuxDriveControl() override;

  std::vector<AttachedDrive> attachedDrives() override;
  Token watchDrives(std::function<void()> changed) override;
  void detach(const std::string& id) override;
  bool hasRemains(const std::string& id) override;
  void remove(const std::string& id) override;
  void removeAllRemains() override;

 private:
  struct Helper {
    FileDescriptor process;
    Token watch;
  };

  void watchFolders();
  void watchHelpers(const std::vector<DriveFolder>& drives);
  void somethingChanged();

  FileDescriptorWatcher& _watcher;
  DispatchQueue& _backgroundQueue;
  std::string _runtimeFolder;
  std::function<void()> _changed;
  FileDescriptor _folders;  // inotify
  Token _folderWatch;
  std::map<std::string, Helper> _helpers;  // by the drive's id
};

}  // namespace zpk
