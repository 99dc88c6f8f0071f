#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "helperlink/LinkWorld.h"

namespace zpk {
namespace {

using testing::ElementsAre;

class BusyWait : public testing::Test {
 protected:
  BusyWait() {
    world.transport.helperAppears();
    world.log.clear();
    world.helper().forgetCalls();
  }

  // Answers with `results` in turn; the last one stands.
  Value run(std::vector<Value> results) {
    return daemon.doAsyncAction([this, results](ZPKDaemon& passed) {
      EXPECT_EQ(&passed, &daemon);
      const std::size_t call = calls++;
      return results[std::min(call, results.size() - 1)];
    });
  }

  LinkWorld world;
  ZPKDaemon daemon{world.environment()};
  std::size_t calls = 0;
};

const Dictionary kBusyStatus{{"state", 1}, {"statetime", 7}};

TEST_F(BusyWait, AHelperThatStaysBusyIsAskedSixTimesAndItsLastAnswerReturned) {
  std::size_t asked = 0;
  const Value result = daemon.doAsyncAction([&asked](ZPKDaemon&) {
    return Value(Dictionary{{"state", 1}, {"asked", ++asked}});
  });
  EXPECT_EQ(asked, 6u);
  EXPECT_THAT(world.log.lines(), ElementsAre("busywait: 0", "busywait: 1", "busywait: 2", "busywait: 3",
                                             "busywait: 4", "busywait: 5"));
  EXPECT_EQ(world.helper().count("reload"), 6u);
  EXPECT_EQ(world.loop.now(), Seconds(30));
  EXPECT_EQ(result, Value(Dictionary{{"state", 1}, {"asked", 6}}));
}

TEST_F(BusyWait, ABusyCodeFollowedBySuccessCostsTwoCallsAndOneWait) {
  EXPECT_EQ(run({6, 0}), Value(0));
  EXPECT_EQ(calls, 2u);
  EXPECT_EQ(world.loop.now(), Seconds(5));
  EXPECT_THAT(world.log.lines(), ElementsAre("busywait: 0"));
}

TEST_F(BusyWait, ReloadIsSentBeforeThePause) {
  Seconds reloadedAt{-1};
  world.helper().whenCalled("reload", [&] { reloadedAt = world.loop.now(); });
  run({6, 0});
  EXPECT_EQ(reloadedAt, Seconds(0));
}

TEST_F(BusyWait, TheResultOfReloadPlaysNoPart) {
  world.helper().answer("reload", 6);
  EXPECT_EQ(run({6, 3}), Value(3));
  EXPECT_EQ(world.helper().count("reload"), 1u);
}

TEST_F(BusyWait, ADictionaryWithoutStateIsFinal) {
  EXPECT_EQ(run({Dictionary{}}), Value(Dictionary{}));
  EXPECT_EQ(calls, 1u);
  EXPECT_EQ(world.loop.now(), Seconds(0));
}

TEST_F(BusyWait, ADictionaryWhoseStateIsNotBusyIsFinal) {
  EXPECT_EQ(run({kBusyStatus, Dictionary{{"state", 2}}}), Value(Dictionary{{"state", 2}}));
  EXPECT_EQ(calls, 2u);
}

TEST_F(BusyWait, StateIsReadWithAllItsBits) {
  const Value farAway = Dictionary{{"state", (std::uint64_t{1} << 32) + 1}};
  EXPECT_EQ(run({farAway}), farAway);
  EXPECT_EQ(calls, 1u);
}

TEST_F(BusyWait, EveryNumberButSixIsFinal) {
  for (const Value& number : {Value(0), Value(1), Value(5), Value(7u), Value(true), Value(-6), Value(5.5)}) {
    calls = 0;
    EXPECT_EQ(run({number}), number);
    EXPECT_EQ(calls, 1u);
  }
  EXPECT_TRUE(world.log.lines().empty());
}

TEST_F(BusyWait, SixIsBusyInWhateverKindOfNumberItComes) {
  for (const Value& six : {Value(6), Value(6u), Value(6.0)}) {
    calls = 0;
    EXPECT_EQ(run({six, 0}), Value(0));
    EXPECT_EQ(calls, 2u);
  }
}

TEST_F(BusyWait, NothingIsReturnedAtOnceWithoutALine) {
  EXPECT_TRUE(run({Value()}).isNull());
  EXPECT_EQ(calls, 1u);
  EXPECT_TRUE(world.log.lines().empty());
  EXPECT_EQ(world.helper().count("reload"), 0u);
  EXPECT_EQ(world.loop.now(), Seconds(0));
}

TEST_F(BusyWait, AnyOtherObjectCountsAsBusy) {
  EXPECT_EQ(run({"soon", 0}), Value(0));
  EXPECT_EQ(calls, 2u);
  calls = 0;
  const Value array = Array{Value(0)};
  EXPECT_EQ(run({array}), array);
  EXPECT_EQ(calls, 6u);
}

TEST_F(BusyWait, CallsOfTheHelperAndTimersAreServedDuringThePause) {
  std::vector<std::string> served;
  world.loop.input(Seconds(2), [&] { served.emplace_back("call"); });
  const Token timer = world.loop.scheduledTimer(Seconds(2), [&] { served.emplace_back("timer"); });
  run({6, 0});
  EXPECT_THAT(served, ElementsAre("call", "timer", "timer"));
}

TEST_F(BusyWait, AHelperThatGoesDuringThePauseEndsTheWait) {
  world.loop.input(Seconds(1), [&] { world.transport.helperDies(); });
  world.helper().answer("backup", 6);
  const Value result = daemon.doAsyncAction([](ZPKDaemon& passed) { return passed.backup(); });
  EXPECT_TRUE(result.isNull());
  EXPECT_EQ(world.loop.now(), Seconds(5));
  EXPECT_THAT(world.log.lines(), ElementsAre("busywait: 0", "ZPKD::Exc: the helper is gone"));
}

TEST_F(BusyWait, AFailingReloadSchedulesAReconnectionThatRunsWithinThePause) {
  world.transport.helperDies();
  run({6, 0});
  EXPECT_THAT(world.log.lines(), ElementsAre("busywait: 0", "ZPKD::Exc: the helper is gone", "ZPKD::Reconnect"));
}

TEST_F(BusyWait, TheActionIsKeptWhileItRuns) {
  // The only other holder lets go of the action in the middle of it.
  auto owned = std::make_shared<int>(6);
  const std::weak_ptr<int> watched = owned;
  ZPKDaemon::Action action = [owned = std::move(owned)](ZPKDaemon&) { return Value(std::exchange(*owned, 0)); };
  world.loop.input(Seconds(1), [&] {
    action = nullptr;
    EXPECT_FALSE(watched.expired());
  });
  EXPECT_EQ(daemon.doAsyncAction(action), Value(0));
  EXPECT_TRUE(watched.expired());
}

}  // namespace
}  // namespace zpk
