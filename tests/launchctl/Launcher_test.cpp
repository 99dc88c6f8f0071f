#include "tools/launchctl/Launcher.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "LauncherWorld.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class LauncherTest : public testing::Test, public LauncherWorld {};

TEST_F(LauncherTest, LoadingForGoodEnablesAndStartsTheTimer) {
  EXPECT_EQ(load(timedJob(), kAlways), "done");
  EXPECT_THAT(manager.takeVerbs(), ElementsAre("reenable a.b.timer", "clean a.b.timer", "start a.b.timer"));
  EXPECT_TRUE(launcher.list("a.b"));
  EXPECT_TRUE(manager.unit("a.b.timer").isEnabled);
  EXPECT_FALSE(manager.isActive("a.b.service"));
}

TEST_F(LauncherTest, AJobThatIsLoadedAsItStandsIsLeftAlone) {
  load(timedJob(), kAlways);
  manager.takeVerbs();
  EXPECT_EQ(load(timedJob(), kAlways), "done");
  EXPECT_EQ(load(timedJob(), kNow), "done");
  EXPECT_THAT(manager.takeVerbs(), IsEmpty());
}

// Saving a schedule that is off loads its job, and must not switch it on.
TEST_F(LauncherTest, AJobThatIsNotEnabledIsNotLoadedForThePresent) {
  EXPECT_EQ(load(timedJob(), kNow), "a.b is disabled; load -w enables it");
  EXPECT_FALSE(has("a.b.timer"));
  load(timedJob(), kAlways);
  unload(kAlways);
  manager.takeVerbs();
  EXPECT_EQ(load(timedJob(), kNow), "a.b is disabled; load -w enables it");
  EXPECT_THAT(manager.takeVerbs(), IsEmpty());
  EXPECT_FALSE(launcher.list("a.b"));
}

TEST_F(LauncherTest, AnEditedScheduleIsInForceAfterUnloadingAndLoading) {
  load(timedJob(12), kAlways);
  put(timedJob(9));
  EXPECT_EQ(unload(kNow), "done");
  EXPECT_FALSE(launcher.list("a.b"));
  EXPECT_EQ(load(timedJob(9), kNow), "done");
  EXPECT_TRUE(launcher.list("a.b"));
  EXPECT_NE(folder.contents("a.b.timer")->find("OnCalendar=*-*-* 09:00:00\n"), std::string::npos);
  EXPECT_EQ(manager.unit("a.b.timer").text, folder.contents("a.b.timer"));
}

TEST_F(LauncherTest, AChangedJobThatIsStillLoadedIsStoppedFirst) {
  load(timedJob(12), kAlways);
  manager.takeVerbs();
  EXPECT_EQ(load(timedJob(9), kAlways), "done");
  EXPECT_THAT(manager.takeVerbs(),
              ElementsAre("stop a.b.timer", "reenable a.b.timer", "clean a.b.timer", "start a.b.timer"));
}

TEST_F(LauncherTest, ARunningBackupIsNotStoppedByAChangeOfItsTimes) {
  load(timedJob(12), kAlways);
  manager.unit("a.b.service").activeState = "active";
  EXPECT_EQ(load(timedJob(9), kAlways), "done");
  EXPECT_TRUE(manager.isActive("a.b.service"));
}

TEST_F(LauncherTest, UnloadingForThePresentStopsAndKeepsItEnabled) {
  load(timedJob(), kAlways);
  manager.unit("a.b.service").activeState = "active";
  manager.takeVerbs();
  EXPECT_EQ(unload(kNow), "done");
  EXPECT_THAT(manager.takeVerbs(), ElementsAre("stop a.b.timer", "reset-failed a.b.timer", "stop a.b.service",
                                               "reset-failed a.b.service"));
  EXPECT_TRUE(manager.unit("a.b.timer").isEnabled);
}

