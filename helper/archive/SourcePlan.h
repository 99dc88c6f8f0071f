#pragma once

#include "helper/archive/BackupOperation.h"
#include "helper/archive/DiskLayout.h"
#include "helper/archive/DiskSource.h"
#include "helper/archive/SourceReader.h"

namespace zpk {

// A disk that was examined and found fit: open, with what is to be stored of it and its description completed.
struct SourcePlan {
  DiskSource disk;
  DiskLayout layout;
  StoredDisk description;
  std::vector<VitalPlace> vital;
};

// Opens the disk, makes sure that it is the one that is described, finds the partition table's places and looks
// into every partition that is to be stored. Anything that speaks against reading it is an error whose message
// tells what to do. `exportFolder` as PartitionDevice has it.
ArchiveResult<SourcePlan> planSource(const BackupDisk& source, const std::string& exportFolder,
                                     const CancelFlag& cancel);

}  // namespace zpk
