// What every run loop keeps, the one with virtual time that the logic is tested with and the real ones. Times are
// only ever bounds here: how late something ran is the machine's business.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <thread>

#include "platform/posix/PollRunLoop.h"
#include "platform/qt/QtRunLoop.h"
#include "support/VirtualRunLoop.h"

namespace zpk {
namespace {

using testing::ElementsAre;

constexpr Seconds kSoon{0.01};
constexpr Seconds kFar{60};
constexpr std::string_view kPrivateMode = "private";

template <class Loop>
class RunLoopContract : public testing::Test {
 protected:
  // Serves the default mode until `condition`, or fails.
  template <class Condition>
  void serveUntil(const Condition& condition) {
    const Seconds deadline = loop->now() + Seconds(10);
    while (!condition() && loop->now() < deadline) loop->runInMode(kDefaultRunLoopMode, deadline - loop->now());
    ASSERT_TRUE(condition()) << "nothing happened";
  }

  std::unique_ptr<Loop> owner = std::make_unique<Loop>();
  RunLoop* loop = owner.get();
};

using Loops = testing::Types<VirtualRunLoop, QtRunLoop, PollRunLoop>;
TYPED_TEST_SUITE(RunLoopContract, Loops);

TYPED_TEST(RunLoopContract, APerformRunsOnceAndNeverEarlyOrInsideTheCall) {
  int runs = 0;
  Seconds ranAt{0};
  const Seconds asked = this->loop->now();
  this->loop->performAfterDelay(kSoon, [&] {
    ++runs;
    ranAt = this->loop->now();
  });
  EXPECT_EQ(runs, 0);
  this->serveUntil([&] { return runs > 0; });
  EXPECT_GE(ranAt - asked, kSoon);
  this->loop->runFor(kSoon);
  EXPECT_EQ(runs, 1);
}

TYPED_TEST(RunLoopContract, PerformsRunInTheOrderOfTheirTimesAndOfAsking) {
  std::vector<int> order;
  this->loop->performAfterDelay(kSoon * 2, [&] { order.push_back(4); });
  this->loop->performAfterDelay(kSoon, [&] { order.push_back(3); });
  this->loop->performAfterDelay(Seconds(0), [&] { order.push_back(1); });
  this->loop->performAfterDelay(Seconds(0), [&] { order.push_back(2); });
  this->serveUntil([&] { return order.size() == 4; });
  EXPECT_THAT(order, ElementsAre(1, 2, 3, 4));
}

TYPED_TEST(RunLoopContract, APerformAskedForInsideACallbackRunsAfterIt) {
  std::vector<int> order;
  this->loop->performAfterDelay(Seconds(0), [&] {
    this->loop->performAfterDelay(Seconds(0), [&] { order.push_back(2); });
    order.push_back(1);
  });
  this->serveUntil([&] { return order.size() == 2; });
  EXPECT_THAT(order, ElementsAre(1, 2));
}

TYPED_TEST(RunLoopContract, APrivateModeRunsNeitherTimersNorPerformsAndEachRunsOnceAfterwards) {
  int performs = 0;
  int ticks = 0;
  this->loop->performAfterDelay(kSoon, [&] { ++performs; });
  const Token timer = this->loop->scheduledTimer(kSoon * 20, [&] { ++ticks; });
  const Seconds begun = this->loop->now();
  this->loop->runInMode(kPrivateMode, kSoon * 50);
  const Seconds ended = this->loop->now();
  EXPECT_GE(ended - begun, kSoon * 50) << "nothing was there to be served";
  EXPECT_EQ(performs, 0);
  EXPECT_EQ(ticks, 0);

  this->serveUntil([&] { return performs > 0 && ticks > 0; });
  this->loop->runFor(kSoon);
  EXPECT_EQ(performs, 1);
  // One late tick, and one for each of its times that came after the private mode: the two that passed meanwhile
  // are not made up.
  const double laterTimes = std::floor((this->loop->now() - ended) / (kSoon * 20)) + 1;
  EXPECT_LE(ticks, 1 + laterTimes);
}

TYPED_TEST(RunLoopContract, ServingAModeEndsWhenSomethingWasServed) {
  bool served = false;
  this->loop->performAfterDelay(kSoon, [&] { served = true; });
  const Seconds begun = this->loop->now();
  this->loop->runInMode(kDefaultRunLoopMode, kFar);
  EXPECT_TRUE(served);
  EXPECT_LT(this->loop->now() - begun, kFar);
}

TYPED_TEST(RunLoopContract, ServingAModeEndsWhenItsTimeIsOver) {
  for (const std::string_view mode : {kDefaultRunLoopMode, kPrivateMode}) {
    for (const Seconds atMost : {Seconds(0), kSoon}) {
      const Seconds begun = this->loop->now();
      this->loop->runInMode(mode, atMost);
      EXPECT_GE(this->loop->now() - begun, atMost);
    }
  }
}

TYPED_TEST(RunLoopContract, TheDefaultModeServedWithinAPrivateOneRunsPerforms) {
  EXPECT_EQ(this->loop->currentMode(), kDefaultRunLoopMode);
  std::vector<std::string> modes;
  this->loop->performAfterDelay(Seconds(0), [&] {
    modes.emplace_back(this->loop->currentMode());
    this->loop->performAfterDelay(Seconds(0), [&] { modes.emplace_back("in private"); });
    this->loop->runInMode(kPrivateMode, kSoon);
    modes.emplace_back(this->loop->currentMode());
  });
  this->serveUntil([&] { return modes.size() == 3; });
  EXPECT_THAT(modes, ElementsAre("default", "default", "in private"));
}

TYPED_TEST(RunLoopContract, RunForServesUntilItsTimeIsOverHoweverMuchItServes) {
  int ticks = 0;
  const Token timer = this->loop->scheduledTimer(kSoon, [&] { ++ticks; });
  const Seconds begun = this->loop->now();
  this->loop->runFor(kSoon * 10);
  EXPECT_GE(this->loop->now() - begun, kSoon * 10);
  EXPECT_GE(ticks, 1);
}

TYPED_TEST(RunLoopContract, StopEndsTheInnermostRunOnly) {
  std::vector<std::string> events;
  this->loop->performAfterDelay(Seconds(0), [&] {
    this->loop->performAfterDelay(Seconds(0), [&] {
      events.emplace_back("stop inner");
      this->loop->stop();
    });
    this->loop->runFor(kFar);
    events.emplace_back("inner ended");
    this->loop->performAfterDelay(Seconds(0), [&] {
      events.emplace_back("stop outer");
      this->loop->stop();
    });
  });
  const Seconds begun = this->loop->now();
  this->loop->run();
  EXPECT_LT(this->loop->now() - begun, kFar);
  EXPECT_THAT(events, ElementsAre("stop inner", "inner ended", "stop outer"));
}

TYPED_TEST(RunLoopContract, AStoppedLoopRunsAgain) {
  for (int i = 0; i < 3; ++i) {
    this->loop->performAfterDelay(Seconds(0), [&] { this->loop->stop(); });
    this->loop->run();
  }
  bool served = false;
  this->loop->performAfterDelay(Seconds(0), [&] { served = true; });
  this->serveUntil([&] { return served; });
}

TYPED_TEST(RunLoopContract, AStopWithNothingRunningIsForgotten) {
  this->loop->stop();
  const Seconds begun = this->loop->now();
  this->loop->runFor(kSoon);
  EXPECT_GE(this->loop->now() - begun, kSoon);
}

TYPED_TEST(RunLoopContract, APerformAskedForOnAnotherThreadIsDropped) {
  int runs = 0;
  std::thread([&] { this->loop->performAfterDelay(Seconds(0), [&] { ++runs; }); }).join();
  this->loop->runFor(kSoon);
  EXPECT_EQ(runs, 0);
}

TYPED_TEST(RunLoopContract, ATimerTicksUntilItsTokenEnds) {
  int ticks = 0;
  Token timer = this->loop->scheduledTimer(kSoon, [&] { ++ticks; });
  this->serveUntil([&] { return ticks == 3; });
  timer.reset();
  this->loop->runFor(kSoon * 3);
  EXPECT_EQ(ticks, 3);
}

TYPED_TEST(RunLoopContract, ATimerMayEndItself) {
  int ticks = 0;
  Token timer;
  timer = this->loop->scheduledTimer(kSoon, [&] {
    ++ticks;
    timer.reset();
  });
  this->serveUntil([&] { return ticks == 1; });
  this->loop->runFor(kSoon * 3);
  EXPECT_EQ(ticks, 1);
}

TYPED_TEST(RunLoopContract, ATimerWhoseCallbackRunsTheLoopDoesNotFireInsideIt) {
  int depth = 0;
  int deepest = 0;
  int rounds = 0;
  int others = 0;
  const Token other = this->loop->scheduledTimer(kSoon, [&] { others += depth; });
  const Token timer = this->loop->scheduledTimer(kSoon, [&] {
    deepest = std::max(deepest, ++depth);
    this->loop->runFor(kSoon * 5);
    --depth;
    ++rounds;
  });
  this->serveUntil([&] { return rounds >= 2; });
  EXPECT_EQ(deepest, 1);
  EXPECT_GT(others, 0) << "other timers do fire inside it";
}

TYPED_TEST(RunLoopContract, TokensMayOutliveTheLoop) {
  Token timer = this->loop->scheduledTimer(kSoon, [] { FAIL(); });
  this->loop->performAfterDelay(Seconds(0), [] { FAIL(); });
  this->owner.reset();
  timer.reset();
}

}  // namespace
}  // namespace zpk
