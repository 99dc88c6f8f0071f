#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>

#include "ProcessStates.h"
#include "platform/posix/TaskRunner_posix.h"
#include "support/TemporaryFolder.h"

namespace zpk {
namespace {

using std::chrono::milliseconds;
using testing::StartsWith;

class TaskTimeLimit : public testing::Test {
 protected:
  TaskDescription shell(const std::string& script, milliseconds limit) const {
    TaskDescription task;
    task.launchPath = "/bin/sh";
    task.arguments = {"-c", script};
    task.currentDirectory = folder.path();
    task.timeLimit = limit;
    task.outputLimit = 1000;
    return task;
  }
  // Runs a script that writes the number of a process into the file "process". Gives what is wrong with it that it
  // did not end: "ended by itself" when it did.
  std::string error(const std::string& script) {
    // A machine may be too busy to start a script in the time.
    for (milliseconds limit{200};; limit *= 2) {
      const auto result = runner.run(shell(script, limit));
      if (result) return "ended by itself";
      if (folder.get("process").empty() && limit < std::chrono::seconds(20)) continue;
      return result.error().reason;
    }
  }
  bool endsTheProcess() const {
    const std::string process = folder.get("process");
    return !process.empty() && ends(process.substr(0, process.size() - 1));
  }

  TemporaryFolder folder;
  PosixTaskRunner runner;
};

TEST_F(TaskTimeLimit, AProgramThatHangsIsEndedAndTold) {
  EXPECT_THAT(error("echo $$ >process; exec sleep 1000"), StartsWith("it did not end within "));
  EXPECT_TRUE(endsTheProcess());
}

TEST_F(TaskTimeLimit, TheLimitIsToldInSeconds) {
  const auto result = runner.run(shell("exec sleep 1000", std::chrono::seconds(1)));
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().reason, "it did not end within 1 s");
}

TEST_F(TaskTimeLimit, WhatTheProgramStartedIsEndedWithIt) {
  EXPECT_THAT(error("sleep 1000 & echo $! >process; wait"), StartsWith("it did not end within "));
  EXPECT_TRUE(endsTheProcess());
}

TEST_F(TaskTimeLimit, ADescendantThatHoldsTheStreamsIsNotWaitedForBeyondIt) {
  EXPECT_THAT(error("sleep 1000 & echo $! >process"), StartsWith("it did not end within "));
  EXPECT_TRUE(endsTheProcess());
}

TEST_F(TaskTimeLimit, AProgramThatClosedItsStreamsIsHeldToItAllTheSame) {
  EXPECT_THAT(error("echo $$ >process; exec sleep 1000 <&- >&- 2>&-"), StartsWith("it did not end within "));
  EXPECT_TRUE(endsTheProcess());
}

TEST_F(TaskTimeLimit, AProgramThatDoesNotEndWhenAskedIsKilled) {
  EXPECT_THAT(error("trap '' TERM; echo $$ >process; while :; do sleep 0.1; done"),
              StartsWith("it did not end within "));
  EXPECT_TRUE(endsTheProcess());
}

TEST_F(TaskTimeLimit, AFloodDoesNotOutrunIt) {
  EXPECT_THAT(error("echo $$ >process; exec cat /dev/zero"), StartsWith("it did not end within "));
  EXPECT_TRUE(endsTheProcess());
}

TEST_F(TaskTimeLimit, AProgramThatEndsInTimeIsAsWithoutOne) {
  const auto result = runner.run(shell("echo out; echo err >&2; exit 7", std::chrono::minutes(1)));
  ASSERT_TRUE(result);
  EXPECT_EQ(result->status, 7);
  EXPECT_EQ(result->standardOutput, (Bytes{'o', 'u', 't', '\n'}));
  EXPECT_EQ(result->standardError, (Bytes{'e', 'r', 'r', '\n'}));
  const auto killed = runner.run(shell("kill -KILL $$", std::chrono::minutes(1)));
  ASSERT_TRUE(killed);
  EXPECT_EQ(killed->reason, TaskResult::Reason::uncaughtSignal);
  EXPECT_EQ(killed->status, SIGKILL);
}

// The program's group is not the terminal's: its own end, not a signal that was meant for others, ends it.
TEST_F(TaskTimeLimit, AProgramWithALimitHasAGroupOfItsOwn) {
  const auto result =
      runner.run(shell("read stat </proc/$$/stat; set -- $stat; echo $1 $5", std::chrono::minutes(1)));
  ASSERT_TRUE(result);
  const std::string said(result->standardOutput.begin(), result->standardOutput.end());
  const std::string process = said.substr(0, said.find(' '));
  EXPECT_EQ(said, process + " " + process + "\n");
}

}  // namespace
}  // namespace zpk
