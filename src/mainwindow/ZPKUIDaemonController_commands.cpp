// What the user's gestures do: open a sheet, or send the helper a command.

#include "helperlink/ResultCode.h"
#include "mainwindow/ModalSession.h"
#include "mainwindow/ZPKUIDaemonController.h"

namespace zpk {

void ZPKUIDaemonController::backup() {
  const auto status = currentStatus();
  if (status && statuskey::arcState.read(*status) == ArcState::foreign) {
    setModalSession(modalsession::kArcNotFromSource);
  } else {
    sendBackup();
  }
}

void ZPKUIDaemonController::backupOntoForeignArchive() {
  sendBackup();
}

void ZPKUIDaemonController::sendBackup() {
  performDaemonAction([daemon = daemon()] { return daemon->backup(); });
}

void ZPKUIDaemonController::restore() {
  setModalSession(modalsession::kRestoreTarget);
}

// In this process, as the user, without the helper.
void ZPKUIDaemonController::mountArcItem() {
  const auto arcItem = selectedArcItem();
  if (!arcItem || !_environment.mounter) return;
  _environment.mounter->mountArcItem(*arcItem, [this](const std::string& errorText) {
    setError(errorText, {});
    setModalSession(modalsession::kError);
  });
}

void ZPKUIDaemonController::breakProgress() {
  if (daemon()) daemon()->breakProgress();
}

void ZPKUIDaemonController::selectSourceAction() {
  setModalSession(modalsession::kSource);
}

void ZPKUIDaemonController::selectBackupPath() {
  setModalSession(modalsession::kArchiveLocation);
}

void ZPKUIDaemonController::mergeArvhiveAction() {
  setModalSession(modalsession::kMergeConfirmation);
}

// The sheet stays: the record that follows the command closes it, or the error sheet takes its place.
void ZPKUIDaemonController::sheetOKAction() {
  switch (_modalSession) {
    case modalsession::kRestoreTarget:
      return sendRestore();
    case modalsession::kSource:
      return sendBackupSource();
    case modalsession::kArchiveLocation:
      return sendTargetPath();
    case modalsession::kMergeConfirmation:
      return sendMerge();
    case modalsession::kIncrementLabel:
      return sendPin(true, _incrementLabel);
    default:
      return;
  }
}

void ZPKUIDaemonController::sheetCancelAction() {
  const bool errorDismissed = _modalSession == modalsession::kError;
  setModalSession(modalsession::kNone);
  // What came in while the error was shown decided no sheet; the newest record does now. That of a helper that is
  // gone asks for nothing any more: an error that it carries would come up again each time it is dismissed.
  if (const auto status = currentStatus(); status && errorDismissed && isHelperReachable()) project(*status);
}

void ZPKUIDaemonController::sendRestore() {
  const auto position = firstIndex(_disksListWindow->selectedDisksIndexes());
  const auto arcItem = firstIndex(_selectedArcItemsIndexes);
  const auto disk = _disksListWindow->selectedDisk();
  if (!position || !arcItem || !disk || !disk->gptID()) return;
  performDaemonAction([this, item = *arcItem, identifier = disk->gptID()->stringValue()]() -> Value {
    // Number and size are those of the chooser when the command runs.
    const auto target = _disksListWindow->selectedDisk();
    if (!target) return {};
    return daemon()->restore(item, identifier, target->diskNumber(), _disksListWindow->restoreSize().value_or(0));
  });
}

void ZPKUIDaemonController::sendBackupSource() {
  const auto disk = _disksListWindow->selectedDisk();
  if (!disk || !disk->gptID()) return;
  const std::string source = disk->gptID()->stringValue();
  _environment.log.line("ZPKUI::Set source: " + source);
  performDaemonAction([daemon = daemon(), source] { return daemon->setBackupSource(source); });
}

void ZPKUIDaemonController::sendTargetPath() {
  const std::string path = _archiveSelector->URL();
  performDaemonAction([daemon = daemon(), path] { return daemon->setTargetPath(path); });
}

void ZPKUIDaemonController::sendMerge() {
  const auto arcItem = firstIndex(_selectedArcItemsIndexes);
  if (!arcItem) return;
  performDaemonAction([daemon = daemon(), item = *arcItem] { return daemon->mergeArchiveWithParent(item); });
}

void ZPKUIDaemonController::sendPin(bool flag, std::optional<std::string> label) {
  performDaemonAction([daemon = daemon(), flag, item = _clickedArcItemIndex, label = std::move(label)] {
    return daemon->pin(flag, item, label);
  });
}

void ZPKUIDaemonController::pin(bool flag, const RLDArchiveItem& archiveItem) {
  // A point that is not in the list (any more) is named by its own index.
  _clickedArcItemIndex = archiveItem.arcIndex();
  for (std::size_t position = 0; _arcItems && position < _arcItems->size(); ++position) {
    if ((*_arcItems)[position]->arcIndex() != archiveItem.arcIndex()) continue;
    _clickedArcItemIndex = position;
    break;
  }
  if (flag) {
    setModalSession(modalsession::kIncrementLabel);
  } else {
    sendPin(false, std::nullopt);
  }
}

// Shown before the helper has agreed: a limit that it refuses is set back by its next record.
void ZPKUIDaemonController::setMaxIncCount(std::uint64_t count) {
  assign("maxIncCount", _maxIncCount, count);
  performDaemonAction([this] { return daemon()->setMaxIncrementsCount(_maxIncCount); });
}

// Unlike the limit, the check shows only what the helper has taken over, with its next record.
void ZPKUIDaemonController::setCheckFS(bool flag) {
  performDaemonAction([daemon = daemon(), flag] { return daemon->setCheckFS(flag); });
}

void ZPKUIDaemonController::performDaemonAction(const DaemonAction& action) {
  if (!daemon()) return;
  const std::uint32_t code = resultCodeOf(action());
  if (code == 0) return;
  setError(resultCodeMessage(code, _environment.localization), resultCodeAdvice(code, _environment.localization));
  _environment.log.line("ZPKUI::Daemon action::error: " + resultCodeMessage(code, _environment.localization));
  setModalSession(modalsession::kError);
}

void ZPKUIDaemonController::setError(std::string description, std::string advice) {
  assign("errorDescription", _errorDescription, std::move(description));
  assign("errorAdvice", _errorAdvice, std::move(advice));
}

}  // namespace zpk
