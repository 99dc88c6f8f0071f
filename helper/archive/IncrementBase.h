#pragma once

#include <memory>
#include <string>
#include <vector>

#include "helper/archive/Archive.h"
#include "helper/archive/ParentHashes.h"
#include "helper/archive/SourcePlan.h"

namespace zpk {

// What an increment of a whole backup builds on: the newest point of the archive.
struct IncrementBase {
  struct Disk {
    std::string backingFile;  // Of the new image, relative to its folder.
    std::unique_ptr<ParentHashes> hashes;
  };

  std::string parent;       // Id of the point.
  std::vector<Disk> disks;  // In the order of the backup's.
};

// Nothing but a reason, in plain words, when the newest point does not hold the same disks with the same
// partitions, or cannot be relied on. The archive has a point.
Expected<IncrementBase, std::string> findIncrementBase(const Archive& archive,
                                                       const std::vector<SourcePlan>& plans);

// The path of a point's image as an image of another point of the same archive names it:
// "../p0001-1f2e3d4c/disk0.pvhd".
std::string backingFileName(const std::string& pointFolder, const std::string& image);

}  // namespace zpk
