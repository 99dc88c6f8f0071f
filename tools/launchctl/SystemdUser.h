#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Expected.h"
#include "base/Task.h"
#include "tools/launchctl/Calendar.h"

namespace zpk {

// What the service manager says of a unit. A unit that it does not know is one with loadState "not-found".
struct UnitState {
  std::string name;
  std::string loadState;      // "loaded", "not-found", "masked", "bad-setting", …
  std::string activeState;    // "active", "activating", "inactive", "failed", …
  std::string unitFileState;  // "enabled", "disabled", "static", "masked", or empty
  std::string fragmentPath;   // the unit file; empty when there is none
  bool needsReload = false;   // the file was changed after it was read
  std::int64_t pid = 0;       // of the running main process, or 0
  // How the main process ended last: its exit status, or the negative number of the signal that ended it.
  std::int64_t lastExit = 0;
  // Of a timer, in seconds since 1970: when it is due next, and when it last was.
  std::optional<double> nextElapse;
  std::optional<double> lastTrigger;

  bool isMasked() const { return loadState == "masked"; }
  bool isEnabled() const { return unitFileState == "enabled"; }
};

// The blocks of "Key=value" lines that `systemctl show` prints, one for each of `names` in their order; nothing
// when there are more or fewer. Times are in UTC, "Sun 2026-11-22 12:00:00 UTC".
std::optional<std::vector<UnitState>> parseUnitStates(std::string_view text, const std::vector<std::string>& names);

// The user's service manager, asked through its own tool: that one finds the manager without a session bus too, and
// brings the jobs of starting and stopping to their end. A call blocks until the manager did it, or for 30 s: then
// the tool is ended and the call has failed, while the manager may do still what it was asked for.
//
// The tool prints times in the zone of its environment, for which nothing else has an option: this process's TZ is
// UTC.
class SystemdUser {
 public:
  // `tasks` outlives this.
  explicit SystemdUser(TaskRunner& tasks, std::string systemctl = "/usr/bin/systemctl")
      : _tasks(tasks), _systemctl(std::move(systemctl)) {}

  Expected<std::vector<UnitState>, JobError> show(const std::vector<std::string>& names) const;
  // `systemctl --user VERB NAME…`; the error is what it says.
  Expected<Done, JobError> run(const std::vector<std::string>& verb,
                               const std::vector<std::string>& names = {}) const;

 private:
  Expected<std::string, JobError> systemctl(std::vector<std::string> arguments) const;

  TaskRunner& _tasks;
  std::string _systemctl;
};

}  // namespace zpk
