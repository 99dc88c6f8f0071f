#include <array>
#include <string_view>

#include "diagnostics/LogTasks.h"

namespace zpk {
namespace {

// Empty: the row has no such key.
struct Row {
  LogTaskCategory category;
  LogTaskKind kind;
  std::string_view path;
  std::string_view argument = {};
  std::string_view pattern = {};
};

using enum LogTaskKind;

// Two tools go without arguments on purpose: they report all that they have then.
constexpr std::array<Row, 11> kRows{{
    {kSystemLogs, copyFile, "/var/log/kernel.log"},
    {kSystemLogs, copyFile, "/var/log/system.log"},
    {kSystemLogs, runTool, "/usr/sbin/ioreg", "-l"},
    {kSystemLogs, runTool, "/sbin/mount"},
    {kSystemLogs, runTool, "/usr/sbin/diskutil", "list"},
    {kSystemLogs, runTool, "/usr/sbin/system_profiler"},
    {kProductLogs, copyMatchingFiles, "/var/log/", {}, R"(^(?:ankor|bexil|cordo|dravi)(?:|_\w+)\.txt$)"},
    {kProductLogs, copyMatchingFiles, "/var/log/", {}, R"(^(?:eskol|fimra|gulden)(?:|_\w+)\.log$)"},
    {kProductLogs, copyFile, "/var/log/wren.log"},
    {kProductLogs, copyFile, "/var/log/zpk.log"},
    {kCrashReports,
     copyMatchingFiles,
     "/Library/Logs/DiagnosticReports/",
     {},
     R"(^(?:com\.tarnwick\.WrenHelper|ZPKHelper)_.*\.crash$)"},
}};

LogTask taskOf(const Row& row) {
  LogTask task{{"type", static_cast<std::uint64_t>(row.kind)}, {"path", row.path}};
  if (!row.argument.empty()) task.set("args", Array{Value(row.argument)});
  if (!row.pattern.empty()) task.set("pattern", row.pattern);
  return task;
}

}  // namespace

std::vector<LogTask> makeLogTasks(std::uint64_t categories) {
  std::vector<LogTask> tasks;
  for (const Row& row : kRows) {
    if ((categories & row.category) != 0) tasks.push_back(taskOf(row));
  }
  return tasks;
}

}  // namespace zpk
