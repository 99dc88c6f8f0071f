#include "helperlink/ZPKDaemon.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "helperlink/LinkWorld.h"

namespace zpk {
namespace {

using testing::ElementsAre;

class ZPKDaemonTest : public testing::Test {
 protected:
  ZPKDaemon& daemon() {
    if (!_daemon) _daemon = std::make_unique<ZPKDaemon>(world.environment());
    return *_daemon;
  }
  ZPKDaemon& connectedDaemon() {
    world.transport.helperAppears();
    return daemon();
  }

  LinkWorld world;
  PostingCounter postings{world.notificationCenter, kZPKDaemonReconnectedNotification};
  std::unique_ptr<ZPKDaemon> _daemon;
};

TEST_F(ZPKDaemonTest, ConnectsWhenItIsMade) {
  connectedDaemon();
  EXPECT_THAT(world.log.lines(), ElementsAre("ZPKD::Reconnect"));
  EXPECT_THAT(world.transport.lookedUpNames(), ElementsAre("zpkhelper"));
  EXPECT_EQ(postings.count(), 1u);
  EXPECT_EQ(world.transport.proxiesMade(), 1u);
  EXPECT_TRUE(world.helper().calls().empty()) << "connecting asks the helper nothing";
}

TEST_F(ZPKDaemonTest, WithoutAHelperItTriesAgainOneSecondAfterACommand) {
  EXPECT_TRUE(daemon().status().isNull());
  EXPECT_EQ(world.reconnections(), 1u);
  world.loop.advance(Seconds(0.999));
  EXPECT_EQ(world.reconnections(), 1u);
  world.loop.advance(Seconds(0.001));
  EXPECT_EQ(world.reconnections(), 2u);
  EXPECT_THAT(world.log.lines(), ElementsAre("ZPKD::Reconnect", "ZPKD::Reconnect"));
  EXPECT_EQ(postings.count(), 0u);
}

TEST_F(ZPKDaemonTest, AnAttemptThatFindsNoHelperIsNotRepeatedByItself) {
  daemon();
  world.loop.advance(Seconds(3600));
  EXPECT_EQ(world.reconnections(), 1u);
}

TEST_F(ZPKDaemonTest, EveryAttemptMakesAFreshReceivePortEvenInVain) {
  daemon().reconnect();
  EXPECT_EQ(world.transport.portsMade(), 2u);
  EXPECT_EQ(world.transport.proxiesMade(), 0u);
}

TEST_F(ZPKDaemonTest, EverySuccessfulAttemptReplacesTheProxyAndPostsAgain) {
  connectedDaemon();
  daemon().reconnect();
  daemon().reconnect();
  EXPECT_EQ(world.transport.proxiesMade(), 3u);
  EXPECT_EQ(postings.count(), 3u);
  EXPECT_EQ(daemon().backup(), Value(0));
}

TEST_F(ZPKDaemonTest, PostsOnlyAfterTheNewProxyIsInPlace) {
  Value answer;
  daemon();
  const Token token =
      world.notificationCenter.addObserver(kZPKDaemonReconnectedNotification, [&] { answer = daemon().backup(); });
  world.transport.helperAppears();
  EXPECT_EQ(answer, Value(0));
}

TEST_F(ZPKDaemonTest, EveryCommandReachesTheHelperWithItsArguments) {
  ZPKDaemon& link = connectedDaemon();
  const std::shared_ptr<Port> port = world.transport.port();
  constexpr std::uint64_t kBig = 0xfedcba9876543210;
  link.status();
  link.setBackupSource("source");
  link.setTargetPath("/archives/a.rldbackup");
  link.backup();
  link.restore(3, "target", 17, kBig);
  link.checkInWithPort(port, -5);
  link.breakProgress();
  link.collectLogsToPath("/tmp/logs");
  link.mergeArchiveWithParent(kBig);
  link.setMaxIncrementsCount(12);
  link.reload();
  link.setCheckFS(true);
  link.pin(true, 4, "before the update");
  link.pin(false, 4, std::nullopt);

  const std::vector<FakeHelper::Call> calls = world.helper().calls();
  const std::vector<FakeHelper::Call> expected{
      {"status", {}, {}},
      {"setBackupSource", {"source"}, {}},
      {"setTargetPath", {"/archives/a.rldbackup"}, {}},
      {"backup", {}, {}},
      {"restore_toDisk_withNumber_withTargetSize", {3, "target", 17, kBig}, {}},
      {"checkInWithPort_lastStateTime", {-5}, port},
      {"breakProgress", {}, {}},
      {"collectLogsToPath", {"/tmp/logs"}, {}},
      {"mergeArchiveWithParent", {kBig}, {}},
      {"setMaxIncrementsCount", {12}, {}},
      {"reload", {}, {}},
      {"setCheckFS", {true}, {}},
      {"pin_arcItem_withLabel", {true, 4, "before the update"}, {}},
      {"pin_arcItem_withLabel", {false, 4, Value()}, {}},
  };
  ASSERT_EQ(calls.size(), expected.size());
  for (std::size_t i = 0; i < calls.size(); ++i) {
    EXPECT_EQ(calls[i].command, expected[i].command);
    EXPECT_EQ(calls[i].arguments, expected[i].arguments) << calls[i].command;
    EXPECT_EQ(calls[i].port, expected[i].port) << calls[i].command;
  }
}

struct Command {
  std::string name;
  std::function<Value(ZPKDaemon&)> send;
};

const std::vector<Command>& allCommands() {
  static const std::vector<Command> commands{
      {"status", [](ZPKDaemon& d) { return d.status(); }},
      {"setBackupSource", [](ZPKDaemon& d) { return d.setBackupSource("s"); }},
      {"setTargetPath", [](ZPKDaemon& d) { return d.setTargetPath("/p"); }},
      {"backup", [](ZPKDaemon& d) { return d.backup(); }},
      {"restore_toDisk_withNumber_withTargetSize", [](ZPKDaemon& d) { return d.restore(0, "t", 1, 2); }},
      {"checkInWithPort_lastStateTime", [](ZPKDaemon& d) { return d.checkInWithPort(nullptr, 0); }},
      {"breakProgress", [](ZPKDaemon& d) { return d.breakProgress(); }},
      {"collectLogsToPath", [](ZPKDaemon& d) { return d.collectLogsToPath("/p"); }},
      {"mergeArchiveWithParent", [](ZPKDaemon& d) { return d.mergeArchiveWithParent(1); }},
      {"setMaxIncrementsCount", [](ZPKDaemon& d) { return d.setMaxIncrementsCount(5); }},
      {"reload", [](ZPKDaemon& d) { return d.reload(); }},
      {"setCheckFS", [](ZPKDaemon& d) { return d.setCheckFS(false); }},
      {"pin_arcItem_withLabel", [](ZPKDaemon& d) { return d.pin(true, 0, "l"); }},
  };
  return commands;
}

class EveryCommand : public ZPKDaemonTest, public testing::WithParamInterface<Command> {};

TEST_P(EveryCommand, ReturnsWhateverTheHelperReturnsAndSchedulesNothing) {
  ZPKDaemon& link = connectedDaemon();
  for (const Value& answer : {Value(7u), Value(Dictionary{{"state", 1}}), Value("text"), Value()}) {
    world.helper().answer(GetParam().name, answer);
    EXPECT_EQ(GetParam().send(link), answer);
  }
  EXPECT_EQ(world.helper().count(GetParam().name), 4u);
  EXPECT_EQ(world.loop.pendingCount(), 0u);
}

TEST_P(EveryCommand, WithoutAProxyGivesNothingAndReconnectsOneSecondLater) {
  EXPECT_TRUE(GetParam().send(daemon()).isNull());
  EXPECT_EQ(world.log.lines().size(), 1u) << "a missing proxy is no exception to log";
  world.loop.advance(Seconds(1));
  EXPECT_EQ(world.reconnections(), 2u);
}

TEST_P(EveryCommand, WhoseHelperDiesMidReplyIsLoggedAndGivesNothing) {
  ZPKDaemon& link = connectedDaemon();
  world.helper().whenCalled(GetParam().name, [this] { world.transport.helperDies(); });
  world.log.clear();
  EXPECT_TRUE(GetParam().send(link).isNull());
  EXPECT_EQ(world.helper().count(GetParam().name), 1u);
  EXPECT_THAT(world.log.lines(), ElementsAre("ZPKD::Exc: the helper is gone"));
  world.loop.advance(Seconds(1));
  EXPECT_EQ(world.reconnections(), 1u);
}

TEST_P(EveryCommand, LetsAnyOtherExceptionPass) {
  ZPKDaemon& link = connectedDaemon();
  world.helper().whenCalled(GetParam().name, [] { throw std::runtime_error("not the link's"); });
  world.log.clear();
  EXPECT_THROW(GetParam().send(link), std::runtime_error);
  EXPECT_TRUE(world.log.lines().empty());
  EXPECT_EQ(world.loop.pendingCount(), 0u);
}

INSTANTIATE_TEST_SUITE_P(OfTheThirteen, EveryCommand, testing::ValuesIn(allCommands()),
                         [](const auto& instance) { return instance.param.name; });

TEST_F(ZPKDaemonTest, ThereAreThirteenCommands) {
  EXPECT_EQ(allCommands().size(), 13u);
}

TEST_F(ZPKDaemonTest, AnErrorReplyOfALivingHelperIsALinkFailureToo) {
  ZPKDaemon& link = connectedDaemon();
  world.helper().whenCalled("backup", [] { throw LinkException("the helper threw"); });
  world.log.clear();
  EXPECT_TRUE(link.backup().isNull());
  EXPECT_THAT(world.log.lines(), ElementsAre("ZPKD::Exc: the helper threw"));
  world.loop.advance(Seconds(1));
  EXPECT_EQ(world.transport.proxiesMade(), 2u);
}

TEST_F(ZPKDaemonTest, FiveFailingCallsWithinOneSecondScheduleFiveAttempts) {
  daemon();
  for (int call = 0; call < 5; ++call) {
    daemon().status();
    world.loop.advance(Seconds(0.125));
  }
  EXPECT_EQ(world.reconnections(), 1u);
  // Each comes one second after its own failure.
  world.loop.advance(Seconds(0.375));
  for (std::size_t attempt = 0; attempt < 5; ++attempt) {
    EXPECT_EQ(world.reconnections(), 2 + attempt);
    world.loop.advance(Seconds(0.125));
  }
  EXPECT_EQ(world.reconnections(), 6u);
  EXPECT_EQ(world.loop.pendingCount(), 0u);
}

TEST_F(ZPKDaemonTest, AttemptsHaveNoLimit) {
  for (int second = 0; second < 1000; ++second) {
    daemon().status();
    world.loop.advance(Seconds(1));
  }
  EXPECT_EQ(world.reconnections(), 1001u);
}

TEST_F(ZPKDaemonTest, AStaleProxyStaysUntilTheHelperReturns) {
  ZPKDaemon& link = connectedDaemon();
  world.transport.helperDies();
  world.log.clear();
  for (int round = 0; round < 2; ++round) {
    EXPECT_TRUE(link.reload().isNull());
    world.loop.advance(Seconds(1));
  }
  // Were the proxy cleared by the vain attempt, the second failure would log nothing.
  EXPECT_THAT(world.log.lines(), ElementsAre("ZPKD::Exc: the helper is gone", "ZPKD::Reconnect",
                                             "ZPKD::Exc: the helper is gone", "ZPKD::Reconnect"));
  EXPECT_EQ(postings.count(), 1u);
  world.transport.helperAppears();
  EXPECT_EQ(link.reload(), Value(0));
}

TEST_F(ZPKDaemonTest, AnAttemptIsDelayedWhileAPrivateModeRuns) {
  daemon().status();
  world.loop.runInMode("modal", Seconds(10));
  EXPECT_EQ(world.reconnections(), 1u);
  world.loop.turn();
  EXPECT_EQ(world.reconnections(), 2u);
}

TEST_F(ZPKDaemonTest, AHelperThatComesIsConnectedToAtOnce) {
  daemon();
  EXPECT_FALSE(daemon().isHelperReachable());
  world.transport.helperAppears();
  EXPECT_EQ(world.reconnections(), 2u);
  EXPECT_EQ(postings.count(), 1u);
  EXPECT_EQ(daemon().backup(), Value(0));
  EXPECT_TRUE(daemon().isHelperReachable());
  EXPECT_EQ(world.loop.now(), Seconds(0));
}

TEST_F(ZPKDaemonTest, AHelperThatGoesCausesNoAttemptByItself) {
  connectedDaemon();
  world.transport.helperDies();
  world.loop.advance(Seconds(60));
  EXPECT_EQ(world.reconnections(), 1u);
  EXPECT_FALSE(daemon().isHelperReachable());
}

TEST_F(ZPKDaemonTest, ConnectingAtOnceLeavesTheScheduledAttemptsAsTheyAre) {
  daemon();
  for (int call = 0; call < 5; ++call) daemon().status();
  world.loop.advance(Seconds(0.5));
  world.transport.helperAppears();
  EXPECT_EQ(world.reconnections(), 2u);
  world.loop.advance(Seconds(0.5));
  EXPECT_EQ(world.reconnections(), 7u);
  EXPECT_EQ(postings.count(), 6u) << "each success posts";
}

TEST_F(ZPKDaemonTest, AHelperReplacedDuringACommandFailsThatCommandAndServesTheNext) {
  ZPKDaemon& link = connectedDaemon();
  world.transport.setAnswerDelay(Seconds(2));
  world.loop.input(Seconds(1), [this] { world.transport.helperAppears(); },
                   {std::string(FakeLinkTransport::kWaitMode)});
  EXPECT_TRUE(link.backup().isNull());
  EXPECT_EQ(world.loop.now(), Seconds(1)) << "noticed at once, not after the reply's time";
  EXPECT_EQ(link.backup(), Value(0));
}

TEST_F(ZPKDaemonTest, ACommandThatIsNotAnsweredInTimeFails) {
  ZPKDaemon& link = connectedDaemon();
  world.transport.setAnswerDelay(Seconds(61));
  EXPECT_TRUE(link.backup().isNull());
  EXPECT_EQ(world.log.count("ZPKD::Exc: no reply in time"), 1u);
  world.loop.advance(Seconds(1));
  EXPECT_EQ(world.reconnections(), 2u);
}

TEST_F(ZPKDaemonTest, ACommandMayBeSentFromABackgroundThread) {
  ZPKDaemon& link = connectedDaemon();
  Value answer;
  std::thread([&] { answer = link.collectLogsToPath("/tmp/logs"); }).join();
  EXPECT_EQ(answer, Value(0));
}

TEST_F(ZPKDaemonTest, AFailureOnABackgroundThreadLeavesReconnectingToTheNextOneOnTheMainThread) {
  ZPKDaemon& link = connectedDaemon();
  world.transport.helperDies();
  std::thread([&] { EXPECT_TRUE(link.collectLogsToPath("/tmp/logs").isNull()); }).join();
  EXPECT_EQ(world.log.count("ZPKD::Exc: the helper is gone"), 1u);
  world.loop.advance(Seconds(60));
  EXPECT_EQ(world.reconnections(), 1u);
  link.status();
  world.loop.advance(Seconds(1));
  EXPECT_EQ(world.reconnections(), 2u);
}

TEST_F(ZPKDaemonTest, ReconnectingWhileABackgroundThreadSendsKeepsTheProxyOfThatCommandAlive) {
  ZPKDaemon& link = connectedDaemon();
  std::thread background([&link] {
    for (int call = 0; call < 200; ++call) EXPECT_EQ(link.collectLogsToPath("/tmp/logs"), Value(0));
  });
  for (int attempt = 0; attempt < 200; ++attempt) link.reconnect();
  background.join();
  EXPECT_EQ(world.helper().count("collectLogsToPath"), 200u);
}

TEST_F(ZPKDaemonTest, AnAttemptStillScheduledWhenTheDaemonEndsDoesNothing) {
  daemon().status();
  _daemon.reset();
  world.loop.advance(Seconds(1));
  world.transport.helperAppears();
  EXPECT_EQ(world.reconnections(), 1u);
}

}  // namespace
}  // namespace zpk
