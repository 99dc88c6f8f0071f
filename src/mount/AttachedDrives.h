#pragma once

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "base/Observable.h"
#include "base/RunLoop.h"
#include "mount/DriveControl.h"

namespace zpk {

// How long the server of a drive may take to unmount what it serves, before it is killed.
inline constexpr Seconds kDetachPatience{8};
// How long what it has left is then waited for.
inline constexpr Seconds kRemovalPatience{5};

// The opened backup points of the user, as the window shows and closes them.
//
// Follows its DriveControl and never polls. A drive that goes without having been closed, and leaves something
// behind, is lost: its server was killed or brought down. What it left is taken away, and the drive is told of
// once. So is one that does not show all that its image holds. Main thread. Observable keys: "drives", "closing",
// "lostDrives", "partialDrives".
class AttachedDrives : public Observable {
 public:
  // Both outlive this object.
  AttachedDrives(DriveControl& control, RunLoop& runLoop) : _control(control), _runLoop(runLoop) {}

  // From now on the keys follow. What drives of an earlier time have left is taken away.
  void start();

  const std::vector<AttachedDrive>& drives() const { return _drives; }
  bool isClosing() const { return !_closing.empty(); }
  // Those lost since it was last asked.
  std::vector<AttachedDrive> takeLostDrives();

  // Those attached since it was last asked that do not show all they hold.
  std::vector<AttachedDrive> takePartialDrives();

  // Ends every drive that is attached now, and calls `closed` once they are gone, or cannot be made to go. At once
  // when there is none.
  void closeAll(std::function<void()> closed = {});

 private:
  void drivesChanged();
  void notePartial(const std::vector<AttachedDrive>& before);
  void noteLost(const AttachedDrive& drive);
  void forget(const std::set<std::string>& ids);
  void patienceIsOver();

  DriveControl& _control;
  RunLoop& _runLoop;
  std::vector<AttachedDrive> _drives;
  std::vector<AttachedDrive> _lost;
  std::vector<AttachedDrive> _partial;
  std::set<std::string> _closing;  // ids
  bool _killed = false;            // those that are being closed
  std::vector<std::function<void()>> _whenClosed;
  Token _patience;
  Token _watch;
};

}  // namespace zpk
