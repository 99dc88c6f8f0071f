#include "helper/disks/BlockDevices.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <string_view>

#include "helper/archive/DeviceIdentity.h"

namespace zpk {
namespace {

constexpr std::array<std::string_view, 8> otherKinds{"ram", "zram", "sr", "fd", "mtdblock", "dm-", "md", "nullb"};

bool isOtherKind(std::string_view name) {
  const bool isBootArea = name.find("boot") != std::string_view::npos || name.ends_with("rpmb");
  return (name.starts_with("mmcblk") && isBootArea) ||
         std::any_of(otherKinds.begin(), otherKinds.end(), [name](auto kind) { return name.starts_with(kind); });
}

std::string shownName(const std::string& folder, const std::string& device) {
  const std::string backing = systemText(folder + "/loop/backing_file");
  if (!backing.empty()) return std::filesystem::path(backing).stem().string();
  const std::string vendor = systemText(folder + "/device/vendor");
  const std::string model = systemText(folder + "/device/model");
  // Where the maker has no name, a bus puts its own ("ATA") or a number ("0x1af4") there.
  const bool isName = !vendor.empty() && vendor != "ATA" && vendor.rfind("0x", 0) != 0;
  if (model.empty()) return "Disk " + device;
  return isName && model.rfind(vendor, 0) != 0 ? vendor + " " + model : model;
}

DiskKind kindOf(const std::string& folder) {
  if (exists(folder + "/loop/backing_file")) return DiskKind::Image;
  std::error_code error;
  const std::string real = std::filesystem::canonical(folder, error).string();
  const bool isPlugged = real.find("/usb") != std::string::npos || systemNumber(folder + "/removable") != 0;
  return isPlugged ? DiskKind::External : DiskKind::Internal;
}

// The kernel writes a slash inside a device's name as an exclamation mark.
std::string nodeOf(const LinuxPaths& paths, std::string name) {
  std::replace(name.begin(), name.end(), '!', '/');
  return paths.dev + "/" + name;
}

std::vector<FoundPartition> partitionsOf(const std::string& folder, const std::vector<MountedVolume>& mounts,
                                         const RunningSystem& system) {
  std::vector<FoundPartition> partitions;
  for (const std::string& name : namesIn(folder)) {
    const std::string part = folder + "/" + name;
    const auto device = deviceNumberOf(std::string_view(systemText(part + "/dev")));
    if (!device || !exists(part + "/partition")) continue;
    partitions.push_back({systemNumber(part + "/start") * kernelSector, name, mountPointOf(mounts, *device),
                          system.standsOn(*device)});
  }
  return partitions;
}

}  // namespace

FoundDisks listBlockDevices(const LinuxPaths& paths, const std::vector<MountedVolume>& mounts,
                            const RunningSystem& system) {
  FoundDisks found;
  for (const std::string& name : namesIn(paths.sys + "/block")) {
    const std::string folder = paths.sys + "/block/" + name;
    const auto device = deviceNumberOf(std::string_view(systemText(folder + "/dev")));
    if (!device || isOtherKind(name) || systemNumber(folder + "/size") == 0) continue;
    if (!namesIn(folder + "/slaves").empty()) continue;
    const std::string node = nodeOf(paths, name);
    const std::vector<std::string> holders = namesIn(folder + "/holders");
    if (!holders.empty()) {
      found.passedOver.push_back(node + ": it is part of " + holders.front());
      continue;
    }
    struct stat status = {};
    if (::lstat(node.c_str(), &status) != 0 || !S_ISBLK(status.st_mode) ||
        deviceNumberOf(std::uint64_t{status.st_rdev}) != *device) {
      found.passedOver.push_back(node + ": there is no device file for it");
      continue;
    }
    FoundDisk disk;
    disk.path = node;
    disk.name = shownName(folder, name);
    disk.bsdName = name;
    if (name.back() >= '0' && name.back() <= '9') disk.partitionInfix = "p";
    disk.kind = kindOf(folder);
    disk.file = {status.st_dev, status.st_ino};
    disk.sectorSize = static_cast<std::uint32_t>(systemNumber(folder + "/queue/logical_block_size"));
    // Another stick in the same socket is another device.
    disk.device = identityOfDevice(folder);
    disk.identity = node + " " + disk.device + " " + systemText(folder + "/size");
    disk.isWritable = systemNumber(folder + "/ro") == 0;
    disk.isSystem = system.standsOn(*device);
    disk.partitions = partitionsOf(folder, mounts, system);
    found.disks.push_back(std::move(disk));
  }
  return found;
}

}  // namespace zpk
