#include "schedule/TMBLaunchctlManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/ScriptedTaskRunner.h"

namespace zpk {
namespace {

using testing::ElementsAre;

// Runs one operation against a launcher that ends as `result` says.
class LaunchctlManager : public testing::Test {
 protected:
  const TaskDescription& onlyTask() {
    _seen = tasks.tasks();
    EXPECT_EQ(_seen.size(), 1u);
    return _seen.at(0);
  }
  void prints(std::string_view text) { result.standardOutput = Bytes(text.begin(), text.end()); }

  TaskResult result;
  std::optional<TaskError> error;
  ScriptedTaskRunner tasks{[this](const TaskDescription&) -> Expected<TaskResult, TaskError> {
    if (error) return *error;
    return result;
  }};
  const TMBLaunchctlManager launchctl{tasks, "/bin/launchctl"};

 private:
  std::vector<TaskDescription> _seen;
};

constexpr std::string_view kInfo = R"({ "Label" = "com.tarnwick.zpkauto"; "PID" = <*I42>; })";

TEST_F(LaunchctlManager, AsksForAJobByItsLabelAndDropsWhatIsPrinted) {
  EXPECT_TRUE(launchctl.isJobEnabled("com.tarnwick.zpkauto"));
  EXPECT_EQ(onlyTask().launchPath, "/bin/launchctl");
  EXPECT_THAT(onlyTask().arguments, ElementsAre("list", "com.tarnwick.zpkauto"));
  EXPECT_EQ(onlyTask().standardOutputPath, "/dev/null");
  EXPECT_EQ(onlyTask().standardErrorPath, "/dev/null");
  EXPECT_TRUE(onlyTask().standardInput.empty());
}

TEST_F(LaunchctlManager, CapturesWhatIsPrintedOnlyForTheInformation) {
  prints(kInfo);
  const auto info = launchctl.infoForJobWithLabel("a label; of two words");
  ASSERT_TRUE(info);
  EXPECT_EQ((*info)["PID"], 42);
  EXPECT_THAT(onlyTask().arguments, ElementsAre("list", "-x", "a label; of two words"));
  EXPECT_EQ(onlyTask().standardOutputPath, "");
  EXPECT_EQ(onlyTask().standardErrorPath, "/dev/null");
}

TEST_F(LaunchctlManager, LoadsForThePresentLogin) {
  launchctl.load(true, "/a b.plist");
  EXPECT_THAT(onlyTask().arguments, ElementsAre("load", "/a b.plist"));
  EXPECT_EQ(onlyTask().standardOutputPath, "/dev/null");
}

TEST_F(LaunchctlManager, UnloadsForThePresentLogin) {
  launchctl.load(false, "/a b.plist");
  EXPECT_THAT(onlyTask().arguments, ElementsAre("unload", "/a b.plist"));
}

TEST_F(LaunchctlManager, EnablesForTheLoginsToCome) {
  launchctl.enable(true, "/a b.plist");
  EXPECT_THAT(onlyTask().arguments, ElementsAre("load", "-w", "/a b.plist"));
}

TEST_F(LaunchctlManager, DisablesForTheLoginsToCome) {
  launchctl.enable(false, "/a b.plist");
  EXPECT_THAT(onlyTask().arguments, ElementsAre("unload", "-w", "/a b.plist"));
  EXPECT_EQ(onlyTask().standardOutputPath, "/dev/null");
}

TEST_F(LaunchctlManager, TakesAnExitWithAnotherStatusForANo) {
  prints(kInfo);
  for (const std::int32_t status : {1, 2, 113, 255}) {
    result.status = status;
    EXPECT_FALSE(launchctl.isJobEnabled("a"));
    EXPECT_FALSE(launchctl.infoForJobWithLabel("a"));
  }
}

TEST_F(LaunchctlManager, TakesADeathByASignalForANoWhateverItsNumber) {
  prints(kInfo);
  result.reason = TaskResult::Reason::uncaughtSignal;
  for (const std::int32_t number : {0, 9, 15}) {
    result.status = number;
    EXPECT_FALSE(launchctl.isJobEnabled("a"));
    EXPECT_FALSE(launchctl.infoForJobWithLabel("a"));
  }
}

TEST_F(LaunchctlManager, TakesAToolThatDoesNotStartForANo) {
  error = TaskError{"No such file or directory"};
  EXPECT_FALSE(launchctl.isJobEnabled("a"));
  EXPECT_FALSE(launchctl.infoForJobWithLabel("a"));
  launchctl.load(true, "/a");
  launchctl.load(false, "/a");
  launchctl.enable(true, "/a");
  launchctl.enable(false, "/a");
  EXPECT_EQ(tasks.tasks().size(), 6u);
}

TEST_F(LaunchctlManager, GivesNoInformationForWhatIsNoDictionary) {
  for (const std::string_view printed :
       {"", "(a, b)", "\"text\"", "{ a = ", "<plist version=\"1.0\"><array/></plist>", "\n",
        "<plist version=\"1.0\"><string>a</string></plist>", "bplist00", "\xff\xfe"}) {
    prints(printed);
    EXPECT_FALSE(launchctl.infoForJobWithLabel("a")) << printed;
  }
}

TEST_F(LaunchctlManager, GivesNoInformationBeyondAMebibyte) {
  std::string printed(kInfo);
  printed.resize(1 << 20, '\n');
  prints(printed);
  EXPECT_TRUE(launchctl.infoForJobWithLabel("a"));
  EXPECT_EQ(onlyTask().outputLimit, printed.size() + 1) << "one more, by which it is seen that there is more";
  prints(printed + "\n");
  EXPECT_FALSE(launchctl.infoForJobWithLabel("a"));
}

TEST_F(LaunchctlManager, ReadsADictionaryInAnyForm) {
  using std::string_view_literals::operator""sv;
  for (
      const std::string_view printed :
      {kInfo,
       R"(<?xml version="1.0"?><plist version="1.0"><dict><key>PID</key><integer>42</integer></dict></plist>)"sv,
       "bplist00\xd1\x01\x02SPID\x10\x2a\x08\x0b\x0f\0\0\0\0\0\0\x01\x01\0\0\0\0\0\0\0\x03\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x11"sv}) {
    prints(printed);
    const auto info = launchctl.infoForJobWithLabel("a");
    ASSERT_TRUE(info) << printed;
    EXPECT_EQ((*info)["PID"], 42);
  }
}

}  // namespace
}  // namespace zpk
