#include "helper/disks/ImageFolder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#include "helper/archive/DeviceIdentity.h"

namespace zpk {
namespace {

constexpr std::size_t mostNames = 16384;

struct DirectoryDeleter {
  void operator()(DIR* directory) const { ::closedir(directory); }
};

bool isImageName(const std::string& name) {
  if (name.size() < 5) return false;
  std::string ending = name.substr(name.size() - 4);
  std::transform(ending.begin(), ending.end(), ending.begin(), [](unsigned char c) { return std::tolower(c); });
  return ending == ".img" || ending == ".raw";
}

std::string stemOf(const std::string& name) {
  return isImageName(name) ? name.substr(0, name.size() - 4) : name;
}

std::string timeText(const timespec& time) {
  return std::to_string(time.tv_sec) + "." + std::to_string(time.tv_nsec);
}

std::string versionOf(const struct stat& status) {
  return std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino) + " " +
         std::to_string(status.st_size) + " " + timeText(status.st_mtim) + " " + timeText(status.st_ctim);
}

// Why a file with an image's name is none; empty when it may be one.
std::string objectionTo(const struct stat& status) {
  if (S_ISLNK(status.st_mode)) return "it is a link";
  if (S_ISDIR(status.st_mode)) return "it is a folder";
  if (!S_ISREG(status.st_mode)) return "it is no regular file";
  return {};
}

bool beginsWithTable(const std::string& path, const FileIdentity& file) {
  const Expected<DiskReader, std::string> disk = DiskReader::open(path, file);
  std::array<std::uint8_t, 4096 + 8> head{};
  if (!disk || !disk->read(0, head)) return false;
  const auto isGptAt = [&head](std::size_t at) { return std::memcmp(head.data() + at, "EFI PART", 8) == 0; };
  return isGptAt(512) || isGptAt(4096);
}

struct AttachedLoop {
  LoopMapping loop;
  FileIdentity file;
};

std::vector<AttachedLoop> attachedLoops(const LinuxPaths& paths) {
  std::vector<AttachedLoop> attached;
  for (LoopMapping& loop : loopDevices(paths)) {
    struct stat status = {};
    if (::stat(loop.backingFile.c_str(), &status) != 0) continue;
    attached.push_back({std::move(loop), {status.st_dev, status.st_ino}});
  }
  return attached;
}

std::vector<FoundPartition> mountedParts(const FileIdentity& file, const std::vector<AttachedLoop>& attached,
                                         const std::vector<MountedVolume>& mounts) {
  std::vector<FoundPartition> parts;
  for (const AttachedLoop& candidate : attached) {
    if (candidate.file.device != file.device || candidate.file.inode != file.inode) continue;
    const std::optional<std::string> point = mountPointOf(mounts, candidate.loop.device);
    if (point) parts.push_back({candidate.loop.offset, {}, point, false});
  }
  return parts;
}

std::vector<std::string> visibleNames(DIR* directory) {
  std::vector<std::string> names;
  while (const dirent* entry = ::readdir(directory)) {
    if (entry->d_name[0] != '.' && names.size() < mostNames) names.emplace_back(entry->d_name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

ImageFolder::ImageFolder(std::string path) {
  std::error_code error;
  _path = std::filesystem::absolute(path, error).lexically_normal().string();
  if (error) _path = std::move(path);
  while (_path.size() > 1 && _path.back() == '/') _path.pop_back();
}

bool ImageFolder::isImage(const std::string& name, const FoundDisk& disk) {
  if (isImageName(name)) return true;
  const auto known = _sniffedBefore.find(disk.path);
  const bool isKnown = known != _sniffedBefore.end() && known->second.first == disk.version;
  const bool isImage = isKnown ? known->second.second : beginsWithTable(disk.path, disk.file);
  _sniffed[disk.path] = {disk.version, isImage};
  return isImage;
}

std::optional<FoundDisk> ImageFolder::look(int directory, const std::string& name,
                                           std::vector<std::string>& passedOver) {
  struct stat status = {};
  if (::fstatat(directory, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return std::nullopt;
  FoundDisk disk;
  disk.path = (_path == "/" ? "" : _path) + "/" + name;
  const std::string objection = objectionTo(status);
  if (!objection.empty()) {
    if (isImageName(name)) passedOver.push_back(disk.path + ": " + objection);
    return std::nullopt;
  }
  disk.name = stemOf(name);
  disk.bsdName = name;
  disk.partitionInfix = "#";
  disk.file = {status.st_dev, status.st_ino};
  disk.version = versionOf(status);
  disk.device = identityOfImage(status.st_dev, status.st_ino);
  disk.identity = disk.path + " " + disk.device;
  disk.isWritable = ::faccessat(AT_FDCWD, disk.path.c_str(), W_OK, AT_EACCESS) == 0;
  if (!isImage(name, disk)) return std::nullopt;
  return disk;
}

FoundDisks ImageFolder::list(const LinuxPaths& paths, const std::vector<MountedVolume>& mounts,
                             const RunningSystem& system) {
  FoundDisks found;
  const std::unique_ptr<DIR, DirectoryDeleter> directory(::opendir(_path.c_str()));
  if (!directory) {
    found.passedOver.push_back(_path + ": " + std::generic_category().message(errno));
    return found;
  }
  _sniffedBefore = std::exchange(_sniffed, {});
  const std::vector<AttachedLoop> loops = attachedLoops(paths);
  for (const std::string& name : visibleNames(directory.get())) {
    std::optional<FoundDisk> disk = look(::dirfd(directory.get()), name, found.passedOver);
    if (!disk) continue;
    if (found.disks.size() == mostImages) {
      found.passedOver.push_back(_path + ": it holds more than " + std::to_string(mostImages) + " disk images");
      break;
    }
    disk->isSystem = system.standsOn(disk->file);
    disk->partitions = mountedParts(disk->file, loops, mounts);
    found.disks.push_back(std::move(*disk));
  }
  return found;
}

}  // namespace zpk
