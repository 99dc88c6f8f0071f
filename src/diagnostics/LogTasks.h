#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/DispatchQueue.h"
#include "base/FileManager.h"
#include "base/Log.h"
#include "base/RunLoop.h"
#include "base/Task.h"
#include "base/Value.h"

namespace zpk {

// Gathering diagnostics: system logs, what a few system tools say, the product's own logs and crash reports, into
// one fresh folder and a zip archive beside it.
//
// Functions without any state between runs. They block, for as long as the tools take, and so belong on a
// background thread. Failures are local and silent but for log lines: a log that cannot be copied is not in the
// folder, a tool that cannot start says so in its own log. Only makeLogFolder and zipLogFolder can fail as a whole.

// What is asked of the platform. All of it outlives the calls; every part may be used from any thread.
struct LogCollectionEnvironment {
  FileManager& fileManager;
  TaskRunner& tasks;
  DispatchQueue& backgroundQueue;
  Log& log;
  std::function<std::string()> timeStamp;        // the local date and time, "2026-03-05-14-07-09"
  std::function<std::string()> dateDescription;  // now, "2026-03-05 14:07:09 +0000"
  std::function<std::string()> randomUUID;       // a new version 4 UUID, 36 lower-case characters
  std::function<void(Seconds)> sleep;            // of the calling thread
};

// "type" of a row.
enum class LogTaskKind : std::uint64_t {
  copyFile = 1,
  copyMatchingFiles = 2,
  runTool = 3,
};

// Bits of a category mask; every other bit selects nothing.
enum LogTaskCategory : std::uint64_t {
  kSystemLogs = 1,
  kProductLogs = 2,
  kCrashReports = 4,
  kEveryCategory = ~std::uint64_t{0},
};

// One thing to gather: a dictionary with "type" (a LogTaskKind), "path", and as its kind needs "args" (texts) or
// "pattern" (a regular expression on file names).
using LogTask = Dictionary;

// The rows of the selected categories, in the order of the table.
std::vector<LogTask> makeLogTasks(std::uint64_t categories);
// A new, empty folder, the caller's alone, named after `base` and the time; nothing when none could be made.
std::optional<std::string> makeLogFolder(const std::string& base, const LogCollectionEnvironment& environment);
// Runs all of them at once, but no tool twice at a time; returns when every one has finished.
void runLogTasks(const std::vector<LogTask>& tasks, const std::string& folder,
                 const LogCollectionEnvironment& environment);
// How many files of `source` whose name matches were copied.
std::uint64_t copyMatchingFiles(const std::string& source, const std::string& pattern, const std::string& folder,
                                const LogCollectionEnvironment& environment);
// Path of the tool's log in `folder`; nothing when that cannot be written. `arguments`: none is not an empty list.
std::optional<std::string> runToolToLog(const std::string& tool,
                                        const std::optional<std::vector<std::string>>& arguments,
                                        const std::string& folder, const LogCollectionEnvironment& environment);
// Path of the archive beside the folder; nothing when it could not be made.
std::optional<std::string> zipLogFolder(const std::string& folder, const LogCollectionEnvironment& environment);

}  // namespace zpk
