#pragma once

#include <chrono>
#include <string_view>

#include "mount/virtualdisk/QrxMessages.h"
#include "mount/virtualdisk/VirtualDiskDriver.h"

namespace zpk {

// A drive's block device comes up some time after the drive, and the names of its media some time after that.
inline constexpr int kQrxDeviceRounds = 11;
inline constexpr int kQrxNameTries = 6;
inline constexpr std::chrono::microseconds kQrxDevicePause{100'000};

// Waits for the block device of the drive with this id and says "/dev/NAME\n" at level 0 for each of its media: the
// whole disk, and one for each partition. A device that does not show up, or a medium that gets no name, is given
// up in silence.
void reportBlockDevice(VirtualDiskDriver& driver, QrxMessages& messages, std::string_view driveId);

}  // namespace zpk
