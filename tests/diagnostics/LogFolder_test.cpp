#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "diagnostics/DiagnosticsWorld.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string kStamped = "/tmp/ZPK_Logs_2026-03-05-14-07-09";

TEST(MakeLogFolder, NamesItAfterTheBaseAndTheTime) {
  DiagnosticsWorld world;
  EXPECT_EQ(makeLogFolder("/tmp/ZPK_Logs", world.environment), kStamped);
  EXPECT_THAT(*world.files.contentsOfDirectory(kStamped), IsEmpty());
}

TEST(MakeLogFolder, ASecondOneOfTheSameSecondGetsAUuidAfterTheName) {
  DiagnosticsWorld world;
  makeLogFolder("/tmp/ZPK_Logs", world.environment);
  EXPECT_EQ(makeLogFolder("/tmp/ZPK_Logs", world.environment), kStamped + "-" + DiagnosticsWorld::uuid(1));
}

TEST(MakeLogFolder, AFileUnderTheNameTakesItToo) {
  DiagnosticsWorld world;
  world.files.add(kStamped, "not ours");
  EXPECT_EQ(makeLogFolder("/tmp/ZPK_Logs", world.environment), kStamped + "-" + DiagnosticsWorld::uuid(1));
  EXPECT_EQ(world.files.content(kStamped), "not ours");
}

TEST(MakeLogFolder, EachRetryPutsAFreshUuidAfterTheStampedName) {
  DiagnosticsWorld world;
  world.files.addFolder(kStamped);
  for (int i = 1; i <= 8; ++i) world.files.addFolder(kStamped + "-" + DiagnosticsWorld::uuid(i));
  EXPECT_EQ(makeLogFolder("/tmp/ZPK_Logs", world.environment), kStamped + "-" + DiagnosticsWorld::uuid(9));
}

TEST(MakeLogFolder, GivesUpAfterTenNamesAndNeverTriesTheEleventh) {
  DiagnosticsWorld world;
  world.files.addFolder(kStamped);
  for (int i = 1; i <= 9; ++i) world.files.addFolder(kStamped + "-" + DiagnosticsWorld::uuid(i));
  EXPECT_EQ(makeLogFolder("/tmp/ZPK_Logs", world.environment), std::nullopt);
  EXPECT_FALSE(world.files.fileExists(kStamped + "-" + DiagnosticsWorld::uuid(10)));
}

TEST(MakeLogFolder, MakesFoldersOnTheWay) {
  DiagnosticsWorld world;
  EXPECT_EQ(makeLogFolder("/tmp/a/b/Logs", world.environment), "/tmp/a/b/Logs_2026-03-05-14-07-09");
  EXPECT_TRUE(world.files.fileExists("/tmp/a/b/Logs_2026-03-05-14-07-09"));
}

TEST(MakeLogFolder, GivesNothingWhereNoFolderCanBe) {
  DiagnosticsWorld world;
  world.files.add("/tmp/file", "");
  EXPECT_EQ(makeLogFolder("/tmp/file/Logs", world.environment), std::nullopt);
  world.files.failAt("/tmp/a", "No space left on device");
  EXPECT_EQ(makeLogFolder("/tmp/a/Logs", world.environment), std::nullopt);
}

TEST(ZipLogFolder, RunsTheArchiverInTheParentFolder) {
  DiagnosticsWorld world;
  EXPECT_EQ(zipLogFolder("/tmp/out", world.environment), "/tmp/out.zip");
  ASSERT_EQ(world.tasks.tasks().size(), 1U);
  const TaskDescription task = world.tasks.tasks()[0];
  EXPECT_EQ(task.launchPath, "/usr/bin/zip");
  EXPECT_THAT(task.arguments, ElementsAre("/tmp/out.zip", "-q", "-r", "out"));
  EXPECT_EQ(task.currentDirectory, "/tmp");
  EXPECT_EQ(task.standardOutputPath, "/dev/null");
  EXPECT_EQ(task.standardErrorPath, "/dev/null");
  EXPECT_TRUE(task.standardInput.empty());
}

TEST(ZipLogFolder, ASlashAtTheEndOfTheFolderIsNoneOfItsName) {
  DiagnosticsWorld world;
  EXPECT_EQ(zipLogFolder("/tmp/out/", world.environment), "/tmp/out.zip");
  EXPECT_THAT(world.tasks.tasks().at(0).arguments, ElementsAre("/tmp/out.zip", "-q", "-r", "out"));
}

