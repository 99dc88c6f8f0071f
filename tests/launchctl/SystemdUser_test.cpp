#include "tools/launchctl/SystemdUser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/ScriptedTaskRunner.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

Bytes bytes(std::string_view text) {
  return Bytes(text.begin(), text.end());
}

TEST(SystemdUser, AServiceThatRuns) {
  const auto states = parseUnitStates(
      "MainPID=4711\nExecMainCode=0\nExecMainStatus=0\nLoadState=loaded\nActiveState=active\n"
      "FragmentPath=/u/a.service\nUnitFileState=static\nNeedDaemonReload=yes\n",
      {"a.service"});
  ASSERT_TRUE(states);
  const UnitState& service = states->front();
  EXPECT_EQ(service.name, "a.service");
  EXPECT_EQ(service.pid, 4711);
  EXPECT_EQ(service.loadState, "loaded");
  EXPECT_EQ(service.activeState, "active");
  EXPECT_EQ(service.fragmentPath, "/u/a.service");
  EXPECT_FALSE(service.isEnabled());
  EXPECT_TRUE(service.needsReload);
  EXPECT_FALSE(service.nextElapse);
}

TEST(SystemdUser, ATimerTellsWhenItIsDueAndWhenItWas) {
  const auto states = parseUnitStates(
      "NextElapseUSecRealtime=Sun 2026-11-22 12:00:00 UTC\nLastTriggerUSec=Thu 1970-01-01 01:00:05 UTC\n"
      "UnitFileState=enabled\n",
      {"a.timer"});
  ASSERT_TRUE(states);
  EXPECT_EQ(states->front().nextElapse, 1795348800.0);
  EXPECT_EQ(states->front().lastTrigger, 3605.0);
  EXPECT_TRUE(states->front().isEnabled());
}

TEST(SystemdUser, WhatIsNoTimeIsNone) {
  for (const char* text : {"", "n/a", "infinity", "Sun 2026-13-22 12:00:00 UTC", "Sun 2026-11-22 12:00:00 CET"}) {
    const auto states = parseUnitStates("NextElapseUSecRealtime=" + std::string(text) + "\n", {"a.timer"});
    ASSERT_TRUE(states);
    EXPECT_FALSE(states->front().nextElapse) << text;
  }
}

TEST(SystemdUser, AnEndByASignalIsANegativeStatus) {
  EXPECT_EQ(parseUnitStates("ExecMainCode=1\nExecMainStatus=3\n", {"a"})->front().lastExit, 3);
  EXPECT_EQ(parseUnitStates("ExecMainCode=2\nExecMainStatus=9\n", {"a"})->front().lastExit, -9);
  EXPECT_EQ(parseUnitStates("ExecMainStatus=11\nExecMainCode=3\n", {"a"})->front().lastExit, -11);
}

TEST(SystemdUser, ABlockForEachUnitOrNothing) {
  const auto two = parseUnitStates("LoadState=loaded\n\nLoadState=masked\n", {"a", "b"});
  ASSERT_TRUE(two);
  EXPECT_FALSE((*two)[0].isMasked());
  EXPECT_TRUE((*two)[1].isMasked());
  EXPECT_FALSE(parseUnitStates("LoadState=loaded\n", {"a", "b"}));
  EXPECT_FALSE(parseUnitStates("LoadState=loaded\n\n\nLoadState=loaded", {"a"}));
  EXPECT_FALSE(parseUnitStates("", {"a"}));
}

TEST(SystemdUser, NamesCannotBeTakenForOptions) {
  ScriptedTaskRunner tasks;
  const SystemdUser user(tasks);
  EXPECT_TRUE(user.run({"clean", "--what=state"}, {"a.timer"}));
  EXPECT_TRUE(user.run({"daemon-reload"}));
  ASSERT_EQ(tasks.tasks().size(), 2U);
  EXPECT_EQ(tasks.tasks()[0].launchPath, "/usr/bin/systemctl");
  EXPECT_THAT(tasks.tasks()[0].arguments,
              ElementsAre("--user", "--no-pager", "--no-ask-password", "clean", "--what=state", "--", "a.timer"));
  EXPECT_THAT(tasks.tasks()[1].arguments,
              ElementsAre("--user", "--no-pager", "--no-ask-password", "daemon-reload"));
}

std::string errorOf(const TaskResult& result) {
  ScriptedTaskRunner tasks([&](const TaskDescription&) { return result; });
  return SystemdUser(tasks).run({"start"}, {"a"}).error().reason;
}

TEST(SystemdUser, ARefusalIsToldInTheManagersWords) {
  TaskResult result;
  result.status = 1;
  result.standardError = bytes("Job for a.service failed.\nSee the log.\n");
  EXPECT_EQ(errorOf(result), "Job for a.service failed. See the log.");
  result.standardError.clear();
  EXPECT_EQ(errorOf(result), "systemctl ended with status 1");
  result.reason = TaskResult::Reason::uncaughtSignal;
  EXPECT_EQ(errorOf(result), "systemctl was killed");
}

TEST(SystemdUser, ALogInWithoutAManagerIsToldAsThat) {
  TaskResult result;
  result.status = 1;
  result.standardError = bytes("Failed to connect to bus: No medium found\n");
  EXPECT_EQ(errorOf(result),
            "there is no service manager of the user to ask: Failed to connect to bus: No medium found");
}

TEST(SystemdUser, AMissingToolIsToldByItsPath) {
  ScriptedTaskRunner tasks([](const TaskDescription&) { return TaskError{"No such file or directory"}; });
  EXPECT_EQ(SystemdUser(tasks).show({"a"}).error().reason, "/usr/bin/systemctl: No such file or directory");
}

// The window waits for the launcher, and so for the manager.
TEST(SystemdUser, AManagerThatDoesNotAnswerIsWaitedForHalfAMinute) {
  ScriptedTaskRunner tasks([](const TaskDescription&) { return TaskError{"it did not end within 30 s"}; });
  const SystemdUser user(tasks);
  EXPECT_EQ(user.run({"start"}, {"a"}).error().reason, "/usr/bin/systemctl: it did not end within 30 s");
  EXPECT_FALSE(user.show({"a"}));
  for (const TaskDescription& task : tasks.tasks()) EXPECT_EQ(task.timeLimit, std::chrono::seconds(30));
}

TEST(SystemdUser, AnAnswerWithoutSenseIsAnError) {
  ScriptedTaskRunner tasks;
  EXPECT_THAT(SystemdUser(tasks).show({"a"}).error().reason, HasSubstr("makes no sense"));
}

}  // namespace
}  // namespace zpk
