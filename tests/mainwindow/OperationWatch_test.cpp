#include "mainwindow/OperationWatch.h"

#include <gtest/gtest.h>

#include "mainwindow/ControllerWorld.h"

namespace zpk {
namespace {

class Watch : public testing::Test {
 protected:
  Watch() {
    world.launch();
    world.push(readyStatus());
  }
  // The record of the backup, `percent` done, and what it did up to now.
  void push(double percent, const Array& log = {"one"}) { world.push(backupStatus(percent, log)); }
  void pass(double seconds) { world.loop.advance(Seconds(seconds)); }
  // On the calendar of this world.
  static Date at(double seconds) { return Date{1'700'000'000 + seconds}; }

  ControllerWorld world;
  OperationWatch watch{world.controller, world.loop, [this] { return at(world.loop.now().count()); }};
};

TEST_F(Watch, StandstillIsSaidAfterFiveMinutesAndNoSooner) {
  const double start = world.loop.now().count();
  push(10);
  pass(299);
  EXPECT_EQ(watch.noProgressSince(), std::nullopt);
  pass(1);
  EXPECT_EQ(watch.noProgressSince(), at(start));
}

TEST_F(Watch, EveryPercentCountsAsProgress) {
  push(10);
  pass(299);
  push(10.5);
  const double moved = world.loop.now().count();
  pass(299);
  EXPECT_EQ(watch.noProgressSince(), std::nullopt);
  pass(1);
  EXPECT_EQ(watch.noProgressSince(), at(moved));
}

TEST_F(Watch, EveryLogLineCountsAsProgress) {
  push(10);
  pass(299);
  push(10, {"one", "two"});
  pass(299);
  EXPECT_EQ(watch.noProgressSince(), std::nullopt);
}

TEST_F(Watch, TheSameLogInANewRecordIsNoProgress) {
  const double start = world.loop.now().count();
  push(10);
  for (int minute = 0; minute < 5; ++minute) {
    pass(60);
    push(10);
  }
  EXPECT_EQ(watch.noProgressSince(), at(start));
}

TEST_F(Watch, AnyChangeEndsTheStandstill) {
  std::size_t told = 0;
  const Token token = watch.observe("noProgressSince", [&] { ++told; });
  push(10);
  pass(400);
  EXPECT_EQ(told, 1U);
  push(11);
  EXPECT_EQ(watch.noProgressSince(), std::nullopt);
  EXPECT_EQ(told, 2U);
  pass(300);
  EXPECT_NE(watch.noProgressSince(), std::nullopt);
}

TEST_F(Watch, EndOfTheOperationEndsItAndTheNextStartsAnew) {
  push(10);
  pass(400);
  world.push(readyStatus());
  EXPECT_EQ(watch.noProgressSince(), std::nullopt);
  pass(1000);
  EXPECT_EQ(watch.noProgressSince(), std::nullopt);
  push(10);
  pass(299);
  EXPECT_EQ(watch.noProgressSince(), std::nullopt);
  pass(1);
  EXPECT_NE(watch.noProgressSince(), std::nullopt);
}

TEST_F(Watch, LeavesNoTimerBehindWhileNothingRuns) {
  const std::size_t before = world.loop.pendingCount();
  push(10);
  EXPECT_EQ(world.loop.pendingCount(), before + 1);
  world.push(readyStatus());
  EXPECT_EQ(world.loop.pendingCount(), before);
}

TEST_F(Watch, StopIsSentOnceAndLastsUntilTheOperationIsOver) {
  push(10);
  watch.stop();
  watch.stop();
  EXPECT_EQ(world.helper().count("breakProgress"), 1U);
  EXPECT_TRUE(watch.isStopping());
  push(11);
  EXPECT_TRUE(watch.isStopping());
  world.push(readyStatus());
  EXPECT_FALSE(watch.isStopping());
}

TEST_F(Watch, StopThatIsRefusedIsOverAndCanBeAskedForAgain) {
  push(10);
  Dictionary refused = backupStatus(10, {"one"});
  statuskey::opError.set(refused, "You are not allowed to stop what is being done.");
  world.helper().whenCalled("breakProgress", [&] {
    EXPECT_TRUE(watch.isStopping());
    world.transport.push(refused);
    throw LinkException("Access denied");
  });
  watch.stop();
  EXPECT_FALSE(watch.isStopping());
  watch.stop();
  EXPECT_EQ(world.helper().count("breakProgress"), 2U);
}

TEST_F(Watch, StopWithoutAnOperationSendsNothing) {
  watch.stop();
  EXPECT_EQ(world.helper().count("breakProgress"), 0U);
  EXPECT_FALSE(watch.isStopping());
}

TEST_F(Watch, HelperThatDiedWhileStoppingCanBeAskedAgain) {
  push(10);
  watch.stop();
  world.transport.helperDies();
  EXPECT_FALSE(watch.isStopping());
}

TEST_F(Watch, OperationThatRunsAlreadyIsFollowed) {
  push(10);
  OperationWatch late(world.controller, world.loop, [] { return at(0); });
  pass(300);
  EXPECT_EQ(late.noProgressSince(), at(0));
}

}  // namespace
}  // namespace zpk
