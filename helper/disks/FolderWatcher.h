#pragma once

#include <string>
#include <vector>

#include "platform/posix/FileDescriptor.h"

namespace zpk {

// Tells when the files in some folders come, go or have been written.
//
// For an event loop: wait until `fd()` is readable, then call `drain()`. A file that is being written counts when
// its writer closes it; hidden files never count. A folder that is not there is watched for in the folder above it.
class FolderWatcher {
 public:
  explicit FolderWatcher(const std::vector<std::string>& folders);

  // -1 where the system has no watch left to give; then only a reload finds what has changed.
  int fd() const { return _fd.get(); }

  // Takes all that was reported and says whether any of it means that the folders should be read again.
  bool drain();

 private:
  struct Watch {
    std::string folder;
    int descriptor = -1;        // Of the folder, when it is there.
    int parentDescriptor = -1;  // Of the folder above, always when that is there.
  };

  void arm(Watch& watch);
  bool matters(int descriptor, unsigned mask, const std::string& name);

  FileDescriptor _fd;
  std::vector<Watch> _watches;
};

}  // namespace zpk
