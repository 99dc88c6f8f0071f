// Which sheet is over the main window, and how each is prepared.

#include <algorithm>

#include "mainwindow/ModalSession.h"
#include "mainwindow/ZPKUIDaemonController.h"

namespace zpk {

void ZPKUIDaemonController::setModalSession(std::int32_t session) {
  if (const SheetWindow current = windowForModalSession(_modalSession); !isNoWindow(current)) {
    if (_mainWindow) _mainWindow->endSheet(current);
    if (_modalSession == modalsession::kArchiveLocation) _archiveSelector.reset();
  }
  _modalSession = modalsession::kNone;
  const SheetWindow next = windowForModalSession(session);
  if (isNoWindow(next) || !_mainWindow) return;
  _modalSession = session;
  _mainWindow->beginSheet(next);
}

SheetWindow ZPKUIDaemonController::windowForModalSession(std::int32_t session) {
  switch (session) {
    case modalsession::kUpdateInfo:
      return SheetOutlet::updateInfoWindow;
    case modalsession::kRestoreTarget:
      return restoreTargetChooser();
    case modalsession::kSource:
      return sourceChooser();
    case modalsession::kError:
      return SheetOutlet::errorDescriptionWindow;
    case modalsession::kArchiveLocation:
      return archiveLocationPanel();
    case modalsession::kArcNotFromSource:
      return SheetOutlet::arcNotFromSourceWindow;
    case modalsession::kMergeConfirmation:
      return SheetOutlet::mergeConfirmationWindow;
    case modalsession::kIncrementLabel:
      setIncrementLabel("");
      return SheetOutlet::incrementLabelWindow;
    default:
      return std::monostate();
  }
}

// One chooser serves both sessions.
SheetWindow ZPKUIDaemonController::diskChooser(std::uint64_t type, ZPKDisksListWindow::Disks disks) {
  if (!_disksListWindow) {
    _disksListWindow = std::make_shared<ZPKDisksListWindow>(_environment.localization);
    _disksListWindow->setOkAction([this] { sheetOKAction(); });
    _disksListWindow->setCancelAction([this] { sheetCancelAction(); });
  }
  _disksListWindow->setType(type);
  _disksListWindow->setDisksList(std::move(disks));
  return _disksListWindow;
}

SheetWindow ZPKUIDaemonController::restoreTargetChooser() {
  const auto item = selectedArcItem();
  const RLDArcDisk* stored = item && !item->disks().empty() ? item->disks().front().get() : nullptr;
  const std::uint64_t parts = stored ? stored->partitions().size() : 0;
  ZPKDisksListWindow::Disks targets;
  for (const auto& disk : disksOfStatus()) {
    const bool fits = !_legacyArc || disk->countOfLegacyRestoreSlots() >= parts;
    if (disk->isRestoreTarget() && fits) targets.push_back(disk);
  }
  const SheetWindow chooser = diskChooser(ZPKDisksListWindow::kRestoreType, std::move(targets));
  _disksListWindow->setMinRestoreSize(parts > 0 ? stored->partitions().back()->partMinSize() : 0);
  return chooser;
}

SheetWindow ZPKUIDaemonController::sourceChooser() {
  ZPKDisksListWindow::Disks sources;
  for (const auto& disk : disksOfStatus()) {
    if (disk->isBootCamp()) sources.push_back(disk);
  }
  return diskChooser(ZPKDisksListWindow::kSelectType, std::move(sources));
}

SheetWindow ZPKUIDaemonController::archiveLocationPanel() {
  if (_archiveSelector) return _archiveSelector;
  _archiveSelector = std::make_shared<ZPKArchiveSelector>();
  _archiveSelector->setActionsTarget(weak_from_this());
  _archiveSelector->setOkActionSelector([this](ZPKArchiveSelector&) { sheetOKAction(); });
  _archiveSelector->setCancelActionSelector([this](ZPKArchiveSelector&) { sheetCancelAction(); });
  _archiveSelector->setTreatsFilePackagesAsDirectories(false);
  _archiveSelector->setAllowedFileTypes({"rldbackup"});
  _archiveSelector->setAllowsOtherFileTypes(false);
  return _archiveSelector;
}

ZPKDisksListWindow::Disks ZPKUIDaemonController::disksOfStatus() const {
  const auto status = currentStatus();
  return status ? statuskey::disks.read(*status) : ZPKDisksListWindow::Disks();
}

}  // namespace zpk
