#include "mount/virtualdisk/QrxHelperLaunch.h"

#include <array>

#include "mount/virtualdisk/QrxFormatDriveId.h"

namespace zpk {

int launchQrxHelper(VirtualDiskDriver& driver, QrxMessages& messages, const std::optional<std::string>& helperPath,
                    const QrxDriveId* driveId) {
  if (!helperPath) {
    messages.message("No path.\n");
    return -1;
  }
  std::array<char, kQrxDriveIdTextSize> id{};
  if (qrxFormatDriveId(driveId, id.data(), id.size()) != 0) {
    messages.message("Wrong id!\n");
    return -1;
  }
  const auto pid = driver.spawn(*helperPath, {*helperPath, id.data()});
  if (!pid) {
    driver.printError("spawn_error", pid.error());
    return -1;
  }
  messages.message("Launched helper with pid = " + std::to_string(*pid) + ", id = " + id.data() + "\n");
  return 0;
}

}  // namespace zpk
