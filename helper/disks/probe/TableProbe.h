#pragma once

#include "helper/disks/probe/DiskReader.h"
#include "helper/disks/probe/ProbeReport.h"

namespace zpk {

// Reads the partition table of a whole disk: GPT, also with a damaged head or tail, MBR with its logical
// partitions, or none at all.
//
// `sectorSize` 0 means that the disk does not tell (an image file): 4096 is taken when a GPT lies where it would
// with such sectors, else 512. The report's `problem` says why a disk must be left alone: a table that contradicts
// itself, content without a table. Such a disk must never look like an empty one, for an empty disk is offered for
// a restore.
TableReport probeTable(const DiskReader& disk, std::uint32_t sectorSize);

}  // namespace zpk
