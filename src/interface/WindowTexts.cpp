#include "interface/WindowTexts.h"

#include <QStringList>
#include <algorithm>

#include "app/presentation/ByteSizeString.h"
#include "interface/DisplayText.h"
#include "interface/StaticTexts.h"

namespace zpk {
namespace {

const QString kGap = QStringLiteral("     ");

QString sizeText(std::uint64_t bytes) {
  return isolated(QString::fromStdString(byteSizeString(bytes)));
}

// The label is translated at the calls of labelled.
QString labelled(const Localization& localization, const char* label, const QString& text) {
  return localizedText(localization, label) + u' ' + text;
}

// The backup point that the running merge takes apart (`before` 0) or the one before it, which takes it up (1);
// null when no merge runs or the record names none.
std::shared_ptr<const RLDArchiveItem> mergedPoint(const ZPKUIDaemonController& controller, std::uint64_t before) {
  const auto status = controller.currentStatus();
  if (!status || !controller.inProgress()) return nullptr;
  if (statuskey::progressType.read(*status) != ProgressType::merge) return nullptr;
  const auto archive = statuskey::archiveDescription.read(*status);
  const std::uint64_t index = statuskey::mergeIndex.read(*status);
  if (!archive || index == 0 || index >= archive->items().size()) return nullptr;
  return archive->items()[index - before];
}

// "/a/b" gives "/a".
std::string_view folderOf(std::string_view path) {
  return path.substr(0, path.rfind('/'));
}

}  // namespace

QString sourceDetailText(const Dictionary& sourceInfo, const Localization& localization) {
  QStringList parts;
  if (const std::string* fileSystem = sourceInfo["fsname"].text(); fileSystem && !fileSystem->empty()) {
    parts += displayText(*fileSystem);
  }
  if (sourceInfo.contains("size")) parts += sizeText(sourceInfo["size"].unsignedIntegerValue());
  if (const std::string* mountPoint = sourceInfo["mountpoint"].text()) {
    parts += labelled(localization, "mounted at", displayText(*mountPoint));
  }
  return parts.join(QStringLiteral(" · "));
}

std::optional<UsageBar::Usage> sourceUsage(const Dictionary& sourceInfo) {
  if (!sourceInfo.contains("size") || !sourceInfo.contains("free")) return std::nullopt;
  const std::uint64_t size = sourceInfo["size"].unsignedIntegerValue();
  const std::uint64_t free = sourceInfo["free"].unsignedIntegerValue();
  // More free than there is: a file system that reports to use more than its partition has wrapped around.
  return UsageBar::Usage{size, free > size ? 0 : free};
}

QString sourceUsageText(const Dictionary& sourceInfo, const Localization& localization) {
  const auto usage = sourceUsage(sourceInfo);
  if (!usage) return {};
  return filledText(
      localizedText(localization, "USED used, FREE free"),
      {{"USED", sizeText(usage->size - std::min(usage->size, usage->free))}, {"FREE", sizeText(usage->free)}});
}

std::optional<UsageBar::Usage> destinationUsage(const ZPKUIDaemonController& controller) {
  const auto& space = controller.destinationSpace();
  if (!space || space->total() == 0 || !controller.destinationInfo().contains("location")) return std::nullopt;
  return UsageBar::Usage{space->total(), space->available()};
}

bool isWaitingForHelper(const ZPKUIDaemonController& controller) {
  const auto status = controller.currentStatus();
  if (!status) return true;
  const bool nothingShown = !controller.sourceFound() && !controller.arcSet();
  return nothingShown && statuskey::state.read(*status) == HelperState::busy;
}

QString readinessText(const ZPKUIDaemonController& controller, const Localization& localization) {
  const bool away = controller.isLaunched() && !controller.isHelperReachable();
  if (away || isWaitingForHelper(controller)) return localizedText(localization, "Waiting for the helper…");
  if (!controller.sourceFound()) return localizedText(localization, "Choose the Windows disk to protect");
  if (!controller.arcSet()) return localizedText(localization, "Choose where to keep the backups");
  if (!controller.backupEnabled()) return localizedText(localization, "The backups cannot be reached now");
  return localizedText(localization, "Ready to back up");
}

QString historyText(const ZPKUIDaemonController& controller, const Localization& localization) {
  if (!controller.arcSet()) return {};
  QStringList parts;
  if (controller.lastBackup())
    parts += labelled(localization, "Last backup:", displayText(*controller.lastBackup()));
  if (controller.firstBackup())
    parts += labelled(localization, "First backup:", displayText(*controller.firstBackup()));
  return parts.join(kGap);
}

QString pointText(const RLDArchiveItem& point, const DateFormatter& dates) {
  const QString name = displayText(point.name().value_or(""));
  const QString date = point.creationDate() ? displayText(dates.stringFromDate(*point.creationDate())) : QString();
  if (name.isEmpty()) return date;
  return date.isEmpty() ? u'“' + name + u'”' : u'“' + name + QStringLiteral("” (") + date + u')';
}

QString pointTextOfImage(const std::string& imagePath, const ZPKUIDaemonController& controller,
                         const DateFormatter& dates) {
  const auto& items = controller.arcItems();
  if (!items) return {};
  for (const auto& item : *items) {
    if (item->indexFilePath() && folderOf(*item->indexFilePath()) == folderOf(imagePath))
      return pointText(*item, dates);
  }
  return {};
}

QString sourceName(const ZPKUIDaemonController& controller, const DateFormatter& dates) {
  const QString name = displayText(controller.sourceInfo()["name"].textOr(""));
  const auto point = name.isEmpty() ? mergedPoint(controller, 0) : nullptr;
  return point ? pointText(*point, dates) : name;
}

QString destinationName(const ZPKUIDaemonController& controller, const DateFormatter& dates) {
  const QString name = displayText(controller.destinationInfo()["name"].textOr(""));
  const auto point = name.isEmpty() ? mergedPoint(controller, 1) : nullptr;
  return point ? pointText(*point, dates) : name;
}

QString routeText(const ZPKUIDaemonController& controller, const Localization& localization,
                  const DateFormatter& dates) {
  const QString from = sourceName(controller, dates);
  const QString to = destinationName(controller, dates);
  const bool known = !from.isEmpty() && !to.isEmpty();
  const auto filled = [&](const QString& text) { return filledText(text, {{"SOURCE", from}, {"TARGET", to}}); };
  const auto status = controller.currentStatus();
  switch (status ? statuskey::progressType.read(*status) : ProgressType::unknown) {
    case ProgressType::backup:
      if (!known) return localizedText(localization, "Backing up");
      return filled(localizedText(localization, "Backing up SOURCE → TARGET"));
    case ProgressType::restore:
      if (!known) return localizedText(localization, "Restoring");
      return filled(localizedText(localization, "Restoring SOURCE → TARGET"));
    case ProgressType::merge:
      if (!known) return localizedText(localization, "Merging backup points");
      return filled(localizedText(localization, "Merging SOURCE → TARGET"));
    case ProgressType::unknown:
      return localizedText(localization, "An operation is running");
  }
  return {};
}

QString timesText(const ZPKUIDaemonController& controller, const Localization& localization) {
  QStringList parts;
  if (controller.elapsedTime()) parts += labelled(localization, "Elapsed", displayText(*controller.elapsedTime()));
  if (controller.remainingTime())
    parts += labelled(localization, "Remaining", displayText(*controller.remainingTime()));
  return parts.join(kGap);
}

int progressSteps(const Value& percents) {
  constexpr double kStepsPerPercent = 10;
  const double percent = percents.doubleValue();
  return percent >= 0 ? static_cast<int>(std::min(percent, 100.0) * kStepsPerPercent) : 0;
}

QString standstillText(const Date& since, const DateFormatter& times, const Localization& localization) {
  return filledText(localizedText(localization, "No progress since TIME"),
                    {{"TIME", displayText(times.stringFromDate(since))}});
}

QString emptyPointsText(const ZPKUIDaemonController& controller, const Localization& localization) {
  if (isWaitingForHelper(controller)) return localizedText(localization, "Waiting for the helper…");
  if (!controller.sourceFound() && !controller.inProgress()) {
    return localizedText(
        localization, "No backup points yet. Choose the Windows disk to protect, then where to keep the backups.");
  }
  if (!controller.arcSet()) {
    return localizedText(localization, "No backup points yet. Choose where to keep the backups.");
  }
  if (!controller.backupEnabled()) {
    return localizedText(localization,
                         "The backup points cannot be read now. Connect the disk on which they are kept.");
  }
  return localizedText(localization, "No backup points yet. The first backup makes the first one.");
}

QString obstacleText(Obstacle obstacle, const Localization& localization) {
  switch (obstacle) {
    case Obstacle::helperNotHeard:
      return localizedText(localization, "The helper has not answered yet.");
    case Obstacle::helperAway:
      return localizedText(localization, "The backup helper is not running.");
    case Obstacle::operationRuns:
      return localizedText(localization, "An operation is running. Wait for its end, or stop it.");
    case Obstacle::nothingRuns:
      return localizedText(localization, "No operation is running.");
    case Obstacle::stopping:
      return localizedText(localization, "The operation is being stopped.");
    case Obstacle::noSource:
      return localizedText(localization, "Choose the Windows disk to protect first.");
    case Obstacle::noLocation:
      return localizedText(localization, "Choose where to keep the backups first.");
    case Obstacle::archiveUnreachable:
      return localizedText(localization, "The place where the backups are kept cannot be reached now.");
    case Obstacle::nothingSelected:
      return localizedText(localization, "Select a backup point first.");
    case Obstacle::severalSelected:
      return localizedText(localization, "Select one backup point only.");
    case Obstacle::firstPoint:
      return localizedText(localization, "The first backup point has none before it to be merged into.");
    case Obstacle::parentPinned:
      return localizedText(localization, "The backup point before it is pinned, and nothing is merged into that.");
    case Obstacle::nothingOpen:
      return localizedText(localization, "No backup point is open.");
    case Obstacle::closing:
      return localizedText(localization, "The open backup points are being closed.");
    case Obstacle::notOffered:
      return localizedText(localization, "This version of ZPK cannot open backup points.");
  }
  return {};
}

QString linkTroubleText(const ZPKUIDaemonController& controller, const Localization& localization) {
  if (!controller.isLaunched()) return {};
  if (!controller.isHelperReachable()) {
    return localizedText(
        localization,
        "The backup helper is not running. What is shown may be out of date; the connection is made "
        "again as soon as the helper is back.");
  }
  if (!controller.isHelperAnswering()) return localizedText(localization, "The helper is not answering");
  return {};
}

}  // namespace zpk
