#pragma once

#include <memory>

#include "helper/archive/Archive.h"
#include "helper/archive/RestorePlan.h"
#include "helper/service/model/ArchiveKeeper.h"
#include "records/RLDArcDisk.h"
#include "records/RLDArchive.h"
#include "records/ZPKDisk.h"

namespace zpk {

// Between what an archive stores and the records that the front end knows.

// A stored disk with the partitions that the point holds, which is what a restore brings back. The Windows
// partition is the last, whatever its place in the table was: whoever chooses a size for the restored one takes the
// last partition's `partMinSize` for the smallest that will do, and it is (leastRoomFor()).
std::shared_ptr<const RLDArcDisk> storedDiskRecord(const StoredDisk& stored, const std::string& indexPath);

// The archive with all its points, oldest first. A point whose index cannot be read has no date and no disks, and
// is called "Damaged"; of its health nothing is known.
PresentArchive presentArchive(const Archive& archive);

// A disk as a backup point describes it. Its Windows side is to be stored: the partitions of Microsoft's types.
StoredDisk storedDisk(const ZPKDisk& disk);

// A disk as the target of a restore, and what of it a restore takes.
TargetLayout targetLayout(const ZPKDisk& disk);
TargetUse targetUse(const ZPKDisk& disk);

}  // namespace zpk