TEST(ZipLogFolder, AFolderInTheRootIsPackedFromTheRoot) {
  DiagnosticsWorld world;
  EXPECT_EQ(zipLogFolder("/out", world.environment), "/out.zip");
  EXPECT_EQ(world.tasks.tasks().at(0).currentDirectory, "/");
}

struct Ending {
  TaskResult::Reason reason;
  std::int32_t status;
  bool isArchived;
  std::string line;
};

TEST(ZipLogFolder, StatusesZeroAndEighteenOfANormalExitGiveAnArchive) {
  using Reason = TaskResult::Reason;
  const std::vector<Ending> endings{
      {Reason::exit, 0, true, "launched = 1, reason = 1, status = 0"},
      {Reason::exit, 18, true, "launched = 1, reason = 1, status = 18"},
      {Reason::exit, 1, false, "launched = 1, reason = 1, status = 1"},
      {Reason::exit, 12, false, "launched = 1, reason = 1, status = 12"},
      {Reason::exit, 19, false, "launched = 1, reason = 1, status = 19"},
      {Reason::uncaughtSignal, 9, false, "launched = 1, reason = 2, status = 9"},
      {Reason::uncaughtSignal, 18, false, "launched = 1, reason = 2, status = 18"},
  };
  for (const Ending& ending : endings) {
    DiagnosticsWorld world([&](const TaskDescription&) {
      return TaskResult{ending.reason, ending.status, {}, {}};
    });
    EXPECT_EQ(zipLogFolder("/tmp/out", world.environment).has_value(), ending.isArchived) << ending.line;
    EXPECT_THAT(world.log.lines(), ElementsAre(ending.line));
  }
}

TEST(ZipLogFolder, AnArchiverThatDoesNotStartGivesNothing) {
  DiagnosticsWorld world([](const TaskDescription&) { return TaskError{"No such file or directory"}; });
  EXPECT_EQ(zipLogFolder("/tmp/out", world.environment), std::nullopt);
  EXPECT_THAT(world.log.lines(), ElementsAre("launched = 0, reason = 0, status = 0"));
}

TEST(ZipLogFolder, TheArchiversPlaceIsTakenBeforeItRuns) {
  DiagnosticsWorld* place = nullptr;
  DiagnosticsWorld world([&](const TaskDescription&) {
    EXPECT_EQ(place->files.content("/tmp/out.zip").substr(0, 4), "PK\5\6");
    EXPECT_EQ(place->files.content("/tmp/out.zip").size(), 22U);
    return TaskResult{};
  });
  place = &world;
  EXPECT_TRUE(zipLogFolder("/tmp/out", world.environment));
  EXPECT_EQ(world.tasks.tasks().size(), 1U);
}

TEST(ZipLogFolder, AnArchiverThatFailedLeavesNoEmptyArchive) {
  DiagnosticsWorld missing([](const TaskDescription&) { return TaskError{"No such file or directory"}; });
  EXPECT_EQ(zipLogFolder("/tmp/out", missing.environment), std::nullopt);
  EXPECT_FALSE(missing.files.fileExists("/tmp/out.zip"));

  DiagnosticsWorld failing([](const TaskDescription&) { return TaskResult{TaskResult::Reason::exit, 15, {}, {}}; });
  EXPECT_EQ(zipLogFolder("/tmp/out", failing.environment), std::nullopt);
  EXPECT_FALSE(failing.files.fileExists("/tmp/out.zip"));
}

TEST(ZipLogFolder, WhatAnArchiverThatFailedWroteItselfStays) {
  DiagnosticsWorld* there = nullptr;
  DiagnosticsWorld world([&](const TaskDescription&) {
    there->files.add("/tmp/out.zip", "half an archive of no less than one");
    return TaskResult{TaskResult::Reason::uncaughtSignal, 9, {}, {}};
  });
  there = &world;
  EXPECT_EQ(zipLogFolder("/tmp/out", world.environment), std::nullopt);
  EXPECT_EQ(world.files.content("/tmp/out.zip"), "half an archive of no less than one");
}

TEST(ZipLogFolder, WhereItsPlaceCannotBeHadTheArchiverIsNotRun) {
  DiagnosticsWorld world;
  world.files.failAt("/tmp/out.zip", "Operation not permitted");
  EXPECT_EQ(zipLogFolder("/tmp/out", world.environment), std::nullopt);
  EXPECT_THAT(world.tasks.tasks(), IsEmpty());
  EXPECT_THAT(world.log.lines(), ElementsAre("launched = 0, reason = 0, status = 0"));
}

}  // namespace
}  // namespace zpk
