#pragma once

#include <cstdint>
#include <optional>

#include "helper/disks/probe/DiskReader.h"
#include "helper/disks/probe/ProbeReport.h"

namespace zpk {

// How much of an NTFS volume is in use, counted in its own bitmap of clusters.
//
// Works on a partition inside an image without any device for it, which the tools of ntfs-3g would need. Reads the
// boot sector, the file records of $Volume and $Bitmap and the bitmap itself; every number in them is checked
// before use. Nothing when they do not make sense, or when the bitmap is so scattered that its map does not fit its
// record.
//
// The minimum is what ntfsresize would shrink the volume to: the used clusters and one for the backup boot sector.
std::optional<NtfsFigures> readNtfsFigures(const DiskReader& disk, std::uint64_t start, std::uint64_t size);

}  // namespace zpk
