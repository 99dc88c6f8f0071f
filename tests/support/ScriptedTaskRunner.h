#pragma once

#include <functional>
#include <mutex>
#include <utility>
#include <vector>

#include "base/Task.h"

namespace zpk {

// Runs no program: records what it was asked to run, and answers what the test's script says. Without a script
// every program ends with status 0 and says nothing. Any thread; the script runs on the caller's, outside the lock.
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

  // In the order of asking.
  std::vector<TaskDescription> tasks() const {
    const std::lock_guard lock(_mutex);
    return _tasks;
  }

 private:
  const Script _script;
  mutable std::mutex _mutex;
  std::vector<TaskDescription> _tasks;
};

}  // namespace zpk
