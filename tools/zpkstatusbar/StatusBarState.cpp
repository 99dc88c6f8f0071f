#include "tools/zpkstatusbar/StatusBarState.h"

#include <algorithm>
#include <memory>

#include "helperlink/StatusRecord.h"
#include "interface/DisplayText.h"
#include "interface/StaticTexts.h"
#include "records/RLDArchive.h"
#include "records/RLDArchiveItem.h"
#include "records/ZPKDisk.h"

namespace zpk {
namespace {

const char* operationText(ProgressType type) {
  // translated: what is being done, as the main window says it.
  switch (type) {
    case ProgressType::backup:
      return "Backing up";
    case ProgressType::restore:
      return "Restoring";
    case ProgressType::merge:
      return "Merging backup points";
    case ProgressType::unknown:
      break;
  }
  return "Working";
  // end of translated
}

StatusBarState runningState(const Dictionary& status, bool isStopping, const Localization& texts) {
  StatusBarState state;
  state.icon = StatusBarIcon::running;
  const double percent = statuskey::progressPercents.read(status).doubleValue();
  // Rounded down: all means all.
  state.percent = percent > 0 ? static_cast<int>(std::min(percent, 100.0)) : 0;
  state.canStop = !isStopping;
  state.text =
      isStopping
          ? localizedText(texts, "Stopping…")
          : filledText(localizedText(texts, "OPERATION: NUMBER %"),
                       // The operation is translated where it is chosen.
                       {{"OPERATION", localizedText(texts, operationText(statuskey::progressType.read(status)))},
                        {"NUMBER", QString::number(*state.percent)}});
  return state;
}

bool isSourceConnected(const Dictionary& status) {
  const auto identifier = statuskey::sourceDisk.read(status);
  const auto disks = statuskey::disks.read(status);
  return std::any_of(disks.begin(), disks.end(), [&](const auto& disk) {
    return disk->gptID() && disk->gptID()->stringValue() == identifier && disk->isBootCamp();
  });
}

// Why no backup can be begun from here, or null when one can.
const char* obstacle(const Dictionary& status) {
  // translated: the first thing that is in the way of a backup.
  if (!statuskey::sourceDisk.isPresentIn(status)) return "Choose the Windows disk to protect first.";
  if (!statuskey::targetArchive.isPresentIn(status)) return "Choose where to keep the backups first.";
  if (!isSourceConnected(status)) return "The disk that is backed up is not connected.";
  switch (statuskey::arcState.read(status)) {
    case ArcState::ready:
    case ArcState::empty:
      return nullptr;
    case ArcState::foreign:
      return "The backups at this place are of another disk.";
    case ArcState::unavailable:
    case ArcState::unknown:
      break;
  }
  return "The place of the backups cannot be reached.";
  // end of translated
}

QString readyText(const Dictionary& status, const Localization& texts, const DateFormatter& dates) {
  const auto archive = statuskey::archiveDescription.read(status);
  const auto newest = archive && !archive->items().empty() ? archive->items().back() : nullptr;
  if (!newest || !newest->creationDate()) return localizedText(texts, "Ready. There is no backup yet.");
  const std::string date = dates.stringFromDate(*newest->creationDate());
  return filledText(localizedText(texts, "Ready. Last backup: DATE"), {{"DATE", QString::fromStdString(date)}});
}

StatusBarState idleState(const Dictionary& status, const Localization& texts, const DateFormatter& dates) {
  StatusBarState state;
  const char* inTheWay = obstacle(status);
  state.canBackUp = inTheWay == nullptr;
  if (const auto error = statuskey::lastBackupError.read(status)) {
    state.icon = StatusBarIcon::attention;
    state.text =
        filledText(localizedText(texts, "The last backup failed: REASON"), {{"REASON", displayText(*error)}});
  } else if (inTheWay) {
    // Its texts are translated where they stand.
    state.text = localizedText(texts, inTheWay);
  } else {
    state.icon = StatusBarIcon::ready;
    state.text = readyText(status, texts, dates);
  }
  return state;
}

}  // namespace

StatusBarState statusBarState(const StatusBarFacts& facts, const Localization& localization,
                              const DateFormatter& dates) {
  StatusBarState away;
  if (!facts.isHelperReachable) {
    away.text = localizedText(localization, "The backup helper is not running.");
    return away;
  }
  if (!facts.status) {
    away.text = localizedText(localization, "Waiting for the helper…");
    return away;
  }
  switch (statuskey::state.read(*facts.status)) {
    case HelperState::idle:
      return idleState(*facts.status, localization, dates);
    case HelperState::inProgress:
      return runningState(*facts.status, facts.isStopping, localization);
    case HelperState::busy:
    case HelperState::unknown:
      break;
  }
  away.text = localizedText(localization, "The helper is busy");
  return away;
}

}  // namespace zpk
