#pragma once

#include <functional>
#include <string>
#include <vector>

#include "base/Observable.h"

namespace zpk {

// A disk image of a backup point that is attached as a virtual disk.
struct AttachedDrive {
  std::string id;         // 32 hexadecimal digits
  std::string imagePath;  // absolute
  std::string missing{};  // what of it is not shown, in words, a line for each volume; empty when all of it is
  bool operator==(const AttachedDrive&) const = default;
};

// The virtual disks that the user has now, whichever program has attached them, and the way to end one. Each is
// kept by a server, which is a process of its own and outlives the program that asked for it. Main thread.
class DriveControl {
 public:
  virtual ~DriveControl() = default;

  // Those that are attached now, in the order of their ids.
  virtual std::vector<AttachedDrive> attachedDrives() = 0;
  // Calls `changed` whenever attachedDrives() may answer something else, until the token ends. One at a time.
  virtual Token watchDrives(std::function<void()> changed) = 0;

  // Asks the drive's server to unmount its volumes and to end. Returns at once.
  virtual void detach(const std::string& id) = 0;
  // Whether a drive that is not attached any more has left something behind, which it does not when its server ends
  // as it should.
  virtual bool hasRemains(const std::string& id) = 0;
  // Kills the drive's server, if there is one, and takes away what is left of the drive: its mounts, its files.
  virtual void remove(const std::string& id) = 0;
  // Takes away what is left of every drive whose server is gone; a drive that somebody is about to attach is none.
  virtual void removeAllRemains() = 0;
};

}  // namespace zpk
