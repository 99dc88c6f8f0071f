// The switch of the status-bar agent.

#include <utility>

#include "mainwindow/PathComponents.h"
#include "mainwindow/ZPKUIDaemonController.h"

namespace zpk {
namespace {

// By then the launcher has done what it can.
constexpr Seconds kCheckDelay{0.1};
constexpr const char* kNullDevice = "/dev/null";

}  // namespace

// True only when the tool ended by itself and said yes: one that could not be started has not.
bool ZPKUIDaemonController::runLaunchctl(std::vector<std::string> arguments) {
  TaskDescription task;
  task.launchPath = _environment.launchctlPath;
  task.arguments = std::move(arguments);
  task.standardOutputPath = kNullDevice;
  task.standardErrorPath = kNullDevice;
  const Expected<TaskResult, TaskError> result = _environment.tasks.run(task);
  return result && result->reason == TaskResult::Reason::exit && result->status == 0;
}

void ZPKUIDaemonController::checkStatusBarApp() {
  const bool loaded = runLaunchctl({"list", nameWithoutExtension(_environment.statusBarAgentPath)});
  assign("statusBarAppDisabled", _statusBarAppDisabled, !loaded);
}

void ZPKUIDaemonController::setStatusBarAppDisabled(bool disabled) {
  // Kept until the check is made, whoever lets go of it meanwhile.
  const std::shared_ptr<ZPKUIDaemonController> controller = shared_from_this();
  willChangeValueForKey("statusBarAppDisabled");
  _statusBarAppDisabled = disabled;
  // "-w": the choice outlives the login.
  runLaunchctl({disabled ? "unload" : "load", "-w", _environment.statusBarAgentPath});
  didChangeValueForKey("statusBarAppDisabled");
  runLoop().performAfterDelay(kCheckDelay, [controller] { controller->checkStatusBarApp(); });
}

}  // namespace zpk
