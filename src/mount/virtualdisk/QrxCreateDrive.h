#pragma once

#include <chrono>
#include <cstdint>
#include <string_view>

#include "mount/virtualdisk/QrxDriveRequest.h"
#include "mount/virtualdisk/QrxMessages.h"
#include "mount/virtualdisk/VirtualDiskDriver.h"

namespace zpk {

// The driver, and its controller among the services.
inline constexpr std::string_view kQrxBundleIdentifier = "com.tarnwick.kext.QrxMounter";
inline constexpr std::string_view kQrxControllerClass = "com_tarnwick_qrx_controller";
// Serves the controller's notice and nothing else.
inline constexpr std::string_view kQrxRunLoopMode = "_qrxapi_run_loop_";
// How long the controller may take.
inline constexpr std::chrono::seconds kQrxCompletionWait{60};
// Answered, beside the codes of the driver world and those of the controller, when there is no controller to ask.
inline constexpr std::int32_t kQrxNoController = 1;

// Asks the controller of virtual disks for a drive, and waits until it is made: for up to 60 s, plus, for an
// attach, the second or so in which the drive's block device shows up.
//
//   QrxDriveRequest request{};
//   request.command = kQrxCommandAttach;
//   setImagePath(request, "/backups/pc.rldbackup/p0001/disk0.pvhd");
//   QrxErrorText why{};
//   if (qrxCreateDrive(driver, request, log, &why, nullptr) != 0) show(why.data());
//
// In `request`, `uid` is filled in, and `imageFormat` where the command wants it and it was not given. Everything
// there is to say goes to `callback`, if there is one; the device names of an attached drive's media are what comes
// at level 0. `result`, if given, is filled in on success alone.
//
// Answers 0 on success. Else `errorText`, if given, says what the controller said, or "QRX API Error." when it was
// not even reached. No notice from the controller within the 60 s counts as success: a caller cannot tell from a 0
// that a drive is there, only from its device names.
//
// One call at a time in a process.
std::int32_t qrxCreateDrive(VirtualDiskDriver& driver, QrxDriveRequest& request, const QrxLogCallback& callback,
                            QrxErrorText* errorText, QrxDriveResult* result);

}  // namespace zpk
