// The collection of logs.

#include <utility>
#include <vector>

#include "app/delegate/ZPKAppDelegate.h"

namespace zpk {
namespace {

constexpr const char* kBasePath = "/tmp/ZPK_Logs";

std::vector<LogTask> everyLogTask(const LogCollectionEnvironment& environment) {
  std::vector<LogTask> tasks = makeLogTasks(kEveryCategory);
  tasks.insert(tasks.end(), environment.platformTasks.begin(), environment.platformTasks.end());
  return tasks;
}

// From the empty folder to the archive's path, which is nothing when there is none. Any thread but the main one.
std::optional<std::string> gatherLogs(const LogCollectionEnvironment& environment,
                                      const std::function<ZPKDaemon&()>& daemon) {
  const std::vector<LogTask> tasks = everyLogTask(environment);
  const std::optional<std::string> folder = makeLogFolder(kBasePath, environment);
  environment.log.line("ZPKUI::Collect logs::target directory = \"" + folder.value_or("(null)") + "\"");
  if (!folder) return std::nullopt;
  environment.log.line("ZPKUI::Collect logs::saving helper logs...");
  // A helper that does not answer leaves the collection without its logs, and no more.
  daemon().collectLogsToPath(*folder);
  environment.log.line("ZPKUI::Collect logs::saving helper logs done");
  runLogTasks(tasks, *folder, environment);
  return zipLogFolder(*folder, environment);
}

}  // namespace

void ZPKAppDelegate::_setCollectingLogs(bool collecting) {
  willChangeValueForKey("collectingLogs");
  _collectingLogs = collecting;
  didChangeValueForKey("collectingLogs");
}

void ZPKAppDelegate::collectLogs() {
  _environment.log.line("ZPKUI::Collect logs");
  _setCollectingLogs(true);
  // The work has its own share of everything and touches nothing of the delegate.
  _environment.logCollection.backgroundQueue.async(
      [environment = _environment.logCollection, daemon = _environment.daemon, &mainQueue = _environment.mainQueue,
       self = std::weak_ptr<ZPKAppDelegate*>(_self)] {
        const std::optional<std::string> archive = gatherLogs(environment, daemon);
        environment.log.line("ZPKUI::Collect logs::done");
        mainQueue.async([self, archive] {
          if (const auto delegate = self.lock()) (*delegate)->logsCollected(archive);
        });
      });
}

void ZPKAppDelegate::logsCollected(const std::optional<std::string>& archive) {
  if (_collectLogsWindow) _collectLogsWindow->close();
  _setCollectingLogs(false);
  if (archive) _environment.workspace.revealFile(*archive);
  // Last: the application ends.
  if (_terminateAfterCollegtingLogs) _environment.application.replyToApplicationShouldTerminate(true);
}

}  // namespace zpk