TEST_F(LauncherTest, UnloadingForGoodLeavesNothing) {
  load(timedJob(), kAlways);
  manager.takeVerbs();
  EXPECT_EQ(unload(kAlways), "done");
  EXPECT_THAT(manager.takeVerbs(),
              ElementsAre("stop a.b.timer", "reset-failed a.b.timer", "disable a.b.timer", "daemon-reload"));
  EXPECT_FALSE(has("a.b.timer"));
  EXPECT_FALSE(has("a.b.service"));
  EXPECT_EQ(launcher.list("a.b").error().reason, "a.b is not loaded");
}

TEST_F(LauncherTest, UnloadingWhatIsNotLoadedIsQuietlyDone) {
  put(timedJob());
  EXPECT_EQ(unload(kNow), "done");
  EXPECT_EQ(unload(kAlways), "done");
  EXPECT_THAT(manager.takeVerbs(), IsEmpty());
}

TEST_F(LauncherTest, AMissingJobFileOfNoJobIsAnErrorAndNothingIsMade) {
  EXPECT_EQ(unload(kAlways), "No such file or directory");
  EXPECT_FALSE(launcher.load(home.path("job.plist"), kAlways));
  EXPECT_THAT(manager.takeVerbs(), IsEmpty());
  EXPECT_THAT(home.names(), IsEmpty());
}

TEST_F(LauncherTest, AJobWhoseFileIsWrongByNowCanBeUnloadedStill) {
  load(timedJob(12), kAlways);
  put(timedJob(75));
  EXPECT_EQ(unload(kAlways), "done");
  EXPECT_FALSE(has("a.b.timer"));
}

// Else its timer would go on for good, with nothing left to switch it off by.
TEST_F(LauncherTest, AJobWhoseFileIsGoneIsUnloadedByTheFilesPath) {
  load(timedJob(), kAlways);
  manager.takeVerbs();
  std::filesystem::remove(home.path("job.plist"));
  EXPECT_EQ(unload(kNow), "done");
  EXPECT_THAT(manager.takeVerbs(), ElementsAre("stop a.b.timer", "reset-failed a.b.timer"));
  EXPECT_EQ(unload(kAlways), "done");
  EXPECT_THAT(manager.takeVerbs(), ElementsAre("disable a.b.timer", "daemon-reload"));
  EXPECT_FALSE(has("a.b.timer"));
  EXPECT_FALSE(has("a.b.service"));
  EXPECT_EQ(unload(kAlways), "No such file or directory");
}

TEST_F(LauncherTest, AJobWhoseFileCannotBeReadAnyMoreIsUnloadedByTheFilesPath) {
  for (const char* content : {"", "no property list", "<plist><dict/></plist>", "{ Label = \"../x\"; }"}) {
    load(timedJob(), kAlways);
    home.put("job.plist", content);
    EXPECT_EQ(unload(kAlways), "done") << content;
    EXPECT_FALSE(has("a.b.timer"));
    EXPECT_NE(unload(kAlways), "done") << content;
  }
}

// Two jobs of one file: the one that the file defined before its label was edited is loaded still.
TEST_F(LauncherTest, AJobWhoseLabelWasEditedIsUnloadedUnderItsOldOneToo) {
  load(timedJob(), kAlways);
  Dictionary renamed = timedJob();
  renamed.set("Label", "a.renamed");
  EXPECT_EQ(load(renamed, kAlways), "done");
  EXPECT_EQ(unload(kAlways), "done");
  EXPECT_FALSE(manager.isActive("a.b.timer"));
  EXPECT_FALSE(manager.isActive("a.renamed.timer"));
  EXPECT_FALSE(has("a.b.timer"));
  EXPECT_FALSE(has("a.renamed.timer"));
}

TEST_F(LauncherTest, AJobOfAnotherFileIsLeftAloneByAFileThatIsGone) {
  load(timedJob(), kAlways);
  EXPECT_EQ(unload(kAlways, "job.plist2"), "No such file or directory");
  EXPECT_EQ(unload(kAlways, "job"), "No such file or directory");
  EXPECT_TRUE(manager.isActive("a.b.timer"));
}

TEST_F(LauncherTest, AJobThatCannotBeMappedChangesNothing) {
  load(timedJob(12), kAlways);
  manager.takeVerbs();
  EXPECT_EQ(load(timedJob(75), kAlways), "Hour of StartCalendarInterval is not between 0 and 23: 75");
  EXPECT_THAT(manager.takeVerbs(), IsEmpty());
  EXPECT_TRUE(launcher.list("a.b"));
}

