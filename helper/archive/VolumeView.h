#pragma once

#include <array>
#include <map>
#include <mutex>

#include "helper/archive/BlockView.h"
#include "helper/archive/PointDisk.h"
#include "helper/archive/RestoreTarget.h"

namespace zpk {

// A stored volume on its way to its place on the target, as one volume that the NTFS tools can look at and resize.
//
//   before the copy    all of it is the stored volume's; nothing can be written
//   after the copy     what lies within the place is the target's, read and written there; what the place is too
//                      short for is still the stored volume's, so that a tool that makes the volume smaller takes
//                      it from there to its new place on the target
//
// Never on the target before `putDown`: the first page, with the boot sector, and the last one, with the boot
// sector's copy. They are kept here, so that the target holds no file system until all of it is in place. Written
// pages behind the place are kept here too, and lost with this object.
class VolumeView final : public BlockView {
 public:
  static constexpr std::uint64_t pageSize = 4096;
  // Tools write hardly anything behind the end of what they make; more than this is an error.
  static constexpr std::size_t mostKeptPages = 16384;

  // Both outlive this object. `move.place` is at least one page long.
  VolumeView(PointDisk& source, const RestoreTarget& target, const PartitionMove& move);

  // As large as the larger one of the two.
  std::uint64_t size() const override;
  bool read(std::uint64_t offset, std::span<std::byte> bytes) override;
  bool write(std::uint64_t offset, ByteSpan bytes) override;

  // Everything in use has been copied to the target but for the pages that are kept here. From now on the view ends
  // where the larger one of the two does, until `shrinkToPlace`.
  void copied() { _isCopied = true; }
  // Nothing behind the place counts any more.
  void shrinkToPlace() { _endsWithPlace = true; }

  // Whether that page of the volume is never on the target before `putDown`.
  bool isKept(std::uint64_t page) const;
  // Zeros to the kept pages' places on the target, so that what was there is no file system any more.
  ArchiveResult<Done> clearPlace() const;
  // The kept pages to the target, the first one last of all, each made durable.
  ArchiveResult<Done> putDown(const CancelFlag& cancel);

  // Why a read or a write through the view failed, if one did.
  std::optional<ArchiveError> loss() const;

 private:
  using Page = std::array<std::byte, pageSize>;

  std::uint64_t lastPage() const { return (_move.place.size() - 1) / pageSize; }
  // Bytes of one page of the volume.
  ByteRange rangeOf(std::uint64_t page) const;
  bool isOnTarget(std::uint64_t page) const;
  ArchiveResult<Done> readPiece(std::uint64_t offset, std::span<std::byte> bytes);
  ArchiveResult<Done> writePiece(std::uint64_t offset, ByteSpan bytes);
  ArchiveResult<Done> readStored(std::uint64_t offset, std::span<std::byte> bytes);
  ArchiveResult<Page*> keptPage(std::uint64_t page);
  bool note(const ArchiveResult<Done>& step);

  PointDisk& _source;
  const RestoreTarget& _target;
  const PartitionMove _move;
  bool _isCopied = false;
  bool _endsWithPlace = false;
  std::map<std::uint64_t, Page> _kept;
  mutable std::mutex _mutex;
  std::optional<ArchiveError> _loss;
};

}  // namespace zpk
