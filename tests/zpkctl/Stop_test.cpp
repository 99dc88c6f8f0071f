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
