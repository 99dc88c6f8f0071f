#include "mount/AttachedDrives.h"

#include <algorithm>
#include <utility>

namespace zpk {
namespace {

bool contains(const std::vector<AttachedDrive>& drives, const std::string& id) {
  return std::any_of(drives.begin(), drives.end(), [&](const AttachedDrive& drive) { return drive.id == id; });
}

}  // namespace

void AttachedDrives::start() {
  _control.removeAllRemains();
  _watch = _control.watchDrives([this] { drivesChanged(); });
  // What there is to say of these was said when they were attached.
  _drives = _control.attachedDrives();
  if (!_drives.empty()) didChangeValueForKey("drives");
}

std::vector<AttachedDrive> AttachedDrives::takeLostDrives() {
  return std::exchange(_lost, {});
}

std::vector<AttachedDrive> AttachedDrives::takePartialDrives() {
  return std::exchange(_partial, {});
}

void AttachedDrives::drivesChanged() {
  std::vector<AttachedDrive> now = _control.attachedDrives();
  if (now == _drives) return;
  const std::vector<AttachedDrive> before = std::exchange(_drives, std::move(now));
  std::set<std::string> gone;
  for (const AttachedDrive& drive : before) {
    if (contains(_drives, drive.id)) continue;
    gone.insert(drive.id);
    if (!_closing.contains(drive.id) && _control.hasRemains(drive.id)) noteLost(drive);
  }
  notePartial(before);
  const bool haveLost = !_lost.empty();
  const bool havePartial = !_partial.empty();
  didChangeValueForKey("drives");
  if (haveLost) didChangeValueForKey("lostDrives");
  if (havePartial) didChangeValueForKey("partialDrives");
  forget(gone);
}

void AttachedDrives::notePartial(const std::vector<AttachedDrive>& before) {
  for (const AttachedDrive& drive : _drives) {
    if (!drive.missing.empty() && !contains(before, drive.id)) _partial.push_back(drive);
  }
}

void AttachedDrives::noteLost(const AttachedDrive& drive) {
  _control.remove(drive.id);
  _lost.push_back(drive);
}

void AttachedDrives::closeAll(std::function<void()> closed) {
  if (closed) _whenClosed.push_back(std::move(closed));
  const bool wasClosing = isClosing();
  // All of them are marked before the first is told: a drive may be gone, and the list another, before its detach
  // returns.
  std::vector<std::string> told;
  for (const AttachedDrive& drive : _drives) {
    if (_closing.insert(drive.id).second) told.push_back(drive.id);
  }
  for (const std::string& id : told) _control.detach(id);
  if (!isClosing()) return forget({});
  if (wasClosing) return;
  _killed = false;
  _patience = _runLoop.scheduledTimer(kDetachPatience, [this] { patienceIsOver(); });
  didChangeValueForKey("closing");
}

// First the servers are killed; drives that are still there after that stay.
void AttachedDrives::patienceIsOver() {
  if (std::exchange(_killed, true)) return forget(std::set<std::string>(_closing));
  for (const std::string& id : std::set<std::string>(_closing)) _control.remove(id);
  _patience = _runLoop.scheduledTimer(kRemovalPatience, [this] { patienceIsOver(); });
}

void AttachedDrives::forget(const std::set<std::string>& ids) {
  const bool wasClosing = isClosing();
  for (const std::string& id : ids) _closing.erase(id);
  if (isClosing()) return;
  _patience.reset();
  // Whoever is told may end this object.
  const auto whenClosed = std::exchange(_whenClosed, {});
  if (wasClosing) didChangeValueForKey("closing");
  for (const auto& closed : whenClosed) closed();
}

}  // namespace zpk
