// The job launcher's tool as a process of its own: scripts that behave in one way or the other.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "platform/posix/TaskRunner_posix.h"
#include "schedule/TMBLaunchctlManager.h"
#include "support/TemporaryFolder.h"

namespace zpk {
namespace {

constexpr std::string_view kInfo =
    "echo '<?xml version=\"1.0\"?><plist "
    "version=\"1.0\"><dict><key>PID</key><integer>42</integer></dict></plist>'\n";

class LaunchctlProcess : public testing::Test {
 protected:
  // The tool that runs these shell commands, with its arguments noted.
  void script(std::string_view commands) {
    folder.put("launchctl", "#!/bin/sh\nprintf '%s\\n' \"$@\" >" + folder.path("arguments") + "\n" +
                                std::string(commands) + "\n");
    std::filesystem::permissions(folder.path("launchctl"), std::filesystem::perms::owner_all);
  }
  bool isEnabled() const { return launchctl.isJobEnabled("a"); }
  std::optional<Dictionary> info() const { return launchctl.infoForJobWithLabel("a"); }

  TemporaryFolder folder;
  PosixTaskRunner tasks;
  TMBLaunchctlManager launchctl{tasks, folder.path("launchctl")};
};

TEST_F(LaunchctlProcess, SucceedsWithTheStatusZeroAlone) {
  script("exit 0");
  EXPECT_TRUE(isEnabled());
  script("exit 1");
  EXPECT_FALSE(isEnabled());
  script("kill -TERM $$");
  EXPECT_FALSE(isEnabled());
  script("kill -KILL $$");
  EXPECT_FALSE(isEnabled());
}

TEST_F(LaunchctlProcess, IsANoWhenItIsMissingOrNoProgram) {
  EXPECT_FALSE(isEnabled());
  EXPECT_FALSE(info());
  folder.put("launchctl", "no program");
  EXPECT_FALSE(isEnabled());
  launchctl.load(true, "/a");
  launchctl.enable(false, "/a");
}

TEST_F(LaunchctlProcess, GetsItsArgumentsAsTheyAre) {
  script("exit 0");
  launchctl.enable(true, "/a b/$HOME;'\"*.plist");
  EXPECT_EQ(folder.get("arguments"), "load\n-w\n/a b/$HOME;'\"*.plist\n");
}

TEST_F(LaunchctlProcess, TellsOfAJob) {
  script(kInfo);
  const auto told = info();
  ASSERT_TRUE(told);
  EXPECT_EQ((*told)["PID"], 42);
  EXPECT_EQ(folder.get("arguments"), "list\n-x\na\n");
}

TEST_F(LaunchctlProcess, TellsNothingWhenItFailsWhateverItPrinted) {
  script(std::string(kInfo) + "exit 1");
  EXPECT_FALSE(info());
  script(std::string(kInfo) + "kill -TERM $$");
  EXPECT_FALSE(info());
  script("exit 0");
  EXPECT_FALSE(info());
}

TEST_F(LaunchctlProcess, TellsOfAJobAtMoreLengthThanAPipeHolds) {
  // A tool that waits for its reader must not be waited for.
  script("echo '{ a = \"'; head -c 500000 /dev/zero | tr '\\0' x; echo '\"; }'");
  const auto told = info();
  ASSERT_TRUE(told);
  EXPECT_GT((*told)["a"].textOr("").size(), 500000u);
}

TEST_F(LaunchctlProcess, TellsNothingWhenItFloods) {
  script("echo '{ a = b; }'; head -c 20000000 /dev/zero | tr '\\0' ' '");
  EXPECT_FALSE(info());
}

TEST_F(LaunchctlProcess, PrintsNothingIntoTheProgramsOwnStreams) {
  script("echo out; echo error >&2; cat; exit 0");
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  EXPECT_TRUE(isEnabled());
  EXPECT_FALSE(info());
  launchctl.load(true, "/a");
  launchctl.enable(false, "/a");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
}  // namespace zpk
