#include "helper/service/EngineArchives.h"

#include <cerrno>
#include <ctime>
#include <filesystem>
#include <optional>
#include <system_error>

#include "app/presentation/ByteSizeString.h"
#include "helper/archive/BackupOperation.h"
#include "helper/archive/ExportFolder.h"
#include "helper/archive/PointCheck.h"
#include "helper/process/ActingAs.h"
#include "helper/service/ArchiveRecords.h"
#include "helper/service/ArchiveWords.h"
#include "helper/service/PointMerges.h"
#include "helper/service/PointRestores.h"
#include "helper/service/PointVerification.h"
#include "helper/service/ProgressNarrator.h"

namespace zpk {
namespace {

namespace fs = std::filesystem;

// A folder in which an archive can be made: nothing is in it but what an archive that came to nothing leaves.
bool isFreeFolder(const std::string& path) {
  std::error_code error;
  for (fs::directory_iterator entry(path, error), end; !error && entry != end; entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    if (name != ArchiveLock::fileName && !name.starts_with(".zpk-save-")) return false;
  }
  return !error;
}

bool isFault(const ArchiveError& error, ArchiveFault fault) {
  return error.fault == fault;
}

const std::string kUnknownUser =
    "The user who chose the place of the archive is not known to the system any more. Choose the place again.";

const std::string kCheckTheDrive =
    "The drive with the archive may be failing. Check it, or choose another place for the backups.";
const std::string kBackUpAgain = "The drive with the archive may be failing. Check it and back up again.";

// The archive, when the point is still where somebody saw it.
ArchiveResult<Archive> holding(const PointReference& point, ArchiveResult<Archive> archive) {
  if (!archive) return archive;
  if (point.index >= archive->index().points.size() || archive->pointIndexPath(point.index) != point.indexPath) {
    return ArchiveError{ArchiveFault::NotFound,
                        "The archive has changed and has another backup point at this place", point.indexPath, 0,
                        0};
  }
  return archive;
}

// A copy that is another user's: its files may be read, and the lock is not for the taking.
bool isOthersLock(const Archive& archive, const ArchiveError& error) {
  return (error.errorNumber == EACCES || error.errorNumber == EPERM) &&
         error.path == archive.path() + "/" + ArchiveLock::fileName;
}

// Whether what keeps an archive from being written does not keep its points from being checked: nobody else is
// known to be writing it. Of a pending merge the parent's images hold what no point in the list would read.
bool isCheckedAllTheSame(const Archive& archive, const ArchiveError& error) {
  if (archive.index().merging) return false;
  return archive.index().isLegacy || isFault(error, ArchiveFault::NoSpace) || error.errorNumber == EROFS ||
         isOthersLock(archive, error);
}

ArchiveSource sourceOf(const ZPKDisk& disk) {
  return {disk.gptID() ? disk.gptID()->stringValue() : std::string(), disk.name().value_or("")};
}

// "/b/disk0.pvhd: bytes 16384 to 32767 of the disk, and 2 more ranges"
std::string damageText(const PointCheck& check) {
  const DamagedRange& first = check.damaged.front();
  std::string text = first.image + ": bytes " + std::to_string(first.range.start) + " to " +
                     std::to_string(first.range.end - 1) + " of the disk";
  const std::uint64_t more = check.damaged.size() - 1 + check.furtherRanges;
  if (more > 0) text += ", and " + std::to_string(more) + (more == 1 ? " more range" : " more ranges");
  return text;
}

// What the point does not hold although it is complete.
std::optional<std::string> remarkOn(const PointIndex& point) {
  const std::uint64_t missing = unreadableSectors(point);
  if (missing == 0) return std::nullopt;
  return "It was completed with " + sectorsText(missing) +
         ". The disk may be failing: copy what you need from it and have it checked.";
}

// One run of a backup: the archive that it writes to, and what becomes of it.
class Run {
 public:
  Run(const BackupOrder& order, const std::string& exportFolder, OperationBoard& board, const CancelFlag& cancel)
      : _order(order),
        _exportFolder(exportFolder),
        _board(board),
        _cancel(cancel),
        _time(static_cast<std::int64_t>(std::time(nullptr))) {}