TEST_F(LauncherTest, AJobWhoseProgramIsNotThereIsNotLoaded) {
  Dictionary job = timedJob();
  job.set("ProgramArguments", Array{home.path("program"), "backup"});
  EXPECT_EQ(load(job, kAlways), "there is no program " + home.path("program"));
  EXPECT_THAT(manager.takeVerbs(), IsEmpty());
}

TEST_F(LauncherTest, WhatCannotBeRunIsNoProgram) {
  Dictionary job = timedJob();
  job.set("ProgramArguments", Array{home.path("program"), "backup"});
  const std::string refusal = home.path("program") + " is not a program that can be run";
  std::filesystem::create_directory(home.path("program"));
  EXPECT_EQ(load(job, kAlways), refusal) << "a folder";
  std::filesystem::remove(home.path("program"));
  home.put("program", "");
  EXPECT_EQ(load(job, kAlways), refusal) << "not executable";
  EXPECT_THAT(manager.takeVerbs(), IsEmpty());
  std::filesystem::permissions(home.path("program"), std::filesystem::perms::owner_all);
  EXPECT_EQ(load(job, kAlways), "done");
  std::filesystem::rename(home.path("program"), home.path("moved"));
  std::filesystem::create_symlink("moved", home.path("program"));
  EXPECT_EQ(load(job, kAlways), "done") << "a link to one";
}

TEST_F(LauncherTest, AnAgentIsAServiceThatIsEnabledAndStarted) {
  EXPECT_EQ(load(agentJob(), kAlways), "done");
  EXPECT_THAT(manager.takeVerbs(), ElementsAre("reenable a.b.service", "start a.b.service"));
  EXPECT_TRUE(launcher.list("a.b"));
  EXPECT_EQ(unload(kAlways), "done");
  EXPECT_FALSE(launcher.list("a.b"));
}

TEST_F(LauncherTest, AnAgentThatFailedIsLoadedUntilItIsUnloaded) {
  load(agentJob(), kAlways);
  manager.unit("a.b.service").activeState = "failed";
  EXPECT_TRUE(launcher.list("a.b"));
  EXPECT_EQ(unload(kNow), "done");
  EXPECT_FALSE(launcher.list("a.b"));
}

// It was quit by its user: it stays away until it is loaded again, or the next log-in.
TEST_F(LauncherTest, AnAgentThatEndedWellIsNotLoadedAndStaysEnabled) {
  load(agentJob(), kAlways);
  manager.unit("a.b.service").activeState = "inactive";
  EXPECT_FALSE(launcher.list("a.b"));
  EXPECT_TRUE(manager.unit("a.b.service").isEnabled);
  manager.takeVerbs();
  EXPECT_EQ(load(agentJob(), kAlways), "done");
  EXPECT_TRUE(launcher.list("a.b"));
}

TEST_F(LauncherTest, LoadingAnAgentThatFailedStartsItAgain) {
  load(agentJob(), kAlways);
  manager.unit("a.b.service").activeState = "failed";
  manager.takeVerbs();
  EXPECT_EQ(load(agentJob(), kAlways), "done");
  EXPECT_THAT(manager.takeVerbs(),
              ElementsAre("reset-failed a.b.service", "reenable a.b.service", "start a.b.service"));
}

// Its program has run when it was loaded, and does not run again because it is loaded a second time.
TEST_F(LauncherTest, AJobWithTimesThatAlsoRunsAtLoadIsLeftAloneWhenItIsLoadedAsItStands) {
  Dictionary job = timedJob();
  job.set("RunAtLoad", true);
  EXPECT_EQ(load(job, kAlways), "done");
  EXPECT_THAT(manager.takeVerbs(),
              ElementsAre("reenable a.b.service a.b.timer", "clean a.b.timer", "start a.b.service a.b.timer"));
  for (const char* state : {"active", "inactive", "failed"}) {
    manager.unit("a.b.service").activeState = state;
    EXPECT_EQ(load(job, kAlways), "done");
    EXPECT_THAT(manager.takeVerbs(), IsEmpty()) << state;
  }
  manager.unit("a.b.timer").activeState = "inactive";
  EXPECT_EQ(load(job, kAlways), "done");
  EXPECT_TRUE(manager.isActive("a.b.timer"));
}

