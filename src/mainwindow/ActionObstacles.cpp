#include "mainwindow/ActionObstacles.h"

namespace zpk {
namespace {

// What keeps every command from being sent. A helper that died is away; one that was never there has not been
// heard.
std::optional<Obstacle> commandObstacle(const ZPKUIDaemonController& controller) {
  if (controller.isLaunched() && !controller.isHelperReachable()) return Obstacle::helperAway;
  if (!controller.currentStatus()) return Obstacle::helperNotHeard;
  if (controller.inProgress()) return Obstacle::operationRuns;
  return std::nullopt;
}

std::optional<Obstacle> selectionObstacle(const ZPKUIDaemonController& controller) {
  if (const auto obstacle = commandObstacle(controller)) return obstacle;
  if (controller.selectedArcItemsIndexes().size() > 1) return Obstacle::severalSelected;
  if (!onlySelectedPoint(controller)) return Obstacle::nothingSelected;
  return std::nullopt;
}

}  // namespace

std::shared_ptr<const RLDArchiveItem> onlySelectedPoint(const ZPKUIDaemonController& controller) {
  const IndexSet& selected = controller.selectedArcItemsIndexes();
  const auto& items = controller.arcItems();
  if (selected.size() != 1 || !items || *selected.begin() >= items->size()) return nullptr;
  return (*items)[*selected.begin()];
}

std::optional<Obstacle> backupObstacle(const ZPKUIDaemonController& controller) {
  if (const auto obstacle = commandObstacle(controller)) return obstacle;
  if (!controller.sourceFound()) return Obstacle::noSource;
  if (!controller.arcSet()) return Obstacle::noLocation;
  if (!controller.backupEnabled()) return Obstacle::archiveUnreachable;
  return std::nullopt;
}

std::optional<Obstacle> stopObstacle(const ZPKUIDaemonController& controller, bool isStopping) {
  if (controller.isLaunched() && !controller.isHelperReachable()) return Obstacle::helperAway;
  if (!controller.inProgress()) return Obstacle::nothingRuns;
  if (isStopping) return Obstacle::stopping;
  return std::nullopt;
}

std::optional<Obstacle> settingsObstacle(const ZPKUIDaemonController& controller) {
  return commandObstacle(controller);
}

std::optional<Obstacle> pinningObstacle(const ZPKUIDaemonController& controller) {
  return commandObstacle(controller);
}

std::optional<Obstacle> restoreObstacle(const ZPKUIDaemonController& controller) {
  return selectionObstacle(controller);
}

// The rule itself is the controller's; this says which part of it is not met.
std::optional<Obstacle> mergeObstacle(const ZPKUIDaemonController& controller) {
  if (const auto obstacle = selectionObstacle(controller)) return obstacle;
  if (controller.canMergeSelectedArcItem()) return std::nullopt;
  return *controller.selectedArcItemsIndexes().begin() == 0 ? Obstacle::firstPoint : Obstacle::parentPinned;
}

std::optional<Obstacle> pinObstacle(const ZPKUIDaemonController& controller) {
  return selectionObstacle(controller);
}

// Not while an operation runs: a merge rewrites the images that opening reads.
std::optional<Obstacle> openObstacle(const ZPKUIDaemonController& controller) {
  return controller.canMountArcItems() ? selectionObstacle(controller) : Obstacle::notOffered;
}

std::optional<Obstacle> closeObstacle(const AttachedDrives& drives) {
  if (drives.isClosing()) return Obstacle::closing;
  if (drives.drives().empty()) return Obstacle::nothingOpen;
  return std::nullopt;
}

}  // namespace zpk
