#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/time.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <thread>

#include "platform/posix/FileDescriptor.h"
#include "platform/posix/TaskRunner_posix.h"
#include "support/TemporaryFolder.h"

namespace zpk {
namespace {

std::string text(const Bytes& bytes) {
  return {bytes.begin(), bytes.end()};
}
Bytes bytes(std::string_view text) {
  return {text.begin(), text.end()};
}

TaskDescription shell(const std::string& script) {
  TaskDescription task;
  task.launchPath = "/bin/sh";
  task.arguments = {"-c", script};
  return task;
}

class PosixTaskRunnerTest : public testing::Test {
 protected:
  TaskResult run(const TaskDescription& task) {
    const auto result = runner.run(task);
    EXPECT_TRUE(result) << (result ? "" : result.error().reason);
    return result ? *result : TaskResult{TaskResult::Reason::exit, -1, {}, {}};
  }

  PosixTaskRunner runner;
  TemporaryFolder folder;
};

TEST_F(PosixTaskRunnerTest, GivesBothStreamsApartAndTheExitStatus) {
  const TaskResult result = run(shell("echo out; echo err >&2; exit 7"));
  EXPECT_EQ(result.reason, TaskResult::Reason::exit);
  EXPECT_EQ(result.status, 7);
  EXPECT_EQ(text(result.standardOutput), "out\n");
  EXPECT_EQ(text(result.standardError), "err\n");
}

TEST_F(PosixTaskRunnerTest, TellsTheSignalThatEndedTheProgram) {
  const TaskResult result = run(shell("kill -TERM $$"));
  EXPECT_EQ(result.reason, TaskResult::Reason::uncaughtSignal);
  EXPECT_EQ(result.status, SIGTERM);
}

TEST_F(PosixTaskRunnerTest, HandsArgumentsOverAsTheyStandWithoutAShell) {
  TaskDescription task;
  task.launchPath = "/usr/bin/printf";
  task.arguments = {"<%s>", "$HOME; ls *", "", "two words", "'\"\\"};
  EXPECT_EQ(text(run(task).standardOutput), "<$HOME; ls *><><two words><'\"\\>");
}

TEST_F(PosixTaskRunnerTest, FeedsStandardInputAndEndsIt) {
  TaskDescription task;
  task.launchPath = "/bin/cat";
  task.standardInput = bytes("fed");
  EXPECT_EQ(text(run(task).standardOutput), "fed");
  task.standardInput.clear();
  EXPECT_EQ(text(run(task).standardOutput), "");
}

TEST_F(PosixTaskRunnerTest, StreamsBeyondAnyPipesSizeBlockNoneOfTheThree) {
  TaskDescription task = shell("tee /dev/stderr");
  for (int i = 0; i < 3'000'000; ++i) task.standardInput.push_back(static_cast<std::uint8_t>(i % 251));
  const TaskResult result = run(task);
  EXPECT_EQ(result.status, 0);
  EXPECT_TRUE(result.standardOutput == task.standardInput);
  EXPECT_TRUE(result.standardError == task.standardInput);
}

TEST_F(PosixTaskRunnerTest, KeepsNoMoreOfAStreamThanItsLimitAndReadsOn) {
  TaskDescription task = shell("head -c 300000 /dev/zero; printf 123456 >&2; exit 3");
  task.outputLimit = 100'000;
  TaskResult result = run(task);
  EXPECT_EQ(result.status, 3) << "it could write all that it wanted";
  EXPECT_EQ(result.standardOutput.size(), 100'000U);
  EXPECT_EQ(text(result.standardError), "123456");
  task.outputLimit = 5;
  result = run(task);
  EXPECT_EQ(text(result.standardError), "12345");
  EXPECT_EQ(result.standardOutput.size(), 5U);
}

TEST_F(PosixTaskRunnerTest, OneStreamMayEndLongBeforeTheOther) {
  const TaskResult result = run(shell("exec 2>&-; head -c 1000000 /dev/zero"));
  EXPECT_EQ(result.standardOutput.size(), 1'000'000u);
  EXPECT_EQ(result.standardError.size(), 0u);
}

TEST_F(PosixTaskRunnerTest, AProgramThatDoesNotTakeItsInputIsNoError) {
  TaskDescription task = shell("exec 0<&-; echo done");
  task.standardInput = Bytes(1'000'000, 'x');
  const TaskResult result = run(task);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(text(result.standardOutput), "done\n");
}

TEST_F(PosixTaskRunnerTest, RunsInTheFolderGiven) {
  TaskDescription task = shell("pwd -P");
  task.currentDirectory = folder.path();
  EXPECT_EQ(text(run(task).standardOutput), std::filesystem::canonical(folder.path()).string() + "\n");
}

TEST_F(PosixTaskRunnerTest, WritesStreamsToFilesThatItEmptiesBefore) {
  folder.put("out", "something longer from before");
  TaskDescription task = shell("echo out; echo err >&2");
  task.standardOutputPath = folder.path("out");
  task.standardErrorPath = folder.path("err");
  const TaskResult result = run(task);
  EXPECT_EQ(folder.get("out"), "out\n");
  EXPECT_EQ(folder.get("err"), "err\n");
  EXPECT_EQ(result.standardOutput.size() + result.standardError.size(), 0u);
}

TEST_F(PosixTaskRunnerTest, BothStreamsShareAFileThatBothName) {
  TaskDescription task = shell("echo 1; echo 2 >&2; echo 3");
  task.standardOutputPath = task.standardErrorPath = folder.path("log");
  run(task);
  EXPECT_EQ(folder.get("log"), "1\n2\n3\n");
}

TEST_F(PosixTaskRunnerTest, ReadsOnUntilADescendantClosesTheStreamToo) {
  ASSERT_EQ(::mkfifo(folder.path("go").c_str(), 0600), 0);
  TaskDescription task = shell("echo early; (read line < go; echo late) &");
  task.currentDirectory = folder.path();
  std::thread goer([&] { folder.put("go", "\n"); });
  const TaskResult result = run(task);
  goer.join();
  EXPECT_EQ(text(result.standardOutput), "early\nlate\n");
}

TEST_F(PosixTaskRunnerTest, WhatCannotBeStartedIsAnErrorThatSaysWhy) {
  folder.put("not-executable", "x");
  const auto reason = [&](const TaskDescription& task) {
    const auto result = runner.run(task);
    EXPECT_FALSE(result);
    return result ? "" : result.error().reason;
  };
  TaskDescription task;
  task.launchPath = "/missing/tool";
  EXPECT_EQ(reason(task), "/missing/tool: No such file or directory");
  task.launchPath = folder.path("not-executable");
  EXPECT_EQ(reason(task), task.launchPath + ": Permission denied");
  task.launchPath = "true";
  EXPECT_EQ(reason(task), "true: Invalid argument") << "no look-up in PATH";
  task.launchPath = "/bin/true";
  task.currentDirectory = folder.path("missing");
  EXPECT_EQ(reason(task), "/bin/true: No such file or directory");
  task.currentDirectory.clear();
  task.arguments = {std::string("a\0b", 3)};
  EXPECT_EQ(reason(task), "/bin/true: Invalid argument");
  task.arguments.clear();
  task.standardErrorPath = folder.path("missing/err");
  EXPECT_EQ(reason(task), task.standardErrorPath + ": No such file or directory");
}

TEST_F(PosixTaskRunnerTest, TheProgramInheritsNoDescriptorAndNoSignalSetting) {
  const FileDescriptor careless(::open("/dev/null", O_RDONLY));
  sigset_t blocked;
  sigset_t before;
  ::sigemptyset(&blocked);
  ::sigaddset(&blocked, SIGUSR1);
  ::pthread_sigmask(SIG_BLOCK, &blocked, &before);
  const auto handler = std::signal(SIGPIPE, SIG_IGN);
  TaskDescription task;
  task.launchPath = "/bin/cat";
  task.arguments = {"/proc/self/status"};
  const std::string status = text(run(task).standardOutput);
  task.launchPath = "/bin/ls";
  task.arguments = {"/proc/self/fd"};
  const std::string open = text(run(task).standardOutput);
  std::signal(SIGPIPE, handler);
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
  EXPECT_THAT(status, testing::HasSubstr("SigBlk:\t0000000000000000"));
  // A digit for each four signals, SIGPIPE and its neighbours the fourth from the right.
  const std::size_t ignored = status.find("SigIgn:\t");
  ASSERT_NE(ignored, std::string::npos);
  EXPECT_EQ(status[ignored + 8 + 12], '0');
  EXPECT_EQ(open, "0\n1\n2\n3\n") << "3 is the folder being listed";
}

TEST_F(PosixTaskRunnerTest, TheCallersSignalsAreAsBeforeAfterAnUntakenInput) {
  TaskDescription task = shell("exec 0<&-");
  task.standardInput = Bytes(1'000'000, 'x');
  run(task);
  sigset_t pending;
  sigset_t blocked;
  ASSERT_EQ(::sigpending(&pending), 0);
  ASSERT_EQ(::pthread_sigmask(SIG_SETMASK, nullptr, &blocked), 0);
  EXPECT_EQ(::sigismember(&pending, SIGPIPE), 0);
  EXPECT_EQ(::sigismember(&blocked, SIGPIPE), 0);
}

std::atomic<int> alarms{0};

TEST_F(PosixTaskRunnerTest, SignalsThatInterruptItDoNotDisturbIt) {
  struct sigaction quick {};
  struct sigaction before {};
  quick.sa_handler = [](int) { ++alarms; };  // no SA_RESTART: every wait is interrupted
  ASSERT_EQ(::sigaction(SIGALRM, &quick, &before), 0);
  const itimerval everyMillisecond{{0, 1000}, {0, 1000}};
  const itimerval never{};
  ::setitimer(ITIMER_REAL, &everyMillisecond, nullptr);
  TaskDescription task = shell("head -c 3000000 /dev/zero; cat >&2");
  task.standardInput = Bytes(300'000, 'i');
  TaskResult result;
  do {
    result = run(task);
  } while (alarms < 20 && result.status == 0);
  ::setitimer(ITIMER_REAL, &never, nullptr);
  ::sigaction(SIGALRM, &before, nullptr);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.standardOutput.size(), 3'000'000u);
  EXPECT_EQ(result.standardError.size(), 300'000u);
}

TEST_F(PosixTaskRunnerTest, RunsManyAtOnceWithoutOneHoldingTheOthersStreams) {
  std::vector<std::thread> threads;
  std::atomic<int> right{0};
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&, i] {
      for (int round = 0; round < 10; ++round) {
        TaskDescription task;
        task.launchPath = "/bin/cat";
        task.standardInput = Bytes(100'000, static_cast<std::uint8_t>('a' + i));
        const auto result = runner.run(task);
        right += result && result->standardOutput == task.standardInput ? 1 : 0;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(right, 80);
}

}  // namespace
}  // namespace zpk
