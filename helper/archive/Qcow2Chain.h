#pragma once

#include <vector>

#include "helper/archive/Archive.h"
#include "helper/archive/Qcow2Reader.h"

namespace zpk {

// A disk of a backup point as it reads through all the images that it builds on.
//
// Which image builds on which is taken from the images themselves, as the tools of the field do; each has to lie in
// a point's folder of the same archive and to be of the same size. One thread.
class Qcow2Chain {
 public:
  // `disk` counts the disks of the point.
  static ArchiveResult<Qcow2Chain> open(const Archive& archive, std::size_t point, std::size_t disk);

  std::uint64_t virtualSize() const { return _images.front().virtualSize(); }
  unsigned clusterBits() const { return _images.front().clusterBits(); }
  std::uint64_t clusterSize() const { return _images.front().clusterSize(); }
  std::uint64_t clusterCount() const { return _images.front().clusterCount(); }
  std::size_t length() const { return _images.size(); }

  // Fills `content`, one cluster long.
  ArchiveResult<Done> read(std::uint64_t cluster, std::span<std::byte> content);

 private:
  Qcow2Chain() = default;
  ArchiveResult<Done> add(OpenFile file);

  std::vector<Qcow2Reader> _images;  // The point's own first, the full one last.
};

}  // namespace zpk
