// A backup, from the command to its end.

#include "helper/service/model/HelperModel.h"
#include "helper/service/model/HelperModel_private.h"
#include "records/RLDPartition.h"
#include "records/ZPKDisk.h"

namespace zpk {
namespace {

constexpr Seconds kTick{0.25};

}  // namespace

void HelperModel::backup(Answer answer) {
  if (!takesCommands()) return answer(ResultCode::serviceIsBusy);
  const HelperSettings& settings = _facts.settings;
  if (!settings.source) return answer(ResultCode::sourceDiskNotSet);
  if (!settings.archivePath) return answer(ResultCode::archivePathNotSet);
  auto disk = diskWithIdentifier(_facts.disks, *settings.source);
  if (!disk || !disk->isBootCamp()) return answer(ResultCode::diskNotFound);
  // What was known of the folder may be old: a drive comes and goes.
  commandBegins();
  onWorker<ArchiveView>([&archives = _parts.archives, path = *settings.archivePath] { return archives.look(path); },
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
  _operation = std::make_unique<Operation>();
  RunningBackup running;
  running.began = running.now = _parts.clock.now();
  _facts.activity = std::move(running);
  _parts.log.line("ZPKH::Backup begins: " + *_facts.settings.archivePath);
  changed();
  _operation->tick = _parts.clock.after(kTick, [this] { tick(); });

  struct End {
    BackupOutcome outcome;
    ArchiveView archive;
  };
  BackupOrder request{std::move(disk), *_facts.settings.archivePath, _facts.settings.checkFileSystem};
  onWorker<End>(
      [&archives = _parts.archives, request = std::move(request), shared = _operation->shared] {
        BackupOutcome outcome = archives.backup(request, shared->board, shared->cancel);
        return End{std::move(outcome), archives.look(request.archivePath)};
      },
      [this](End end) { backupEnded(end.outcome, std::move(end.archive)); });
}

void HelperModel::tick() {
  if (takeNews()) changed();
  _operation->tick = _parts.clock.after(kTick, [this] { tick(); });
}

// Whether there is anything that a front end would show differently.
bool HelperModel::takeNews() {
  OperationBoard::News news = _operation->shared->board.take();
  for (const std::string& line : news.lines) _parts.log.line("ZPKH::Backup: " + line);
  auto* running = std::get_if<RunningBackup>(&_facts.activity);
  if (!running) return false;  // Told to stop: it shows nothing any more.
  const Seconds now = _parts.clock.now();
  const auto shownSecond = [&](Seconds time) { return static_cast<std::int64_t>((time - running->began).count()); };
  const bool differs = news.done != running->bytesDone || news.total != running->bytesTotal ||
                       !news.lines.empty() || shownSecond(now) != shownSecond(running->now);
  for (std::string& line : news.lines) running->log.append(_parts.clock.timeOfDay() + "  " + line);
  running->bytesDone = news.done;
  running->bytesTotal = news.total;
  running->now = now;
  running->remaining.update(now, news.done, news.total);
  return differs;
}

ResultCode HelperModel::breakProgress() {
  if (_operation && !_operation->shared->cancel.isRequested()) {
    _parts.log.line("ZPKH::Backup is told to stop");
    _operation->shared->cancel.request();
    _facts.activity = Busy{};
    changed();
  }
  return ResultCode::success;
}

void HelperModel::stopForExit() {
  if (_operation) _operation->shared->cancel.request();
}

void HelperModel::backupEnded(const BackupOutcome& outcome, ArchiveView archive) {
  // The last of the log and of the figures is shown before the operation is gone.
  if (takeNews()) changed(Weight::milestone);
  _operation.reset();
  _facts.archive = std::move(archive);
  _facts.settings.backupRunning = false;
  _facts.settings.lastBackupError.reset();
  if (std::holds_alternative<BackupStopped>(outcome)) {
    _facts.settings.lastBackupError = "It was stopped before it was complete.";
  }
  if (const auto* failed = std::get_if<BackupFailed>(&outcome)) {
    _facts.settings.lastBackupError = failed->reason;
    fail(failed->reason);
  }
  save();
  refreshActivity();
  _parts.log.line("ZPKH::Backup ended");
  changed(_facts.operationError ? Weight::milestone : Weight::ordinary);
  if (_readAgain) read(false);
}

}  // namespace zpk
