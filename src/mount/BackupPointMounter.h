#pragma once

#include <functional>
#include <string>
#include <utility>

#include "base/DispatchQueue.h"
#include "base/FileManager.h"
#include "base/Log.h"
#include "mount/OpenMountedVolumes.h"
#include "mount/virtualdisk/VirtualDiskDriver.h"
#include "records/RLDArchiveItem.h"

namespace zpk {

// What mounting asks of the platform. All of it outlives the mounter and the work on the queues.
struct BackupPointMounterEnvironment {
  VirtualDiskDriver& driver;
  const FileManager& fileManager;
  Log& log;
  DispatchQueue& backgroundQueue;
  OpenMountedVolumesEnvironment volumes;
};

// Gives the user the files of a backup point: attaches the disk images that lie beside its index file as virtual
// disks, and opens their volumes in the file viewer once the system has mounted them.
//
// Main thread only, which an image blocks for up to a minute (qrxCreateDrive); the volumes are waited for in the
// background.
class BackupPointMounter {
 public:
  // Told why an image could not be attached, in words that may be empty; the remaining images are still tried.
  using AttachFailed = std::function<void(const std::string& errorText)>;

  explicit BackupPointMounter(BackupPointMounterEnvironment environment) : _environment(std::move(environment)) {}

  void mountArcItem(const RLDArchiveItem& arcItem, const AttachFailed& attachFailed);

 private:
  void attachImage(const std::string& imagePath, const AttachFailed& attachFailed);

  BackupPointMounterEnvironment _environment;
};

}  // namespace zpk
