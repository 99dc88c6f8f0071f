#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "ProcessStates.h"
#include "platform/posix/TaskRunner_posix.h"
#include "support/TemporaryFolder.h"

namespace zpk {
namespace {

using Reason = LoggedTaskEnd::Reason;
using std::chrono::milliseconds;

constexpr TaskLimits kWide{std::chrono::minutes(1), 1'000'000};
constexpr TaskLimits kHasty{milliseconds(500), 1000, milliseconds(200)};

LoggedTask shell(const std::string& script) {
  return {"/bin/sh", {"-c", script}};
}

class PosixTaskLogTest : public testing::Test {
 protected:
  std::unique_ptr<TaskLog> open() {
    auto log = runner.openLog(folder.path("log"));
    EXPECT_TRUE(log) << (log ? "" : log.error().reason);
    return log ? std::move(*log) : nullptr;
  }
  LoggedTaskEnd run(const LoggedTask& task, const TaskLimits& limits = kWide) {
    const auto end = open()->run(task, limits);
    EXPECT_TRUE(end) << (end ? "" : end.error().reason);
    return end ? *end : LoggedTaskEnd{Reason::exit, -1};
  }

  PosixTaskRunner runner;
  TemporaryFolder folder;
};

TEST_F(PosixTaskLogTest, AddsToWhatThereIs) {
  folder.put("log", "before\n");
  const auto log = open();
  log->append("head\n");
  ASSERT_TRUE(log->run(shell("echo out; echo err >&2; echo out again"), kWide));
  log->append("foot\n");
  EXPECT_EQ(folder.get("log"), "before\nhead\nout\nerr\nout again\nfoot\n");
}

TEST_F(PosixTaskLogTest, TwoThatHaveTheLogOpenWriteOverNothingOfEachOther) {
  const auto one = open();
  const auto other = open();
  one->append("1");
  other->append("2");
  one->append("3");
  EXPECT_EQ(folder.get("log"), "123");
}

TEST_F(PosixTaskLogTest, AFreshLogIsForOwnerAndGroupAlone) {
  const mode_t before = ::umask(0);
  open();
  ::umask(before);
  struct stat facts {};
  ASSERT_EQ(::stat(folder.path("log").c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mode & 07777, 0660U);
}

TEST_F(PosixTaskLogTest, WritesToNothingButAPlainFileThatIsNoLink) {
  folder.put("precious", "as it was");
  std::filesystem::create_symlink("precious", folder.path("link"));
  std::filesystem::create_symlink("nowhere", folder.path("dangling"));
  ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
  std::filesystem::create_directory(folder.path("folder"));
  for (const char* name : {"link", "dangling", "pipe", "folder", "missing/log"}) {
    const auto log = runner.openLog(folder.path(name));
    ASSERT_FALSE(log) << name;
    EXPECT_EQ(log.error().path, folder.path(name));
  }
  EXPECT_FALSE(runner.openLog("/dev/null"));
  EXPECT_FALSE(runner.openLog(std::string("/tmp/a\0b", 8)));
  EXPECT_EQ(folder.get("precious"), "as it was");
  EXPECT_FALSE(std::filesystem::exists(folder.path("nowhere")));
}

TEST_F(PosixTaskLogTest, TellsHowTheProgramEnded) {
  LoggedTaskEnd end = run(shell("exit 7"));
  EXPECT_EQ(end.reason, Reason::exit);
  EXPECT_EQ(end.status, 7);
  end = run(shell("kill -9 $$"));
  EXPECT_EQ(end.reason, Reason::uncaughtSignal);
  EXPECT_EQ(end.status, SIGKILL);
}

TEST_F(PosixTaskLogTest, GivesTheProgramNothingToReadAndTheCallersFolder) {
  run(shell("cat; pwd -P"));
  EXPECT_EQ(folder.get("log"), std::filesystem::canonical(".").string() + "\n");
}

TEST_F(PosixTaskLogTest, WhatCannotBeStartedIsAnErrorThatSaysWhy) {
  const auto log = open();
  const auto end = log->run({"/missing/tool", {}}, kWide);
  ASSERT_FALSE(end);
  EXPECT_EQ(end.error().reason, "/missing/tool: No such file or directory");
  EXPECT_EQ(log->run({"true", {}}, kWide).error().reason, "true: Invalid argument");
  EXPECT_EQ(folder.get("log"), "");
}

TEST_F(PosixTaskLogTest, AProgramThatHangsIsEnded) {
  const LoggedTaskEnd end = run(shell("echo $$; exec sleep 1000"), kHasty);
  EXPECT_EQ(end.reason, Reason::timeLimit);
  const std::string process = folder.get("log");
  ASSERT_NE(process, "");
  EXPECT_TRUE(ends(process.substr(0, process.size() - 1)));
}

TEST_F(PosixTaskLogTest, WhatAProgramThatHangsStartedIsEndedWithIt) {
  const LoggedTaskEnd end = run(shell("sleep 1000 & echo $!; wait"), kHasty);
  EXPECT_EQ(end.reason, Reason::timeLimit);
  const std::string process = folder.get("log");
  ASSERT_NE(process, "");
  EXPECT_TRUE(ends(process.substr(0, process.size() - 1)));
}

TEST_F(PosixTaskLogTest, AProgramThatDoesNotEndWhenAskedIsKilled) {
  const LoggedTaskEnd end = run(shell("trap '' TERM; echo $$; while :; do sleep 0.1; done"), kHasty);
  EXPECT_EQ(end.reason, Reason::timeLimit);
  const std::string process = folder.get("log");
  ASSERT_NE(process, "");
  EXPECT_TRUE(ends(process.substr(0, process.size() - 1)));
}

TEST_F(PosixTaskLogTest, AProgramThatFloodsIsEndedAndTheLogHoldsToTheLimit) {
  const LoggedTaskEnd end = run(shell("exec cat /dev/zero"), {std::chrono::minutes(1), 100'000});
  EXPECT_EQ(end.reason, Reason::outputLimit);
  EXPECT_EQ(folder.get("log"), std::string(100'000, '\0'));
}

TEST_F(PosixTaskLogTest, ToSayAsMuchAsTheLimitIsNotTooMuch) {
  const LoggedTaskEnd end = run(shell("head -c 100000 /dev/zero"), {std::chrono::minutes(1), 100'000});
  EXPECT_EQ(end.reason, Reason::exit);
  EXPECT_EQ(folder.get("log").size(), 100'000U);
}

TEST_F(PosixTaskLogTest, ADescendantThatKeepsTheStreamsIsNotWaitedForAndSaysNothingMore) {
  ASSERT_EQ(::mkfifo(folder.path("go").c_str(), 0600), 0);
  ASSERT_EQ(::mkfifo(folder.path("gone").c_str(), 0600), 0);
  const std::string go = folder.path("go");
  const std::string gone = folder.path("gone");
  // It would wait for ever, were it waited for: it is let go only below.
  const LoggedTaskEnd end =
      run(shell("(trap '' PIPE; read line < " + go + "; echo late; echo x > " + gone + ") & echo early"));
  EXPECT_EQ(end.reason, Reason::exit);
  folder.put("go", "\n");
  EXPECT_EQ(folder.get("gone"), "x\n");
  EXPECT_EQ(folder.get("log"), "early\n");
}

TEST_F(PosixTaskLogTest, AProgramThatClosesItsStreamsIsWaitedForAllTheSame) {
  const LoggedTaskEnd end = run(shell("echo said; exec >&- 2>&-; sleep 0.2; exit 3"));
  EXPECT_EQ(end.status, 3);
  EXPECT_EQ(folder.get("log"), "said\n");
}

TEST_F(PosixTaskLogTest, ALogThatCannotTakeMoreDoesNotHoldTheProgramUp) {
  const auto full = [&] {
    struct rlimit before {};
    ::getrlimit(RLIMIT_FSIZE, &before);
    struct rlimit small = before;
    small.rlim_cur = 1000;
    const auto handler = ::signal(SIGXFSZ, SIG_IGN);
    const auto log = open();
    ::setrlimit(RLIMIT_FSIZE, &small);
    const auto end = log->run(shell("head -c 500000 /dev/zero"), kWide);
    ::setrlimit(RLIMIT_FSIZE, &before);
    ::signal(SIGXFSZ, handler);
    return end;
  }();
  ASSERT_TRUE(full);
  EXPECT_EQ(full->reason, Reason::exit);
  EXPECT_EQ(folder.get("log").size(), 1000U);
}

}  // namespace
}  // namespace zpk
