#include "FakeUserManager.h"

#include <algorithm>
#include <utility>

namespace zpk {

namespace {

constexpr std::size_t kOptions = 3;  // --user and the like

Bytes bytes(std::string_view text) {
  return Bytes(text.begin(), text.end());
}

}  // namespace

TaskResult FakeUserManager::answer(const TaskDescription& task) {
  const std::vector<std::string> words(task.arguments.begin() + kOptions, task.arguments.end());
  const auto dashes = std::find(words.begin(), words.end(), "--");
  const std::vector<std::string> names(dashes == words.end() ? dashes : dashes + 1, words.end());
  const std::string& verb = words.front();
  TaskResult result;
  if (_refused.contains(verb)) {
    result.status = 1;
    result.standardError = bytes("Failed to " + verb + ": Permission denied\n");
    return result;
  }
  if (verb == "show") {
    result.standardOutput = bytes(show(names));
    return result;
  }
  std::string asked = verb;
  for (const std::string& name : names) {
    asked += " " + name;
    if (!obey(verb, name)) result.status = 1;
  }
  _verbs.push_back(asked);
  if (verb == "reenable" || verb == "disable" || verb == "daemon-reload") reload();
  return result;
}

std::vector<std::string> FakeUserManager::takeVerbs() {
  return std::exchange(_verbs, {});
}

std::string FakeUserManager::show(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : "\n") + describe(name);
  return text;
}

bool FakeUserManager::exists(const std::string& name) {
  Unit& unit = _units[name];
  if (unit.text.empty()) unit.text = _folder.contents(name).value_or("");
  return !unit.text.empty() || !unit.foreignPath.empty();
}

std::string FakeUserManager::describe(const std::string& name) {
  const Unit& unit = _units[name];
  const bool isThere = exists(name);
  const std::string path = unit.foreignPath.empty() ? _folder.pathOf(name) : unit.foreignPath;
  const bool isStale = isThere && unit.foreignPath.empty() && unit.text != _folder.contents(name).value_or("");
  std::string text = "MainPID=" + std::to_string(unit.pid) +
                     "\nExecMainCode=1\nExecMainStatus=" + std::to_string(unit.lastExit) + "\n";
  text += std::string("LoadState=") + (unit.isMasked ? "masked" : isThere ? "loaded" : "not-found") + "\n";
  text += "ActiveState=" + unit.activeState + "\n";
  text += "FragmentPath=" + (isThere ? path : std::string()) + "\n";
  text += std::string("UnitFileState=") +
          (unit.isMasked    ? "masked"
           : unit.isEnabled ? "enabled"
                            : "disabled") +
          "\n";
  text += std::string("NeedDaemonReload=") + (isStale ? "yes" : "no") + "\n";
  if (name.ends_with(".timer") && unit.activeState == "active") {
    text += "NextElapseUSecRealtime=Sun 2026-11-22 12:00:00 UTC\nLastTriggerUSec=\n";
  }
  return text;
}

bool FakeUserManager::obey(const std::string& verb, const std::string& name) {
  Unit& unit = _units[name];
  if (verb == "reenable") return enable(name);
  if (verb == "start") return start(name);
  if (verb == "clean") return unit.activeState == "inactive";
  if (verb == "unmask") unit.isMasked = false;
  if (verb == "disable") unit.isEnabled = false;
  if (verb == "reset-failed") unit.activeState = "inactive";
  if (verb == "stop" && unit.activeState != "failed") unit.activeState = "inactive";
  if (verb == "stop") unit.pid = 0;
  return true;
}

bool FakeUserManager::enable(const std::string& name) {
  const std::string text = _folder.contents(name).value_or("");
  if (_units[name].isMasked || text.find("[Install]") == std::string::npos) return false;
  _units[name].isEnabled = true;
  return true;
}

bool FakeUserManager::start(const std::string& name) {
  Unit& unit = _units[name];
  if (unit.isMasked || !exists(name)) return false;
  unit.activeState = "active";
  return true;
}

void FakeUserManager::reload() {
  for (auto& [name, unit] : _units) unit.text = _folder.contents(name).value_or("");
}

}  // namespace zpk
