#include "helper/archive/MergeOperation.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <optional>

#include "helper/archive/ImageFileUse.h"
#include "helper/archive/ImageMerge.h"
#include "helper/archive/IncrementBase.h"

namespace zpk {
namespace {

ArchiveError refused(std::string message) {
  return {ArchiveFault::Refused, std::move(message), {}, 0, 0};
}

bool isSameDisk(const StoredDisk& a, const StoredDisk& b) {
  return a.gptId == b.gptId;
}

// What is known of content that is one point's in part and another's for the rest: damage of either, and otherwise
// no more than of both.
std::optional<LastCheck> checkOfBoth(const std::optional<LastCheck>& a, const std::optional<LastCheck>& b) {
  if (a && a->isDamaged) return a;
  if (b && b->isDamaged) return b;
  if (!a || !b) return std::nullopt;
  return LastCheck{std::min(a->time, b->time), false};
}

// One merge, from its beginning or from where it was interrupted.
class Merge {
 public:
  Merge(Archive& archive, std::size_t child, const MergeProgress& progress, const CancelFlag& cancel)
      : _archive(archive), _childPlace(child), _progress(progress), _cancel(cancel) {}

  ArchiveResult<Done> begin() {
    ArchiveResult<Done> step = readPoints();
    if (step) step = checkAllowed();
    PendingMerge merge{folderOf(_childPlace - 1), folderOf(_childPlace), {}};
    if (step) step = checkNotInUse();
    if (step && movesImages()) {
      step = checkRoom();
      for (std::size_t disk = 0; step && disk < _child.disks.size(); ++disk) step = openImages(disk);
      for (const ImageMerge& image : _images) merge.tables.push_back(image.tablesPlace());
    }
    if (step) step = _archive.beginMerge(merge);
    return step ? carryOut() : step;
  }

  ArchiveResult<Done> goOn() {
    const PendingMerge merge = *_archive.index().merging;
    ArchiveResult<Done> step = readPoints();
    // A child that was settled already is of the parent's kind; one without tables was full from the beginning.
    const bool isFull = merge.tables.empty() && !movesImages();
    if (step && !isFull && merge.tables.size() != _child.disks.size()) step = contradiction();
    for (std::size_t disk = 0; step && disk < merge.tables.size(); ++disk) {
      step = wasMoved(disk);
      if (step && _moved) continue;
      if (step) step = openImages(disk);
      const bool isSwitched = step && _images.back().tablesPlace() != merge.tables[disk];
      if (isSwitched) _images.back().skipFolding();
      _pastReturn = _pastReturn || isSwitched;
    }
    if (step) return carryOut();
    if (!_pastReturn && isUntouched(merge)) (void)_archive.abandonMerge();
    return step;
  }

 private:
  std::string folderOf(std::size_t point) const { return _archive.index().points[point]; }
  bool movesImages() const { return _child.kind == PointKind::Increment; }
  ArchiveError contradiction() const {
    return damagedError("The backup point does not build on the one before it",
                        _archive.pointIndexPath(_childPlace));
  }

  ArchiveResult<Done> readPoints() {
    // The parent first: it alone tells whether anything was done to it.
    ArchiveResult<PointIndex> parent = _archive.readPoint(_childPlace - 1);
    if (!parent) return parent.error();
    _parent = std::move(*parent);
    ArchiveResult<PointIndex> child = _archive.readPoint(_childPlace);
    if (!child) return child.error();
    _child = std::move(*child);
    return Done{};
  }

  ArchiveResult<Done> checkAllowed() const {
    if (_parent.isPinned) return refused("The backup point before this one is pinned. Unpin it to merge the two");
    if (!std::ranges::equal(_child.disks, _parent.disks, isSameDisk)) {
      return refused("The two backup points hold different disks and cannot be merged");
    }
    if (movesImages() && _child.parent != _parent.id) return contradiction();
    const ArchiveResult<Done> alone = checkNobodyElseBuildsOnParent();
    return alone && !movesImages() ? checkNeedsNothing() : alone;
  }

  // Every point builds on the one before it, unless somebody changed the archive by hand.
  ArchiveResult<Done> checkNobodyElseBuildsOnParent() const {
    for (std::size_t i = _childPlace + 1; i < _archive.index().points.size(); ++i) {
      const ArchiveResult<PointIndex> point = _archive.readPoint(i);
      if (point && point->parent == _parent.id) {
        return refused("Another backup point builds on the one that would be given up");
      }
    }
    return Done{};
  }

  // The images have the last word on whether a point is a full one.
  ArchiveResult<Done> checkNeedsNothing() const {
    for (const StoredDisk& disk : _child.disks) {
      ArchiveResult<OpenFile> file = _archive.openPointFile(_childPlace, disk.image);
      if (!file) return file.error();
      const ArchiveResult<Qcow2Reader> image = Qcow2Reader::open(std::move(*file));
      if (!image) return image.error();
      if (!image->backingFile().empty()) return contradiction();
    }
    return Done{};
  }

