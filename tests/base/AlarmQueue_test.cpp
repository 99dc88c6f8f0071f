#include "base/AlarmQueue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <vector>

namespace zpk {
namespace {

using testing::ElementsAre;

class Alarms : public testing::Test {
 protected:
  // Serves what is due when so much time has passed.
  void pass(Seconds duration) {
    now += duration;
    while (queue->serveEarliest()) {
    }
  }
  AlarmQueue::Callback note(int number) {
    return [this, number] { order.push_back(number); };
  }

  Seconds now{100};
  int changes = 0;
  std::vector<int> order;
  std::unique_ptr<AlarmQueue> queue = std::make_unique<AlarmQueue>([this] { return now; }, [this] { ++changes; });
};

TEST_F(Alarms, RunInTheOrderOfTheirTimesAndOfAsking) {
  queue->perform(Seconds(2), note(3));
  queue->perform(Seconds(1), note(1));
  queue->perform(Seconds(1), note(2));
  EXPECT_EQ(queue->earliest(), Seconds(101));
  EXPECT_FALSE(queue->serveEarliest());
  pass(Seconds(5));
  EXPECT_THAT(order, ElementsAre(1, 2, 3));
  EXPECT_EQ(queue->earliest(), std::nullopt);
}

TEST_F(Alarms, OneIsServedAtATime) {
  queue->perform(Seconds(0), note(1));
  queue->perform(Seconds(0), note(2));
  EXPECT_TRUE(queue->serveEarliest());
  EXPECT_THAT(order, ElementsAre(1));
}

TEST_F(Alarms, ADelayThatIsNoTimeIsNone) {
  queue->perform(Seconds(-5), note(1));
  queue->perform(Seconds(std::numeric_limits<double>::quiet_NaN()), note(2));
  EXPECT_TRUE(queue->isDue());
  pass(Seconds(0));
  EXPECT_THAT(order, ElementsAre(1, 2));
}

TEST_F(Alarms, ATimerRunsEveryPeriodUntilItsTokenEnds) {
  Token timer = queue->schedule(Seconds(2), note(1));
  for (int second = 0; second < 6; ++second) pass(Seconds(1));
  EXPECT_THAT(order, ElementsAre(1, 1, 1));
  timer.reset();
  EXPECT_EQ(queue->earliest(), std::nullopt);
  pass(Seconds(10));
  EXPECT_EQ(order.size(), 3U);
}

TEST_F(Alarms, TimesThatPassedAreNotMadeUp) {
  const Token timer = queue->schedule(Seconds(2), note(1));
  pass(Seconds(7));
  EXPECT_THAT(order, ElementsAre(1));
  EXPECT_EQ(queue->earliest(), Seconds(108)) << "in step with the first";
}

TEST_F(Alarms, APeriodThatIsNoTimeIsTheShortest) {
  const Token none = queue->schedule(Seconds(0), note(1));
  EXPECT_EQ(queue->earliest(), now + Seconds(0.001));
  const Token noNumber = queue->schedule(Seconds(std::numeric_limits<double>::quiet_NaN()), note(2));
  pass(Seconds(0.001));
  EXPECT_THAT(order, ElementsAre(1, 2));
}

TEST_F(Alarms, ATimerDoesNotRunInsideItself) {
  const Token timer = queue->schedule(Seconds(1), [this] {
    order.push_back(1);
    pass(Seconds(10));
  });
  pass(Seconds(1));
  EXPECT_THAT(order, ElementsAre(1));
  pass(Seconds(1));
  EXPECT_THAT(order, ElementsAre(1, 1));
}

TEST_F(Alarms, OthersRunInsideOne) {
  queue->perform(Seconds(1), [this] {
    pass(Seconds(1));
    order.push_back(1);
  });
  queue->perform(Seconds(2), note(2));
  pass(Seconds(1));
  EXPECT_THAT(order, ElementsAre(2, 1));
}

TEST_F(Alarms, ATimerMayEndItselfAndOthers) {
  Token other = queue->schedule(Seconds(1), note(2));
  Token timer;
  timer = queue->schedule(Seconds(0.5), [&] {
    order.push_back(1);
    timer.reset();
    other.reset();
  });
  pass(Seconds(5));
  EXPECT_THAT(order, ElementsAre(1));
  EXPECT_EQ(queue->earliest(), std::nullopt);
}

TEST_F(Alarms, WhoeverWaitsHearsOfEachChange) {
  Token timer = queue->schedule(Seconds(1), [this] { order.push_back(changes); });
  EXPECT_EQ(changes, 1);
  pass(Seconds(1));
  EXPECT_THAT(order, ElementsAre(2)) << "before the callback, which may wait itself";
  EXPECT_EQ(changes, 3);
  timer.reset();
  EXPECT_EQ(changes, 4);
}

TEST_F(Alarms, ACallbackMayDestroyTheQueue) {
  Token timer = queue->schedule(Seconds(1), [this] {
    queue.reset();
    order.push_back(1);
  });
  now += Seconds(1);
  EXPECT_TRUE(queue->serveEarliest());
  EXPECT_THAT(order, ElementsAre(1));
  timer.reset();
}

// Of the queue's own: nobody is told then.
TEST_F(Alarms, WhatACallbackHoldsMayEndTimersAsTheQueueGoes) {
  auto held = std::make_shared<Token>(queue->schedule(Seconds(1), note(1)));
  queue->perform(Seconds(2), [held] {});
  held.reset();
  const int before = changes;
  queue.reset();
  EXPECT_EQ(changes, before);
}

TEST(WholeMilliseconds, AreNeverLessThanWasAskedFor) {
  EXPECT_EQ(wholeMilliseconds(Seconds(0.0001)), 1);
  EXPECT_EQ(wholeMilliseconds(Seconds(1.5)), 1500);
  EXPECT_EQ(wholeMilliseconds(Seconds(0)), 0);
  EXPECT_EQ(wholeMilliseconds(Seconds(-1)), 0);
  EXPECT_EQ(wholeMilliseconds(Seconds(std::numeric_limits<double>::quiet_NaN())), 0);
  EXPECT_EQ(wholeMilliseconds(Seconds::max()), std::numeric_limits<int>::max());
}

}  // namespace
}  // namespace zpk
