#include "helper/service/DiskWords.h"

#include <algorithm>
#include <fstream>

#include "app/presentation/ByteSizeString.h"
#include "platform/posix/Log_posix.h"
#include "records/ZPKDisk.h"

namespace zpk {
namespace {

constexpr std::size_t kLongestSerial = 64;

// Drives tell their serial number in one of these places; some only to who asks them with a command of theirs.
std::string serialOf(const std::string& bsdName, const std::string& sys) {
  if (bsdName.empty() || bsdName.find('/') != std::string::npos) return {};
  for (const char* place : {"/device/serial", "/serial", "/device/vpd_pg80"}) {
    std::ifstream file(sys + "/class/block/" + bsdName + place, std::ios::binary);
    std::string text(kLongestSerial, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(file.gcount()));
    // The page has four bytes of a header, which are never letters.
    std::erase_if(text, [](char c) { return c <= ' ' || c >= 0x7f; });
    if (!text.empty()) return text;
  }
  return {};
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
