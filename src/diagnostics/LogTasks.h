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
//
//   std::vector<LogTask> tasks = makeLogTasks(kEveryCategory);
//   if (const auto folder = makeLogFolder("/tmp/ZPK_Logs", environment)) {
//     runLogTasks(tasks, *folder, environment);
//     const auto archive = zipLogFolder(*folder, environment);  // "/tmp/ZPK_Logs_2026-03-05-14-07-09.zip"
//   }

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

// How far a tool may go before it is ended; its log says so then. A tool that hangs, as they do on a failing disk,
// would keep the collection, and with it quitting, waiting for ever.
inline constexpr TaskLimits kToolLimits{std::chrono::minutes(5), std::uint64_t{64} << 20};

// What is asked of the platform. All of it outlives the calls; every part may be used from any thread.
struct LogCollectionEnvironment {
  FileManager& fileManager;
  TaskRunner& tasks;
  DispatchQueue& backgroundQueue;  // takes as many pieces of work at once as there are tasks, beside its caller's
  Log& log;
  std::function<std::string()> timeStamp;        // the local date and time, "2026-03-05-14-07-09"
  std::function<std::string()> dateDescription;  // now, "2026-03-05 14:07:09 +0000"
  std::function<std::string()> randomUUID;       // a new version 4 UUID, 36 lower-case characters
  std::function<void(Seconds)> sleep;            // of the calling thread
  std::vector<LogTask> platformTasks = {};       // what else this system has to tell; for the caller to append
  TaskLimits toolLimits = kToolLimits;
};

// The rows of the selected categories, in the order of the table.
std::vector<LogTask> makeLogTasks(std::uint64_t categories);
// A new, empty folder, the caller's alone, named after `base` and the time; nothing when none could be made.
// Folders on the way to it are made too.
std::optional<std::string> makeLogFolder(const std::string& base, const LogCollectionEnvironment& environment);
// Runs all of them at once, but no tool twice at a time; returns when every one has finished. A task whose type is
// none of the three does nothing.
void runLogTasks(const std::vector<LogTask>& tasks, const std::string& folder,
                 const LogCollectionEnvironment& environment);
// How many plain files of `source` whose name matches were copied. The pattern is searched for in the name, case
// counts, and word characters are those of ASCII; a pattern that is none matches nothing.
std::uint64_t copyMatchingFiles(const std::string& source, const std::string& pattern, const std::string& folder,
                                const LogCollectionEnvironment& environment);
// Adds a header and what the tool says to its log in `folder`, and gives the log's path; nothing when that cannot
// be written. `arguments`: none at all is what an empty list is.
std::optional<std::string> runToolToLog(const std::string& tool,
                                        const std::optional<std::vector<std::string>>& arguments,
                                        const std::string& folder, const LogCollectionEnvironment& environment);
// Path of the archive beside the folder, which is its top entry; nothing when it could not be made. Files that
// could not be read are not in it.
std::optional<std::string> zipLogFolder(const std::string& folder, const LogCollectionEnvironment& environment);

}  // namespace zpk
