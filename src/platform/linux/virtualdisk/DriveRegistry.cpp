#include "platform/linux/virtualdisk/DriveRegistry.h"

#include <memory>
#include <utility>

#include "mount/virtualdisk/QrxCreateDrive.h"
#include "platform/linux/virtualdisk/DriveFolder.h"

namespace zpk {
namespace {

constexpr std::string_view kBlockDeviceClass = "com_tarnwick_qrx_block_device";
constexpr std::string_view kMediaClass = "IOMedia";
constexpr std::string_view kServicePlane = "IOService";

class Entry final : public RegistryEntry {
 public:
  Entry(std::string_view className, std::string_view key, std::string value)
      : _className(className), _key(key), _value(std::move(value)) {}

  std::optional<std::string> textProperty(std::string_view key) override {
    return key == _key && !_key.empty() ? std::optional(_value) : std::nullopt;
  }
  bool matches(const ServiceMatching& matching) override { return matching.className == _className; }
  RegistryEntries children(std::string_view plane) override {
    return plane == kServicePlane ? _children : RegistryEntries();
  }
  Entry& add(std::string bsdName) {
    auto child = std::make_shared<Entry>(kMediaClass, "BSD Name", std::move(bsdName));
    Entry& added = *child;
    _children.push_back(std::move(child));
    return added;
  }

 private:
  std::string_view _className;
  std::string_view _key;
  std::string _value;
  RegistryEntries _children;
};

RegistryEntries blockDevices(const std::string& runtimeFolder) {
  RegistryEntries devices;
  const auto drives = drivesFolder(runtimeFolder);
  if (!drives) return devices;
  for (const DriveFolder& drive : allDrives(*drives)) {
    const auto names = drive.media();
    if (names.empty() || !drive.isKept()) continue;
    auto device = std::make_shared<Entry>(kBlockDeviceClass, "vd_id", drive.id());
    Entry& disk = device->add(names.front());
    for (std::size_t i = 1; i < names.size(); ++i) disk.add(names[i]);
    devices.push_back(std::move(device));
  }
  return devices;
}

}  // namespace

RegistryEntries servicesOfClass(std::string_view className, const std::string& runtimeFolder) {
  if (className == kBlockDeviceClass) return blockDevices(runtimeFolder);
  if (className == kQrxControllerClass) return {std::make_shared<Entry>(kQrxControllerClass, "", "")};
  return {};
}

}  // namespace zpk
