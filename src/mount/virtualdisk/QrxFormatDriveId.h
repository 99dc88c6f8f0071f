#pragma once

#include <cstddef>

#include "mount/virtualdisk/QrxDriveRequest.h"

namespace zpk {

// Bytes that a drive's id takes as text, with its NUL.
inline constexpr std::size_t kQrxDriveIdTextSize = 33;

// Writes the id as 32 upper-case hexadecimal digits and a NUL: two digits a byte, in the bytes' order, so that
// 00 01 02 … 0F becomes "000102030405060708090A0B0C0D0E0F". Answers 0; -1, and writes nothing, when either pointer
// is missing or `targetSize` is too small.
int qrxFormatDriveId(const QrxDriveId* driveId, char* target, std::size_t targetSize);

}  // namespace zpk
