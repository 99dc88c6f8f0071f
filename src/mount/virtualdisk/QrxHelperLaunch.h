#pragma once

#include <optional>
#include <string>

#include "mount/virtualdisk/QrxDriveRequest.h"
#include "mount/virtualdisk/QrxMessages.h"
#include "mount/virtualdisk/VirtualDiskDriver.h"

namespace zpk {

// The tool in the driver's bundle that runs beside a drive as long as the drive is there.
inline constexpr std::string_view kQrxHelperName = "qrx-helper";

// Starts it for the drive, with the drive's id as its one argument, and does not wait for it. Answers 0, or -1 when
// it could not be started; either way the messages say so, and the drive goes on.
int launchQrxHelper(VirtualDiskDriver& driver, QrxMessages& messages, const std::optional<std::string>& helperPath,
                    const QrxDriveId* driveId);

}  // namespace zpk
