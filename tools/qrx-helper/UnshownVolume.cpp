#include "tools/qrx-helper/UnshownVolume.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

namespace zpk {
namespace {

struct Signature {
  std::size_t offset;
  std::string_view text;
  const char* name;
};

constexpr std::array kSignatures{
    Signature{3, "EXFAT   ", "exFAT"},    Signature{3, "ReFS", "ReFS"},
    Signature{0x52, "FAT32   ", "FAT32"}, Signature{0x36, "FAT16   ", "FAT16"},
    Signature{0x36, "FAT12   ", "FAT12"},
};

}  // namespace

std::optional<std::string> fileSystemName(std::span<const std::byte> bootSector) {
  for (const Signature& signature : kSignatures) {
    if (bootSector.size() >= signature.offset + signature.text.size() &&
        std::memcmp(&bootSector[signature.offset], signature.text.data(), signature.text.size()) == 0)
      return signature.name;
  }
  if (std::ranges::all_of(bootSector, [](std::byte byte) { return byte == std::byte{0}; })) return std::nullopt;
  return "unknown";
}

}  // namespace zpk
