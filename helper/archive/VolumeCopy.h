#pragma once

#include <cstdint>
#include <functional>

#include "helper/archive/DiskLayout.h"
#include "helper/archive/PointDisk.h"
#include "helper/archive/RestoreTarget.h"

namespace zpk {

// What of a stored partition is copied to its place. All of it is the caller's and outlives the call.
struct VolumeCopy {
  PointDisk& source;
  const RestoreTarget& target;
  const DiskLayout& layout;  // Of the stored disk: what of the partition counts.
  ByteRange range;           // On the stored disk; nothing of the layout outside of it is copied.
  std::uint64_t place = 0;   // Where `range.start` goes on the target.
};

// What there is to copy, for the progress.
std::uint64_t bytesToCopy(const DiskLayout& layout, ByteRange range);

// Called on the calling thread with the bytes that were copied so far; never goes back.
using CopiedBytes = std::function<void(std::uint64_t bytes)>;

// Copies it. One thread reads, unpacks and compares with the hashes, up to 8 MiB ahead of the calling one, which
// writes. The first error ends it, and so does `cancel`.
ArchiveResult<Done> copyVolume(const VolumeCopy& copy, const CopiedBytes& progress, const CancelFlag& cancel);

}  // namespace zpk
