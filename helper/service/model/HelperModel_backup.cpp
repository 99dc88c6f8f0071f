// A backup, from the command to its end.

#include "helper/service/model/HelperModel.h"
#include "helper/service/model/HelperModel_private.h"
#include "records/RLDPartition.h"
#include "records/ZPKDisk.h"

namespace zpk {

void HelperModel::backup(Answer answer) {
  if (!takesCommands()) return answer(ResultCode::serviceIsBusy);
  const HelperSettings& settings = _facts.settings;
  if (!settings.source) return answer(ResultCode::sourceDiskNotSet);
  if (!settings.archivePath) return answer(ResultCode::archivePathNotSet);
  auto disk = diskWithIdentifier(_facts.disks, *settings.source);
  if (!disk || !disk->isBootCamp()) return answer(ResultCode::diskNotFound);
  // What was known of the folder may be old: a drive comes and goes.
  commandBegins();
  onWorker<ArchiveView>([&archives = _parts.archives, path = *settings.archivePath,
                         user = settings.archiveUser] { return archives.look(path, user); },
                        [this, disk = std::move(disk), answer = std::move(answer)](ArchiveView view) {
                          commandEnds();
                          _facts.archive = std::move(view);
                          if (std::holds_alternative<NoArchiveFolder>(_facts.archive)) {
                            changed();
                            return answer(ResultCode::noArchiveTargetDirectory);
                          }
                          startBackup(disk);
                          answer(ResultCode::success);
                        });
}

std::optional<std::string> HelperModel::whyArchiveMayNotLieThere(const ZPKDisk& source) const {
  const auto windows = source.objectForKeyedSubscript("winPartition");
  if (!windows || !windows->mountPoint() || windows->mountPoint()->empty()) return std::nullopt;
  if (!_facts.settings.archivePath->starts_with(*windows->mountPoint() + "/")) return std::nullopt;
  return "The archive lies on the volume that is to be backed up. Choose a location on another disk.";
}

void HelperModel::startBackup(std::shared_ptr<const ZPKDisk> disk) {
  _facts.operationError.reset();
  if (auto reason = whyArchiveMayNotLieThere(*disk)) {
    _facts.settings.lastBackupError = *reason;
    save();
    fail(std::move(*reason));
    return changed(Weight::milestone);
  }
  _facts.settings.backupRunning = true;
  save();
  BackupOrder order{std::move(disk), *_facts.settings.archivePath, _facts.settings.maxIncrements,
                    _facts.settings.checkFileSystem, _facts.settings.archiveUser};
  onWorker<OperationEnd>(
      [&archives = _parts.archives, order = std::move(order), shared = beginOperation(BackupKind{})] {
        OperationOutcome outcome = archives.backup(order, shared->board, shared->cancel);
        return OperationEnd{std::move(outcome), archives.look(order.archivePath, order.archiveUser)};
      },
      [this](const OperationEnd& end) { operationEnded(end, [&] { backupEnded(end.outcome); }); });
}

void HelperModel::backupEnded(const OperationOutcome& outcome) {
  _facts.settings.backupRunning = false;
  if (std::holds_alternative<OperationStopped>(outcome)) {
    _facts.settings.lastBackupError = "It was stopped before it was complete.";
  }
  if (const auto* done = std::get_if<OperationDone>(&outcome)) _facts.settings.lastBackupError = done->remark;
  if (const auto* failed = std::get_if<OperationFailed>(&outcome)) _facts.settings.lastBackupError = failed->reason;
  save();
}

}  // namespace zpk
