#include "helper/archive/IncrementBase.h"

#include <algorithm>

#include "helper/archive/Qcow2Chain.h"
#include "helper/archive/Qcow2Format.h"

namespace zpk {
namespace {

bool isSamePlace(const StoredPartition& a, const StoredPartition& b) {
  return a.number == b.number && a.start == b.start && a.size == b.size && a.typeGuid == b.typeGuid &&
         a.content == b.content;
}

std::optional<std::string> whyAnotherDisk(const StoredDisk& before, const StoredDisk& now) {
  if (before.gptId != now.gptId) return "the last backup point holds another disk";
  if (before.size != now.size || before.sectorSize != now.sectorSize) return "the size of the disk has changed";
  if (!std::ranges::equal(before.partitions, now.partitions, isSamePlace)) {
    return "the partitions of the disk have changed";
  }
  return std::nullopt;
}

std::string unusable(const ArchiveError& error) {
  return "the last backup point cannot be built on (" + error.text() + ")";
}

// Whether a point that this one takes content from is known to be damaged.
bool buildsOnDamage(const Archive& archive, const PointIndex& point) {
  std::string wanted = point.parent;
  for (std::size_t i = archive.index().points.size(); i-- > 0 && !wanted.empty();) {
    const ArchiveResult<PointIndex> index = archive.readPoint(i);
    if (!index || index->id != wanted) continue;
    if (index->check && index->check->isDamaged) return true;
    wanted = index->parent;
  }
  return false;
}

// The parent's map of one disk, when it and the images that the parent builds on are what they have to be.
Expected<std::unique_ptr<ParentHashes>, std::string> hashesOf(const Archive& archive, std::size_t disk,
                                                              const StoredDisk& stored, const SourcePlan& plan) {
  const std::size_t point = archive.index().points.size() - 1;
  const ArchiveResult<Qcow2Chain> chain = Qcow2Chain::open(archive, point, disk);
  if (!chain) return unusable(chain.error());
  if (chain->clusterBits() != qcow2::clusterBitsForUsedBytes(plan.layout.usedBytes())) {
    return std::string("so much is in use now that the image needs larger clusters, or smaller ones");
  }
  ArchiveResult<OpenFile> file = archive.openPointFile(point, stored.map);
  if (!file) return unusable(file.error());
  const std::string path = file->path;
  ArchiveResult<ChunkMapReader> map = ChunkMapReader::open(std::move(*file));
  if (!map) return unusable(map.error());
  const bool belongs = chain->virtualSize() == plan.layout.diskSize() && map->chunkSize() == chain->clusterSize() &&
                       map->seed() == archive.index().hashSeed && !map->nextChunk(chain->clusterCount());
  if (!belongs) return unusable(damagedError("The hash map does not belong to the image", path));
  return std::make_unique<ParentHashes>(std::move(*map));
}

}  // namespace

std::string backingFileName(const std::string& pointFolder, const std::string& image) {
  return "../" + pointFolder + "/" + image;
}

Expected<IncrementBase, std::string> findIncrementBase(const Archive& archive,
                                                       const std::vector<SourcePlan>& plans) {
  const std::size_t newest = archive.index().points.size() - 1;
  const ArchiveResult<PointIndex> point = archive.readPoint(newest);
  if (!point) return unusable(point.error());
  if (point->check && point->check->isDamaged) return std::string("the last backup point is damaged");
  if (buildsOnDamage(archive, *point)) return std::string("a backup point that the last one builds on is damaged");
  if (point->disks.size() != plans.size()) return std::string("other disks are backed up than before");
  IncrementBase base;
  base.parent = point->id;
  for (std::size_t i = 0; i < plans.size(); ++i) {
    const StoredDisk& stored = point->disks[i];
    if (auto reason = whyAnotherDisk(stored, plans[i].description)) return *reason;
    Expected<std::unique_ptr<ParentHashes>, std::string> hashes = hashesOf(archive, i, stored, plans[i]);
    if (!hashes) return hashes.error();
    base.disks.push_back({backingFileName(archive.index().points[newest], stored.image), std::move(*hashes)});
  }
  return base;
}

}  // namespace zpk