  // The parent's images are rewritten, or go with their folder, and the child's go.
  ArchiveResult<Done> checkNotInUse() const {
    if (!isInUse(_childPlace - 1, _parent) && !(movesImages() && isInUse(_childPlace, _child))) return Done{};
    return refused("One of the two backup points is in use. Detach it first");
  }

  bool isInUse(std::size_t place, const PointIndex& point) const {
    return std::ranges::any_of(point.disks, [&](const StoredDisk& disk) {
      const ArchiveResult<OpenFile> image = _archive.openPointFile(place, disk.image);
      // What is not there is used by nobody; whether it is needed is found out where it is.
      return image && isOpenElsewhere(image->fd);
    });
  }

  ArchiveResult<Done> checkRoom() const {
    std::uint64_t needed = 0;
    for (std::size_t disk = 0; disk < _child.disks.size(); ++disk) {
      const ArchiveResult<OpenFile> child = _archive.openPointFile(_childPlace, _child.disks[disk].image);
      if (!child) return child.error();
      const ArchiveResult<OpenFile> parent = _archive.openPointFile(_childPlace - 1, _parent.disks[disk].image);
      if (!parent) return parent.error();
      // A copy made of hard links is the same file.
      if (hasOtherNames(*parent)) {
        return refused(
            "An image of the backup point before this one has another name elsewhere and is not changed");
      }
      const ArchiveResult<std::uint64_t> room = ImageMerge::roomFor(*parent, *child);
      if (!room) return room.error();
      needed += *room;
    }
    const ArchiveResult<std::uint64_t> available = freeBytes(_archive.package());
    if (!available || *available >= needed) return Done{};  // Who cannot say may have enough.
    const auto megabytes = [](std::uint64_t bytes) { return std::to_string(divideUp(bytes, 1'000'000)) + " MB"; };
    return ArchiveError{ArchiveFault::NoSpace,
                        "Merging needs " + megabytes(needed) + " of free space and there are " +
                            megabytes(*available) + ". Make room at the location of the archive",
                        {},
                        0,
                        0};
  }

  ArchiveResult<Done> openImages(std::size_t disk) {
    const StoredDisk& stored = _child.disks[disk];
    const ArchiveResult<OpenFile> folder = _archive.openPointFolder(_childPlace - 1);
    if (!folder) return folder.error();
    const std::string& name = _parent.disks[disk].image;
    ArchiveResult<OpenFile> parent = openForUpdateIn(*folder, name);
    if (!parent) return parent.error();
    ArchiveResult<OpenFile> child = _archive.openPointFile(_childPlace, stored.image);
    if (!child) return child.error();
    ArchiveResult<OpenFile> map = _archive.openPointFile(_childPlace, stored.map);
    if (!map) return map.error();
    ArchiveResult<ImageMerge> image = ImageMerge::open(std::move(*parent), std::move(*child), std::move(*map));
    if (!image) return image.error();
    if (image->backingFile() != backingFileName(folderOf(_childPlace - 1), name) || name != stored.image) {
      return contradiction();
    }
    _total += image->bytesToMove();
    _images.push_back(std::move(*image));
    return Done{};
  }

  // Images are switched over in their order: when the first was not, none was.
  bool isUntouched(const PendingMerge& merge) const {
    if (merge.tables.empty()) return true;
    const ArchiveResult<OpenFile> folder = _archive.openPointFolder(_childPlace - 1);
    if (!folder || _parent.disks.empty()) return false;
    ArchiveResult<OpenFile> file = openForUpdateIn(*folder, _parent.disks[0].image);
    if (!file) return false;
    const ArchiveResult<Qcow2Rewriter> image = Qcow2Rewriter::open(std::move(*file));
    return image && image->tablesPlace() == merge.tables[0];
  }

  // Whether the parent's image is in the child's folder already.
  ArchiveResult<Done> wasMoved(std::size_t disk) {
    const ArchiveResult<OpenFile> parent = _archive.openPointFile(_childPlace - 1, _child.disks[disk].image);
    _moved = !parent && parent.error().errorNumber == ENOENT;
    if (!_moved) return parent ? ArchiveResult<Done>(Done{}) : parent.error();
    ArchiveResult<OpenFile> file = _archive.openPointFile(_childPlace, _child.disks[disk].image);
    if (!file) return file.error();
    const ArchiveResult<Qcow2Reader> image = Qcow2Reader::open(std::move(*file));
    if (!image) return image.error();
    // Else the parent's image is lost, and the child's would need it.
    if (image->backingFile() == backingFileName(folderOf(_childPlace - 1), _child.disks[disk].image)) {
      return parent.error();
    }
    _pastReturn = true;
    return Done{};
  }

