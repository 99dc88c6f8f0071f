#pragma once

#include <cstdint>
#include <string>
#include <variant>

#include "helper/archive/FuseExport.h"
#include "helper/archive/LoopDevice.h"

namespace zpk {

// A partition of a disk as something read-only of its own, which is what the file-system tools want: they expect
// the boot sector at the start of what they open.
//
// It is a loop device where those can be had. Else, for an image file, it is a file that FUSE serves, so that a
// user can back up his images without rights over disks. Detached when this object goes, and when the process dies.
class PartitionDevice {
 public:
  // `exportFolder` is the place for such files; empty: there is none, and loop devices it has to be.
  static ArchiveResult<PartitionDevice> attach(const DiskSource& disk, ByteRange range, std::uint32_t sectorSize,
                                               const std::string& exportFolder, const CancelFlag& cancel);

  const std::string& path() const;
  // Set once what it is made of was lost: whatever the tools said since then says nothing about the partition.
  std::optional<ArchiveError> loss() const;

 private:
  using Way = std::variant<LoopDevice, FuseExport>;
  explicit PartitionDevice(Way way) : _way(std::move(way)) {}

  Way _way;
};

}  // namespace zpk
