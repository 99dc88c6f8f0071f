#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "helper/archive/PointIndex.h"
#include "platform/posix/FileDescriptor.h"

namespace zpk {

// What a volume is made of, and where it is to appear.
struct VolumePlace {
  std::string imagePath;
  StoredPartition partition;
  std::string device;         // "/dev/disk4s2"
  std::string volumesFolder;  // gets a folder named after the volume
};

// A process that serves the files of one volume. A volume whose bytes bring its reader down takes no other one with
// it. It ends when the volume is unmounted, when it is asked to (SIGTERM), and with the process that started it.
class VolumeProcess {
 public:
  // Nothing when there can be no process.
  static std::optional<VolumeProcess> start(const VolumePlace& place);

  pid_t pid() const { return _pid; }
  // Blocks until the volume is mounted, or is known not to be; then says why, in words.
  std::optional<std::string> waitUntilMounted();

 private:
  VolumeProcess(pid_t pid, FileDescriptor report) : _pid(pid), _report(std::move(report)) {}

  pid_t _pid;
  FileDescriptor _report;
};

}  // namespace zpk
