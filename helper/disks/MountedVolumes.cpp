#include "helper/disks/MountedVolumes.h"

#include <fstream>
#include <sstream>

namespace zpk {
namespace {

bool isOctal(char character) {
  return character >= '0' && character <= '7';
}

// The kernel writes blanks and backslashes in names as a backslash and three octal digits.
std::string unescaped(const std::string& text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\' && i + 3 < text.size() && isOctal(text[i + 1]) && isOctal(text[i + 2]) &&
        isOctal(text[i + 3])) {
      plain += static_cast<char>((text[i + 1] - '0') * 64 + (text[i + 2] - '0') * 8 + (text[i + 3] - '0'));
      i += 3;
    } else {
      plain += text[i];
    }
  }
  return plain;
}

// "36 35 98:0 /root /mount/point rw,noatime master:1 - ext3 /dev/sda1 rw"
std::optional<MountedVolume> mountOf(const std::string& line) {
  std::istringstream words(line);
  std::string id, parent, device, root, point, word, type, source;
  if (!(words >> id >> parent >> device >> root >> point)) return std::nullopt;
  while (words >> word && word != "-") continue;
  words >> type >> source;
  const std::optional<DeviceNumber> number = deviceNumberOf(std::string_view(device));
  if (!number) return std::nullopt;
  return MountedVolume{*number, unescaped(point), unescaped(source)};
}

}  // namespace

std::vector<MountedVolume> mountedVolumes(const LinuxPaths& paths) {
  std::vector<MountedVolume> mounts;
  std::ifstream table(paths.proc + "/self/mountinfo");
  for (std::string line; std::getline(table, line);) {
    if (std::optional<MountedVolume> mount = mountOf(line)) mounts.push_back(std::move(*mount));
  }
  return mounts;
}

std::optional<std::string> mountPointOf(const std::vector<MountedVolume>& mounts, DeviceNumber device) {
  for (const MountedVolume& mount : mounts) {
    if (mount.device == device) return mount.mountPoint;
  }
  return std::nullopt;
}

std::vector<LoopMapping> loopDevices(const LinuxPaths& paths) {
  std::vector<LoopMapping> loops;
  for (const std::string& name : namesIn(paths.sys + "/block")) {
    const std::string folder = paths.sys + "/block/" + name;
    const std::string backing = systemText(folder + "/loop/backing_file");
    const std::optional<DeviceNumber> device = deviceNumberOf(std::string_view(systemText(folder + "/dev")));
    if (backing.empty() || !device) continue;
    const std::uint64_t offset = systemNumber(folder + "/loop/offset");
    loops.push_back({*device, backing, offset});
    for (const std::string& part : namesIn(folder)) {
      const std::string partFolder = folder + "/" + part;
      const auto partDevice = deviceNumberOf(std::string_view(systemText(partFolder + "/dev")));
      if (!partDevice || !exists(partFolder + "/partition")) continue;
      loops.push_back({*partDevice, backing, offset + systemNumber(partFolder + "/start") * kernelSector});
    }
  }
  return loops;
}

}  // namespace zpk
