#pragma once

#include <map>
#include <string>
#include <vector>

#include "helper/disks/FoundDisk.h"
#include "helper/disks/LinuxPaths.h"
#include "helper/disks/MountedVolumes.h"
#include "helper/disks/RunningSystem.h"

namespace zpk {

// The raw disk images in one folder: regular files whose name ends in ".img" or ".raw", and those that begin with a
// partition table whatever they are called.
//
// Links are not followed, nothing is waited for and nothing is written. A file that an image's name promises to be
// one and that is not is passed over with a reason; other files are nobody's business and not mentioned, nor are
// hidden ones, which are files in the making. At most `mostImages` are listed.
class ImageFolder {
 public:
  static constexpr std::size_t mostImages = 256;

  explicit ImageFolder(std::string path);

  // Costs one look at each file's status, and one read of each that is new.
  FoundDisks list(const LinuxPaths& paths, const std::vector<MountedVolume>& mounts, const RunningSystem& system);

  const std::string& path() const { return _path; }

 private:
  // What one look at a name gives; nothing for a file that is nobody's business.
  std::optional<FoundDisk> look(int directory, const std::string& name, std::vector<std::string>& passedOver);
  bool isImage(const std::string& name, const FoundDisk& disk);

  std::string _path;  // Absolute.
  // Whether the file of that version begins with a table, by its path: of this listing and of the one before.
  std::map<std::string, std::pair<std::string, bool>> _sniffed;
  std::map<std::string, std::pair<std::string, bool>> _sniffedBefore;
};

}  // namespace zpk
