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

const std::string kOtherPoint = "Restore another backup point; \"zpkctl verify\" tells which are sound.";

// What is left of the disk after a restore that was written in part.
std::string remains(const RestoreOrder& order, TargetUse use) {
  switch (use) {
    case TargetUse::WindowsPartition:
      return "The Windows partition of " + nameOf(order) + " is incomplete now.";
    case TargetUse::FreeSpace:
      return "No usable Windows partition was added to " + nameOf(order) + ".";
    case TargetUse::WholeDisk:
      return nameOf(order) + " is incomplete now and holds nothing usable.";
  }
  return {};
}

// What to do about a disk that was written in part. A point that is lost would fail again.
std::string nextStep(bool isPointLost, TargetUse use) {
  if (isPointLost) return kOtherPoint;
  return use == TargetUse::FreeSpace ? "Restore the backup point again." : "Restore a backup point onto it again.";
}

bool isIdentifierFree(const PointIndex& point, const RestoreOrder& order) {
  if (point.disks.empty()) return false;
  const std::string stored = TMBGUID::GUIDWithBytes(point.disks[0].gptId).stringValue();
  return std::ranges::find(order.otherDisks, stored) == order.otherDisks.end();
}

OperationOutcome failed(const RestoreFailure& failure, const RestoreOrder& order, TargetUse use,
                        OperationBoard& board) {
  const bool isStopped = failure.error.fault == ArchiveFault::Cancelled;
  const bool isPointLost = isLossOf(order.point.archivePath, failure.error);
  if (!failure.isTargetIncomplete) {
    const std::string untouched = "nothing was written to " + nameOf(order);
    board.line(isStopped ? "Stopped; " + untouched : "Failed: " + failure.error.text() + "; " + untouched);
    if (isStopped) return OperationStopped{};
    return OperationFailed{sentenceOf(failure.error, order.point.archivePath, kOtherPoint)};
  }
  const std::string left = remains(order, use) + " " + nextStep(isPointLost, use);
  const std::string reason =
      isStopped ? "The restore was stopped before it was complete." : sentenceOf(failure.error);
  board.line((isStopped ? "Stopped. " : "Failed: " + failure.error.text() + ". ") + left);
  return OperationFailed{reason + " " + left};
}

}  // namespace

OperationOutcome runRestore(const Archive& archive, const RestoreOrder& order, const RestorePlaces& places,
                            OperationBoard& board, const CancelFlag& cancel) {
  const ArchiveResult<PointIndex> point = archive.readPoint(order.point.index);
  if (!point) return OperationFailed{sentenceOf(point.error(), order.point.archivePath, kOtherPoint)};
  board.line("Restoring the backup point of " + momentText(point->creationTime) + " onto " + nameOf(order));
  if (const std::uint64_t missing = unreadableSectors(*point)) {
    board.line("The backup point was made with " + sectorsText(missing) + ", which are zeros on the disk again");
    for (const std::string& line : unreadableLines(*point)) board.line(line);
  }
  RestoreRequest request;
  request.point = order.point.index;
  request.path = order.disk->filePath().value_or("");
  request.target = targetLayout(*order.disk);
  request.target.identity = order.device;
  request.mayWrite = order.mayWrite;
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
