#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "helper/archive/PointDisk.h"
#include "tools/qrx-helper/NtfsVolume.h"

namespace zpk {

// The image file of a backup point, as the archive that it belongs to reads it: through all the images that it
// builds on, each piece compared with its hash. While it is open, no merge rewrites any of those.
class StoredImage {
 public:
  // `imagePath` is the path of an image beside its point's index file, in an archive.
  static ArchiveResult<StoredImage> open(const std::string& imagePath);

  const StoredDisk& disk() const { return _disk->description(); }
  // Told why a read failed: what is damaged, and which bytes of the disk were asked for.
  using ToldOfDamage = std::function<void(const ArchiveError& error, ByteRange asked)>;
  // The bytes of a partition, for as long as this object lives.
  VolumeBytes partition(
      const StoredPartition& partition, ToldOfDamage told = [](const auto&, auto) {});

 private:
  explicit StoredImage(PointDisk disk) : _disk(std::make_unique<PointDisk>(std::move(disk))) {}

  std::unique_ptr<PointDisk> _disk;
};

// The entries of the table that are in use, and of those the ones whose files are in the backup.
std::vector<StoredPartition> usedPartitions(const StoredDisk& disk);
bool hasFiles(const StoredPartition& partition);

}  // namespace zpk
