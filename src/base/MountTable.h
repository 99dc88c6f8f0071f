#pragma once

#include <string>
#include <vector>

namespace zpk {

// One mounted file system.
struct Mount {
  std::string device;      // "/dev/disk4s2"
  std::string mountPoint;  // "/Volumes/WINDOWS"
  std::string fileSystemType;
  friend bool operator==(const Mount&, const Mount&) = default;
};

// The file systems mounted now. Any thread.
class MountTable {
 public:
  virtual ~MountTable() = default;
  // In the system's order. Empty when the table cannot be read.
  virtual std::vector<Mount> mounts() const = 0;
};

}  // namespace zpk
