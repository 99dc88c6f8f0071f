#include "mount/virtualdisk/QrxCreateDrive.h"

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <string>

#include "mount/virtualdisk/QrxBlockDevice.h"
#include "mount/virtualdisk/QrxFormatDriveId.h"
#include "mount/virtualdisk/QrxHelperLaunch.h"
#include "mount/virtualdisk/QrxImageFormat.h"

namespace zpk {
namespace {

constexpr std::uint32_t kCreateDriveSelector = 0;
constexpr std::uint32_t kConnectionType = 0;
constexpr std::uint64_t kReferenceConstant = 0x12345678;
constexpr std::string_view kGenericError = "QRX API Error.";

void copyText(std::string_view text, QrxErrorText* target) {
  if (!target) return;
  text = text.substr(0, target->size() - 1);
  target->fill('\0');
  std::copy(text.begin(), text.end(), target->begin());
}

// One call, and what its steps share.
class DriveCreation {
 public:
  DriveCreation(VirtualDiskDriver& driver, const QrxLogCallback& callback) : _driver(driver), _messages(callback) {}

  std::int32_t run(QrxDriveRequest& request, QrxErrorText* errorText, QrxDriveResult* result) {
    const bool ready = findHelper() && connect();
    const DriverCode refused = ready ? create(request, errorText, result) : kQrxNoController;
    if (refused == 0) return _status;
    copyText(kGenericError, errorText);
    return refused;
  }

 private:
  bool failed(const char* message) {
    _messages.message(message);
    return false;
  }

  // The bundle has to be there; the helper in it need not be.
  bool findHelper() {
    const auto url = _driver.urlForBundleIdentifier(kQrxBundleIdentifier);
    if (!url) return failed("Kext com.tarnwick.kext.QrxMounter not found.\n");
    const auto bundle = _driver.openBundle(*url);
    if (!bundle) return failed("Can't get kext bundle.\n");
    _helperPath = bundle->pathForResource(kQrxHelperName);
    return true;
  }

  // To the first controller that takes us.
  bool connect() {
    const auto matching = _driver.serviceMatching(kQrxControllerClass);
    if (!matching) return failed("No matching dict.\n");
    const auto services = _driver.matchingServices(*matching);
    if (!services) return failed("Can't get matching services.\n");
    _messages.message("Looking for QRX Contoller...\n");  // Spelled so in what users have sent for years.
    for (const auto& service : *services) {
      _messages.message("Connecting...");
      auto connection = _driver.openService(*service, kConnectionType);
      if (connection) {
        _messages.message(" OK.\n");
        _connection = std::move(connection).value();
        return true;
      }
      sayError("Connection error", connection.error());
    }
    return failed("No service found.\n");
  }

  // What the controller's refusal to begin is, or 0; what it made of the request is in `_status` then.
  DriverCode create(QrxDriveRequest& request, QrxErrorText* errorText, QrxDriveResult* result) {
    request.uid = _driver.userId();
    if (request.imageFormat == 0 && request.command == kQrxCommandOther)
      request.imageFormat = static_cast<std::uint32_t>(qrxImageFormatForPath(imagePathOf(request)));
    const auto port = _driver.createNotificationPort();
    port->addToCurrentRunLoop(kQrxRunLoopMode);

    QrxDriveReply reply{};
    const DriverCode refused = call(request, reply, *port);
    if (refused == 0) complete(reply, errorText, result);
    // A refused attach is waited for as well, under no id: the status that decides about it was never set.
    if (_status == 0 && request.command == kQrxCommandAttach)
      reportBlockDevice(_driver, _messages, _driveId.data());
    closeConnection();
    return refused;
  }

  DriverCode call(const QrxDriveRequest& request, QrxDriveReply& reply, NotificationPort& port) {
    _messages.message("Creating new drive...");
    const std::array replyAddress{static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(&reply))};
    QrxDriveId driveId{};
    const auto completed = [this](std::uint64_t constant, DriverCode code) { completionNotice(constant, code); };
    const DriverCode refused =
        _connection->callAsyncMethod({.selector = kCreateDriveSelector,
                                      .wakePort = port,
                                      .reference = {completed, kReferenceConstant},
                                      .scalarInput = replyAddress,
                                      .inputStructure = std::as_bytes(std::span(&request, 1)),
                                      .outputStructure = driveId});
    if (refused != 0) {
      sayError("Call method error", refused);
      return refused;
    }
    _messages.message(" OK.\n");
    qrxFormatDriveId(&driveId, _driveId.data(), _driveId.size());
    _messages.message(std::string("New vd id: ") + _driveId.data() + "\n");
    const int launched = launchQrxHelper(_driver, _messages, _helperPath, &driveId);
    _messages.message("launch res = " + std::to_string(launched) + "\n");
    return 0;
  }

  void completionNotice(std::uint64_t constant, DriverCode code) {
    _messages.message("Command callback(" + hexText(constant) + ")\n");
    _driver.stopRunLoop();
    _status = code;
  }

  void complete(const QrxDriveReply& reply, QrxErrorText* errorText, QrxDriveResult* result) {
    _messages.message("Running comand... ");  // Spelled so as well.
    _driver.runRunLoopInMode(kQrxRunLoopMode, kQrxCompletionWait);
    if (_status != 0) {
      const std::string_view message = boundedText(reply.errorMessage);
      _messages.message("Error: " + std::string(message) + "\n");
      copyText(message, errorText);
      return;
    }
    _messages.message("OK.\n");
    if (result) *result = reply.result;
  }

  void closeConnection() {
    _messages.message("Closing connection...");
    const DriverCode code = _connection->close();
    if (code == 0) {
      _messages.message(" OK.\n");
    } else {
      sayError("Close error", code);
    }
  }

  void sayError(std::string_view what, DriverCode code) { _messages.error(what, code, _driver.errorText(code)); }

  VirtualDiskDriver& _driver;
  QrxMessages _messages;
  std::optional<std::string> _helperPath;
  std::unique_ptr<DriverConnection> _connection;
  std::array<char, kQrxDriveIdTextSize> _driveId{};
  // Stays 0 until the controller gives notice.
  DriverCode _status = 0;
};

}  // namespace

std::int32_t qrxCreateDrive(VirtualDiskDriver& driver, QrxDriveRequest& request, const QrxLogCallback& callback,
                            QrxErrorText* errorText, QrxDriveResult* result) {
  return DriveCreation(driver, callback).run(request, errorText, result);
}

}  // namespace zpk