TEST_F(LauncherTest, AJobWithTimesThatIsKeptAliveIsStartedWhenItsProgramIsDown) {
  Dictionary job = timedJob();
  job.set("KeepAlive", true);
  EXPECT_EQ(load(job, kAlways), "done");
  manager.takeVerbs();
  EXPECT_EQ(load(job, kAlways), "done");
  EXPECT_THAT(manager.takeVerbs(), IsEmpty());
  manager.unit("a.b.service").activeState = "failed";
  EXPECT_EQ(load(job, kAlways), "done");
  EXPECT_TRUE(manager.isActive("a.b.service"));
}

TEST_F(LauncherTest, AJobThatLosesItsTimesLosesItsTimer) {
  load(timedJob(), kAlways);
  EXPECT_EQ(load(agentJob(), kNow), "done");
  EXPECT_FALSE(has("a.b.timer"));
  EXPECT_FALSE(manager.isActive("a.b.timer"));
  EXPECT_FALSE(manager.unit("a.b.timer").isEnabled);
  EXPECT_TRUE(manager.isActive("a.b.service"));
}

TEST_F(LauncherTest, AJobThatNoLongerRunsAtLoadIsNotStartedByLogIn) {
  load(agentJob(), kAlways);
  EXPECT_EQ(load(timedJob(), kNow), "done");
  EXPECT_FALSE(manager.unit("a.b.service").isEnabled);
  EXPECT_FALSE(manager.isActive("a.b.service"));
  EXPECT_TRUE(manager.isActive("a.b.timer"));
}

TEST_F(LauncherTest, AMaskedTimerIsUnmaskedWhenItIsEnabled) {
  manager.unit("a.b.timer").isMasked = true;
  EXPECT_EQ(load(timedJob(), kNow), "a.b is disabled; load -w enables it");
  EXPECT_EQ(load(timedJob(), kAlways), "done");
  EXPECT_TRUE(launcher.list("a.b"));
}

TEST_F(LauncherTest, TheListHasARowForEachJobThatIsLoaded) {
  load(agentJob(), kAlways);
  manager.unit("a.b.service").pid = 4711;
  Dictionary other = timedJob();
  other.set("Label", "a.other");
  load(other, kAlways, "other.plist");
  manager.unit("a.other.service").lastExit = 3;
  Dictionary off = timedJob();
  off.set("Label", "a.off");
  load(off, kAlways, "off.plist");
  unload(kNow, "off.plist");
  const auto rows = launcher.list();
  ASSERT_TRUE(rows);
  EXPECT_EQ(*rows, "PID\tStatus\tLabel\n4711\t0\ta.b\n-\t3\ta.other\n");
  EXPECT_EQ(*launcher.list("a.other"), "PID\tStatus\tLabel\n-\t3\ta.other\n");
}

TEST_F(LauncherTest, WhatIsKnownOfAJob) {
  load(timedJob(), kAlways);
  manager.unit("a.b.service").lastExit = 2;
  const auto info = launcher.info("a.b");
  ASSERT_TRUE(info);
  EXPECT_EQ(*info, (Dictionary{{"Label", "a.b"},
                               {"ProgramArguments", Array{"/bin/sh", "backup"}},
                               {"LastExitStatus", 2},
                               {"NextRun", Date{1795348800}}}));
  manager.unit("a.b.service").pid = 99;
  EXPECT_EQ((*launcher.info("a.b"))["PID"], Value(99));
}

TEST_F(LauncherTest, NothingIsKnownOfAJobThatIsNotLoaded) {
  EXPECT_EQ(launcher.info("a.b").error().reason, "a.b is not loaded");
  EXPECT_EQ(launcher.info("../x").error().reason, "no job can have that label: ../x");
  EXPECT_EQ(launcher.list("-x").error().reason, "no job can have that label: -x");
}

}  // namespace
}  // namespace zpk
