#include "tools/qrx-helper/StoredImage.h"

#include <algorithm>
#include <utility>

namespace zpk {
namespace {

// "/a/b" gives "/a".
std::string folderOf(const std::string& path) {
  const auto slash = path.rfind('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

ArchiveError notStored(const std::string& imagePath) {
  return damagedError("The file is no disk image of a backup point", imagePath);
}

}  // namespace

ArchiveResult<StoredImage> StoredImage::open(const std::string& imagePath) {
  const std::string point = folderOf(imagePath);
  const std::string name = imagePath.substr(point.size() + 1);
  const ArchiveResult<Archive> archive = Archive::openForReading(folderOf(point));
  if (!archive) return archive.error();
  for (std::size_t i = 0; i < archive->index().points.size(); ++i) {
    if (folderOf(archive->pointIndexPath(i)) != point) continue;
    const ArchiveResult<PointIndex> index = archive->readPoint(i);
    if (!index) return index.error();
    const auto disk = std::find_if(index->disks.begin(), index->disks.end(),
                                   [&](const StoredDisk& stored) { return stored.image == name; });
    if (disk == index->disks.end()) break;
    ArchiveResult<PointDisk> opened =
        PointDisk::open(*archive, i, static_cast<std::size_t>(disk - index->disks.begin()));
    if (!opened) return opened.error();
    return StoredImage(std::move(*opened));
  }
  return notStored(imagePath);
}

VolumeBytes StoredImage::partition(const StoredPartition& partition, ToldOfDamage told) {
  return {.size = partition.size,
          .sectorSize = disk().sectorSize,
          .read = [disk = _disk.get(), start = partition.start, told = std::move(told)](
                      std::uint64_t offset, std::span<std::byte> bytes) {
            const std::uint64_t first = start + offset;
            const ArchiveResult<Done> read = disk->read(first, bytes);
            if (!read) told(read.error(), {first, first + bytes.size()});
            return read.hasValue();
          }};
}

std::vector<StoredPartition> usedPartitions(const StoredDisk& disk) {
  std::vector<StoredPartition> used;
  for (const StoredPartition& partition : disk.partitions) {
    const bool isUsed = partition.type != 0 || partition.content != PartitionContent::NotStored;
    if (isUsed && partition.number != 0) used.push_back(partition);
  }
  return used;
}

bool hasFiles(const StoredPartition& partition) {
  return partition.content == PartitionContent::UsedClusters;
}

}  // namespace zpk
