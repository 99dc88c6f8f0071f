#include "helper/archive/BackupOperation.h"

#include <algorithm>

#include "helper/archive/ChunkMap.h"
#include "helper/archive/DiskImager.h"
#include "helper/archive/Qcow2Format.h"
#include "helper/archive/Qcow2Writer.h"
#include "helper/archive/SourcePlan.h"

namespace zpk {
namespace {

class FullBackup {
 public:
  FullBackup(Archive& archive, const BackupRequest& request, const BackupProgress& progress,
             const CancelFlag& cancel)
      : _archive(archive), _request(request), _progress(progress), _cancel(cancel) {}

  ArchiveResult<PointIndex> run() {
    ArchiveResult<Done> step = planAll();
    if (!step) return step.error();
    ArchiveResult<PendingPoint> point = _archive.beginPoint();
    if (!point) return point.error();
    PointIndex index;
    index.kind = PointKind::Full;
    index.creationTime = _request.creationTime;
    index.label = _request.label;
    for (std::size_t i = 0; i < _plans.size() && step; ++i) {
      step = imageOne(_plans[i], i, point->folder());
      index.disks.push_back(_plans[i].description);
    }
    // From here on the point comes into being as a whole; a wish to stop comes too late.
    if (step && _cancel.isRequested()) step = cancelledError();
    if (!step) return step.error();
    index.id = point->id();
    step = _archive.commitPoint(std::move(*point), index);
    if (!step) return step.error();
    _progress(_total, _total);
    return index;
  }

 private:
  ArchiveResult<Done> planAll() {
    for (const BackupDisk& disk : _request.disks) {
      ArchiveResult<SourcePlan> plan = planSource(disk, _request.exportFolder, _cancel);
      if (!plan) return plan.error();
      _total += plan->layout.usedBytes();
      _plans.push_back(std::move(*plan));
    }
    _progress(0, _total);
    return Done{};
  }

  // The last byte is only reported with the whole point.
  void report(std::uint64_t done) const { _progress(std::min(_doneBefore + done, _total - 1), _total); }

  ArchiveResult<Done> imageOne(SourcePlan& plan, std::size_t number, const OpenFile& folder) {
    const std::string base = "disk" + std::to_string(number);
    plan.description.image = base + ".pvhd";
    plan.description.map = base + ".map";
    ArchiveResult<OpenFile> imageFile = createIn(folder, plan.description.image + unfinishedSuffix);
    if (!imageFile) return imageFile.error();
    ArchiveResult<OpenFile> mapFile = createIn(folder, plan.description.map + unfinishedSuffix);
    if (!mapFile) return mapFile.error();

    const std::uint64_t seed = _archive.index().hashSeed;
    Qcow2Writer image(std::move(*imageFile),
                      {plan.layout.diskSize(), qcow2::clusterBitsForUsedBytes(plan.layout.usedBytes()), {}});
    ChunkMapWriter map(std::move(*mapFile), image.clusterSize(), seed);
    ArchiveResult<Done> step = imageDisk(
        {plan.disk, plan.layout, image, map, seed}, [this](std::uint64_t done) { report(done); }, _cancel);
    if (step) step = plan.disk.checkUnchanged();
    if (step) step = image.finish(_cancel);
    if (step) step = map.finish(_cancel);
    if (step) step = renameIn(folder, plan.description.image + unfinishedSuffix, plan.description.image);
    if (step) step = renameIn(folder, plan.description.map + unfinishedSuffix, plan.description.map);
    if (step) step = syncFolder(folder, _cancel);
    _doneBefore += plan.layout.usedBytes();
    return step;
  }

  Archive& _archive;
  const BackupRequest& _request;
  const BackupProgress& _progress;
  const CancelFlag& _cancel;
  std::vector<SourcePlan> _plans;
  std::uint64_t _total = 0;
  std::uint64_t _doneBefore = 0;
};

}  // namespace

ArchiveResult<PointIndex> makeFullBackup(Archive& archive, const BackupRequest& request,
                                         const BackupProgress& progress, const CancelFlag& cancel) {
  return FullBackup(archive, request, progress, cancel).run();
}

}  // namespace zpk
