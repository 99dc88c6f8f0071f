#include "records/FileSystemType.h"

#include <array>
#include <string_view>

namespace zpk {

namespace {

// translated: names that are the same everywhere too, so that a look-up never misses.
constexpr std::array<std::string_view, 13> kFileSystemTypeNames = {
    "Unformatted",  // 0
    "HFS+",         // 1
    "NTFS",         // 2
    "FAT12",        // 3
    "FAT16",        // 4
    "FAT32",        // 5
    "ExtFS 2",      // 6
    "ExtFS 3",      // 7
    "ExtFS 4",      // 8
    "HPFS",         // 9
    "exFAT",        // 10
    "ReFS",         // 11
    "XFS",          // 12
};
// end of translated

}  // namespace

std::string fileSystemTypeName(std::int64_t fileSystemType, const Localization& localization) {
  if (fileSystemType < 0) return {};
  const auto index = static_cast<std::uint64_t>(fileSystemType);
  if (index >= kFileSystemTypeNames.size()) return {};
  return localization.localizedString(kFileSystemTypeNames[index]);
}

}  // namespace zpk
