#include "helper/archive/BackupOperation.h"

#include <algorithm>

#include "helper/archive/ChunkMap.h"
#include "helper/archive/DiskImager.h"
#include "helper/archive/IncrementBase.h"
#include "helper/archive/Qcow2Format.h"
#include "helper/archive/Qcow2Writer.h"
#include "helper/archive/SourcePlan.h"

namespace zpk {
namespace {

class Backup {
 public:
  Backup(Archive& archive, const BackupRequest& request, const BackupProgress& progress, const CancelFlag& cancel)
      : _archive(archive), _request(request), _progress(progress), _cancel(cancel) {}

  ArchiveResult<MadePoint> run(PointKind wanted) {
    ArchiveResult<Done> step = planAll();
    if (!step) return step.error();
    if (wanted == PointKind::Increment) findBase();
    ArchiveResult<PendingPoint> point = _archive.beginPoint();
    if (!point) return point.error();
    MadePoint made;
    made.index.kind = _base ? PointKind::Increment : PointKind::Full;
    if (_base) made.index.parent = _base->parent;
    made.index.creationTime = _request.creationTime;
    made.index.label = _request.label;
    for (std::size_t i = 0; i < _plans.size() && step; ++i) {
      step = imageOne(_plans[i], i, point->folder());
      made.index.disks.push_back(_plans[i].description);
    }
    // From here on the point comes into being as a whole; a wish to stop comes too late.
    if (step && _cancel.isRequested()) step = cancelledError();
    if (!step) return step.error();
    made.index.id = point->id();
    step = _archive.commitPoint(std::move(*point), made.index, _request.source);
    if (!step) return step.error();
    _progress(_total, _total);
    made.storedBytes = _storedBytes;
    return made;
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

  void findBase() {
    if (_archive.index().points.empty()) return;
    Expected<IncrementBase, std::string> base = findIncrementBase(_archive, _plans);
    if (base) {
      _base = std::move(*base);
    } else if (_request.becomesFull) {
      _request.becomesFull(base.error());
    }
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
    const IncrementBase::Disk* parent = _base ? &_base->disks[number] : nullptr;
    Qcow2Writer image(std::move(*imageFile),
                      {plan.layout.diskSize(), qcow2::clusterBitsForUsedBytes(plan.layout.usedBytes()),
                       parent != nullptr ? parent->backingFile : std::string()});
    ChunkMapWriter map(std::move(*mapFile), image.clusterSize(), seed);
    ChunkSink sink(image, map, parent != nullptr ? parent->hashes.get() : nullptr);
    SourceReader reader(plan.disk, plan.layout, plan.description.sectorSize, plan.vital, _cancel);
    ArchiveResult<Done> step = imageDisk(
        {reader, plan.layout, sink, seed}, [this](std::uint64_t done) { report(done); }, _cancel);
    if (step) step = plan.disk.checkUnchanged();
    if (step) step = image.finish(_cancel);
    if (step) step = map.finish(_cancel);
    if (step) step = renameIn(folder, plan.description.image + unfinishedSuffix, plan.description.image);
    if (step) step = renameIn(folder, plan.description.map + unfinishedSuffix, plan.description.map);
    if (step) step = syncFolder(folder, _cancel);
    plan.description.unreadable = reader.unreadable();
    _doneBefore += plan.layout.usedBytes();
    _storedBytes += sink.storedBytes();
    return step;
  }

  Archive& _archive;
  const BackupRequest& _request;
  const BackupProgress& _progress;
  const CancelFlag& _cancel;
  std::vector<SourcePlan> _plans;
  std::optional<IncrementBase> _base;  // None: the point is a full one.
  std::uint64_t _total = 0;
  std::uint64_t _doneBefore = 0;
  std::uint64_t _storedBytes = 0;
};

}  // namespace

ArchiveResult<PointIndex> makeFullBackup(Archive& archive, const BackupRequest& request,
                                         const BackupProgress& progress, const CancelFlag& cancel) {
  ArchiveResult<MadePoint> made = Backup(archive, request, progress, cancel).run(PointKind::Full);
  if (!made) return made.error();
  return std::move(made->index);
}

ArchiveResult<MadePoint> makeBackup(Archive& archive, const BackupRequest& request, const BackupProgress& progress,
                                    const CancelFlag& cancel) {
  return Backup(archive, request, progress, cancel).run(PointKind::Increment);
}

}  // namespace zpk
