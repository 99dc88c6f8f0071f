#include "helper/archive/Qcow2Chain.h"

#include <algorithm>

namespace zpk {

ArchiveResult<Qcow2Chain> Qcow2Chain::open(const Archive& archive, std::size_t point, std::size_t disk) {
  const ArchiveResult<PointIndex> index = archive.readPoint(point);
  if (!index) return index.error();
  if (disk >= index->disks.size()) {
    return damagedError("The backup point does not hold this disk", archive.pointIndexPath(point));
  }
  Qcow2Chain chain;
  ArchiveResult<OpenFile> file = archive.openPointFile(point, index->disks[disk].image);
  if (!file) return file.error();
  ArchiveResult<Done> step = chain.add(std::move(*file));
  while (step && !chain._images.back().backingFile().empty()) {
    // Images that build on each other in a circle would never end.
    if (chain.length() > archive.index().points.size() + archive.index().kept.size()) {
      return damagedError("The images of the archive build on each other in a circle",
                          archive.pointIndexPath(point));
    }
    file = archive.openBackingFile(chain._images.back().backingFile());
    if (!file) return file.error();
    step = chain.add(std::move(*file));
  }
  if (!step) return step.error();
  return chain;
}

ArchiveResult<Done> Qcow2Chain::add(OpenFile file) {
  const std::string path = file.path;
  ArchiveResult<Qcow2Reader> image = Qcow2Reader::open(std::move(file));
  if (!image) return image.error();
  const bool fits =
      _images.empty() || (image->virtualSize() == virtualSize() && image->clusterBits() == clusterBits());
  if (!fits) return damagedError("An image builds on one of another size", path);
  _images.push_back(std::move(*image));
  return Done{};
}

ArchiveResult<Done> Qcow2Chain::read(std::uint64_t cluster, std::span<std::byte> content) {
  for (Qcow2Reader& image : _images) {
    const ArchiveResult<ClusterKind> kind = image.read(cluster, content);
    if (!kind) return kind.error();
    if (*kind != ClusterKind::Absent) break;
  }
  return Done{};
}

}  // namespace zpk
