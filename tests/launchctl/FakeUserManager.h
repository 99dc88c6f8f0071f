#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/Task.h"
#include "support/ScriptedTaskRunner.h"
#include "tools/launchctl/UnitFolder.h"

namespace zpk {

// systemctl and the service manager behind it, as far as the launcher uses them: units are files in a folder, read
// when first asked for and at each reload; what is enabled and active is kept here. What systemd refuses is
// refused.
class FakeUserManager {
 public:
  struct Unit {
    std::string text;  // as it was read
    std::string activeState = "inactive";
    bool isEnabled = false;
    bool isMasked = false;
    std::string foreignPath;  // a unit file elsewhere
    int pid = 0;
    int lastExit = 0;
  };

  explicit FakeUserManager(const UnitFolder& folder) : _folder(folder) {}

  FakeUserManager(const FakeUserManager&) = delete;
  FakeUserManager& operator=(const FakeUserManager&) = delete;

  // Runs systemctl, whatever it is asked to run.
  TaskRunner& tasks() { return _tasks; }

  // Made up when there is none.
  Unit& unit(const std::string& name) { return _units[name]; }
  bool isActive(const std::string& name) { return _units[name].activeState == "active"; }
  // What was asked for since the last call, without what only asks: "start a.timer".
  std::vector<std::string> takeVerbs();
  // From now on this verb is refused.
  void refuse(std::string_view verb) { _refused.emplace(verb); }
  void refuseNothing() { _refused.clear(); }

 private:
  TaskResult answer(const TaskDescription& task);
  std::string show(const std::vector<std::string>& names);
  std::string describe(const std::string& name);
  bool exists(const std::string& name);
  bool obey(const std::string& verb, const std::string& name);
  bool enable(const std::string& name);
  bool start(const std::string& name);
  void reload();

  const UnitFolder& _folder;
  ScriptedTaskRunner _tasks{[this](const TaskDescription& task) { return answer(task); }};
  std::map<std::string, Unit> _units;
  std::set<std::string> _refused;
  std::vector<std::string> _verbs;
};

}  // namespace zpk
