#include <atomic>
#include <memory>
#include <mutex>
#include <set>

#include "diagnostics/LogTasks.h"
#include "diagnostics/PathNames.h"

namespace zpk {
namespace {

constexpr Seconds kPollInterval{0.5};
constexpr Seconds kToolPollInterval{0.05};

// What the tasks of one run share. Any thread.
class LogTaskRun {
 public:
  explicit LogTaskRun(std::size_t tasks) : _outstanding(tasks) {}

  bool hasEnded() const { return _outstanding == 0; }
  void taskFinished() { --_outstanding; }

  bool tryStartTool(std::string_view name) {
    const std::lock_guard lock(_mutex);
    return _runningTools.emplace(name).second;
  }
  void toolEnded(std::string_view name) {
    const std::lock_guard lock(_mutex);
    _runningTools.erase(_runningTools.find(name));
  }

 private:
  std::atomic<std::size_t> _outstanding;
  std::mutex _mutex;
  std::set<std::string, std::less<>> _runningTools;
};

std::optional<std::vector<std::string>> argumentsOf(const LogTask& task) {
  const Array* values = task["args"].array();
  if (values == nullptr) return std::nullopt;
  std::vector<std::string> arguments;
  for (const Value& value : *values) arguments.push_back(value.textOr(""));
  return arguments;
}

// One of a name at a time: all of them write into the log of that name.
void runToolInTurn(const LogTask& task, const std::string& folder, const LogCollectionEnvironment& environment,
                   LogTaskRun& run) {
  const std::string tool = task["path"].textOr("");
  const std::string_view name = lastPathComponent(tool);
  while (!run.tryStartTool(name)) environment.sleep(kToolPollInterval);
  runToolToLog(tool, argumentsOf(task), folder, environment);
  run.toolEnded(name);
}

void runTask(const LogTask& task, const std::string& folder, const LogCollectionEnvironment& environment,
             LogTaskRun& run) {
  const std::string path = task["path"].textOr("");
  switch (static_cast<LogTaskKind>(task["type"].unsignedIntegerValue())) {
    case LogTaskKind::copyFile:
      // One that cannot be copied is not in the folder, and that is all.
      static_cast<void>(environment.fileManager.copyFile(path, pathInFolder(folder, lastPathComponent(path))));
      return;
    case LogTaskKind::copyMatchingFiles:
      copyMatchingFiles(path, task["pattern"].textOr(""), folder, environment);
      return;
    case LogTaskKind::runTool:
      runToolInTurn(task, folder, environment, run);
      return;
  }
}

}  // namespace

void runLogTasks(const std::vector<LogTask>& tasks, const std::string& folder,
                 const LogCollectionEnvironment& environment) {
  environment.log.line("Run " + std::to_string(tasks.size()) + " tasks...");
  // Shared, since the last task still holds it while this call returns. Of all else a task's last act is done with.
  const auto run = std::make_shared<LogTaskRun>(tasks.size());
  for (const LogTask& task : tasks) {
    environment.backgroundQueue.async([task, folder, &environment, run] {
      runTask(task, folder, environment, *run);
      run->taskFinished();
    });
  }
  while (!run->hasEnded()) environment.sleep(kPollInterval);
}

}  // namespace zpk
