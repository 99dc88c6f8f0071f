#include "helper/service/PointMerges.h"

#include <ctime>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "app/presentation/ByteSizeString.h"
#include "helper/archive/MergeOperation.h"
#include "helper/archive/PointCheck.h"
#include "helper/service/ArchiveWords.h"

namespace zpk {
namespace {

// Why an increment is not merged by itself.
enum class Obstacle { Pinned, ParentDamaged, Damaged, LacksSectors, Failed };

std::string reasonOf(Obstacle obstacle) {
  switch (obstacle) {
    case Obstacle::Pinned:
      return "what they build on is pinned";
    case Obstacle::ParentDamaged:
      return "what they build on is damaged";
    case Obstacle::Damaged:
      return "they are damaged";
    case Obstacle::LacksSectors:
      return "what they build on may hold what they lack";
    case Obstacle::Failed:
      return "merging them failed";
  }
  return {};
}

bool isKnownToBeDamaged(const PointIndex& point) {
  return point.check && point.check->isDamaged;
}

// Two neighbours of which the younger one may be merged into the older one.
struct Pair {
  std::size_t child = 0;
  PointIndex childIndex;
  PointIndex parentIndex;
};

struct Increments {
  std::uint64_t count = 0;
  std::optional<Pair> oldest;    // To be merged first.
  std::set<Obstacle> obstacles;  // To merging the ones that are older than that.
};

// What has become of the points is left open: a merge that is past its switch is finished by the next operation.
const std::string kMergeAdvice =
    "The drive with the archive may be failing. Check it and back up again; \"zpkctl verify\" tells which backup "
    "points are sound.";

std::string countText(std::uint64_t count) {
  return count == 1 ? "1 increment" : std::to_string(count) + " increments";
}

// A label is somebody's own words: where it goes is told.
void tellOfLabel(const PointIndex& parent, const PointIndex& child, OperationBoard& board) {
  if (parent.label.empty() || parent.label == child.label) return;
  board.line(child.label.empty() ? "It takes over the label \"" + parent.label + "\""
                                 : "It keeps its own label; that of the one before it, \"" + parent.label +
                                       "\", goes with that one");
}

bool isIn(const std::string& folder, const std::string& path) {
  return path == folder || path.starts_with(folder + "/");
}

// The one of the child and its parent that the error was met in.
std::optional<std::size_t> placeOf(const ArchiveError& error, const Archive& archive, std::size_t child) {
  for (const std::size_t point : {child - 1, child}) {
    if (isIn(archive.path() + "/" + archive.index().points[point], error.path)) return point;
  }
  return std::nullopt;
}

// Damage that a merge came upon is noted, so that it is met once.
void noteDamageMet(Archive& archive, std::size_t child, const ArchiveError& error, OperationBoard& board) {
  if (archive.index().merging || !isLoss(error)) return;
  const std::optional<std::size_t> damaged = placeOf(error, archive, child);
  if (!damaged) return;
  const ArchiveResult<PointIndex> point = archive.readPoint(*damaged);
  // Where the index is what is damaged, that says enough.
  if (!point) return;
  const ArchiveResult<Done> noted = noteDamage(archive, *damaged, static_cast<std::int64_t>(std::time(nullptr)));
  const std::string name = "The backup point of " + momentText(point->creationTime);
  board.line(noted ? name + " is noted to be damaged: nothing further is built on it"
                   : name + " is damaged, which could not be noted: " + noted.error().text());
}

// What somebody who asks for a merge should know of it.
void tellWhatIsLost(const Archive& archive, std::size_t point, const PointIndex& child, OperationBoard& board) {
  if (point == 0) return;
  const ArchiveResult<PointIndex> parent = archive.readPoint(point - 1);
  if (!parent) return;
  if (const std::uint64_t missing = unreadableSectorsSince(*parent, child)) {
    board.line("It was made with " + sectorsText(missing) + "; what the one before it holds there is given up");
  }
  if (child.kind == PointKind::Increment && isKnownToBeDamaged(*parent)) {
    board.line(
        "The one before it is damaged: what is taken over from it makes this one damaged as well, and nothing "
        "further is built on it");
  }
  tellOfLabel(*parent, child, board);
}

// Merges increments until there are no more than are to be kept.
class LimitKeeper {
 public:
  LimitKeeper(Archive& archive, OperationBoard& board, const CancelFlag& cancel)
      : _archive(archive), _board(board), _cancel(cancel) {}

  void run(std::uint64_t most) {
    for (Increments found = look(); found.count > most; found = look()) {
      for (const std::string& line : std::exchange(_passedOver, {})) _board.line(line);
      const std::string excess =
          "There are " + countText(found.count) + ", " + std::to_string(most) + " are to be kept";
      if (!found.oldest) return _board.line(excess + ", but none may be merged: " + textOf(found.obstacles));
      const Pair& pair = *found.oldest;
      _board.line(excess + ": the oldest that may be, of " + momentText(pair.childIndex.creationTime) +
                  ", is merged into the one before it, of " + momentText(pair.parentIndex.creationTime));
      if (!merge(pair)) return;
    }
  }

