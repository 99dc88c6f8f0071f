#pragma once

#include <cstdint>
#include <string>

#include "helper/archive/ArchiveError.h"
#include "helper/process/CancelFlag.h"

namespace zpk {

// What the NTFS tools do with a volume. `device` is what they open: a device or file that begins with the boot
// sector. Each run ends with the process, within limits on time and memory; a raised `cancel` ends it at once.

// The smallest size, in bytes, that the volume can be given. Refused with the tool's reason when it was not closed
// cleanly or its structures contradict each other: then it cannot be resized at all.
ArchiveResult<std::uint64_t> leastVolumeSize(const std::string& device, const CancelFlag& cancel);

// Makes the volume of that size smaller or larger; what lies behind the new end is moved. Windows checks the volume
// when it starts next: the tool marks it for that.
ArchiveResult<Done> resizeVolume(const std::string& device, std::uint64_t size, const CancelFlag& cancel);

// Walks every file of the volume and compares the clusters in use with its bitmap. Damaged with what the tool says
// when they contradict each other; a mere mark that the volume is to be checked does not matter.
ArchiveResult<Done> checkVolume(const std::string& device, const CancelFlag& cancel);

}  // namespace zpk
