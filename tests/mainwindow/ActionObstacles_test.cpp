#include "mainwindow/ActionObstacles.h"

#include <gtest/gtest.h>

#include "mainwindow/ControllerWorld.h"

namespace zpk {
namespace {

class Obstacles : public testing::Test {
 protected:
  Obstacles() { world.launch(); }
  ZPKUIDaemonController& ui() { return *world.controller; }
  void pushReady() { world.push(readyStatus()); }
  void select(IndexSet rows) { ui().setSelectedArcItemsIndexes(std::move(rows)); }

  ControllerWorld world;
};

TEST_F(Obstacles, NothingCanBeDoneBeforeTheHelperHasAnswered) {
  EXPECT_EQ(backupObstacle(ui()), Obstacle::helperNotHeard);
  EXPECT_EQ(settingsObstacle(ui()), Obstacle::helperNotHeard);
  EXPECT_EQ(restoreObstacle(ui()), Obstacle::helperNotHeard);
}

TEST_F(Obstacles, NothingIsInTheWayOfABackupOnceAllIsChosen) {
  pushReady();
  EXPECT_EQ(backupObstacle(ui()), std::nullopt);
  EXPECT_EQ(settingsObstacle(ui()), std::nullopt);
  EXPECT_EQ(pinningObstacle(ui()), std::nullopt);
}

TEST_F(Obstacles, BackupNeedsASourceThenALocationThenItsPresence) {
  world.push(idleStatus({bootCampDisk(1, "Disk")}));
  EXPECT_EQ(backupObstacle(ui()), Obstacle::noSource);
  Dictionary status = readyStatus();
  statuskey::targetArchive.set(status, std::nullopt);
  world.push(status);
  EXPECT_EQ(backupObstacle(ui()), Obstacle::noLocation);
  status = readyStatus();
  statuskey::arcState.set(status, ArcState::unavailable);
  world.push(status);
  EXPECT_EQ(backupObstacle(ui()), Obstacle::archiveUnreachable);
}

TEST_F(Obstacles, HelperThatIsAwayComesFirst) {
  pushReady();
  select({1});
  world.transport.helperDies();
  EXPECT_EQ(backupObstacle(ui()), Obstacle::helperAway);
  EXPECT_EQ(settingsObstacle(ui()), Obstacle::helperAway);
  EXPECT_EQ(restoreObstacle(ui()), Obstacle::helperAway);
  EXPECT_EQ(mergeObstacle(ui()), Obstacle::helperAway);
  EXPECT_EQ(pinObstacle(ui()), Obstacle::helperAway);
  EXPECT_EQ(stopObstacle(ui(), false), Obstacle::helperAway);
}

TEST_F(Obstacles, RunningOperationKeepsEverythingButStopFromBeingUsed) {
  pushReady();
  select({1});
  EXPECT_EQ(stopObstacle(ui(), false), Obstacle::nothingRuns);
  world.push(backupStatus(10, {"line"}));
  EXPECT_EQ(backupObstacle(ui()), Obstacle::operationRuns);
  EXPECT_EQ(settingsObstacle(ui()), Obstacle::operationRuns);
  EXPECT_EQ(restoreObstacle(ui()), Obstacle::operationRuns);
  EXPECT_EQ(mergeObstacle(ui()), Obstacle::operationRuns);
  EXPECT_EQ(pinningObstacle(ui()), Obstacle::operationRuns);
  EXPECT_EQ(stopObstacle(ui(), false), std::nullopt);
  EXPECT_EQ(stopObstacle(ui(), true), Obstacle::stopping);
}

TEST_F(Obstacles, RestoreMergeAndPinWantExactlyOnePoint) {
  pushReady();
  for (const auto obstacle : {restoreObstacle, mergeObstacle, pinObstacle}) {
    select({});
    EXPECT_EQ(obstacle(ui()), Obstacle::nothingSelected);
    select({1, 2});
    EXPECT_EQ(obstacle(ui()), Obstacle::severalSelected);
    select({7});
    EXPECT_EQ(obstacle(ui()), Obstacle::nothingSelected);
    select({2});
    EXPECT_EQ(obstacle(ui()), std::nullopt);
  }
}

TEST_F(Obstacles, FirstPointHasNoParentButCanBeRestoredAndPinned) {
  pushReady();
  select({0});
  EXPECT_EQ(mergeObstacle(ui()), Obstacle::firstPoint);
  EXPECT_EQ(restoreObstacle(ui()), std::nullopt);
  EXPECT_EQ(pinObstacle(ui()), std::nullopt);
}

TEST_F(Obstacles, NothingIsMergedIntoAPinnedPoint) {
  pushReady();
  select({1});
  EXPECT_EQ(mergeObstacle(ui()), Obstacle::parentPinned);
}

TEST_F(Obstacles, OpeningIsNotOfferedWhateverIsSelected) {
  EXPECT_EQ(openObstacle(ui()), Obstacle::notOffered);
  pushReady();
  select({1});
  EXPECT_EQ(openObstacle(ui()), Obstacle::notOffered);
}

TEST_F(Obstacles, OnlySelectedPointIsNoneOfSeveralAndNoneOfAShorterList) {
  pushReady();
  select({1});
  EXPECT_EQ(onlySelectedPoint(ui()), (*ui().arcItems())[1]);
  select({0, 1});
  EXPECT_EQ(onlySelectedPoint(ui()), nullptr);
  select({3});
  EXPECT_EQ(onlySelectedPoint(ui()), nullptr);
}

}  // namespace
}  // namespace zpk