 private:
  Increments look() {
    Increments found;
    std::optional<PointIndex> before;
    for (std::size_t i = 0; i < _archive.index().points.size(); ++i) {
      ArchiveResult<PointIndex> point = _archive.readPoint(i);
      if (point && point->kind == PointKind::Increment) {
        ++found.count;
        const std::optional<Obstacle> obstacle = obstacleTo(i, before, *point);
        if (obstacle == Obstacle::LacksSectors) passOver(i, *before, *point);
        if (!obstacle && !found.oldest) found.oldest = Pair{i, *point, *before};
        if (obstacle && !found.oldest) found.obstacles.insert(*obstacle);
      }
      before = point ? std::optional(std::move(*point)) : std::nullopt;
    }
    return found;
  }

  std::optional<Obstacle> obstacleTo(std::size_t place, const std::optional<PointIndex>& parent,
                                     const PointIndex& child) const {
    if (_failed.contains(_archive.index().points[place])) return Obstacle::Failed;
    // What is damaged is neither given up nor given another's content, nor given to another.
    if (!parent || parent->id != child.parent || isKnownToBeDamaged(*parent)) return Obstacle::ParentDamaged;
    if (isKnownToBeDamaged(child)) return Obstacle::Damaged;
    if (parent->isPinned) return Obstacle::Pinned;
    if (unreadableSectorsSince(*parent, child) > 0) return Obstacle::LacksSectors;
    return std::nullopt;
  }

  // Said once, and only when there are more than are to be kept.
  void passOver(std::size_t place, const PointIndex& parent, const PointIndex& child) {
    if (!_kept.insert(_archive.index().points[place - 1]).second) return;
    _passedOver.push_back("The backup point of " + momentText(child.creationTime) + " was made with " +
                          sectorsText(unreadableSectorsSince(parent, child)) + " that the one before it, of " +
                          momentText(parent.creationTime) + ", may hold: that one is not given up");
  }

  // False when there is no use in going on.
  bool merge(const Pair& pair) {
    const std::string folder = _archive.index().points[pair.child];
    // The share that is shown is that of the backup before it.
    const auto progress = [](std::uint64_t, std::uint64_t) {};
    tellOfLabel(pair.parentIndex, pair.childIndex, _board);
    const ArchiveResult<Done> merged = mergeIntoParent(_archive, pair.child, progress, _cancel);
    if (merged) return true;
    _board.line("It was not merged: " + merged.error().text());
    noteDamageMet(_archive, pair.child, merged.error(), _board);
    _failed.insert(folder);
    // What is wrong with these two need not be wrong with others.
    return !_archive.index().merging &&
           (isLasting(merged.error()) || merged.error().fault == ArchiveFault::Refused);
  }

  static std::string textOf(const std::set<Obstacle>& obstacles) {
    std::string text;
    for (const Obstacle obstacle : obstacles) text += (text.empty() ? "" : ", or ") + reasonOf(obstacle);
    return text;
  }

  Archive& _archive;
  OperationBoard& _board;
  const CancelFlag& _cancel;
  std::set<std::string> _kept;           // Folders of points that may hold what the next one lacks.
  std::vector<std::string> _passedOver;  // What is still to be said of that.
  std::set<std::string> _failed;         // Folders of points that this run does not try again.
};

}  // namespace

ArchiveResult<Archive> openForOperation(const std::string& path, OperationBoard& board, const CancelFlag& cancel) {
  const ArchiveResult<Archive> reader = Archive::openForReading(path);
  if (reader && reader->index().merging) board.line("Finishing a merge that was interrupted");
  ArchiveResult<Archive> archive = Archive::openForWriting(path, cancel);
  if (archive && archive->whyMergeGivenUp()) {
    board.line("The interrupted merge is given up, as it met damage: " + archive->whyMergeGivenUp()->text());
    board.line("What of the backup points is whole can be restored; the next backup is a full one");
  }
  return archive;
}

OperationOutcome runMerge(Archive& archive, std::size_t point, OperationBoard& board, const CancelFlag& cancel) {
  const ArchiveResult<PointIndex> child = archive.readPoint(point);
  if (!child) return OperationFailed{sentenceOf(child.error(), archive.path(), kMergeAdvice)};
  board.line("Merging the backup point of " + momentText(child->creationTime) + " into the one before it");
  tellWhatIsLost(archive, point, *child, board);
  std::uint64_t moved = 0;
  const auto progress = [&](std::uint64_t done, std::uint64_t total) {
    moved = total;
    board.setProgress(done, total);
  };
  const ArchiveResult<Done> merged = mergeIntoParent(archive, point, progress, cancel);
  if (merged) {
    board.line("Merged: " + byteSizeString(moved) + " were moved");
    return OperationDone{};
  }
  if (merged.error().fault == ArchiveFault::Cancelled) {
    board.line("Stopped; both backup points are as they were");
    return OperationStopped{};
  }
  board.line("Failed: " + merged.error().text());
  noteDamageMet(archive, point, merged.error(), board);
  return OperationFailed{sentenceOf(merged.error(), archive.path(), kMergeAdvice)};
}

void keepToLimit(Archive& archive, std::uint64_t mostIncrements, OperationBoard& board, const CancelFlag& cancel) {
  LimitKeeper(archive, board, cancel).run(mostIncrements);
}

}  // namespace zpk
