// The doubles decide what the other tests here can tell, so they are held to the contracts they stand for.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/FakeLinkTransport.h"
#include "support/ImmediateQueue.h"
#include "support/VirtualRunLoop.h"

namespace zpk {
namespace {

using testing::ElementsAre;

TEST(VirtualRunLoop, RunsWhatIsDueInOrderOfTimeThenOfAsking) {
  VirtualRunLoop loop;
  std::string order;
  loop.performAfterDelay(Seconds(2), [&] { order += 'c'; });
  loop.performAfterDelay(Seconds(1), [&] { order += 'a'; });
  loop.performAfterDelay(Seconds(1), [&] { order += 'b'; });
  loop.advance(Seconds(1.5));
  EXPECT_EQ(order, "ab");
  loop.advance(Seconds(0.5));
  EXPECT_EQ(order, "abc");
  EXPECT_EQ(loop.now(), Seconds(2));
}

TEST(VirtualRunLoop, NeverPerformsBeforeTheCallReturned) {
  VirtualRunLoop loop;
  bool performed = false;
  loop.performAfterDelay(Seconds(0), [&] { performed = true; });
  EXPECT_FALSE(performed);
  loop.turn();
  EXPECT_TRUE(performed);
}

TEST(VirtualRunLoop, DropsWhatAnotherThreadAsksToBePerformed) {
  VirtualRunLoop loop;
  std::thread([&] { loop.performAfterDelay(Seconds(0), [] { FAIL(); }); }).join();
  EXPECT_EQ(loop.pendingCount(), 0u);
  loop.advance(Seconds(1));
}

TEST(VirtualRunLoop, ATimerFiresAfterEachPeriodUntilItsTokenEnds) {
  VirtualRunLoop loop;
  int fired = 0;
  Token timer = loop.scheduledTimer(Seconds(2), [&] { ++fired; });
  loop.advance(Seconds(1.9));
  EXPECT_EQ(fired, 0);
  loop.advance(Seconds(4.1));
  EXPECT_EQ(fired, 3);
  timer.reset();
  loop.advance(Seconds(60));
  EXPECT_EQ(fired, 3);
}

TEST(VirtualRunLoop, ATimerMayEndItself) {
  VirtualRunLoop loop;
  int fired = 0;
  Token timer;
  timer = loop.scheduledTimer(Seconds(1), [&] {
    ++fired;
    timer.reset();
  });
  loop.advance(Seconds(10));
  EXPECT_EQ(fired, 1);
}

TEST(VirtualRunLoop, ATimerNeitherNestsNorMakesUpForMissedPeriods) {
  VirtualRunLoop loop;
  std::vector<Seconds> fired;
  const Token timer = loop.scheduledTimer(Seconds(1), [&] {
    fired.push_back(loop.now());
    if (fired.size() == 1) loop.runFor(Seconds(3.5));
  });
  loop.advance(Seconds(5));
  EXPECT_THAT(fired, ElementsAre(Seconds(1), Seconds(5)));
}

TEST(VirtualRunLoop, APrivateModeServesOneInputAndNoTimer) {
  VirtualRunLoop loop;
  std::string served;
  loop.performAfterDelay(Seconds(1), [&] { served += 'p'; });
  const Token timer = loop.scheduledTimer(Seconds(1), [&] { served += 't'; });
  loop.input(Seconds(2), [&] { served += loop.currentMode() == "modal" ? 'i' : '?'; }, {"modal"});
  loop.input(Seconds(3), [&] { served += 'j'; }, {"modal"});
  loop.runInMode("modal", Seconds(10));
  EXPECT_EQ(served, "i");
  EXPECT_EQ(loop.now(), Seconds(2));
  EXPECT_EQ(loop.currentMode(), kDefaultRunLoopMode);
  loop.runInMode("other", Seconds(10));
  EXPECT_EQ(loop.now(), Seconds(12)) << "nothing to serve: the time is over";
}

TEST(VirtualRunLoop, StopEndsTheInnermostRunOnly) {
  VirtualRunLoop loop;
  Seconds innerEnded{0};
  loop.input(Seconds(1), [&] {
    loop.runFor(Seconds(100));
    innerEnded = loop.now();
  });
  loop.input(Seconds(2), [&] { loop.stop(); });
  loop.input(Seconds(3), [&] { loop.stop(); });
  loop.run();
  EXPECT_EQ(innerEnded, Seconds(2));
  EXPECT_EQ(loop.now(), Seconds(3));
}

TEST(VirtualRunLoop, SaysSoWhenATestWouldHang) {
  VirtualRunLoop loop;
  EXPECT_THROW(loop.run(), std::logic_error);
  std::function<void()> again = [&] { loop.performAfterDelay(Seconds(0), again); };
  again();
  EXPECT_THROW(loop.turn(), std::logic_error);
}

TEST(FakeLinkTransport, AProxyIsGoodForOneLifeOfTheHelper) {
  VirtualRunLoop loop;
  FakeLinkTransport transport(loop);
  EXPECT_EQ(transport.portForName("zpkhelper"), nullptr);
  transport.helperAppears();
  EXPECT_EQ(transport.portForName("another"), nullptr);
  const auto proxy = transport.rootProxy(transport.port(), transport.portForName("zpkhelper"));
  EXPECT_EQ(proxy->backup(), Value(0));
  transport.helperDies();
  EXPECT_THROW(proxy->backup(), LinkException);
  transport.helperAppears();
  EXPECT_THROW(proxy->backup(), LinkException) << "another process behind the same name";
  EXPECT_EQ(transport.helper().count("backup"), 1u);
}

TEST(FakeLinkTransport, TellsOfComingAndGoing) {
  VirtualRunLoop loop;
  FakeLinkTransport transport(loop);
  std::vector<bool> seen;
  Token token = transport.observePresence("zpkhelper", [&](bool present) { seen.push_back(present); });
  transport.helperAppears();
  transport.helperDies();
  token.reset();
  transport.helperAppears();
  EXPECT_THAT(seen, ElementsAre(true, false));
}

TEST(FakeLinkTransport, AHelperThatDiesWhileACommandWaitsFailsItAtOnce) {
  VirtualRunLoop loop;
  FakeLinkTransport transport(loop);
  transport.helperAppears();
  const auto proxy = transport.rootProxy(transport.port(), transport.portForName("zpkhelper"));
  transport.setAnswerDelay(Seconds(10));
  loop.input(Seconds(4), [&] { transport.helperDies(); }, {std::string(FakeLinkTransport::kWaitMode)});
  std::vector<bool> answering;
  const Token token = transport.observeAnswering([&](bool now) { answering.push_back(now); });
  EXPECT_THROW(proxy->backup(), LinkException);
  EXPECT_EQ(loop.now(), Seconds(4));
  EXPECT_THAT(answering, ElementsAre(false, true));
}

TEST(FakeLinkTransport, CollectingLogsMayTakeLongerThanOtherCommands) {
  VirtualRunLoop loop;
  FakeLinkTransport transport(loop);
  transport.helperAppears();
  const auto proxy = transport.rootProxy(transport.port(), transport.portForName("zpkhelper"));
  transport.setAnswerDelay(Seconds(300));
  EXPECT_THROW(proxy->backup(), LinkException);
  EXPECT_EQ(loop.now(), Seconds(60));
  EXPECT_EQ(proxy->collectLogsToPath("/tmp/logs"), Value(0));
}

TEST(FakeHelper, AnswersInTurnThenAsItStands) {
  FakeHelper helper;
  helper.answerOnce("backup", 6);
  helper.answerOnce("backup", 5);
  helper.answer("backup", 4);
  const auto ask = [&helper] { return helper.serve({"backup", {}, {}}); };
  EXPECT_EQ(ask(), Value(6));
  EXPECT_EQ(ask(), Value(5));
  EXPECT_EQ(ask(), Value(4));
  EXPECT_EQ(ask(), Value(4));
  EXPECT_EQ(helper.serve({"reload", {}, {}}), Value(0));
  EXPECT_THAT(helper.commands(), ElementsAre("backup", "backup", "backup", "backup", "reload"));
}

TEST(ImmediateQueue, DoesItsWorkBeforeItReturns) {
  ImmediateQueue queue;
  bool done = false;
  queue.async([&done] { done = true; });
  EXPECT_TRUE(done);
}

}  // namespace
}  // namespace zpk
