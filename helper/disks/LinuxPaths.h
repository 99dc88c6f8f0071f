#pragma once

#include <string>

namespace zpk {

// Where the system keeps what it tells about disks. Tests put a tree of their own there.
struct LinuxPaths {
  std::string sys = "/sys";
  std::string proc = "/proc";
  std::string dev = "/dev";
};

}  // namespace zpk
