#include "mount/virtualdisk/QrxBlockDevice.h"

#include "mount/virtualdisk/AsciiCase.h"

namespace zpk {
namespace {

constexpr std::string_view kBlockDeviceClass = "com_tarnwick_qrx_block_device";
constexpr std::string_view kMediaClass = "IOMedia";
constexpr std::string_view kServicePlane = "IOService";

class MediaReport {
 public:
  MediaReport(VirtualDiskDriver& driver, QrxMessages& messages, std::string_view driveId)
      : _driver(driver), _messages(messages), _driveId(driveId) {}

  // Whether the device was there, named or not.
  bool round() {
    const auto matching = _driver.serviceMatching(kBlockDeviceClass);
    if (!matching) return false;
    const auto devices = _driver.matchingServices(*matching);
    if (!devices) return false;
    bool found = false;
    for (const auto& device : *devices) {
      const auto id = device->textProperty("vd_id");
      if (!id || !equalWithoutCase(*id, _driveId)) continue;
      found = true;
      reportBelow(*device);
    }
    return found;
  }

 private:
  void reportBelow(RegistryEntry& entry) {
    for (const auto& child : entry.children(kServicePlane)) {
      if (child->matches({std::string(kMediaClass)})) reportMedium(*child);
      reportBelow(*child);
    }
  }

  void reportMedium(RegistryEntry& medium) {
    for (int attempt = 1; attempt <= kQrxNameTries; ++attempt) {
      if (const auto name = medium.textProperty("BSD Name")) {
        _messages.result("/dev/" + *name + "\n");
        return;
      }
      if (attempt < kQrxNameTries) _driver.sleep(kQrxDevicePause);
    }
  }

  VirtualDiskDriver& _driver;
  QrxMessages& _messages;
  std::string_view _driveId;
};

}  // namespace

void reportBlockDevice(VirtualDiskDriver& driver, QrxMessages& messages, std::string_view driveId) {
  MediaReport report(driver, messages, driveId);
  for (int round = 1; round <= kQrxDeviceRounds; ++round) {
    if (report.round()) return;
    if (round < kQrxDeviceRounds) driver.sleep(kQrxDevicePause);
  }
}

}  // namespace zpk
