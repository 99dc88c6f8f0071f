#include "helper/archive/RestoreOperation.h"

#include <algorithm>
#include <memory>

#include "helper/archive/PointDisk.h"
#include "helper/archive/RestoreTarget.h"
#include "helper/archive/TableChange.h"
#include "helper/archive/VolumeRestore.h"
#include "helper/process/ActingAs.h"

namespace zpk {
namespace {

// What a table, or a volume over a whole disk, is found by.
constexpr std::uint64_t tableMargin = std::uint64_t{1} << 20U;

class Restore {
 public:
  Restore(const RestoreRequest& request, const RestoreProgress& progress, const CancelFlag& cancel,
          PointDisk source, RestoreTarget target, RestorePlan plan)
      : _request(request),
        _progress(progress),
        _cancel(cancel),
        _source(std::move(source)),
        _target(std::move(target)),
        _plan(std::move(plan)) {}

  ArchiveResult<RestoredPoint> run() {
    ArchiveResult<Done> step = prepare();
    if (step && _request.mayWrite && !_request.mayWrite()) step = cancelledError();
    if (step) step = clear();
    if (step) step = copy();
    if (step) step = finishVolumes();
    if (step && _cancel.isRequested()) step = cancelledError();
    if (step) step = putDown();
    if (!step) return step.error();
    _progress(_total, _total);
    return RestoredPoint{_total, windows().isResized()};
  }

  bool isTargetTouched() const { return _isTouched; }

 private:
  VolumeRestore& windows() { return *_volumes[_plan.windows]; }
  bool changesTable() const { return !_plan.entries.empty(); }

  // Everything that can be found out before the first write.
  ArchiveResult<Done> prepare() {
    for (const std::string& remark : _plan.remarks) _request.say(remark);
    ArchiveResult<Done> step = _target.checkIs(_request.target);
    if (step) step = remarkOnMbr();
    for (std::size_t i = 0; step && i < _plan.moves.size(); ++i) {
      const auto size = i == _plan.windows ? VolumeRestore::Size::FollowsThePlace : VolumeRestore::Size::Stays;
      _volumes.push_back(std::make_unique<VolumeRestore>(
          VolumeRestore::Surroundings{_source, _target, _request.exportFolder, _cancel}, _plan.moves[i], size));
      step = _volumes.back()->examine();
      if (step) _total += _volumes.back()->bytesToCopy();
    }
    _total = std::max<std::uint64_t>(_total, 1);
    if (step && windows().whySizeStays()) {
      _request.say("The Windows volume keeps its size in a larger partition. " + *windows().whySizeStays());
    }
    if (step && changesTable()) {
      _edit = tableEditFor(_plan, _source, _request.target.sectorSize, _request.takesIdentity);
      step = checkTableEdit(_request.tableProgram, _edit, _target, _cancel);
    }
    if (step && _cancel.isRequested()) step = cancelledError();
    return step;
  }

  // Which of its four places would be the new partition's is not ours to guess: another system starts by them.
  ArchiveResult<Done> remarkOnMbr() const {
    if (_plan.use != TargetUse::FreeSpace) return Done{};
    const ArchiveResult<bool> isHybrid = _target.hasHybridMbr();
    if (!isHybrid) return isHybrid.error();
    if (*isHybrid) {
      _request.say(
          "The disk has a hybrid MBR, which stays as it is: the new partitions are in the GPT alone, and only "
          "a Windows that starts by EFI finds them");
    }
    return Done{};
  }

  ArchiveResult<Done> clear() {
    _isTouched = true;
    ArchiveResult<Done> step = Done{};
    if (_plan.use == TargetUse::WholeDisk) {
      step = _target.writeZeros({0, tableMargin});
      if (step) step = _target.writeZeros({_target.size() - tableMargin, _target.size()});
    }
    // Of places that nothing is copied to as well: the new EFI partition begins without a file system.
    for (const PlannedEntry& entry : _plan.entries) {
      const std::uint64_t end = std::min(entry.place.start + VolumeView::pageSize, entry.place.end);
      if (step) step = _target.writeZeros({entry.place.start, end});
    }
    for (const auto& volume : _volumes) {
      if (step) step = volume->clearPlace();
    }
    if (step) step = _target.sync(_cancel);
    return step;
  }

  ArchiveResult<Done> copy() {
    ArchiveResult<Done> step = Done{};
    std::uint64_t before = 0;
    for (const auto& volume : _volumes) {
      const auto report = [&](std::uint64_t done) { _progress(std::min(before + done, _total - 1), _total); };
      report(0);
      if (step) step = volume->copy(report);
      before += volume->bytesToCopy();
    }
    return step;
  }

  ArchiveResult<Done> finishVolumes() {
    ArchiveResult<Done> step = Done{};
    if (windows().isResized()) _request.say("Giving the Windows volume " + megabytesText(windows().newSize()));
    for (const auto& volume : _volumes) {
      if (step) step = volume->fit();
    }
    if (step) _request.say("Checking what was written");
    for (const auto& volume : _volumes) {
      if (!step) break;
      const ArchiveResult<bool> isSound = volume->check();
      if (!isSound) step = isSound.error();
      if (isSound && !*isSound) _request.say("A volume was backed up with errors, and has them again");
    }
    return step;
  }

  ArchiveResult<Done> putDown() {
    ArchiveResult<Done> step = Done{};
    for (const auto& volume : _volumes) {
      if (step) step = volume->putDown();
    }
    if (step && changesTable()) {
      _request.say("Writing the partition table");
      step = writeTableEdit(_request.tableProgram, _edit, _target);
      if (step) step = _target.sync({});
      if (step) _target.tellKernelOfTable();
    }
    return step;
  }

  const RestoreRequest& _request;
  const RestoreProgress& _progress;
  const CancelFlag& _cancel;
  PointDisk _source;
  const RestoreTarget _target;
  const RestorePlan _plan;
  TableEdit _edit;
  std::vector<std::unique_ptr<VolumeRestore>> _volumes;
  std::uint64_t _total = 0;
  bool _isTouched = false;
};

}  // namespace

Expected<RestoredPoint, RestoreFailure> restorePoint(const Archive& archive, const RestoreRequest& request,
                                                     const RestoreProgress& progress, const CancelFlag& cancel) {
  ArchiveResult<PointDisk> source = PointDisk::open(archive, request.point, 0);
  if (!source) return RestoreFailure{source.error()};
  // All of the archive is open; the disk is nothing that its user must be able to write.
  const ActingAsSelf self;
  ArchiveResult<RestorePlan> plan =
      planRestore(source->description(), request.target, request.use, request.wantedSize);
  if (!plan) return RestoreFailure{plan.error()};
  ArchiveResult<RestoreTarget> target = RestoreTarget::open(request.path);
  if (!target) return RestoreFailure{target.error()};
  Restore restore(request, progress, cancel, std::move(*source), std::move(*target), std::move(*plan));
  const ArchiveResult<RestoredPoint> restored = restore.run();
  if (restored) return *restored;
  return RestoreFailure{restored.error(), restore.isTargetTouched()};
}

}  // namespace zpk
