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

QString labelled(const Localization& localization, const char* label, const QString& text) {
  return localizedText(localization, label) + u' ' + text;
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
  return filledText(localizedText(localization, "USED used, FREE free"),
                    {{"USED", sizeText(usage->size - std::min(usage->size, usage->free))},
                     {"FREE", sizeText(usage->free)}});
}

bool isWaitingForHelper(const ZPKUIDaemonController& controller) {
  const auto status = controller.currentStatus();
  if (!status) return true;
  const bool nothingShown = !controller.sourceFound() && !controller.arcSet();
  return nothingShown && statuskey::state.read(*status) == HelperState::busy;
}

QString readinessText(const ZPKUIDaemonController& controller, const Localization& localization) {
  if (isWaitingForHelper(controller)) return localizedText(localization, "Waiting for the helper…");
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

QString routeText(const ZPKUIDaemonController& controller) {
  const std::string* from = controller.sourceInfo()["name"].text();
  const std::string* to = controller.destinationInfo()["name"].text();
  if (!from || !to) return {};
  return displayText(*from) + QStringLiteral(" → ") + displayText(*to);
}

QString timesText(const ZPKUIDaemonController& controller, const Localization& localization) {
  QStringList parts;
  if (controller.elapsedTime()) parts += labelled(localization, "Elapsed", displayText(*controller.elapsedTime()));
  if (controller.remainingTime())
    parts += labelled(localization, "Remaining", displayText(*controller.remainingTime()));
  return parts.join(kGap);
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
