#pragma once

#include <string>

#include "helper/disks/DiskProber.h"
#include "helper/disks/FoundDisk.h"
#include "records/FileSystemType.h"
#include "records/RLDDisk.h"

namespace zpk {

// The file system that a volume report names, in the words of the records. What the table of names does not have
// (APFS, BitLocker, Linux' many others) reads as unformatted; the volume's name tells it apart.
FileSystemType fileSystemTypeOf(const VolumeReport& volume);

// The record of a disk whose content has been read.
//
// - `partitions`: the entries up to the last used one; unused ones between have nothing but their number.
// - `partUsedSize`, `partMinSize`: of NTFS what its bitmap says; of anything else the whole partition.
// - `partMaxSize`: the partition and the free space behind it.
// - `isResizable`: an NTFS volume with nothing left to check.
// - `gptID`: that of the GPT; all zeros without one, so that a blank disk can be named as the target of a restore.
// - `diskMinSize`: all but the largest free stretch, so that `diskSize` less this is what a new partition can have.
// - `name` of a partition: the volume's label, else the name in the GPT, else what libblkid calls a volume that the
//   records have no file system for.
RLDDisk diskRecordOf(const FoundDisk& disk, const DiskContent& content, std::uint32_t diskNumber,
                     const std::string& iconPath);

}  // namespace zpk
