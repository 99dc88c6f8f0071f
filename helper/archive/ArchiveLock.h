#pragma once

#include "helper/archive/FileAccess.h"

namespace zpk {

// The right to write one archive, held until destruction or the end of the process.
//
// It is a kernel lock on the file "lock" of the package, which names its owner: process, start time of the process
// and boot of the machine. A killed owner's lock is gone with it, whatever its record says. Where the file system
// has no such locks, the record alone decides, and one whose process is not alive any more is stale.
class ArchiveLock {
 public:
  static constexpr const char* fileName = "lock";

  static ArchiveResult<ArchiveLock> take(const OpenFile& package);

  ArchiveLock(ArchiveLock&&) = default;
  ArchiveLock& operator=(ArchiveLock&&) = delete;
  ~ArchiveLock();

 private:
  explicit ArchiveLock(OpenFile file) : _file(std::move(file)) {}

  OpenFile _file;
};

}  // namespace zpk
