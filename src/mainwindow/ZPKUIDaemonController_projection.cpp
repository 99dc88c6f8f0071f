// From the helper's record to what the window shows. Reads top down: the record, then one function for each state,
// each kind of operation and each state of the archive.

#include <algorithm>

#include "app/presentation/ByteSizeString.h"
#include "mainwindow/ModalSession.h"
#include "mainwindow/PathComponents.h"
#include "mainwindow/ZPKUIDaemonController.h"
#include "records/FileSystemType.h"

namespace zpk {
namespace {

constexpr std::size_t kMostDiskIcons = 64;

// {"name": name}, or nothing when there is no name to show.
Dictionary named(const std::optional<std::string>& name) {
  Dictionary info;
  if (name) info.set("name", *name);
  return info;
}

// The first disk whose identifier reads `source`; null for none.
std::shared_ptr<const ZPKDisk> sourceDiskOf(const Dictionary& status) {
  const auto source = statuskey::sourceDisk.read(status);
  if (!source) return nullptr;
  const auto disks = statuskey::disks.read(status);
  const auto disk = std::find_if(disks.begin(), disks.end(), [&](const std::shared_ptr<const ZPKDisk>& candidate) {
    return candidate->gptID() && candidate->gptID()->stringValue() == *source;
  });
  return disk == disks.end() ? nullptr : *disk;
}

Dictionary describedPartition(const RLDPartition& partition, const Localization& localization) {
  Dictionary info = named(partition.name());
  info.set("fsname", fileSystemTypeName(partition.fileSystemType(), localization));
  info.set("size", partition.partSize());
  info.set("free", partition.partSize() - partition.partUsedSize());
  if (partition.mountPoint()) info.set("mountpoint", *partition.mountPoint());
  return info;
}

}  // namespace

void ZPKUIDaemonController::stateChangedWithStatus(const Dictionary& status) {
  ZPKDaemonController::stateChangedWithStatus(status);
  project(status);
}

void ZPKUIDaemonController::project(const Dictionary& status) {
  const HelperState state = statuskey::state.read(status);
  if (_modalSession != modalsession::kError) decideSheet(status, state);
  assign("lastBackupError", _lastBackupError, statuskey::lastBackupError.read(status));
  assign("inProgress", _inProgress, state == HelperState::inProgress);
  switch (state) {
    case HelperState::idle:
      return projectIdle(status);
    case HelperState::inProgress:
      return projectProgress(status);
    case HelperState::busy:
    case HelperState::unknown:
      return;
  }
}

void ZPKUIDaemonController::decideSheet(const Dictionary& status, HelperState state) {
  if (const auto error = statuskey::opError.read(status)) {
    setError(*error, {});
    setModalSession(modalsession::kError);
  } else if (state != HelperState::busy) {
    setModalSession(modalsession::kNone);
  } else if (_modalSession != modalsession::kUpdateInfo) {
    setModalSession(modalsession::kUpdateInfo);
  }
}

// An operation runs.

void ZPKUIDaemonController::projectProgress(const Dictionary& status) {
  assign("progressPercents", _progressPercents, statuskey::progressPercents.read(status));
  assign("elapsedTime", _elapsedTime, formattedTimeString(statuskey::elapsedTime.valueIn(status)));
  assign("remainingTime", _remainingTime, formattedTimeString(statuskey::remainingTime.valueIn(status)));
  assign("log", _log, statuskey::fullLog.read(status));
  scrollLogToEnd();
  switch (statuskey::progressType.read(status)) {
    case ProgressType::merge:
      return projectMerge(status);
    case ProgressType::restore:
      return projectRestore(status);
    case ProgressType::backup:
      return projectBackup(status);
    case ProgressType::unknown:
      return;
  }
}

void ZPKUIDaemonController::projectMerge(const Dictionary& status) {
  assign("targetIcon", _targetIcon, archiveIcon());
  assign("sourceIcon", _sourceIcon, archiveIcon());
  const auto archive = statuskey::archiveDescription.read(status);
  const std::uint64_t index = statuskey::mergeIndex.read(status);
  if (!archive || index == 0 || index >= archive->items().size()) return;
  assign("sourceInfo", _sourceInfo, named(archive->items()[index]->name()));
  assign("destinationInfo", _destinationInfo, named(archive->items()[index - 1]->name()));
}

void ZPKUIDaemonController::projectRestore(const Dictionary& status) {
  const auto target = statuskey::restoreTarget.read(status);
  const auto path = statuskey::targetArchive.read(status);
  assign("destinationInfo", _destinationInfo, target ? named(target->name()) : Dictionary());
  assign("sourceInfo", _sourceInfo, path ? named(archiveDisplayName(*path)) : Dictionary());
  assign("sourceIcon", _sourceIcon, archiveIcon());
  assign("targetIcon", _targetIcon, diskIcon(target.get()));
}

void ZPKUIDaemonController::projectBackup(const Dictionary& status) {
  const auto disk = sourceDiskOf(status);
  const auto path = statuskey::targetArchive.read(status);
  assign("sourceIcon", _sourceIcon, diskIcon(disk.get()));
  assign("sourceInfo", _sourceInfo, disk ? named(disk->name()) : Dictionary());
  assign("destinationInfo", _destinationInfo, path ? named(archiveDisplayName(*path)) : Dictionary());
  assign("targetIcon", _targetIcon, archiveIcon());
}

void ZPKUIDaemonController::scrollLogToEnd() {
  if (!_logScrollView) return;
  const LogScrollView& view = *_logScrollView;
  const double target = view.documentViewIsFlipped() ? view.documentViewFrameY() + view.documentViewFrameHeight() -
                                                           view.contentViewBoundsHeight()
                                                     : 0;
  _logScrollView->scrollDocumentViewToPoint(0, target);
}

// Nothing runs.

struct ZPKUIDaemonController::Destination {
  Dictionary info;
  bool backupAllowed = false;
  std::optional<FileSystemSpace> space = {};
};

void ZPKUIDaemonController::projectIdle(const Dictionary& status) {
  assign("maxIncCount", _maxIncCount, statuskey::maxIncCount.read(status));
  projectSource(status);
  assign("checkFS", _checkFS, statuskey::checkFS.read(status));
  Destination destination = projectDestination(status);
  assign("arcSet", _arcSet, !destination.info.empty());
  assign("destinationSpace", _destinationSpace, destination.space);
  assign("destinationInfo", _destinationInfo, std::move(destination.info));
  assign("backupEnabled", _backupEnabled, destination.backupAllowed);
}

void ZPKUIDaemonController::projectSource(const Dictionary& status) {
  const auto disk = sourceDiskOf(status);
  const bool found = disk && disk->isBootCamp();
  Dictionary info;
  if (found) {
    if (const auto windows = disk->objectForKeyedSubscript("winPartition")) {
      info = describedPartition(*windows, _environment.localization);
    }
    assign("sourceIcon", _sourceIcon, diskIcon(disk.get()));
  }
  assign("sourceFound", _sourceFound, found);
  assign("sourceInfo", _sourceInfo, std::move(info));
}

ZPKUIDaemonController::Destination ZPKUIDaemonController::projectDestination(const Dictionary& status) {
  const auto path = statuskey::targetArchive.read(status);
  // Provisionally: an archive that cannot be described ends as none.
  assign("arcSet", _arcSet, path.has_value());
  if (!path) return {};
  Dictionary described = named(archiveDisplayName(*path));
  described.set("location", archiveLocation(*path));
  switch (statuskey::arcState.read(status)) {
    case ArcState::ready:
      return readyDestination(status, std::move(described));
    case ArcState::empty:
      return emptyDestination(std::move(described));
    case ArcState::unavailable:
      return unavailableDestination(std::move(described));
    case ArcState::foreign:
      return foreignDestination(status, std::move(described));
    case ArcState::unknown:
      return {};
  }
  return {};
}

ZPKUIDaemonController::Destination ZPKUIDaemonController::readyDestination(const Dictionary& status,
                                                                           Dictionary described) {
  const auto space = describeSpace(described);
  assign("targetIcon", _targetIcon, archiveIcon());
  takeArchive(status);
  return {std::move(described), true, space};
}

ZPKUIDaemonController::Destination ZPKUIDaemonController::emptyDestination(Dictionary described) {
  const auto space = describeSpace(described);
  assign("targetIcon", _targetIcon, archiveIcon());
  const std::optional none(_environment.localization.localizedString("None"));
  assign("firstBackup", _firstBackup, none);
  assign("lastBackup", _lastBackup, none);
  assign("arcItems", _arcItems, {});
  return {std::move(described), true, space};
}

// Icons, dates and the kind of the archive stay those of the last time it could be reached. Unlike "Available" and
// "None", this text and the one below are never translated.
ZPKUIDaemonController::Destination ZPKUIDaemonController::unavailableDestination(Dictionary described) {
  described.set("status", "Destination is not available");
  assign("arcItems", _arcItems, {});
  return {std::move(described), false};
}

// Backing up onto it is allowed; the user is asked first.
ZPKUIDaemonController::Destination ZPKUIDaemonController::foreignDestination(const Dictionary& status,
                                                                             Dictionary described) {
  const auto space = describeSpace(described);
  // In place of the free space, which the bar still shows.
  described.set("status", "Arc is not from source disk");
  assign("targetIcon", _targetIcon, archiveIcon());
  takeArchive(status);
  return {std::move(described), true, space};
}

void ZPKUIDaemonController::takeArchive(const Dictionary& status) {
  const auto archive = statuskey::archiveDescription.read(status);
  _legacyArc = archive && archive->isLegacy();
  std::shared_ptr<const ArcItems> items;
  if (archive) items = std::shared_ptr<const ArcItems>(archive, &archive->items());
  const bool any = items && !items->empty();
  std::optional<std::string> first = any ? backupDate(*items->front()) : std::nullopt;
  std::optional<std::string> last = any ? backupDate(*items->back()) : std::nullopt;
  assign("arcItems", _arcItems, std::move(items));
  assign("firstBackup", _firstBackup, std::move(first));
  assign("lastBackup", _lastBackup, std::move(last));
}

std::optional<std::string> ZPKUIDaemonController::backupDate(const RLDArchiveItem& item) const {
  const auto& date = item.creationDate();
  if (!date) return std::nullopt;
  return _environment.backupDateFormatter.stringFromDate(*date);
}

// Asks the file system that holds the location once: its free space becomes the "status", both figures the bar.
std::optional<FileSystemSpace> ZPKUIDaemonController::describeSpace(Dictionary& described) const {
  const auto space = _environment.fileManager.fileSystemSpace(described["location"].textOr(""));
  if (space) {
    described.set("status", _environment.localization.localizedString("Available") + ": " +
                                byteSizeString(space->available()));
  }
  return space;
}

ZPKUIDaemonController::Picture ZPKUIDaemonController::archiveIcon() {
  return _environment.workspace.iconForFileType("rldbackup");
}

ZPKUIDaemonController::Picture ZPKUIDaemonController::diskIcon(const RLDDisk* disk) {
  if (!disk || !disk->iconPath()) return nullptr;
  const std::string& path = *disk->iconPath();
  if (const auto known = _diskIcons.find(path); known != _diskIcons.end()) return known->second;
  if (_diskIcons.size() >= kMostDiskIcons) _diskIcons.clear();
  Picture icon = _environment.imageLoader.imageFromFile(path);
  // A file that gave no picture is asked again: it may be there later.
  if (icon) _diskIcons.emplace(path, icon);
  return icon;
}

}  // namespace zpk
