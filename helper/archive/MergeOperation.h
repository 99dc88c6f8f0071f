#pragma once

#include <functional>

#include "helper/archive/Archive.h"

namespace zpk {

// Called on the calling thread; never goes back, and `done` reaches `total` only once the merge is complete.
using MergeProgress = std::function<void(std::uint64_t done, std::uint64_t total)>;

// Merges the point `child` into its parent, the point before it: the parent is given up, and the child then needs
// only what the parent needed. What the child and every other point read as does not change. The archive is open
// for writing.
//
// An increment's clusters are moved, as compressed as they are, into the parent's image, which then takes the
// child's place; each is checked against its hash on the way. Of a full point nothing has to be moved. The steps:
//
//   1  archive.json says that the two are being merged
//   2  the child's clusters and new tables are added to the parent's images; sync
//   3  one sector of each of those images is written: from now on it reads as the child; sync
//   4  what nobody needs any more is given back; the images are moved to the child's folder; its index.json
//   5  archive.json without the parent
//
// Until step 3 an error or a raised `cancel` leaves both points as they were. From there on a failure leaves the
// archive "merging": every point that it still lists reads as it should, and the next opening for writing finishes
// it.
//
// A child without a label takes over the parent's. Damage that the parent is noted to have is the child's from then
// on, unless it is a full point.
//
// Refused when the parent is pinned, when the two hold different disks, when something has one of the images open,
// and when there is not enough free space.
ArchiveResult<Done> mergeIntoParent(Archive& archive, std::size_t child, const MergeProgress& progress,
                                    const CancelFlag& cancel);

// Goes on with the merge that the archive's index says was begun. Where no image was switched over yet, a failure
// takes the merge back instead. From there on one that time does not heal, such as damage, gives the merge up:
// every image stays where it is, so that what is whole reads as before, the child is noted to be damaged, and the
// parent's folder is kept for as long as something builds on it.
ArchiveResult<Done> finishMerge(Archive& archive, const CancelFlag& cancel);

}  // namespace zpk