  OperationOutcome run() {
    const std::string name = _order.disk->name().value_or("the disk");
    _board.line("Backing up \"" + name + "\" to " + _order.archivePath);
    ArchiveResult<Archive> archive = openOrCreate();
    if (!archive) return failed(archive.error());
    const ArchiveResult<MadePoint> point = makePoint(*archive);
    if (!point) {
      Archive::removeEmpty(std::move(*archive));
      return failed(point.error());
    }
    const std::optional<std::string> remark = remarkOn(point->index);
    if (_order.pointExists) _order.pointExists(remark);
    if (std::optional<OperationFailed> damage = readBack(*archive)) return *damage;
    _board.line("Backup point " + std::to_string(archive->index().points.size()) + " is complete: " + _account);
    if (remark) {
      for (const std::string& line : unreadableLines(point->index)) _board.line(line);
      _board.line(*remark);
    }
    keepToLimit(*archive, _order.maxIncrements, _board, _cancel);
    return OperationDone{remark};
  }

 private:
  ArchiveResult<Archive> openOrCreate() {
    ArchiveResult<Archive> archive = openForOperation(_order.archivePath, _board, _cancel);
    if (archive) {
      if (!archive->index().points.empty()) return archive;
      // Left by a backup that was cut off; it may bear another disk's name.
      Archive::removeEmpty(std::move(*archive));
    } else if (!isFault(archive.error(), ArchiveFault::NotFound) && !isFreeFolder(_order.archivePath)) {
      return archive;
    }
    _board.line("Making a new archive");
    const ArchiveSource source = sourceOf(*_order.disk);
    return Archive::create(_order.archivePath, {source.disk, source.name, _time});
  }

  ArchiveResult<MadePoint> makePoint(Archive& archive) {
    _board.line("Examining the Windows side");
    ProgressNarrator narrator(_board, "read", "Reading ", " that are in use");
    const auto progress = [&](std::uint64_t done, std::uint64_t total) { narrator.progress(done, total); };
    const BackupDisk disk{_order.disk->filePath().value_or(""), storedDisk(*_order.disk), !_order.checkFileSystem,
                          _order.device};
    const auto becomesFull = [&](const std::string& why) { _board.line("Making a full backup point: " + why); };
    const BackupRequest request{{disk}, "", _time, _exportFolder, sourceOf(*_order.disk), becomesFull};
    ArchiveResult<MadePoint> point = makeBackup(archive, request, progress, _cancel);
    if (point) {
      if (point->index.kind == PointKind::Increment) {
        _board.line("Changed since the last backup point: " + byteSizeString(point->storedBytes));
      }
      _account = narrator.account();
    }
    return point;
  }

  // What was written is read again, so that a drive that loses it is not found out about by a restore.
  std::optional<OperationFailed> readBack(Archive& archive) {
    _board.line("Reading back what was written");
    const std::size_t newest = archive.index().points.size() - 1;
    // The share that is shown is that of the backup, and never goes back; the log tells what the rest is about.
    const NotedCheck noted = checkAndNote(
        archive, newest, _time, [](std::uint64_t) {}, _cancel);
    const ArchiveResult<PointCheck>& check = noted.check;
    if (noted.whyNotNoted) _board.line("What the check found could not be noted: " + noted.whyNotNoted->text());
    if (!check && isFault(check.error(), ArchiveFault::Cancelled)) {
      _board.line("Stopped; the backup point is complete, but was not read back");
      return std::nullopt;
    }
    if (check && check->damaged.empty()) {
      _board.line("Read back and found sound: " + byteSizeString(check->bytes));
      return std::nullopt;
    }
    const std::string what = check ? damageText(*check) : check.error().text();
    _board.line("The new backup point is damaged: " + what);
    return OperationFailed{"The new backup point cannot be read back as it was written (" + what + "). " +
                           kBackUpAgain};
  }

  OperationOutcome failed(const ArchiveError& error) {
    if (isFault(error, ArchiveFault::Cancelled)) {
      _board.line("Stopped; the archive is as it was");
      return OperationStopped{};
    }
    _board.line("Failed: " + error.text());
    return OperationFailed{sentenceOf(error, _order.archivePath, kCheckTheDrive)};
  }

