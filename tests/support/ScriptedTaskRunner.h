#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/Task.h"

namespace zpk {

// Runs no program: records what it was asked to run, and answers what the test's script says. Without a script
// every program ends with status 0 and says nothing. Any thread; the script runs on the caller's, outside the lock.
//
// Logs are in memory: a program that is run into one leaves its standard output there. Limits are recorded and not
// kept; the script of the end says that one was reached.
class ScriptedTaskRunner final : public TaskRunner {
 public:
  using Script = std::function<Expected<TaskResult, TaskError>(const TaskDescription& task)>;

  explicit ScriptedTaskRunner(Script script = [](const TaskDescription&) { return TaskResult{}; })
      : _script(std::move(script)) {}

  Expected<TaskResult, TaskError> run(const TaskDescription& task) override {
    {
      const std::lock_guard lock(_mutex);
      _tasks.push_back(task);
    }
    return _script(task);
  }

  Expected<std::unique_ptr<TaskLog>, FileError> openLog(const std::string& path) override {
    const std::lock_guard lock(_mutex);
    if (_lockedLogs.contains(path)) return FileError{path, "Permission denied"};
    _logs.try_emplace(path);
    return std::unique_ptr<TaskLog>(std::make_unique<MemoryLog>(*this, path));
  }
  void failLogAt(const std::string& path) {
    const std::lock_guard lock(_mutex);
    _lockedLogs.insert(path);
  }
  // Every program that is run into a log ends so, if its script lets it start.
  void endLoggedTasksWith(LoggedTaskEnd end) {
    const std::lock_guard lock(_mutex);
    _loggedEnd = end;
  }
  // The text "(no log)" when there is none.
  std::string log(const std::string& path) const {
    const std::lock_guard lock(_mutex);
    const auto found = _logs.find(path);
    return found == _logs.end() ? "(no log)" : found->second;
  }
  // Of the logged programs, in the order of asking.
  std::vector<TaskLimits> limits() const {
    const std::lock_guard lock(_mutex);
    return _limits;
  }

  // In the order of asking.
  std::vector<TaskDescription> tasks() const {
    const std::lock_guard lock(_mutex);
    return _tasks;
  }

 private:
  class MemoryLog final : public TaskLog {
   public:
    MemoryLog(ScriptedTaskRunner& runner, std::string path) : _runner(runner), _path(std::move(path)) {}
    void append(std::string_view text) override {
      const std::lock_guard lock(_runner._mutex);
      _runner._logs[_path] += text;
    }
    Expected<LoggedTaskEnd, TaskError> run(const LoggedTask& task, const TaskLimits& limits) override {
      {
        const std::lock_guard lock(_runner._mutex);
        _runner._limits.push_back(limits);
      }
      const auto result = _runner.run({task.launchPath, task.arguments, {}, {}, {}, {}});
      if (!result) return result.error();
      append({reinterpret_cast<const char*>(result->standardOutput.data()), result->standardOutput.size()});
      const std::lock_guard lock(_runner._mutex);
      return _runner._loggedEnd;
    }

   private:
    ScriptedTaskRunner& _runner;
    const std::string _path;
  };

  const Script _script;
  mutable std::mutex _mutex;
  std::vector<TaskDescription> _tasks;
  std::map<std::string, std::string> _logs;
  std::set<std::string> _lockedLogs;
  std::vector<TaskLimits> _limits;
  LoggedTaskEnd _loggedEnd;
};

}  // namespace zpk
