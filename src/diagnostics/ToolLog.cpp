#include "diagnostics/LogTasks.h"
#include "diagnostics/PathNames.h"

namespace zpk {
namespace {

std::string header(const std::string& date, const LoggedTask& task) {
  std::string line = date + " Launching " + task.launchPath;
  for (const std::string& argument : task.arguments) line += " \"" + argument + "\"";
  return line + "\n\n";
}

std::string secondsIn(std::chrono::milliseconds time) {
  return std::to_string(std::chrono::duration_cast<std::chrono::seconds>(time).count());
}

// What is to be said of the end, beside the tool's own words.
std::string remark(const Expected<LoggedTaskEnd, TaskError>& end, const TaskLimits& limits) {
  if (!end) return end.error().reason;
  switch (end->reason) {
    case LoggedTaskEnd::Reason::exit:
    case LoggedTaskEnd::Reason::uncaughtSignal:
      return "";
    case LoggedTaskEnd::Reason::timeLimit:
      return "\nEnded: it took longer than " + secondsIn(limits.time) + " seconds.";
    case LoggedTaskEnd::Reason::outputLimit:
      return "\nEnded: it wrote more than " + std::to_string(limits.outputBytes) + " bytes.";
  }
  return "";
}

}  // namespace

std::optional<std::string> runToolToLog(const std::string& tool,
                                        const std::optional<std::vector<std::string>>& arguments,
                                        const std::string& folder, const LogCollectionEnvironment& environment) {
  std::string path = pathInFolder(folder, lastPathComponent(tool)) + ".log";
  const auto log = environment.tasks.openLog(path);
  if (!log) return std::nullopt;
  const LoggedTask task{tool, arguments.value_or(std::vector<std::string>{})};
  (*log)->append(header(environment.dateDescription(), task));
  (*log)->append(remark((*log)->run(task, environment.toolLimits), environment.toolLimits));
  (*log)->append("\n");
  return path;
}

}  // namespace zpk