  const BackupOrder& _order;
  const std::string& _exportFolder;
  OperationBoard& _board;
  const CancelFlag& _cancel;
  const std::int64_t _time;
  std::string _account;  // Of what was read, and how fast.
};

}  // namespace

EngineArchives::EngineArchives(std::string exportFolder, std::string tableProgram)
    : _exportFolder(std::move(exportFolder)), _tableProgram(std::move(tableProgram)) {
  clearExportFolder(_exportFolder);
}

ArchiveView EngineArchives::look(const std::string& archivePath, ArchiveUser user) {
  const auto acting = ActingAs::user(user);
  if (!acting) return UnreadableArchive{kUnknownUser};
  std::error_code error;
  // One that cannot be entered is none.
  if (!fs::is_directory(fs::path(archivePath).parent_path() / ".", error)) return NoArchiveFolder{};
  const ArchiveResult<Archive> archive = Archive::openForReading(archivePath);
  if (!archive) {
    if (isFault(archive.error(), ArchiveFault::NotFound)) return NoArchiveYet{};
    if (isFault(archive.error(), ArchiveFault::NotAnArchive) && isFreeFolder(archivePath)) return NoArchiveYet{};
    return UnreadableArchive{sentenceOf(archive.error(), archivePath, kCheckTheDrive)};
  }
  return presentArchive(*archive);
}

OperationOutcome EngineArchives::backup(const BackupOrder& order, OperationBoard& board, const CancelFlag& cancel) {
  const auto acting = ActingAs::user(order.archiveUser);
  if (!acting) return OperationFailed{kUnknownUser};
  return Run(order, _exportFolder, board, cancel).run();
}

OperationOutcome EngineArchives::restore(const RestoreOrder& order, OperationBoard& board,
                                         const CancelFlag& cancel) {
  const auto acting = ActingAs::user(order.point.archiveUser);
  if (!acting) return OperationFailed{kUnknownUser};
  const ArchiveResult<Archive> archive = holding(order.point, Archive::openForReading(order.point.archivePath));
  if (!archive) return OperationFailed{sentenceOf(archive.error(), order.point.archivePath, kCheckTheDrive)};
  return runRestore(*archive, order, {_exportFolder, _tableProgram}, board, cancel);
}

OperationOutcome EngineArchives::merge(const PointReference& point, OperationBoard& board,
                                       const CancelFlag& cancel) {
  const auto acting = ActingAs::user(point.archiveUser);
  if (!acting) return OperationFailed{kUnknownUser};
  ArchiveResult<Archive> archive = holding(point, openForOperation(point.archivePath, board, cancel));
  if (!archive) return OperationFailed{sentenceOf(archive.error(), point.archivePath, kCheckTheDrive)};
  return runMerge(*archive, point.index, board, cancel);
}

VerificationReport EngineArchives::verify(const std::string& archivePath, ArchiveUser user, OperationBoard& board,
                                          const CancelFlag& cancel) {
  const auto acting = ActingAs::user(user);
  if (!acting) return {OperationFailed{kUnknownUser}, {}, false};
  ArchiveResult<Archive> archive = openForOperation(archivePath, board, cancel);
  if (archive) return verifyPoints(*archive, board, cancel);
  ArchiveResult<Archive> reader = Archive::openForReading(archivePath);
  if (!reader || !isCheckedAllTheSame(*reader, archive.error())) {
    return {OperationFailed{sentenceOf(archive.error(), archivePath, kCheckTheDrive)}, {}, false};
  }
  return verifyPointsUnnoted(*reader, archive.error().text(), board, cancel);
}

Expected<Done, std::string> EngineArchives::pin(const PinOrder& order, const CancelFlag& cancel) {
  const auto acting = ActingAs::user(order.point.archiveUser);
  if (!acting) return kUnknownUser;
  ArchiveResult<Archive> archive = holding(order.point, Archive::openForWriting(order.point.archivePath, cancel));
  if (!archive) return sentenceOf(archive.error(), order.point.archivePath, kCheckTheDrive);
  ArchiveResult<PointIndex> point = archive->readPoint(order.point.index);
  if (!point) return sentenceOf(point.error(), order.point.archivePath, kBackUpAgain);
  point->isPinned = order.isPinned;
  if (order.label) point->label = *order.label;
  const ArchiveResult<Done> saved = archive->savePoint(order.point.index, *point);
  if (!saved) return sentenceOf(saved.error());
  return Done{};
}

}  // namespace zpk
