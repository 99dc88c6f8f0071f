#include "helper/service/model/HelperFacts.h"

#include <algorithm>

#include "records/RLDArchive.h"
#include "records/TMBGUID.h"
#include "records/ZPKDisk.h"

namespace zpk {
namespace {

// A share that shows 100 only when all is done, however the division is rounded.
double percent(std::uint64_t done, std::uint64_t total) {
  if (total == 0) return 0;
  if (done >= total) return 100;
  return std::min(99.9, 100.0 * static_cast<double>(done) / static_cast<double>(total));
}

std::uint64_t wholeSeconds(Seconds time) {
  return time.count() > 0 ? static_cast<std::uint64_t>(time.count()) : 0;
}

void describeKind(Dictionary& status, const OperationKind& kind) {
  if (std::holds_alternative<BackupKind>(kind)) statuskey::progressType.set(status, ProgressType::backup);
  if (std::holds_alternative<VerifyKind>(kind))
    status.set(statuskey::progressType.key, Value(kVerificationProgress));
  if (const auto* restore = std::get_if<RestoreKind>(&kind)) {
    statuskey::progressType.set(status, ProgressType::restore);
    statuskey::restoreTarget.set(status, restore->target);
  }
  if (const auto* merge = std::get_if<MergeKind>(&kind)) {
    statuskey::progressType.set(status, ProgressType::merge);
    statuskey::mergeIndex.set(status, merge->point);
  }
}

void describe(Dictionary& status, const RunningOperation& operation) {
  statuskey::state.set(status, HelperState::inProgress);
  describeKind(status, operation.kind);
  statuskey::progressPercents.set(status, percent(operation.bytesDone, operation.bytesTotal));
  statuskey::elapsedTime.set(status, wholeSeconds(operation.now - operation.began));
  // Rounded up: one second is left until nothing is.
  if (const auto left = operation.remaining.estimate()) {
    statuskey::remainingTime.set(status, wholeSeconds(*left + Seconds(0.999)));
  }
  status.set(statuskey::fullLog.key, operation.log.lines());
}

}  // namespace

std::shared_ptr<const ZPKDisk> diskWithIdentifier(const Disks& disks, const std::string& identifier) {
  const auto found = std::find_if(disks.begin(), disks.end(), [&](const auto& disk) {
    const auto gptID = disk->gptID();
    return gptID && gptID->stringValue() == identifier;
  });
  return found == disks.end() ? nullptr : *found;
}

ArcState arcStateOf(const HelperFacts& facts) {
  const auto* present = std::get_if<PresentArchive>(&facts.archive);
  if (std::holds_alternative<NoArchiveYet>(facts.archive)) return ArcState::empty;
  if (!present) return ArcState::unavailable;
  if (present->archive->items().empty()) return ArcState::empty;
  const bool foreign = facts.settings.source && *facts.settings.source != present->sourceDisk;
  return foreign ? ArcState::foreign : ArcState::ready;
}

Dictionary statusOf(const HelperFacts& facts) {
  Dictionary status;
  statuskey::stateTime.set(status, facts.stateTime);
  statuskey::opError.set(status, facts.operationError);
  statuskey::lastBackupError.set(status, facts.settings.lastBackupError);
  statuskey::targetArchive.set(status, facts.settings.archivePath);
  statuskey::disks.set(status, facts.disks);
  statuskey::sourceDisk.set(status, facts.settings.source);
  statuskey::maxIncCount.set(status, facts.settings.maxIncrements);
  statuskey::checkFS.set(status, facts.settings.checkFileSystem);
  if (facts.settings.archivePath) {
    statuskey::arcState.set(status, arcStateOf(facts));
    if (const auto* present = std::get_if<PresentArchive>(&facts.archive)) {
      statuskey::archiveDescription.set(status, present->archive);
    }
  }
  if (std::holds_alternative<Idle>(facts.activity)) statuskey::state.set(status, HelperState::idle);
  if (std::holds_alternative<Busy>(facts.activity)) statuskey::state.set(status, HelperState::busy);
  if (const auto* operation = std::get_if<RunningOperation>(&facts.activity)) describe(status, *operation);
  return status;
}

}  // namespace zpk
