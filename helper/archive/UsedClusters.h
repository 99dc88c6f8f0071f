#pragma once

#include <string>

#include "helper/archive/ArchiveError.h"
#include "helper/archive/ClusterBitmap.h"
#include "helper/archive/NtfsBootSector.h"
#include "helper/process/CancelFlag.h"

namespace zpk {

// Which clusters of the NTFS volume on `device` are in use, from its own bitmap file (number 6 of its file table).
// A bitmap that is shorter than the volume is Damaged.
ArchiveResult<ClusterBitmap> readUsedClusters(const std::string& device, const NtfsGeometry& geometry,
                                              const CancelFlag& cancel);

}  // namespace zpk
