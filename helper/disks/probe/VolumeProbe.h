#pragma once

#include <cstdint>

#include "helper/disks/probe/DiskReader.h"
#include "helper/disks/probe/ProbeReport.h"

namespace zpk {

// What lies on `size` bytes of the disk from `start`: file system, encryption, RAID member or nothing known. Of
// several contradicting signatures none is believed: the type is then `ambivalentVolume`.
VolumeReport probeVolume(const DiskReader& disk, std::uint64_t start, std::uint64_t size, std::uint32_t sectorSize);

inline constexpr const char* ambivalentVolume = "ambivalent";

}  // namespace zpk
