#include "helper/disks/RunningSystem.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>

namespace zpk {
namespace {

constexpr std::array<std::string_view, 8> systemFolders{"/boot", "/efi", "/etc", "/home",
                                                        "/nix",  "/opt", "/usr", "/var"};
constexpr std::array<std::string_view, 3> userFolders{"/media", "/mnt", "/run/media"};

bool isWithin(std::string_view path, std::string_view folder) {
  return path.substr(0, folder.size()) == folder && (path.size() == folder.size() || path[folder.size()] == '/');
}

template <std::size_t count>
bool isWithinAny(std::string_view path, const std::array<std::string_view, count>& folders) {
  return std::any_of(folders.begin(), folders.end(), [path](auto folder) { return isWithin(path, folder); });
}

std::string deviceFolder(const LinuxPaths& paths, DeviceNumber device) {
  return paths.sys + "/dev/block/" + device.text();
}

// The whole disk of a partition is the folder above its own, once the link is followed.
std::optional<DeviceNumber> diskOf(const std::string& folder) {
  if (!exists(folder + "/partition")) return std::nullopt;
  std::error_code error;
  const std::filesystem::path real = std::filesystem::canonical(folder, error);
  if (error) return std::nullopt;
  return deviceNumberOf(std::string_view(systemText(real.parent_path().string() + "/dev")));
}

}  // namespace

void RunningSystem::add(const LinuxPaths& paths, DeviceNumber device) {
  if (device.major == 0 || !_devices.insert(device).second) return;
  const std::string folder = deviceFolder(paths, device);
  const std::optional<DeviceNumber> disk = diskOf(folder);
  if (disk) add(paths, *disk);
  for (const std::string& slave : namesIn(folder + "/slaves")) {
    const auto below = deviceNumberOf(std::string_view(systemText(folder + "/slaves/" + slave + "/dev")));
    if (below) add(paths, *below);
  }
  const std::string backing = systemText(folder + "/loop/backing_file");
  if (!backing.empty()) addFile(paths, backing);
}

void RunningSystem::addFile(const LinuxPaths& paths, const std::string& path) {
  struct stat status = {};
  if (::stat(path.c_str(), &status) != 0) return;
  if (S_ISBLK(status.st_mode)) return add(paths, deviceNumberOf(std::uint64_t{status.st_rdev}));
  _files.insert({status.st_dev, status.st_ino});
  add(paths, deviceNumberOf(std::uint64_t{status.st_dev}));
}

// Whether the mount has led to a device.
bool RunningSystem::addMount(const LinuxPaths& paths, const MountedVolume& mount) {
  const std::size_t before = _devices.size();
  if (mount.device.major != 0) {
    add(paths, mount.device);
    return true;
  }
  struct stat status = {};  // A file system over several devices names one of them as its source.
  if (mount.source.rfind("/dev/", 0) != 0) return false;
  const std::string node = paths.dev + mount.source.substr(4);
  if (::stat(node.c_str(), &status) != 0 || !S_ISBLK(status.st_mode)) return false;
  const DeviceNumber device = deviceNumberOf(std::uint64_t{status.st_rdev});
  add(paths, device);
  return _devices.size() > before || standsOn(device);
}

// The table's first line is a heading; then "/dev/sda2 partition …" or "/swapfile file …".
void RunningSystem::addSwap(const LinuxPaths& paths) {
  std::ifstream table(paths.proc + "/swaps");
  std::string line;
  std::getline(table, line);
  while (std::getline(table, line)) {
    std::string path;
    std::istringstream(line) >> path;
    if (path.rfind("/dev/", 0) == 0) path = paths.dev + path.substr(4);
    addFile(paths, path);
  }
}

RunningSystem RunningSystem::find(const LinuxPaths& paths, const std::vector<MountedVolume>& mounts) {
  RunningSystem system;
  bool rootIsKnown = false;
  for (const MountedVolume& mount : mounts) {
    if (mount.mountPoint == "/") rootIsKnown = system.addMount(paths, mount) || rootIsKnown;
    if (isWithinAny(mount.mountPoint, systemFolders)) system.addMount(paths, mount);
  }
  for (const MountedVolume& mount : mounts) {
    if (!rootIsKnown && !isWithinAny(mount.mountPoint, userFolders)) system.addMount(paths, mount);
  }
  system.addSwap(paths);
  return system;
}

}  // namespace zpk
