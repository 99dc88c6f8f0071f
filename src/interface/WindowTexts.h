#pragma once

#include <QString>
#include <optional>

#include "base/DateFormatter.h"
#include "base/Localization.h"
#include "interface/UsageBar.h"
#include "mainwindow/ActionObstacles.h"
#include "mainwindow/ZPKUIDaemonController.h"

namespace zpk {

// What the main window says, as functions of its controller's properties. Texts are ready to be shown.

// The Windows disk to protect: "NTFS, 120 GB" / "80 GB used, 40 GB free".
QString sourceDetailText(const Dictionary& sourceInfo, const Localization& localization);
QString sourceUsageText(const Dictionary& sourceInfo, const Localization& localization);
std::optional<UsageBar::Usage> sourceUsage(const Dictionary& sourceInfo);

// How full the file system of the archive is; nothing while an operation runs, when only the archive's name is
// told.
std::optional<UsageBar::Usage> destinationUsage(const ZPKUIDaemonController& controller);

// The helper has not told of source and destination yet: it was not heard, or is still reading disks.
bool isWaitingForHelper(const ZPKUIDaemonController& controller);

// Whether a backup can be started, or what to do first.
QString readinessText(const ZPKUIDaemonController& controller, const Localization& localization);
// Since when the disk is protected: "Last backup: …   First backup: …"; empty when nothing is known.
QString historyText(const ZPKUIDaemonController& controller, const Localization& localization);

// “Before the update” (14 Nov 2023), or the date alone of a point without a label.
QString pointText(const RLDArchiveItem& point, const DateFormatter& dates);

// The same of the backup point in whose folder the disk image lies; empty when it is none of those that are listed.
QString pointTextOfImage(const std::string& imagePath, const ZPKUIDaemonController& controller,
                         const DateFormatter& dates);

// The names of the source and of the destination. A backup point without a label that is being merged goes by its
// date. Empty when unknown.
QString sourceName(const ZPKUIDaemonController& controller, const DateFormatter& dates);
QString destinationName(const ZPKUIDaemonController& controller, const DateFormatter& dates);
// "Backing up Office PC → Backups"; without the route when either end is unknown. `dates` as above.
QString routeText(const ZPKUIDaemonController& controller, const Localization& localization,
                  const DateFormatter& dates);
// "Elapsed 00:01:05   Remaining 00:03:10".
QString timesText(const ZPKUIDaemonController& controller, const Localization& localization);

// How far the operation is in thousandths, whatever number the helper sends.
int progressSteps(const Value& percents);
// "No progress since 14:02".
QString standstillText(const Date& since, const DateFormatter& times, const Localization& localization);

// Why there are no backup points in the table, and what to do about it.
QString emptyPointsText(const ZPKUIDaemonController& controller, const Localization& localization);

// Why an action cannot be used.
QString obstacleText(Obstacle obstacle, const Localization& localization);

// What is wrong with the link to the helper; empty when nothing is.
QString linkTroubleText(const ZPKUIDaemonController& controller, const Localization& localization);

}  // namespace zpk
