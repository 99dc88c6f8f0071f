#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "helper/archive/Archive.h"

namespace zpk {

// A disk to back up and its description as it goes into the point's index; a disk that is not as described is not
// backed up. A partition whose `content` is not
// NotStored is stored; whether as a whole or by its used clusters is found out from what is on it. Names of files
// and `storedBytes` are filled in.
struct BackupDisk {
  std::string path;  // Block device or raw image file.
  StoredDisk description;
  // Store a volume also when it was not closed cleanly or its structures contradict each other. One that Windows
  // sleeps on, or has encrypted, is refused in any case.
  bool acceptsUncleanVolumes = false;
  // What `path` led to when the description was made (DeviceIdentity.h); empty when that is not known.
  std::string identity{};
};

struct BackupRequest {
  std::vector<BackupDisk> disks;
  std::string label;
  std::int64_t creationTime = 0;  // Seconds since 1970, UTC.
  // A folder of the helper's own, where partitions of image files are shown to the tools when there are no loop
  // devices to be had (FuseExport.h). Empty: there is none.
  std::string exportFolder{};
  // What the archive belongs to once the point is made; nothing leaves that as it is.
  std::optional<ArchiveSource> source{};
  // Told why a full point is made although there is a point that an increment could have built on.
  std::function<void(const std::string& reason)> becomesFull{};
};

struct MadePoint {
  PointIndex index;
  std::uint64_t storedBytes = 0;  // What the new images hold, before compression: all of it, or what changed.
};

// Called on the calling thread, about once for every MiB; never goes back, and `done` reaches `total` only once the
// point is complete and durable.
using BackupProgress = std::function<void(std::uint64_t done, std::uint64_t total)>;

// Makes a full backup point and gives its index. The archive is open for writing.
//
// Every stored partition is examined first; a source that is not fit to be read or goes away, an error of any write
// or sync, and a raised `cancel` (answered within a second) end it with the archive as it was before. Bad sectors
// of the source do not, as far as SourceReader.h bears them: the point's index names them.
ArchiveResult<PointIndex> makeFullBackup(Archive& archive, const BackupRequest& request,
                                         const BackupProgress& progress, const CancelFlag& cancel);

// The same, but as an increment on the newest point where that is possible: its images hold only what differs from
// that point's, found by comparing hashes. An archive without points gets a full one, and so does one whose newest
// point holds other disks or partitions, or cannot be relied on.
ArchiveResult<MadePoint> makeBackup(Archive& archive, const BackupRequest& request, const BackupProgress& progress,
                                    const CancelFlag& cancel);

}  // namespace zpk
