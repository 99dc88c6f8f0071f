#include "mainwindow/ZPKUIDaemonController.h"

#include <cinttypes>
#include <cstdio>
#include <utility>

namespace zpk {

ZPKUIDaemonController::ZPKUIDaemonController(ZPKDaemonControllerEnvironment link,
                                             ZPKUIDaemonControllerEnvironment environment)
    : ZPKDaemonController(std::move(link)), _environment(std::move(environment)) {}

ZPKUIDaemonController::~ZPKUIDaemonController() = default;

void ZPKUIDaemonController::applicationDidFinishLaunching() {
  setMainController(weak_from_this());
  ZPKDaemonController::applicationDidFinishLaunching();
  didChangeValueForKey("launched");
  checkStatusBarApp();
}

Value ZPKUIDaemonController::needReload() {
  return true;
}

void ZPKUIDaemonController::setSelectedArcItemsIndexes(IndexSet indexes) {
  assign("selectedArcItemsIndexes", _selectedArcItemsIndexes, std::move(indexes));
}

void ZPKUIDaemonController::setIncrementLabel(std::string label) {
  assign("incrementLabel", _incrementLabel, std::move(label));
}

bool ZPKUIDaemonController::canMergeSelectedArcItem() const {
  if (_selectedArcItemsIndexes.size() != 1 || !_arcItems) return false;
  const std::uint64_t index = *_selectedArcItemsIndexes.begin();
  return index > 0 && index <= _arcItems->size() && !(*_arcItems)[index - 1]->isPinned();
}

std::shared_ptr<const RLDArchiveItem> ZPKUIDaemonController::selectedArcItem() const {
  const auto index = firstIndex(_selectedArcItemsIndexes);
  return index && _arcItems && *index < _arcItems->size() ? (*_arcItems)[*index] : nullptr;
}

std::vector<std::string_view> ZPKUIDaemonController::keyPathsForValuesAffectingValueForKey(
    std::string_view key) const {
  // The selected points are those of `arcItems` at the selected indexes, so they change with either.
  if (key == "selectedArcItems") return {"selectedArcItemsIndexes", "arcItems"};
  if (key == "canMergeSelectedArcItem") return {"selectedArcItemsIndexes", "selectedArcItems", "arcItems"};
  return ZPKDaemonController::keyPathsForValuesAffectingValueForKey(key);
}

std::optional<std::string> ZPKUIDaemonController::formattedTimeString(const Value& seconds) {
  if (!seconds.isNumber()) return std::nullopt;
  const std::uint64_t total = seconds.unsignedIntegerValue();
  const std::uint64_t hours = total / 3600;
  const std::uint64_t minutes = total / 60 - 60 * hours;
  char text[32];
  std::snprintf(text, sizeof text, "%02" PRIu32 ":%02" PRIu32 ":%02" PRIu32, static_cast<std::uint32_t>(hours),
                static_cast<std::uint32_t>(minutes), static_cast<std::uint32_t>(total % 60));
  return text;
}

}  // namespace zpk
