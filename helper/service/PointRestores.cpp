#include "helper/service/PointRestores.h"

#include <algorithm>

#include "helper/archive/RestoreOperation.h"
#include "helper/service/ArchiveRecords.h"
#include "helper/service/ArchiveWords.h"
#include "helper/service/ProgressNarrator.h"
#include "records/TMBGUID.h"

namespace zpk {
namespace {

std::string nameOf(const RestoreOrder& order) {
  return "\"" + order.disk->name().value_or("the disk") + "\"";
}

// What is left of the disk after a restore that was written in part.
std::string remains(const RestoreOrder& order, TargetUse use) {
  switch (use) {
    case TargetUse::WindowsPartition:
      return "The Windows partition of " + nameOf(order) +
             " is incomplete now. Restore a backup point onto it again.";
    case TargetUse::FreeSpace:
      return "No usable Windows partition was added to " + nameOf(order) + ". Restore the backup point again.";
    case TargetUse::WholeDisk:
      return nameOf(order) + " is incomplete now and holds nothing usable. Restore a backup point onto it again.";
  }
  return {};
}

bool isIdentifierFree(const PointIndex& point, const RestoreOrder& order) {
  if (point.disks.empty()) return false;
  const std::string stored = TMBGUID::GUIDWithBytes(point.disks[0].gptId).stringValue();
  return std::ranges::find(order.otherDisks, stored) == order.otherDisks.end();
}

OperationOutcome failed(const RestoreFailure& failure, const RestoreOrder& order, TargetUse use,
                        OperationBoard& board) {
  const bool isStopped = failure.error.fault == ArchiveFault::Cancelled;
  if (!failure.isTargetIncomplete) {
    const std::string untouched = "nothing was written to " + nameOf(order);
    board.line(isStopped ? "Stopped; " + untouched : "Failed: " + failure.error.text() + "; " + untouched);
    if (isStopped) return OperationStopped{};
    return OperationFailed{sentenceOf(failure.error)};
  }
  const std::string left = remains(order, use);
  const std::string reason =
      isStopped ? "The restore was stopped before it was complete." : sentenceOf(failure.error);
  board.line((isStopped ? "Stopped. " : "Failed: " + failure.error.text() + ". ") + left);
  return OperationFailed{reason + " " + left};
}

}  // namespace

OperationOutcome runRestore(const Archive& archive, const RestoreOrder& order, const RestorePlaces& places,
                            OperationBoard& board, const CancelFlag& cancel) {
  const ArchiveResult<PointIndex> point = archive.readPoint(order.point.index);
  if (!point) return OperationFailed{sentenceOf(point.error())};
  board.line("Restoring the backup point of " + momentText(point->creationTime) + " onto " + nameOf(order));
  if (const std::uint64_t missing = unreadableSectors(*point)) {
    board.line("The backup point was made with " + sectorsText(missing) + ", which are zeros on the disk again");
    for (const std::string& line : unreadableLines(*point)) board.line(line);
  }
  RestoreRequest request;
  request.point = order.point.index;
  request.path = order.disk->filePath().value_or("");
  request.target = targetLayout(*order.disk);
  request.use = targetUse(*order.disk);
  request.wantedSize = order.size;
  request.takesIdentity = isIdentifierFree(*point, order);
  request.exportFolder = places.exportFolder;
  request.tableProgram = places.tableProgram;
  request.say = [&board](const std::string& line) { board.line(line); };
  ProgressNarrator narrator(board, "written", "Writing ", "");
  const auto progress = [&](std::uint64_t done, std::uint64_t total) { narrator.progress(done, total); };
  const auto restored = restorePoint(archive, request, progress, cancel);
  if (!restored) return failed(restored.error(), order, request.use, board);
  if (restored->isResized) board.line("The volume has another size now: Windows checks it at its next start");
  board.line("The restore is complete: " + narrator.account());
  return OperationDone{};
}

}  // namespace zpk
