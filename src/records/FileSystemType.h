#pragma once

#include <cstdint>
#include <string>

#include "base/Localization.h"

namespace zpk {

// Indexes of the file-system types by which a partition record names what is on it.
enum class FileSystemType : std::int64_t {
  Unformatted = 0,
  HFSPlus = 1,
  NTFS = 2,
  FAT12 = 3,
  FAT16 = 4,
  FAT32 = 5,
  ExtFS2 = 6,
  ExtFS3 = 7,
  ExtFS4 = 8,
  HPFS = 9,
  ExFAT = 10,
  ReFS = 11,
  XFS = 12,
};

// The name shown for a file-system type; empty for an index that stands for none.
std::string fileSystemTypeName(std::int64_t fileSystemType, const Localization& localization);

}  // namespace zpk
