#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "diagnostics/LogTasks.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> paths(std::uint64_t categories) {
  std::vector<std::string> found;
  for (const LogTask& task : makeLogTasks(categories)) found.push_back(task["path"].textOr("(none)"));
  return found;
}

TEST(LogTaskTable, HasItsRowsInOrderWithTheKeysOfTheirKindAndNoOthers) {
  const auto tasks = makeLogTasks(kEveryCategory);
  const std::vector<LogTask> expected{
      {{"type", 1U}, {"path", "/var/log/kernel.log"}},
      {{"type", 1U}, {"path", "/var/log/system.log"}},
      {{"type", 3U}, {"path", "/usr/sbin/ioreg"}, {"args", Array{"-l"}}},
      {{"type", 3U}, {"path", "/sbin/mount"}},
      {{"type", 3U}, {"path", "/usr/sbin/diskutil"}, {"args", Array{"list"}}},
      {{"type", 3U}, {"path", "/usr/sbin/system_profiler"}},
      {{"type", 2U}, {"path", "/var/log/"}, {"pattern", "^(?:ankor|bexil|cordo|dravi)(?:|_\\w+)\\.txt$"}},
      {{"type", 2U}, {"path", "/var/log/"}, {"pattern", "^(?:eskol|fimra|gulden)(?:|_\\w+)\\.log$"}},
      {{"type", 1U}, {"path", "/var/log/wren.log"}},
      {{"type", 1U}, {"path", "/var/log/zpk.log"}},
      {{"type", 2U},
       {"path", "/Library/Logs/DiagnosticReports/"},
       {"pattern", "^(?:com\\.tarnwick\\.WrenHelper|ZPKHelper)_.*\\.crash$"}},
  };
  EXPECT_EQ(tasks, expected);
}

TEST(LogTaskTable, TypesAreUnsigned) {
  for (const LogTask& task : makeLogTasks(kEveryCategory)) EXPECT_TRUE(task["type"].isUnsigned());
}

TEST(LogTaskTable, AMaskSelectsItsCategories) {
  EXPECT_EQ(paths(kSystemLogs).size(), 6U);
  EXPECT_THAT(paths(kProductLogs), ElementsAre("/var/log/", "/var/log/", "/var/log/wren.log", "/var/log/zpk.log"));
  EXPECT_THAT(paths(kCrashReports), ElementsAre("/Library/Logs/DiagnosticReports/"));
  EXPECT_EQ(paths(kSystemLogs | kCrashReports).size(), 7U);
}

TEST(LogTaskTable, NoBitAndBitsOfNoCategorySelectNothing) {
  EXPECT_THAT(paths(0), IsEmpty());
  EXPECT_THAT(paths(~std::uint64_t{7}), IsEmpty());
}

}  // namespace
}  // namespace zpk
