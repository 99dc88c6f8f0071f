#pragma once

#include <memory>

#include "helper/archive/Archive.h"
#include "helper/archive/RestorePlan.h"
#include "helper/service/model/ArchiveKeeper.h"
#include "records/RLDArchive.h"
#include "records/ZPKDisk.h"

namespace zpk {

// Between what an archive stores and the records that the front end knows.

// The archive with all its points, oldest first. Of a stored disk the record has the partitions that the point
// holds, which is what a restore brings back. A point whose index cannot be read has no date and no disks, and is
// called "Damaged"; of its health nothing is known.
PresentArchive presentArchive(const Archive& archive);

// A disk as a backup point describes it. Its Windows side is to be stored: the partitions of Microsoft's types.
StoredDisk storedDisk(const ZPKDisk& disk);

// A disk as the target of a restore, and what of it a restore takes.
TargetLayout targetLayout(const ZPKDisk& disk);
TargetUse targetUse(const ZPKDisk& disk);

}  // namespace zpk
