#pragma once

#include <cstdint>

#include "helper/archive/DiskLayout.h"
#include "helper/archive/DiskSource.h"

namespace zpk {

// The two places of a disk's partition table: protective MBR, header and entries at the head, their copy at the
// tail.
struct GptExtent {
  ByteRange head;
  ByteRange tail;
};

// Reads where they are from the header in the second sector. A disk without a sound header is SourceUnfit; so is a
// table of more than 1 MiB, which no tool makes.
ArchiveResult<GptExtent> readGptExtent(const DiskSource& disk, std::uint32_t sectorSize);

}  // namespace zpk
