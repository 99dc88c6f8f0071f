#include <gmock/gmock.h>

#include <thread>

#include "platform/linux/link/LinkFixture.h"
#include "platform/linux/wire/WireForm.h"

namespace zpk::tests {
namespace {

using testing::HasSubstr;

using DBusLink = LinkTest;

TEST_F(DBusLink, WithoutAHelperThereIsNoPortAndEveryCommandFails) {
  EXPECT_EQ(transport->portForName(kName), nullptr);
  proxy = transport->rootProxy(transport->port(), nullptr);
  EXPECT_THAT(failureOf([&] { proxy->reload(); }), HasSubstr("no helper"));
}

TEST_F(DBusLink, ACommandsResultCodeComesBackAsANumber) {
  startHelper();
  connect();
  EXPECT_EQ(tell("code 6"), Value(6));
  EXPECT_EQ(proxy->backup(), Value(0));
  EXPECT_EQ(proxy->restore(1, "disk", 2, 3), Value(0));
  EXPECT_EQ(proxy->pin(true, 4, std::nullopt), Value(0));
  EXPECT_EQ(proxy->setCheckFS(true), Value(0));
  EXPECT_EQ(proxy->mergeArchiveWithParent(1), Value(0));
  EXPECT_EQ(proxy->setMaxIncrementsCount(5), Value(0));
}

TEST_F(DBusLink, ACheckInTellsThePortAndTheLastStateTime) {
  startAndCheckIn();
  proxy->checkInWithPort(receivePort, -7);
  const Value status = proxy->status();
  ASSERT_TRUE(status.isDictionary());
  EXPECT_EQ((*status.dictionary())["checkins"], Value(2));
  EXPECT_EQ((*status.dictionary())["laststatetime"], Value(-7));
}

TEST_F(DBusLink, ATextThatTheBusDoesNotTakeIsSentMadeValid) {
  startHelper();
  connect();
  EXPECT_EQ(tell(std::string("code 5 \xFF\0", 9)), Value(5));
}

TEST_F(DBusLink, PushesDuringACommandAreDeliveredBeforeItReturns) {
  startAndCheckIn();
  EXPECT_EQ(tell("push 5"), Value(5));
  EXPECT_EQ(delegate.stateTimes, countTo(5));
}

TEST_F(DBusLink, ABurstBeforeTheReplyIsDeliveredInOrderBeforeTheCommandReturns) {
  startAndCheckIn();
  tell("burst 1000");
  EXPECT_EQ(delegate.stateTimes, countTo(1000));
}

TEST_F(DBusLink, ABurstAfterTheReplyIsDeliveredInOrderByTheRunLoop) {
  startAndCheckIn();
  tell("answer-burst 3000");
  EXPECT_TRUE(loop.runUntil([&] { return delegate.stateTimes.size() >= 3000; }));
  EXPECT_EQ(delegate.stateTimes, countTo(3000));
}

TEST_F(DBusLink, NeedReloadAnswersTheHelper) {
  startAndCheckIn();
  EXPECT_EQ(tell("need-reload"), Value(0));
  delegate.reloadAnswer = true;
  EXPECT_EQ(tell("need-reload"), Value(1));
}

TEST_F(DBusLink, ACallbackMaySendACommandOfItsOwnWhileOneWaits) {
  startAndCheckIn();
  Value inner;
  // The helper answers one command at a time: it takes the inner one when its burst is out.
  delegate.onStatus = [&](const Dictionary& status) {
    if (status["statetime"] == Value(1)) inner = proxy->setTargetPath("/inner");
  };
  EXPECT_EQ(tell("burst 3"), Value(0));
  EXPECT_EQ(inner, Value(0));
  EXPECT_EQ(delegate.stateTimes, countTo(3));
}

TEST_F(DBusLink, CallbacksWaitForAModeThatTheirPortServes) {
  startAndCheckIn();
  bool gone = false;
  const Token token = transport->observePresence(kName, [&](bool present) { gone = !present; });
  tell("last-burst 3");
  // The helper's end is told in every mode, and comes behind its calls.
  EXPECT_TRUE(loop.runUntil([&] { return gone; }, "panel"));
  EXPECT_TRUE(delegate.stateTimes.empty());
  EXPECT_TRUE(loop.runUntil([&] { return delegate.stateTimes.size() == 3; }));
}

TEST_F(DBusLink, AnAddedRequestModeIsServed) {
  startAndCheckIn();
  receiving->addRequestMode("panel");
  tell("answer-burst 3");
  EXPECT_TRUE(loop.runUntil([&] { return delegate.stateTimes.size() == 3; }, "panel"));
}

TEST_F(DBusLink, TooManyCallsInAnUnservedModeAreRefusedAndTheOthersDelivered) {
  startAndCheckIn();
  bool gone = false;
  const Token token = transport->observePresence(kName, [&](bool present) { gone = !present; });
  tell("last-burst 2000");
  EXPECT_TRUE(loop.runUntil([&] { return gone; }, "panel"));
  EXPECT_TRUE(delegate.stateTimes.empty());
  bool later = false;
  loop.performAfterDelay(Seconds(0.01), [&] { later = true; });
  ASSERT_TRUE(loop.runUntil([&] { return later && delegate.stateTimes.size() >= 256; }));
  EXPECT_EQ(delegate.stateTimes, countTo(256));
}

TEST_F(DBusLink, CallbacksEndWithTheReceiveConnection) {
  startAndCheckIn();
  receiving.reset();
  EXPECT_EQ(tell("push 2"), Value(0));
  EXPECT_TRUE(delegate.stateTimes.empty());
}

TEST_F(DBusLink, AnErrorReplyIsALinkException) {
  startHelper();
  connect();
  EXPECT_THAT(failureOf([&] { tell("error"); }), HasSubstr("com.tarnwick.Error: told to fail"));
  EXPECT_THAT(failureOf([&] { tell("wrong-type"); }), HasSubstr("another type"));
  EXPECT_EQ(tell("code 1"), Value(1));
}

TEST_F(DBusLink, ASilentHelperIsATimeoutAndSaidNotToAnswerMeanwhile) {
  LinkTimes times = quickTimes();
  times.command = std::chrono::milliseconds(300);
  times.notAnswering = std::chrono::milliseconds(100);
  restartTransport(surroundings(times));
  startHelper();
  connect();
  std::vector<bool> answering;
  const Token token = transport->observeAnswering([&](bool answers) { answering.push_back(answers); });
  EXPECT_THAT(failureOf([&] { tell("silence"); }), HasSubstr("no reply in time"));
  EXPECT_EQ(answering, (std::vector<bool>{false, true}));
  EXPECT_GT(loop.servedCount(kLinkWaitMode), 0);
  EXPECT_EQ(tell("code 2"), Value(2));
}

// For longer than the patience with one that is silent, it calls; the end of that patience comes after its last
// call.
TEST_F(DBusLink, AHelperThatCallsWhileItIsWaitedForIsAnswering) {
  LinkTimes times = quickTimes();
  times.command = std::chrono::milliseconds(1700);
  times.notAnswering = std::chrono::milliseconds(500);
  restartTransport(surroundings(times));
  startAndCheckIn();
  std::vector<std::string> events;
  delegate.onNeedReload = [&] { events.emplace_back("call"); };
  const Token token =
      transport->observeAnswering([&](bool answers) { events.emplace_back(answers ? "over" : "not answering"); });
  constexpr std::size_t kCalls = 35;
  EXPECT_THAT(failureOf([&] { tell("remind " + std::to_string(kCalls)); }), HasSubstr("no reply in time"));
  std::vector<std::string> expected(kCalls, "call");
  expected.insert(expected.end(), {"not answering", "over"});
  EXPECT_EQ(events, expected);
}

TEST_F(DBusLink, CollectingLogsAloneHasItsOwnPatience) {
  LinkTimes times = quickTimes();
  times.collectLogs = std::chrono::milliseconds(50);
  restartTransport(surroundings(times));
  startHelper();
  connect();
  EXPECT_EQ(tell("late 200"), Value(0));
  helper.stop();
  EXPECT_THAT(failureOf([&] { proxy->collectLogsToPath("/tmp"); }), HasSubstr("no reply in time"));
  helper.resume();

  times = quickTimes();
  times.command = std::chrono::milliseconds(50);
  times.notAnswering = std::chrono::milliseconds(100);
  restartTransport(surroundings(times));
  connect();
  helper.stop();
  EXPECT_THAT(failureOf([&] { proxy->breakProgress(); }), HasSubstr("no reply in time"));
  const Token token = transport->observeAnswering([&](bool answers) {
    if (!answers) helper.resume();
  });
  EXPECT_EQ(proxy->collectLogsToPath("/tmp"), Value(0)) << "still waited for after twice the other's time";
}

TEST(LinkTimes, AreTheLinksOwnUnlessATestShortensThem) {
  const LinkTimes times;
  EXPECT_EQ(times.command, std::chrono::seconds(60));
  EXPECT_EQ(times.collectLogs, std::chrono::minutes(10));
  EXPECT_EQ(times.notAnswering, std::chrono::seconds(3));
}

TEST_F(DBusLink, AStoppedHelperIsSaidNotToAnswerUntilItGoesOn) {
  LinkTimes times = quickTimes();
  times.notAnswering = std::chrono::milliseconds(50);
  restartTransport(surroundings(times));
  startHelper();
  connect();
  helper.stop();
  std::vector<bool> answering;
  const Token token = transport->observeAnswering([&](bool answers) {
    answering.push_back(answers);
    if (!answers) helper.resume();
  });
  EXPECT_EQ(tell("code 3"), Value(3));
  EXPECT_EQ(answering, (std::vector<bool>{false, true}));
}

TEST_F(DBusLink, TimersAndDelayedPerformsWaitUntilACommandIsOver) {
  startHelper();
  connect();
  bool ran = false;
  loop.performAfterDelay(Seconds(0), [&] { ran = true; });
  tell("late 60");
  EXPECT_FALSE(ran);
  EXPECT_GT(loop.servedCount(kLinkWaitMode), 0);
}

TEST_F(DBusLink, AHelperThatDiesBeforeItsReplyIsALinkException) {
  startHelper();
  connect();
  EXPECT_THAT(failureOf([&] { tell("die"); }), HasSubstr("NoReply"));
  EXPECT_THAT(failureOf([&] { tell("code 0"); }), HasSubstr("ServiceUnknown"));
}

TEST_F(DBusLink, AHelperThatDiesInTheMiddleOfItsReplyIsALinkException) {
  startHelper();
  connect();
  EXPECT_THAT(failureOf([&] { tell("die-half"); }), HasSubstr("NoReply"));
}

TEST_F(DBusLink, AHelperThatDiesAfterItsReplyHasAnswered) {
  startHelper();
  connect();
  EXPECT_EQ(tell("die-after"), Value(0));
  helper.join();
  EXPECT_NE(failureOf([&] { tell("code 0"); }), "no exception");
}

TEST_F(DBusLink, AProxyNeverSpeaksToTheSuccessorOfItsHelper) {
  startHelper();
  connect();
  const auto old = proxy;
  helper.kill();
  ASSERT_TRUE(loop.runUntil([&] { return transport->portForName(kName) == nullptr; }));
  startHelper();
  connect();
  EXPECT_EQ(tell("code 4"), Value(4));
  EXPECT_THAT(failureOf([&] { old->reload(); }), HasSubstr("ServiceUnknown"));
}

TEST_F(DBusLink, AStatusOfSixteenMebibytesArrivesAndOneByteMoreDoesNot) {
  startAndCheckIn();
  EXPECT_EQ(tell("push-bytes " + std::to_string(kMaxWireBytes)), Value(0));
  EXPECT_EQ(delegate.stateTimes.size(), 1U);
  EXPECT_EQ(tell("push-bytes " + std::to_string(kMaxWireBytes + 1)), Value(1));
  EXPECT_EQ(delegate.stateTimes.size(), 1U);
  EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(DBusLink, AStatusOfSixteenLevelsArrivesAndOneLevelMoreDoesNot) {
  startAndCheckIn();
  EXPECT_EQ(tell("push-levels 16"), Value(0));
  EXPECT_EQ(tell("push-levels 17"), Value(1));
  EXPECT_EQ(tell("push-levels 18"), Value(1));
  EXPECT_EQ(delegate.stateTimes.size(), 1U);
}

TEST_F(DBusLink, AStatusThatCannotBeDecodedIsDroppedWithOneLogLine) {
  startAndCheckIn();
  EXPECT_EQ(tell("push-garbage"), Value(1));
  EXPECT_TRUE(delegate.stateTimes.empty());
  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_THAT(log.lines()[0], HasSubstr("Link::Dropped status"));
}

TEST_F(DBusLink, ACommandOnAnotherThreadHasAConnectionOfItsOwn) {
  startAndCheckIn();
  std::string failure = "not run";
  Value result;
  std::thread thread([&] {
    failure = failureOf([&] { result = proxy->collectLogsToPath("/tmp"); });
    if (failure == "no exception") failure = failureOf([&] { tell("die"); });
  });
  thread.join();
  EXPECT_EQ(result, Value(0));
  EXPECT_THAT(failure, HasSubstr("NoReply"));
}

TEST_F(DBusLink, ACommandOnAnotherThreadEndsWithTheTransport) {
  startHelper();
  connect();
  std::string failure;
  std::thread thread([&] { failure = failureOf([&] { tell("silence"); }); });
  // Answered once the helper took the other thread's command.
  while (proxy->status().isNull()) {
  }
  transport.reset();
  thread.join();
  EXPECT_THAT(failure, HasSubstr("the link was closed"));
}

TEST_F(DBusLink, AProxyThatOutlivesTheTransportFails) {
  startHelper();
  connect();
  receiving.reset();
  transport.reset();
  EXPECT_THAT(failureOf([&] { proxy->reload(); }), HasSubstr("gone"));
}

TEST_F(DBusLink, AFloodOfPushesNeitherHidesATimeoutNorStopsTheRunLoop) {
  LinkTimes times = quickTimes();
  times.command = std::chrono::milliseconds(150);
  restartTransport(surroundings(times));
  startAndCheckIn();
  delegate.onStatus = [&](const Dictionary& status) {
    if (status["statetime"] != Value(1)) return;
    EXPECT_NE(failureOf([&] { tell("silence"); }), "no exception");
  };
  EXPECT_THAT(failureOf([&] { tell("burst 200000"); }), HasSubstr("no reply in time"));
  EXPECT_GT(loop.servedCount(kLinkWaitMode), 0);
}

}  // namespace
}  // namespace zpk::tests
