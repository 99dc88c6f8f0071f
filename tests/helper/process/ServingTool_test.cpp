#include "helper/process/ServingTool.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <thread>

namespace zpk {
namespace {

using std::chrono::milliseconds;

ToolCommand shell(const std::string& script) {
  ToolCommand command;
  command.executable = "/bin/sh";
  command.arguments = {"-c", script};
  command.access = ToolAccess::ReadsAndWrites;
  return command;
}

template <class Condition>
bool eventually(Condition condition) {
  for (int i = 0; i < 1000; ++i) {
    if (condition()) return true;
    std::this_thread::sleep_for(milliseconds(10));
  }
  return false;
}

bool isThere(pid_t pid) {
  return ::kill(pid, 0) == 0;
}

class ServingToolTest : public testing::Test {
 protected:
  void TearDown() override { std::filesystem::remove(note); }

  // Leaves a note when it is asked to end.
  std::string politeScript() const {
    return "trap 'echo asked >" + note + "; exit' TERM; echo ready; while :; do sleep 0.05; done";
  }

  const CancelFlag never{};
  const std::string note = testing::TempDir() + "serving-tool-note-" + std::to_string(::getpid());
};

TEST_F(ServingToolTest, ServesOnceItSaidSoAndIsAskedToEnd) {
  pid_t pid = -1;
  {
    const auto tool = ServingTool::start(shell(politeScript()), never);
    ASSERT_TRUE(tool.hasValue()) << tool.error().errors;
    pid = tool->pid();
    EXPECT_TRUE(tool->isRunning());
    EXPECT_FALSE(std::filesystem::exists(note));
  }
  EXPECT_FALSE(isThere(pid));
  EXPECT_TRUE(std::filesystem::exists(note));
}

TEST_F(ServingToolTest, OneThatDoesNotEndIsKilledWithItsGroup) {
  pid_t pid = -1;
  {
    const auto tool = ServingTool::start(shell("trap '' TERM; sleep 1000 & echo ready; wait; sleep 1000"), never);
    ASSERT_TRUE(tool.hasValue());
    pid = tool->pid();
  }
  EXPECT_FALSE(isThere(pid));
  EXPECT_TRUE(eventually([pid] { return ::kill(-pid, 0) != 0; })) << "a grandchild is left";
}

TEST_F(ServingToolTest, OneThatEndsBeforeItIsReadySaysWhy) {
  const auto tool = ServingTool::start(shell("echo no such image >&2; exit 1"), never);
  ASSERT_FALSE(tool.hasValue());
  EXPECT_EQ(tool.error().end, ToolEnd::Exited);
  EXPECT_EQ(tool.error().startError, 0);
  EXPECT_EQ(tool.error().errors, "no such image");
}

TEST_F(ServingToolTest, OneThatIsNotInstalledIsToldFromOneThatFails) {
  ToolCommand command;
  command.executable = "/usr/bin/no-such-tool";
  const auto tool = ServingTool::start(command, never);
  ASSERT_FALSE(tool.hasValue());
  EXPECT_EQ(tool.error().startError, ENOENT);
}

TEST_F(ServingToolTest, TheWaitForOneThatIsNeverReadyIsBounded) {
  ToolCommand command = shell("sleep 1000");
  command.limits.wallClock = milliseconds(100);
  const auto tool = ServingTool::start(command, never);
  ASSERT_FALSE(tool.hasValue());
  EXPECT_EQ(tool.error().end, ToolEnd::TimedOut);
}

TEST_F(ServingToolTest, AWishToStopEndsTheWait) {
  CancelFlag cancel;
  std::thread wish([&cancel] { cancel.request(); });
  const auto tool = ServingTool::start(shell("sleep 1000"), cancel);
  wish.join();
  ASSERT_FALSE(tool.hasValue());
  EXPECT_EQ(tool.error().end, ToolEnd::Cancelled);
}

TEST_F(ServingToolTest, OneThatDiesIsSeenToHaveDied) {
  const auto tool = ServingTool::start(shell("echo ready; sleep 1000"), never);
  ASSERT_TRUE(tool.hasValue());
  ::kill(tool->pid(), SIGKILL);
  EXPECT_TRUE(eventually([&tool] { return !tool->isRunning(); }));
}

TEST_F(ServingToolTest, IsAskedToEndWhenItsParentIsKilled) {
  const pid_t parent = ::fork();
  if (parent == 0) {
    const auto tool = ServingTool::start(shell(politeScript()), never);
    if (tool) ::raise(SIGKILL);
    ::_exit(1);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(parent, &status, 0), parent);
  ASSERT_TRUE(WIFSIGNALED(status)) << "the tool did not start";
  EXPECT_TRUE(eventually([this] { return std::filesystem::exists(note); }));
}

TEST_F(ServingToolTest, GetsTheDescriptorThatItIsHandedAndNoOther) {
  const std::string path = note;
  std::ofstream(path) << "handed";
  for (const int lowest : {3, 9}) {
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    const FileDescriptor handed(::fcntl(file.get(), F_DUPFD_CLOEXEC, lowest));
    ToolCommand command = shell("cat <&3; ls /proc/self/fd | wc -w >&2");
    command.handed = handed.get();
    const auto result = runTool(command, never);
    ASSERT_TRUE(result.hasValue());
    EXPECT_EQ(result->output, "handed");
    // Its streams, the handed one and that of ls for the folder.
    EXPECT_EQ(result->errors, "5\n");
  }
}

}  // namespace
}  // namespace zpk
