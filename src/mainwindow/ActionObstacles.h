#pragma once

#include <optional>

#include "mainwindow/ZPKUIDaemonController.h"
#include "mount/AttachedDrives.h"

namespace zpk {

// What keeps an action of the main window from being used now. The interface has the words.
enum class Obstacle {
  helperNotHeard,      // it has told nothing yet
  helperAway,          // it is not running
  operationRuns,       // one at a time
  nothingRuns,         // there is nothing to stop
  stopping,            // it was asked to stop already
  noSource,            // no Windows disk is chosen
  noLocation,          // no archive is chosen
  archiveUnreachable,  // where the backups are kept is not there now
  nothingSelected,     // no backup point
  severalSelected,     // more than one backup point
  firstPoint,          // the oldest backup point has none before it
  parentPinned,        // the point before it is pinned
  nothingOpen,         // no backup point is open
  closing,             // what is open is being closed already
  notOffered,          // not in this version
};

// Each answers why its action cannot be used, or nothing when it can: one function for an action, from what the
// controller shows now. They decide what is enabled; the controller's actions themselves check nothing.
std::optional<Obstacle> backupObstacle(const ZPKUIDaemonController& controller);
std::optional<Obstacle> stopObstacle(const ZPKUIDaemonController& controller, bool isStopping);
// Choosing source and location, and the settings.
std::optional<Obstacle> settingsObstacle(const ZPKUIDaemonController& controller);
// Of the pin of any point.
std::optional<Obstacle> pinningObstacle(const ZPKUIDaemonController& controller);

// Of the selected backup point.
std::optional<Obstacle> restoreObstacle(const ZPKUIDaemonController& controller);
std::optional<Obstacle> mergeObstacle(const ZPKUIDaemonController& controller);
std::optional<Obstacle> pinObstacle(const ZPKUIDaemonController& controller);
std::optional<Obstacle> openObstacle(const ZPKUIDaemonController& controller);
// Of all that are open, whatever the helper does.
std::optional<Obstacle> closeObstacle(const AttachedDrives& drives);

// The selected backup point when it is exactly one; null otherwise.
std::shared_ptr<const RLDArchiveItem> onlySelectedPoint(const ZPKUIDaemonController& controller);

}  // namespace zpk
