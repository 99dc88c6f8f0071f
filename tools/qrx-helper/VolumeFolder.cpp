#include "tools/qrx-helper/VolumeFolder.h"

#include <sys/stat.h>

#include <cstddef>

namespace zpk {
namespace {

constexpr std::size_t kLongestName = 64;

bool isContinuation(char c) {
  return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

// In one line, no hidden one, and not too long; a character is kept whole or not at all.
std::string folderName(const std::string& label, const std::string& deviceName) {
  std::string name;
  for (const char c : label) name += c == '/' || (c >= 0 && c < ' ') || c == 0x7F ? '_' : c;
  if (name.size() > kLongestName) {
    std::size_t length = kLongestName;
    while (length > 0 && isContinuation(name[length])) --length;
    name.resize(length);
  }
  if (name.starts_with('.')) name.front() = '_';
  return name.empty() ? deviceName : name;
}

}  // namespace

std::string makeVolumeFolder(const std::string& volumes, const std::string& label, const std::string& deviceName) {
  std::string path = volumes + "/" + folderName(label, deviceName);
  if (::mkdir(path.c_str(), 0700) == 0) return path;
  path += " (" + deviceName + ")";
  return ::mkdir(path.c_str(), 0700) == 0 ? path : std::string();
}

}  // namespace zpk
