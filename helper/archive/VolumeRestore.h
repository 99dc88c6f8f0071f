#pragma once

#include <memory>
#include <optional>
#include <string>

#include "helper/archive/DiskLayout.h"
#include "helper/archive/NtfsBootSector.h"
#include "helper/archive/VolumeCopy.h"
#include "helper/archive/VolumeView.h"

namespace zpk {

// One stored partition on its way to the target, step by step. Nothing is written before `clearPlace`; what is on
// the target is no file system from then on until `putDown` is done.
class VolumeRestore {
 public:
  enum class Size { Stays, FollowsThePlace };

  struct Surroundings {
    PointDisk& source;
    const RestoreTarget& target;
    std::string exportFolder;  // As FuseExport has it.
    const CancelFlag& cancel;
  };

  VolumeRestore(const Surroundings& surroundings, const PartitionMove& move, Size size);

  // Finds out what there is to copy, and whether the volume can be made as small as it must be (Refused when not).
  ArchiveResult<Done> examine();
  // After `examine`.
  std::uint64_t bytesToCopy() const { return zpk::bytesToCopy(_layout, copiedRange()); }
  bool isResized() const { return _isResized; }
  // Its place is larger, but the tools do not touch the volume as it is (`examine`): what they say against it.
  const std::optional<std::string>& whySizeStays() const { return _whySizeStays; }
  std::uint64_t newSize() const { return _move.place.size(); }

  ArchiveResult<Done> clearPlace() const { return _view.clearPlace(); }
  ArchiveResult<Done> copy(const CopiedBytes& progress);
  // Gives the volume the size of its place, if that is another one, and makes its boot sector right for it.
  ArchiveResult<Done> fit();
  // Compares the structures of the volume with each other, as it will be. One that was stored with contradictions
  // has them still: true for a sound one, false for one that was no better before.
  ArchiveResult<bool> check();
  ArchiveResult<Done> putDown() { return _view.putDown(_surroundings.cancel); }

 private:
  const StoredPartition& stored() const { return _surroundings.source.description().partitions[_move.stored]; }
  ByteRange copiedRange() const;
  ArchiveResult<Done> examineVolume();
  ArchiveResult<Done> checkLeastSize(const std::string& device);
  ArchiveResult<Done> resize();
  ArchiveResult<Done> placeBootSector();
  // Lets a tool work on the view. When the view lost something meanwhile, that is the reason and not what the tool
  // said.
  template <class Result, class Work>
  ArchiveResult<Result> withDevice(VolumeView& view, const Work& work);

  const Surroundings _surroundings;
  const PartitionMove _move;
  const Size _size;
  VolumeView _view;
  DiskLayout _layout;
  std::optional<NtfsGeometry> _geometry;  // Of a volume that is copied by its used clusters.
  bool _isResized = false;
  std::optional<std::string> _whySizeStays;
};

}  // namespace zpk
