// A backup, from the command to its end.

#include "helper/service/model/HelperModel.h"
#include "helper/service/model/HelperModel_private.h"
#include "records/RLDPartition.h"
#include "records/ZPKDisk.h"

namespace zpk {
namespace {

std::optional<std::string> whyArchiveMayNotLieThere(const ZPKDisk& source, const std::string& archivePath) {
  const auto windows = source.objectForKeyedSubscript("winPartition");
  if (!windows || !windows->mountPoint() || windows->mountPoint()->empty()) return std::nullopt;
  if (!archivePath.starts_with(*windows->mountPoint() + "/")) return std::nullopt;
  return "The archive lies on the volume that is to be backed up. Choose a location on another disk.";
}

}  // namespace

std::string interruptedBackupText() {
  return "It did not finish: the backup service ended while it ran. The earlier backup points are as they were. "
         "Start the backup again.";
}

void HelperModel::backup(Answer answer) {
  if (!takesCommands()) return answer(ResultCode::serviceIsBusy);
  const HelperSettings& settings = _facts.settings;
  if (!settings.source) return answer(ResultCode::sourceDiskNotSet);
  if (!settings.archivePath) return answer(ResultCode::archivePathNotSet);
  const auto disk = diskWithIdentifier(_facts.disks, *settings.source);
  if (!disk || !disk->isBootCamp()) return answer(ResultCode::diskNotFound);
  // What was known of the folder may be old: a drive comes and goes.
  commandBegins();
  onWorker<ArchiveView>([&archives = _parts.archives, path = *settings.archivePath,
                         user = settings.archiveUser] { return archives.look(path, user); },
                        [this, disk, answer = std::move(answer)](ArchiveView view) {
                          commandEnds();
                          // Else the next start would tell of a backup that never ran.
                          if (_ending) return answer(ResultCode::serviceIsBusy);
                          setArchive(std::move(view));
                          if (std::holds_alternative<NoArchiveFolder>(_facts.archive)) {
                            changed();
                            return answer(ResultCode::noArchiveTargetDirectory);
                          }
                          startBackup(disk);
                          answer(ResultCode::success);
                        });
}

void HelperModel::startBackup(const std::shared_ptr<const ZPKDisk>& disk) {
  _facts.operationError.reset();
  _facts.settings.backupRunning = true;
  save();
  BackupOrder order{disk, *_facts.settings.archivePath, _facts.settings.maxIncrements,
                    _facts.settings.checkFileSystem, _facts.settings.archiveUser};
  onWorker<OperationEnd>(
      [this, &parts = _parts, order = std::move(order), shared = beginOperation(BackupKind{})]() mutable {
        // Once the point is there, no end of this process makes it a backup that did not finish.
        order.pointExists = [this, &parts, shared](const std::optional<std::string>& remark) {
          doneOnLoop(parts.loop, shared->cancel, [this, remark] { pointExists(remark); });
        };
        return backupNow(parts, std::move(order), *shared);
      },
      [this](const OperationEnd& end) { operationEnded(end, [&] { backupEnded(end.outcome); }); });
}

// On the worker. Disks are looked at once more: what is known of them may be old, and the source is to be read as
// it is now.
HelperModel::OperationEnd HelperModel::backupNow(const HelperParts& parts, BackupOrder order, Shared& shared) {
  const auto end = [&](OperationOutcome outcome, bool disksDiffer) {
    return OperationEnd{std::move(outcome), parts.archives.look(order.archivePath, order.archiveUser), disksDiffer};
  };
  const auto known =
      std::exchange(order.disk, diskWithIdentifier(parts.disks.scan(), order.disk->gptID()->stringValue()));
  if (shared.cancel.isRequested()) return end(OperationStopped{}, false);
  if (!order.disk || !order.disk->isBootCamp()) {
    const std::string name = "\"" + known->name().value_or("the disk") + "\"";
    return end(OperationFailed{"The disk " + name +
                               " is not there any more, or has no Windows on it any more. Nothing was backed up. "
                               "Attach it again, or choose the disk to back up."},
               true);
  }
  if (auto reason = whyArchiveMayNotLieThere(*order.disk, order.archivePath)) {
    return end(OperationFailed{std::move(*reason)}, false);
  }
  order.device = parts.disks.deviceOf(*order.disk);
  return end(parts.archives.backup(order, shared.board, shared.cancel), *order.disk != *known);
}

void HelperModel::pointExists(const std::optional<std::string>& remark) {
  _facts.settings.backupRunning = false;
  _facts.settings.lastBackupError = remark;
  save();
}

void HelperModel::backupEnded(const OperationOutcome& outcome) {
  _facts.settings.backupRunning = false;
  if (std::holds_alternative<OperationStopped>(outcome)) {
    _facts.settings.lastBackupError = _ending ? interruptedBackupText() : "It was stopped before it was complete.";
  }
  if (const auto* done = std::get_if<OperationDone>(&outcome)) _facts.settings.lastBackupError = done->remark;
  if (const auto* failed = std::get_if<OperationFailed>(&outcome)) _facts.settings.lastBackupError = failed->reason;
  save();
}

}  // namespace zpk
