#include "schedule/TMBLaunchctlManager.h"

#include "base/PropertyList.h"

namespace zpk {
namespace {

const std::string kNullDevice = "/dev/null";
// What is told of one job is a few kilobytes.
constexpr std::size_t kLongestInfo = std::size_t{1} << 20;

}  // namespace

bool TMBLaunchctlManager::isJobEnabled(const std::string& label) const {
  return runLaunchctl({"list", label}, Output::dropped).has_value();
}

std::optional<Dictionary> TMBLaunchctlManager::infoForJobWithLabel(const std::string& label) const {
  const std::optional<Bytes> output = runLaunchctl({"list", "-x", label}, Output::captured);
  if (!output || output->size() > kLongestInfo) return std::nullopt;
  const auto info = readPropertyList(*output);
  if (!info || !info->isDictionary()) return std::nullopt;
  return *info->dictionary();
}

void TMBLaunchctlManager::load(bool flag, const std::string& plist) const {
  runLaunchctl({flag ? "load" : "unload", plist}, Output::dropped);
}

void TMBLaunchctlManager::enable(bool flag, const std::string& plist) const {
  runLaunchctl({flag ? "load" : "unload", "-w", plist}, Output::dropped);
}

std::optional<Bytes> TMBLaunchctlManager::runLaunchctl(std::vector<std::string> arguments, Output output) const {
  TaskDescription task;
  task.launchPath = _tool;
  task.arguments = std::move(arguments);
  task.standardErrorPath = kNullDevice;
  task.outputLimit = kLongestInfo + 1;
  if (output == Output::dropped) task.standardOutputPath = kNullDevice;
  auto result = _tasks.run(task);
  if (!result || result->reason != TaskResult::Reason::exit || result->status != 0) return std::nullopt;
  return std::move(result->standardOutput);
}

}  // namespace zpk
