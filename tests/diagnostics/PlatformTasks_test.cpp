#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "platform/linux/diagnostics/LogTasks_linux.h"

namespace zpk {
namespace {

std::string nameOf(const LogTask& task) {
  const std::string path = task["path"].textOr("");
  return path.substr(path.rfind('/') + 1);
}

TEST(PlatformLogTasks, AreRowsOfTheTablesForm) {
  EXPECT_FALSE(platformLogTasks().empty());
  for (const LogTask& task : platformLogTasks()) {
    EXPECT_TRUE(task["type"].isUnsigned());
    EXPECT_EQ(task["path"].textOr("").find('/'), 0U);
    const bool runs = task["type"].unsignedIntegerValue() == static_cast<std::uint64_t>(LogTaskKind::runTool);
    EXPECT_EQ(task["args"].array() != nullptr, runs);
    if (!runs) continue;
    for (const Value& argument : *task["args"].array()) EXPECT_NE(argument.textOr(""), "");
  }
}

TEST(PlatformLogTasks, WriteNoFileThatTheTableWrites) {
  std::set<std::string> names;
  for (const LogTask& task : makeLogTasks(kEveryCategory)) names.insert(nameOf(task));
  for (const LogTask& task : platformLogTasks()) EXPECT_FALSE(names.contains(nameOf(task))) << nameOf(task);
}

}  // namespace
}  // namespace zpk
