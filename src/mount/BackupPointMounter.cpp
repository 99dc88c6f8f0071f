#include "mount/BackupPointMounter.h"

#include <optional>
#include <string_view>
#include <utility>

#include "mount/DeviceCollector.h"
#include "mount/virtualdisk/QrxCreateDrive.h"

namespace zpk {
namespace {

// The driver passes it on; attaching always sets it.
constexpr std::uint32_t kAttachFlags = 1;

// A hidden file's name is no extension.
bool isDiskImage(std::string_view name) {
  constexpr std::string_view kExtension = ".pvhd";
  return name.size() > kExtension.size() && name.ends_with(kExtension);
}

std::optional<std::string> folderOf(const std::optional<std::string>& indexFilePath) {
  const auto slash = indexFilePath ? indexFilePath->rfind('/') : std::string::npos;
  if (slash == std::string::npos) return std::nullopt;
  return indexFilePath->substr(0, slash == 0 ? 1 : slash);
}

}  // namespace

void BackupPointMounter::mountArcItem(const RLDArchiveItem& arcItem, const AttachFailed& attachFailed) {
  const auto folder = folderOf(arcItem.indexFilePath());
  if (!folder) return;
  const auto names = _environment.fileManager.contentsOfDirectory(*folder);
  if (!names) return;
  const std::string prefix = folder->ends_with('/') ? *folder : *folder + "/";
  for (const std::string& name : *names) {
    if (isDiskImage(name)) attachImage(prefix + name, attachFailed);
  }
}

void BackupPointMounter::attachImage(const std::string& imagePath, const AttachFailed& attachFailed) {
  QrxDriveRequest request{};
  request.command = kQrxCommandAttach;
  request.flags = kAttachFlags;
  request.uid = _environment.driver.userId();
  setImagePath(request, imagePath);

  DeviceCollector collector(_environment.log);
  QrxErrorText errorText{};
  const auto callback = [&](int level, const char* text) { collector.note(level, text); };
  if (qrxCreateDrive(_environment.driver, request, callback, &errorText, nullptr) != 0) {
    attachFailed(std::string(boundedText(errorText)));
    return;
  }
  DeviceSet devices(collector.devices().begin(), collector.devices().end());
  _environment.backgroundQueue.async(
      [devices = std::move(devices), volumes = _environment.volumes] { openMountedVolumes(devices, volumes); });
}

}  // namespace zpk
