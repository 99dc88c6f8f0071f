#include "helper/archive/VolumeRestore.h"

#include <algorithm>

#include "helper/archive/FuseExport.h"
#include "helper/archive/NtfsVolumeTools.h"
#include "helper/archive/UsedClusters.h"

namespace zpk {
namespace {

constexpr std::size_t bootSectorSize = 512;

}  // namespace

VolumeRestore::VolumeRestore(const Surroundings& surroundings, const PartitionMove& move, Size size)
    : _surroundings(surroundings),
      _move(move),
      _size(size),
      _view(surroundings.source, surroundings.target, move),
      _layout(surroundings.source.size()) {}

template <class Result, class Work>
ArchiveResult<Result> VolumeRestore::withDevice(VolumeView& view, const Work& work) {
  const auto device = FuseExport::makeForView(view, _surroundings.exportFolder, _surroundings.cancel);
  if (!device) return device.error();
  ArchiveResult<Result> result = work(device->path());
  if (result || result.error().fault == ArchiveFault::Cancelled) return result;
  if (const std::optional<ArchiveError> loss = view.loss()) return *loss;
  return result;
}

ArchiveResult<Done> VolumeRestore::examine() {
  if (_move.place.size() < VolumeView::pageSize) {
    return ArchiveError{ArchiveFault::Refused, "The partition is too small", {}, 0, 0};
  }
  if (stored().content == PartitionContent::UsedClusters) return examineVolume();
  return _layout.addWhole(_move.source);
}

ArchiveResult<Done> VolumeRestore::examineVolume() {
  ByteBuffer bootSector(bootSectorSize);
  const ArchiveResult<Done> read = _surroundings.source.read(_move.source.start, bootSector);
  if (!read) return read;
  _geometry = parseNtfsBootSector(bootSector, _move.source.size());
  if (!_geometry) return damagedError("The boot sector of the stored volume is damaged", {});
  NtfsGeometry fitting = *_geometry;
  fitting.sectors = _move.place.size() / fitting.sectorSize - 1;
  // A volume that was smaller than its partition stays so in a partition of the same size.
  _isResized = _size == Size::FollowsThePlace && _move.place.size() != _move.source.size() &&
               fitting.clusters() != _geometry->clusters();
  return withDevice<Done>(_view, [this](const std::string& device) -> ArchiveResult<Done> {
    ArchiveResult<ClusterBitmap> used = readUsedClusters(device, *_geometry, _surroundings.cancel);
    if (!used) return used.error();
    ArchiveResult<Done> step = _layout.addClusters(_move.source.start, _geometry->clusterSize, std::move(*used));
    if (!step || !_isResized) return step;
    step = checkLeastSize(device);
    if (step || step.error().fault != ArchiveFault::Refused || _move.place.size() < _move.source.size())
      return step;
    // It fits as it is. Windows can make it larger once what is in the way is mended.
    _isResized = false;
    _whySizeStays = step.error().message;
    return Done{};
  });
}

ArchiveResult<Done> VolumeRestore::checkLeastSize(const std::string& device) {
  const ArchiveResult<std::uint64_t> least = leastVolumeSize(device, _surroundings.cancel);
  const bool isToShrink = _move.place.size() < _move.source.size();
  if (!least && least.error().fault == ArchiveFault::Refused && isToShrink) {
    ArchiveError error = least.error();
    error.message += "; it needs " + megabytesText(_move.source.size());
    return error;
  }
  if (!least) return least.error();
  // One cluster more: the copy of the boot sector takes part of the last one.
  const std::uint64_t need = *least + _geometry->clusterSize;
  if (need <= _move.place.size()) return Done{};
  return ArchiveError{ArchiveFault::Refused,
                      "The Windows volume of this backup point can be made as small as " + megabytesText(need) +
                          " and would have " + std::to_string(_move.place.size() / 1'000'000) + " MB",
                      {},
                      0,
                      0};
}

// The first and the last page are the view's to put down.
ByteRange VolumeRestore::copiedRange() const {
  const std::uint64_t lastPage = (_move.place.size() - 1) / VolumeView::pageSize * VolumeView::pageSize;
  const std::uint64_t end = std::min(_move.source.size(), lastPage);
  return {_move.source.start + std::min(VolumeView::pageSize, end), _move.source.start + end};
}

ArchiveResult<Done> VolumeRestore::copy(const CopiedBytes& progress) {
  const ByteRange range = copiedRange();
  const VolumeCopy copy{_surroundings.source, _surroundings.target, _layout, range,
                        _move.place.start + (range.start - _move.source.start)};
  ArchiveResult<Done> copied = copyVolume(copy, progress, _surroundings.cancel);
  if (copied) _view.copied();
  return copied;
}

ArchiveResult<Done> VolumeRestore::fit() {
  ArchiveResult<Done> step = Done{};
  if (_isResized) step = resize();
  _view.shrinkToPlace();
  if (step && _geometry) step = placeBootSector();
  return step;
}

ArchiveResult<Done> VolumeRestore::resize() {
  return withDevice<Done>(_view, [this](const std::string& device) {
    return resizeVolume(device, _move.place.size(), _surroundings.cancel);
  });
}

ArchiveResult<Done> VolumeRestore::placeBootSector() {
  const ArchiveError failed = writeError("The boot sector could not be made right for its place", {}, 0, 0);
  const auto lost = [&] { return _view.loss().value_or(failed); };
  ByteBuffer bootSector(_geometry->sectorSize);
  if (!_view.read(0, bootSector)) return lost();
  placeNtfsBootSector(bootSector, _move.place.start, _move.place.size());
  const std::optional<NtfsGeometry> placed = parseNtfsBootSector(bootSector, _move.place.size());
  if (!placed) return failed;
  // The copy lies behind the volume; some look for it at the end of the partition.
  const std::uint64_t last = roundDown(_move.place.size(), placed->sectorSize) - placed->sectorSize;
  const std::uint64_t behindVolume = placed->sectors * placed->sectorSize;
  bool isWritten = _view.write(0, bootSector) && _view.write(last, bootSector);
  if (behindVolume < last) isWritten = isWritten && _view.write(behindVolume, bootSector);
  return isWritten ? ArchiveResult<Done>(Done{}) : lost();
}

ArchiveResult<bool> VolumeRestore::check() {
  if (!_geometry) return true;
  const auto checkWith = [this](const std::string& device) { return checkVolume(device, _surroundings.cancel); };
  const ArchiveResult<Done> checked = withDevice<Done>(_view, checkWith);
  if (checked) return true;
  if (checked.error().fault != ArchiveFault::Damaged || _isResized || _surroundings.source.damage()) {
    return checked.error();
  }
  VolumeView before(_surroundings.source, _surroundings.target, _move);
  const ArchiveResult<Done> asStored = withDevice<Done>(before, checkWith);
  if (!asStored && asStored.error().fault == ArchiveFault::Damaged) return false;
  return checked.error();
}

}  // namespace zpk
