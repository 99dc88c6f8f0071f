#include "helper/process/ToolRunner.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/landlock.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <sstream>
#include <thread>

namespace zpk {
namespace {

using std::chrono::milliseconds;

ToolCommand shell(const std::string& script) {
  ToolCommand command;
  command.executable = "/bin/sh";
  command.arguments = {"-c", script};
  return command;
}

ToolResult runAlone(const ToolCommand& command) {
  const CancelFlag cancel;
  Expected<ToolResult, ToolStartError> result = runTool(command, cancel);
  EXPECT_TRUE(result.hasValue());
  return result ? *result : ToolResult{ToolEnd::Signalled, -1, {}, {}};
}

// Waits on a condition with a deadline, in case the machine is busy.
template <class Condition>
bool eventually(Condition condition) {
  for (int i = 0; i < 1000; ++i) {
    if (condition()) return true;
    std::this_thread::sleep_for(milliseconds(10));
  }
  return false;
}

std::string temporaryPath(const std::string& name) {
  return testing::TempDir() + name + "-" + std::to_string(::getpid());
}

std::string contentOf(const std::string& path) {
  std::stringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

TEST(ToolRunner, BothStreamsAndTheExitStatusAreCollected) {
  const ToolResult result = runAlone(shell("printf out; printf err >&2; exit 14"));
  EXPECT_EQ(result.end, ToolEnd::Exited);
  EXPECT_EQ(result.status, 14);
  EXPECT_EQ(result.output, "out");
  EXPECT_EQ(result.errors, "err");
  EXPECT_FALSE(result.succeeded());
}

TEST(ToolRunner, ArgumentsArriveUntouchedByAnyShell) {
  ToolCommand command{"/usr/bin/printf", {"%s|", "a b", "$HOME", "*", ""}, {}, ToolAccess::ReadsOnly, {}};
  EXPECT_EQ(runAlone(command).output, "a b|$HOME|*||");
}

TEST(ToolRunner, TheEnvironmentIsEmpty) {
  ASSERT_EQ(::setenv("ZPK_SECRET", "1", 1), 0);
  const ToolCommand command{"/usr/bin/env", {}, {}, ToolAccess::ReadsOnly, {}};
  EXPECT_EQ(runAlone(command).output, "");
}

TEST(ToolRunner, StandardInputIsEmptyAndNoOtherDescriptorIsInherited) {
  ASSERT_EQ(::dup2(STDERR_FILENO, 77), 77);  // Without close-on-exec, as a careless library would.
  const ToolResult result = runAlone(shell("cat; cd /proc/self/fd && echo *"));
  ::close(77);
  EXPECT_EQ(result.output, "0 1 2 3\n");  // 3 is the shell reading that very folder.
}

TEST(ToolRunner, AMissingToolIsAnErrorValueWithTheReason) {
  const CancelFlag cancel;
  const auto result = runTool({"/nonexistent/tool", {}, {}, ToolAccess::ReadsOnly, {}}, cancel);
  ASSERT_FALSE(result.hasValue());
  EXPECT_EQ(result.error().errorNumber, ENOENT);
  EXPECT_EQ(result.error().text(), "/nonexistent/tool could not be started: No such file or directory");
}

TEST(ToolRunner, ARelativePathIsNeverSearchedFor) {
  const CancelFlag cancel;
  EXPECT_FALSE(runTool({"true", {}, {}, ToolAccess::ReadsOnly, {}}, cancel).hasValue());
}

TEST(ToolRunner, ADyingToolReportsItsSignal) {
  const ToolResult result = runAlone(shell("kill -SEGV $$"));
  EXPECT_EQ(result.end, ToolEnd::Signalled);
  EXPECT_EQ(result.status, SIGSEGV);
}

TEST(ToolRunner, AToolThatHangsIsEndedAfterItsTime) {
  ToolCommand command = shell("echo before; exec sleep 1000");
  command.limits.wallClock = milliseconds(200);
  const ToolResult result = runAlone(command);
  EXPECT_EQ(result.end, ToolEnd::TimedOut);
  EXPECT_EQ(result.output, "before\n");
}

TEST(ToolRunner, ARaisedFlagEndsARunningTool) {
  const std::string started = temporaryPath("started");
  ToolCommand command = shell("echo x > " + started + "; exec sleep 1000");
  command.access = ToolAccess::ReadsAndWrites;
  CancelFlag cancel;
  std::thread asker([&] {
    eventually([&] { return ::access(started.c_str(), F_OK) == 0; });
    cancel.request();
  });
  const auto result = runTool(command, cancel);
  asker.join();
  ::unlink(started.c_str());
  ASSERT_TRUE(result.hasValue());
  EXPECT_EQ(result->end, ToolEnd::Cancelled);
}

TEST(ToolRunner, AnAlreadyRaisedFlagStartsNothing) {
  const std::string mark = temporaryPath("mark");
  ToolCommand command = shell("echo x > " + mark);
  command.access = ToolAccess::ReadsAndWrites;
  CancelFlag cancel;
  cancel.request();
  const auto result = runTool(command, cancel);
  ASSERT_TRUE(result.hasValue());
  EXPECT_EQ(result->end, ToolEnd::Cancelled);
  EXPECT_NE(::access(mark.c_str(), F_OK), 0);
}

TEST(ToolRunner, EndlessOutputIsCutOff) {
  ToolCommand command = shell("exec cat /dev/zero");
  command.limits.outputBytes = 100'000;
  const ToolResult result = runAlone(command);
  EXPECT_EQ(result.end, ToolEnd::OutputTooLong);
  EXPECT_LE(result.output.size(), 100'000U);
}

TEST(ToolRunner, ErrorOutputBeyondItsCapIsDroppedAndTheToolGoesOn) {
  ToolCommand command = shell("head -c 1000000 /dev/zero >&2; echo done");
  command.limits.errorBytes = 1000;
  const ToolResult result = runAlone(command);
  EXPECT_TRUE(result.succeeded());
  EXPECT_EQ(result.errors.size(), 1000U);
  EXPECT_EQ(result.output, "done\n");
}

TEST(ToolRunner, ASinkTakesTheOutputAndMayEndTheTool) {
  std::size_t taken = 0;
  ToolCommand command = shell("head -c 300000 /dev/zero");
  command.sink = [&](std::string_view piece) {
    taken += piece.size();
    return true;
  };
  EXPECT_TRUE(runAlone(command).succeeded());
  EXPECT_EQ(taken, 300'000U);

  command = shell("exec cat /dev/zero");
  command.limits.outputBytes = SIZE_MAX;
  command.sink = [](std::string_view) { return false; };
  EXPECT_EQ(runAlone(command).end, ToolEnd::SinkRefused);
}

TEST(ToolRunner, MemoryBeyondTheLimitIsRefused) {
  ToolCommand command = shell("exec head -c 1 /dev/zero");
  command.limits.memoryBytes = 100'000;  // Too little for any program to load.
  EXPECT_FALSE(runAlone(command).succeeded());
}

TEST(ToolRunner, ABusyLoopIsEndedByItsProcessorTime) {
  ToolCommand command = shell("while :; do :; done");
  command.limits.cpuSeconds = 1;
  const ToolResult result = runAlone(command);
  EXPECT_EQ(result.end, ToolEnd::Signalled);
}

TEST(ToolRunner, GrandchildrenDoNotOutliveTheRun) {
  const std::string note = temporaryPath("grandchild");
  ToolCommand command = shell("sleep 1000 & echo $! > " + note);
  command.access = ToolAccess::ReadsAndWrites;
  EXPECT_TRUE(runAlone(command).succeeded());
  const int grandchild = std::stoi(contentOf(note));
  ::unlink(note.c_str());
  const std::string state = "/proc/" + std::to_string(grandchild) + "/stat";
  EXPECT_TRUE(eventually([&] {
    const std::string text = contentOf(state);
    return text.empty() || text.find(") Z ") != std::string::npos;
  }));
}

TEST(ToolRunner, AReadingToolHasNoCapabilityButReading) {
  const ToolResult result = runAlone(shell("grep -E 'CapEff|NoNewPrivs' /proc/self/status"));
  if (::geteuid() == 0) {
    EXPECT_EQ(result.output, "CapEff:\t0000000000000004\nNoNewPrivs:\t1\n");
  } else {
    EXPECT_EQ(result.output, "CapEff:\t0000000000000000\nNoNewPrivs:\t1\n");
  }
}

TEST(ToolRunner, AReadingToolChangesNoFileEvenOfItsOwnUser) {
  if (::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) < 1) {
    GTEST_SKIP() << "this kernel cannot forbid it";
  }
  const std::string path = temporaryPath("precious");
  std::ofstream(path) << "content";
  EXPECT_FALSE(runAlone(shell("echo x > " + path)).succeeded());
  EXPECT_FALSE(runAlone(shell("rm " + path)).succeeded());
  EXPECT_FALSE(runAlone(shell("echo x > " + path + "-new")).succeeded());
  EXPECT_TRUE(runAlone(shell("cat " + path + " > /dev/null")).succeeded());
  EXPECT_EQ(contentOf(path), "content");
  ::unlink(path.c_str());
}

TEST(ToolRunner, AReadingToolMayBeGivenOneFileToWrite) {
  const std::string path = temporaryPath("its-own");
  const std::string other = temporaryPath("not-its-own");
  std::ofstream(path) << "before";
  std::ofstream(other) << "content";
  ToolCommand command = shell("echo x > " + path + "; echo x > " + other);
  command.writable = path;
  const ToolResult result = runAlone(command);
  EXPECT_EQ(contentOf(path), "x\n");
  if (::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) >= 1) {
    EXPECT_FALSE(result.succeeded());
    EXPECT_EQ(contentOf(other), "content");
  }
  ::unlink(path.c_str());
  ::unlink(other.c_str());
}

TEST(ToolRunner, ManyRunsLeakNoDescriptor) {
  const int before = ::open("/dev/null", O_RDONLY);
  ::close(before);
  for (int i = 0; i < 20; ++i) runAlone(shell("true"));
  const int after = ::open("/dev/null", O_RDONLY);
  ::close(after);
  EXPECT_EQ(before, after);
}

}  // namespace
}  // namespace zpk
