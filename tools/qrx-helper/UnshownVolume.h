#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>

namespace zpk {

// Of a volume that is in the backup but whose files cannot be shown: its file system as people call it ("FAT32"),
// told by its first sector, or "unknown". Nothing for a sector of zeros, which belongs to none.
std::optional<std::string> fileSystemName(std::span<const std::byte> bootSector);

}  // namespace zpk
