#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/zpkctl/Commands.h"
#include "zpkctl/SessionWorld.h"

namespace zpk::ctl {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

struct StopCommand : SessionWorld, testing::Test {
  StopCommand() { EXPECT_TRUE(connect()); }
};

TEST_F(StopCommand, ReturnsWhenWhatRanHasStopped) {
  nowIs(runningBackup(20, 9));
  helper().whenCalled("breakProgress",
                      [this] { soonIs(Seconds(1), failedStatus("It was stopped before it was complete.")); });
  EXPECT_EQ(runStop(session, console), kDone);
  EXPECT_THAT(console.said, ElementsAre("It has stopped."));
  EXPECT_GE(loop.now(), Seconds(1));
}

TEST_F(StopCommand, HasNothingToDoWhenNothingRuns) {
  EXPECT_EQ(runStop(session, console), kDone);
  EXPECT_THAT(console.said, ElementsAre("Nothing is running."));
  EXPECT_EQ(helper().count("breakProgress"), 0U);
}

// Another caller's backup, which the helper still looks at.
TEST_F(StopCommand, WaitsForABusyHelperAndStopsWhatItThenBegins) {
  nowIs(busyStatus());
  soonIs(Seconds(2), runningBackup(0, 0));
  helper().whenCalled("breakProgress",
                      [this] { soonIs(Seconds(1), failedStatus("It was stopped before it was complete.")); });
  EXPECT_EQ(runStop(session, console), kDone);
  EXPECT_THAT(console.said, ElementsAre("It has stopped."));
  EXPECT_EQ(helper().count("breakProgress"), 1U);
}

TEST_F(StopCommand, HasNothingToDoWhenABusyHelperTurnsOutIdle) {
  nowIs(busyStatus());
  soonIs(Seconds(2), readyStatus());
  EXPECT_EQ(runStop(session, console), kDone);
  EXPECT_THAT(console.said, ElementsAre("Nothing is running."));
}

TEST_F(StopCommand, DoesNotClaimToKnowWhatAHelperThatStaysBusyDoes) {
  nowIs(busyStatus());
  EXPECT_EQ(runStop(session, console), kNotDone);
  EXPECT_THAT(console.complained, ElementsAre(HasSubstr("Whether it is about to begin something is not known")));
  EXPECT_EQ(helper().count("breakProgress"), 0U);
  EXPECT_GE(loop.now(), Seconds(30));
}

TEST_F(StopCommand, CanBeInterruptedWhileItWaitsForABusyHelper) {
  nowIs(busyStatus());
  loop.performAfterDelay(Seconds(3), [this] { session.interrupt(); });
  EXPECT_EQ(runStop(session, console), kNotDone);
  EXPECT_THAT(console.complained, ElementsAre("Interrupted before anything was stopped."));
  EXPECT_LT(loop.now(), Seconds(5));
}

TEST_F(StopCommand, SaysThatTheUserMayNotStopIt) {
  nowIs(runningBackup(10, 5));
  Dictionary refused = runningBackup(10, 5);
  statuskey::opError.set(refused, "You are not allowed to stop what the helper does.");
  helper().whenCalled("breakProgress", [this, refused] {
    transport.pushAfter(Seconds(0.1), refused);
    throw LinkException("access denied");
  });
  EXPECT_EQ(runStop(session, console), kNotDone);
  EXPECT_THAT(console.complained, ElementsAre("You are not allowed to stop what the helper does."));
}

TEST_F(StopCommand, InterruptedWhileItIsSentItDoesNotKnowTheOutcome) {
  nowIs(runningBackup(20, 9));
  helper().whenCalled("breakProgress", [this] {
    session.interrupt();
    throw LinkException("the link was closed");
  });
  EXPECT_EQ(runStop(session, console), kNotDone);
  EXPECT_THAT(console.complained, ElementsAre("Interrupted. Whether it stops, 'zpkctl status' tells."));
}

TEST_F(StopCommand, AHelperThatEndsBeforeItWasAskedIsNotSilent) {
  nowIs(busyStatus());
  loop.performAfterDelay(Seconds(3), [this] { transport.helperDies(); });
  EXPECT_EQ(runStop(session, console), kNotDone);
  EXPECT_THAT(console.complained, ElementsAre("The backup helper has ended."));
}

TEST_F(StopCommand, SaysThatItTakesTooLong) {
  nowIs(runningBackup(20, 9));
  EXPECT_EQ(runStop(session, console), kNotDone);
  EXPECT_THAT(console.complained, ElementsAre("It was told to stop, and has not stopped yet."));
}

TEST_F(StopCommand, AHelperThatEndsIsNoSuccess) {
  nowIs(runningBackup(20, 9));
  helper().whenCalled("breakProgress", [this] { transport.helperDies(); });
  EXPECT_EQ(runStop(session, console), kNotDone);
  EXPECT_THAT(console.complained, ElementsAre(HasSubstr("does not answer")));
}

}  // namespace
}  // namespace zpk::ctl