  ArchiveResult<Done> carryOut() {
    ArchiveResult<Done> step = fold();
    if (!step && !_pastReturn) {
      for (ImageMerge& image : _images) image.discard();
      // Should this fail too, the next opening for writing decides; the reason is the first one.
      (void)_archive.abandonMerge();
    }
    for (ImageMerge& image : _images) {
      if (step) step = image.switchOver();
    }
    if (step) step = moveImages();
    if (step) step = settleChild();
    if (step) step = _archive.endMerge();
    if (step) _progress(_total, _total);
    return step;
  }

  // Step 2, for all disks before any of them is switched over.
  ArchiveResult<Done> fold() {
    _progress(0, _total);
    ArchiveResult<Done> step = Done{};
    std::uint64_t before = 0;
    for (ImageMerge& image : _images) {
      const auto report = [&](std::uint64_t done) { _progress(std::min(before + done, _total - 1), _total); };
      if (step) step = image.fold(report, _cancel);
      before += image.bytesToMove();
    }
    if (step && !_pastReturn && _cancel.isRequested()) step = cancelledError();
    return step;
  }

  ArchiveResult<Done> moveImages() {
    const ArchiveResult<OpenFile> from = _archive.openPointFolder(_childPlace - 1);
    const ArchiveResult<OpenFile> to = _archive.openPointFolder(_childPlace);
    if (!to) return to.error();
    const CancelFlag never;
    // Somebody removed the folder that nobody needs any more.
    const bool isGone = !from && from.error().errorNumber == ENOENT && _images.empty();
    if (isGone) return syncFolder(*to, never);
    if (!from) return from.error();
    ArchiveResult<Done> step = Done{};
    for (ImageMerge& image : _images) {
      image.giveBack();
      if (step) step = moveFile(*from, *to, image.name());
    }
    // The new name first: at no time is the image in neither folder.
    if (step) step = syncFolder(*to, never);
    if (step) step = syncFolder(*from, never);
    return step;
  }

  // The child builds on what the parent built on, and holds what of the parent's it did not have itself. Done again
  // where it was done already, it changes nothing.
  ArchiveResult<Done> settleChild() {
    const PointIndex before = _child;
    if (movesImages()) {
      _child.kind = _parent.kind;
      _child.parent = _parent.parent;
      _child.check = checkOfBoth(_parent.check, _child.check);
    }
    // Somebody wrote it about what the child is now the only one to hold.
    if (_child.label.empty()) _child.label = _parent.label;
    return _child == before ? Done{} : _archive.savePoint(_childPlace, _child);
  }

  Archive& _archive;
  const std::size_t _childPlace;
  const MergeProgress& _progress;
  const CancelFlag& _cancel;
  PointIndex _child;
  PointIndex _parent;
  std::vector<ImageMerge> _images;  // Of the disks that are not done yet.
  std::uint64_t _total = 0;
  bool _pastReturn = false;  // An image was switched over.
  bool _moved = false;
};

// The child is all that is left of the two that anybody sees.
void settleGivenUp(Archive& archive, std::size_t child) {
  ArchiveResult<PointIndex> index = archive.readPoint(child);
  if (!index) return;  // That its index is damaged says enough.
  const ArchiveResult<PointIndex> parent = archive.readPoint(child - 1);
  index->check = LastCheck{static_cast<std::int64_t>(std::time(nullptr)), true};
  if (index->label.empty() && parent) index->label = parent->label;
  (void)archive.savePoint(child, *index);
}

}  // namespace

ArchiveResult<Done> mergeIntoParent(Archive& archive, std::size_t child, const MergeProgress& progress,
                                    const CancelFlag& cancel) {
  if (child == 0 || child >= archive.index().points.size()) {
    return refused("There is no backup point before this one");
  }
  return Merge(archive, child, progress, cancel).begin();
}

ArchiveResult<Done> finishMerge(Archive& archive, const CancelFlag& cancel) {
  const auto& points = archive.index().points;
  const auto child =
      static_cast<std::size_t>(std::ranges::find(points, archive.index().merging.value().child) - points.begin());
  const MergeProgress nobody = [](std::uint64_t, std::uint64_t) {};
  const ArchiveResult<Done> done = Merge(archive, child, nobody, cancel).goOn();
  // Taken back: the archive is as it was before the merge.
  if (done || !archive.index().merging) return Done{};
  if (!isLasting(done.error())) return done;
  // Both images read as the child where they are whole, the one that was switched over and the other: so they can
  // stay where they are.
  settleGivenUp(archive, child);
  return archive.giveUpMerge(done.error());
}

}  // namespace zpk
