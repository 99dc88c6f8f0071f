#include "helper/service/DiskWords.h"

#include "app/presentation/ByteSizeString.h"
#include "helper/archive/DeviceIdentity.h"
#include "platform/posix/Log_posix.h"
#include "records/ZPKDisk.h"

namespace zpk {
namespace {

std::string serialOf(const std::string& bsdName, const std::string& sys) {
  if (bsdName.empty() || bsdName.find('/') != std::string::npos) return {};
  return serialOfDevice(sys + "/class/block/" + bsdName);
}

}  // namespace

std::vector<std::pair<std::string, std::string>> diskDetails(const ZPKDisk& disk, const std::string& sys) {
  const std::string model = visibleLine(disk.name().value_or("a disk"));
  const std::string path = visibleLine(disk.filePath().value_or(""));
  const std::string serial = serialOf(disk.bsdName().value_or(""), sys);
  std::string words = model + " (" + byteSizeString(disk.diskSize());
  if (!serial.empty()) words += ", serial " + serial;
  if (!path.empty()) words += ", " + path;
  return {{"disk", words + ")"},
          {"model", model},
          {"size", std::to_string(disk.diskSize())},
          {"serial", serial},
          {"path", path}};
}

}  // namespace zpk
