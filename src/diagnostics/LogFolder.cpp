#include "diagnostics/LogTasks.h"
#include "diagnostics/PathNames.h"

namespace zpk {
namespace {

constexpr int kMostNames = 10;
constexpr std::string_view kArchiver = "/usr/bin/zip";
constexpr std::string_view kNullDevice = "/dev/null";
// An archive without entries: the end of its directory, and nothing before it.
constexpr std::string_view kEmptyArchive{"PK\5\6\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 22};
// "Could not open a specified file to read": what could be read is in the archive.
constexpr std::int32_t kSomeFilesUnread = 18;

Bytes emptyArchive() {
  return {kEmptyArchive.begin(), kEmptyArchive.end()};
}

bool isArchived(const TaskResult& result) {
  return result.reason == TaskResult::Reason::exit && (result.status == 0 || result.status == kSomeFilesUnread);
}

Expected<TaskResult, TaskError> runArchiver(const std::string& archive, const std::string& folder,
                                            const LogCollectionEnvironment& environment) {
  // The archiver follows a link that another user put where the archive is to be, and makes archives that everybody
  // may read. One that is there already, empty and the caller's alone, it fills and leaves the caller's alone.
  if (const auto placed = environment.fileManager.saveFile(archive, emptyArchive()); !placed) {
    return TaskError{placed.error().reason};
  }
  TaskDescription task;
  task.launchPath = kArchiver;
  task.arguments = {archive, "-q", "-r", std::string(lastPathComponent(folder))};
  // From there, the paths in the archive begin with the folder's name.
  task.currentDirectory = parentFolder(folder);
  task.standardOutputPath = kNullDevice;
  task.standardErrorPath = kNullDevice;
  return environment.tasks.run(task);
}

// Of an archiver that failed: what was put in the archive's place for it goes, what it wrote itself stays.
void removeEmptyArchive(const std::string& archive, FileManager& files) {
  const auto content = files.contentsOfFile(archive, kEmptyArchive.size());
  if (content && *content == emptyArchive()) static_cast<void>(files.removeFile(archive));
}

// As the line in the log numbers them.
int numberOf(TaskResult::Reason reason) {
  switch (reason) {
    case TaskResult::Reason::exit:
      return 1;
    case TaskResult::Reason::uncaughtSignal:
      return 2;
  }
  return 0;
}

}  // namespace

std::optional<std::string> makeLogFolder(const std::string& base, const LogCollectionEnvironment& environment) {
  const std::string stamped = base + "_" + environment.timeStamp();
  // A folder that cannot be made is found out when something is made in it.
  static_cast<void>(environment.fileManager.createDirectories(parentFolder(stamped)));
  std::string candidate = stamped;
  for (int name = 1; name <= kMostNames; ++name) {
    // Making it is how the name is found free: between a look and a step after it, another user could put a folder
    // or a link of his own there. So a name that cannot be had, for whatever reason, is a name that is taken.
    if (environment.fileManager.createDirectory(candidate)) return candidate;
    candidate = stamped + "-" + environment.randomUUID();
  }
  return std::nullopt;
}

std::optional<std::string> zipLogFolder(const std::string& folder, const LogCollectionEnvironment& environment) {
  std::string archive = pathInFolder(parentFolder(folder), lastPathComponent(folder)) + ".zip";
  const Expected<TaskResult, TaskError> result = runArchiver(archive, folder, environment);
  const int reason = result ? numberOf(result->reason) : 0;
  const std::int32_t status = result ? result->status : 0;
  environment.log.line("launched = " + std::to_string(result ? 1 : 0) + ", reason = " + std::to_string(reason) +
                       ", status = " + std::to_string(status));
  if (result && isArchived(*result)) return archive;
  removeEmptyArchive(archive, environment.fileManager);
  return std::nullopt;
}

}  // namespace zpk
