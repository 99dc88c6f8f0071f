#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

#include "helper/archive/ByteRange.h"
#include "helper/archive/TestFiles.h"

namespace zpk::test {

// A disk image through a file system that makes faults, as faultydisk.cpp describes; a real file to everybody who
// reads it. It needs FUSE; a test on a machine without fails.
class FaultyDisk {
 public:
  FaultyDisk(const ScratchFolder& folder, const std::string& image);
  FaultyDisk(const FaultyDisk&) = delete;
  FaultyDisk& operator=(const FaultyDisk&) = delete;
  ~FaultyDisk();

  const std::string& path() const { return _path; }

  // From now on, in place of all faults before.
  void setBad(const std::vector<ByteRange>& ranges) const;
  void goAfter(std::uint64_t reads, int errorNumber) const;
  // How many reads were refused so far.
  std::uint64_t refused() const;

 private:
  std::string _mountPoint;
  std::string _faults;
  std::string _path;
  pid_t _process = -1;
};

}  // namespace zpk::test
