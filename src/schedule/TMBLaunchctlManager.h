#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/Task.h"
#include "base/Value.h"

namespace zpk {

// Runs the job launcher's command-line tool and turns the outcome into a yes or no.
//
// Every operation runs the tool once and blocks until it has exited; nothing it prints reaches the program's own
// streams, and no failure (tool missing, not started, exit status other than 0, death by a signal) is shown or
// logged. Keeps no state. Main thread.
class TMBLaunchctlManager {
 public:
  // `tool`: the launcher's absolute path. `tasks` outlives this.
  TMBLaunchctlManager(TaskRunner& tasks, std::string tool) : _tasks(tasks), _tool(std::move(tool)) {}

  // Whether the launcher lists a job of that label in the user's domain.
  bool isJobEnabled(const std::string& label) const;
  // What the launcher tells of the job; nothing when the run failed, or what it printed is no dictionary or longer
  // than a mebibyte.
  std::optional<Dictionary> infoForJobWithLabel(const std::string& label) const;
  // Loads, or with false unloads, the job of the property list `plist` for the present login.
  void load(bool flag, const std::string& plist) const;
  // The same, and for the logins to come.
  void enable(bool flag, const std::string& plist) const;

 private:
  enum class Output { dropped, captured };
  // What the tool printed, empty where that is dropped; nothing unless it exited with status 0.
  std::optional<Bytes> runLaunchctl(std::vector<std::string> arguments, Output output) const;

  TaskRunner& _tasks;
  std::string _tool;
};

}  // namespace zpk
