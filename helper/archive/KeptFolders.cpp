#include "helper/archive/KeptFolders.h"

#include <algorithm>

#include "helper/archive/Qcow2Reader.h"

namespace zpk {
namespace {

// The folder in "../p0001-1f2e3d4c/disk0.pvhd".
std::string folderIn(const std::string& backingFile) {
  const std::size_t begin = backingFile.find('/') + 1;
  return backingFile.substr(begin, backingFile.find('/', begin) - begin);
}

// The images of a point from its own to the one that builds on nothing.
bool followImages(const Archive& archive, OpenFile file, std::set<std::string>& folders) {
  // Images in a circle end where the archive has no further folder.
  std::size_t left = archive.index().points.size() + archive.index().kept.size();
  for (; left > 0; --left) {
    const ArchiveResult<Qcow2Reader> image = Qcow2Reader::open(std::move(file));
    if (!image) return false;
    if (image->backingFile().empty()) return true;
    folders.insert(folderIn(image->backingFile()));
    ArchiveResult<OpenFile> next = archive.openBackingFile(image->backingFile());
    if (!next) return false;
    file = std::move(*next);
  }
  return false;
}

bool followPoint(const Archive& archive, std::size_t point, std::set<std::string>& folders) {
  const ArchiveResult<PointIndex> index = archive.readPoint(point);
  if (!index) return false;
  return std::ranges::all_of(index->disks, [&](const StoredDisk& disk) {
    ArchiveResult<OpenFile> file = archive.openPointFile(point, disk.image);
    return file && followImages(archive, std::move(*file), folders);
  });
}

}  // namespace

std::set<std::string> keptFoldersInUse(const Archive& archive) {
  const std::vector<std::string>& kept = archive.index().kept;
  std::set<std::string> folders;
  for (std::size_t i = 0; i < archive.index().points.size(); ++i) {
    if (!followPoint(archive, i, folders)) return {kept.begin(), kept.end()};
  }
  std::erase_if(folders, [&](const std::string& name) { return std::ranges::find(kept, name) == kept.end(); });
  return folders;
}

}  // namespace zpk
