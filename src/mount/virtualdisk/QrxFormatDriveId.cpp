#include "mount/virtualdisk/QrxFormatDriveId.h"

#include <cstdint>
#include <string_view>

namespace zpk {

int qrxFormatDriveId(const QrxDriveId* driveId, char* target, std::size_t targetSize) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  if (!driveId || !target || targetSize < kQrxDriveIdTextSize) return -1;
  for (const std::uint8_t byte : *driveId) {
    *target++ = kDigits[byte >> 4];
    *target++ = kDigits[byte & 0xF];
  }
  *target = '\0';
  return 0;
}

}  // namespace zpk
