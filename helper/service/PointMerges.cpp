#include "helper/service/PointMerges.h"

#include <optional>

#include "app/presentation/ByteSizeString.h"
#include "helper/archive/MergeOperation.h"
#include "helper/service/ArchiveWords.h"

namespace zpk {
namespace {

// How many increments there are, and the one to merge first.
struct Increments {
  std::uint64_t count = 0;
  std::optional<std::size_t> oldest;  // Whose parent is neither pinned nor damaged.
  std::int64_t oldestTime = 0;
};

Increments incrementsOf(const Archive& archive) {
  Increments found;
  std::string mergeable;  // Id of the point before, when it may be given up.
  for (std::size_t i = 0; i < archive.index().points.size(); ++i) {
    const ArchiveResult<PointIndex> point = archive.readPoint(i);
    if (point && point->kind == PointKind::Increment) {
      ++found.count;
      if (!found.oldest && !mergeable.empty() && point->parent == mergeable) {
        found.oldest = i;
        found.oldestTime = point->creationTime;
      }
    }
    // What is damaged is neither given up nor given another's content.
    const bool isSound = point && !(point->check && point->check->isDamaged);
    mergeable = isSound && !point->isPinned ? point->id : std::string();
  }
  return found;
}

std::string countText(std::uint64_t count) {
  return count == 1 ? "1 increment" : std::to_string(count) + " increments";
}

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
  if (!child) return OperationFailed{sentenceOf(child.error())};
  board.line("Merging the backup point of " + momentText(child->creationTime) + " into the one before it");
  if (const std::uint64_t missing = unreadableSectors(*child)) {
    board.line("It was made with " + sectorsText(missing) + "; what the one before it holds there is given up");
  }
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
  return OperationFailed{sentenceOf(merged.error())};
}

void keepToLimit(Archive& archive, std::uint64_t mostIncrements, OperationBoard& board, const CancelFlag& cancel) {
  for (;;) {
    const Increments increments = incrementsOf(archive);
    if (increments.count <= mostIncrements) return;
    const std::string excess =
        countText(increments.count) + ", " + std::to_string(mostIncrements) + " are to be kept";
    if (!increments.oldest)
      return board.line("There are " + excess + ", but what they build on is pinned or damaged");
    board.line("There are " + excess + ": the oldest that may be, of " + momentText(increments.oldestTime) +
               ", is merged into the one before it");
    const ArchiveResult<Done> merged = mergeIntoParent(
        archive, *increments.oldest, [](std::uint64_t, std::uint64_t) {}, cancel);
    if (!merged) return board.line("It was not merged: " + merged.error().text());
  }
}

}  // namespace zpk
