#include <gmock/gmock.h>

#include <algorithm>

#include "base/NotificationCenter.h"
#include "platform/linux/link/LinkFixture.h"

namespace zpk::tests {
namespace {

using testing::HasSubstr;

class LinkRecovery : public LinkTest {
 protected:
  void observe() {
    presence = transport->observePresence(kName, [this](bool present) { told.push_back(present); });
  }
  bool isTold(bool present) {
    return loop.runUntil([&] { return !told.empty() && told.back() == present; });
  }

  std::vector<bool> told;
  Token presence;
};

TEST_F(LinkRecovery, TheHelpersComingAndGoingIsTold) {
  EXPECT_EQ(transport->portForName(kName), nullptr);
  observe();
  startHelper();
  EXPECT_TRUE(isTold(true));
  helper.kill();
  EXPECT_TRUE(isTold(false));
  EXPECT_EQ(told, (std::vector<bool>{true, false}));
}

TEST_F(LinkRecovery, AHelperThatWasFoundBeforeIsNoNews) {
  startHelper();
  connect();
  observe();
  EXPECT_EQ(proxy->reload(), Value(0));
  EXPECT_TRUE(told.empty());
}

TEST_F(LinkRecovery, AHelperThatTheBusCanStartIsStartedByTheLookUpAndTold) {
  bus.putService(kHelperBusName, SCRIPTED_HELPER);
  observe();
  EXPECT_EQ(transport->portForName(kName), nullptr) << "the look-up waits for nobody";
  EXPECT_TRUE(isTold(true));
  connect();
  EXPECT_EQ(tell("code 5"), Value(5));
  // It starts a dead one again, as often as it takes.
  EXPECT_NE(failureOf([&] { tell("die"); }), "no exception");
  EXPECT_TRUE(isTold(false));
  EXPECT_EQ(transport->portForName(kName), nullptr);
  EXPECT_TRUE(isTold(true));
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(LinkRecovery, AHelperThatTheBusFailsToStartCostsALogLineAndTheNextLookUpTriesAgain) {
  bus.putService(kHelperBusName, "/nowhere/zpkhelper");
  for (std::size_t attempt = 1; attempt <= 2; ++attempt) {
    EXPECT_EQ(transport->portForName(kName), nullptr);
    EXPECT_TRUE(loop.runUntil([&] { return log.lines().size() == attempt; }));
    EXPECT_THAT(log.lines().back(), HasSubstr("Link::com.tarnwick.zpkhelper cannot be started"));
  }
  bus.putService(kHelperBusName, SCRIPTED_HELPER);
  connect();
  EXPECT_EQ(tell("code 5"), Value(5));
}

TEST_F(LinkRecovery, ABusThatStartsNobodyIsNoNews) {
  for (int i = 0; i < 3; ++i) EXPECT_EQ(transport->portForName(kName), nullptr);
  startHelper();
  connect();
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(LinkRecovery, TheEndOfAHelperIsToldWhileACommandWaitsForIt) {
  startHelper();
  connect();
  observe();
  std::vector<bool> toldInside;
  const Token token = transport->observePresence(kName, [&](bool present) { toldInside.push_back(present); });
  EXPECT_NE(failureOf([&] { tell("die"); }), "no exception");
  EXPECT_EQ(toldInside, std::vector<bool>{false});
}

// Killed at rest and in the middle of commands, in turns; every return must be seen and every command must end.
TEST_F(LinkRecovery, AThousandRestartsAreAllSeenAndNothingHangs) {
  observe();
  transport->portForName(kName);
  for (int i = 0; i < 1000; ++i) {
    told.clear();
    startHelper();
    ASSERT_TRUE(isTold(true)) << "start " << i;
    connect();
    ASSERT_EQ(proxy->checkInWithPort(receivePort, i), Value(0));
    if (i % 2 == 0) {
      helper.kill();
    } else {
      ASSERT_NE(failureOf([&] { tell("die"); }), "no exception");
      helper.join();
    }
    ASSERT_TRUE(isTold(false)) << "end " << i;
  }
}

TEST_F(LinkRecovery, ADeadBusFailsEveryCommandAndIsFoundAgain) {
  observe();
  startAndCheckIn();
  const auto old = proxy;
  bus.kill();
  EXPECT_NE(failureOf([&] { proxy->reload(); }), "no exception");
  EXPECT_TRUE(isTold(false));
  EXPECT_EQ(transport->portForName(kName), nullptr);
  helper.join();

  bus.start();
  EXPECT_EQ(transport->portForName(kName), nullptr);
  startHelper();
  EXPECT_TRUE(isTold(true));
  connect();
  EXPECT_EQ(proxy->checkInWithPort(receivePort, 0), Value(0));
  EXPECT_EQ(tell("push 2"), Value(2));
  // On the new bus its name may be anybody's.
  EXPECT_THAT(failureOf([&] { old->reload(); }), HasSubstr("the helper's bus is gone"));
}

TEST_F(LinkRecovery, AHelperThatIsOnTheNewBusBeforeUsIsTold) {
  observe();
  startAndCheckIn();
  bus.kill();
  EXPECT_TRUE(isTold(false));
  helper.join();

  bus.start();
  startHelper();
  DBusLinkTransport other(surroundings());
  ASSERT_TRUE(loop.runUntil([&] { return other.portForName(kName) != nullptr; }));
  EXPECT_NE(transport->portForName(kName), nullptr);
  EXPECT_TRUE(isTold(true));
  EXPECT_EQ(std::count(told.begin(), told.end(), false), 1);
}

TEST_F(LinkRecovery, ABusThatDiesDuringACommandEndsIt) {
  LinkTimes times = quickTimes();
  times.notAnswering = std::chrono::milliseconds(20);
  restartTransport(surroundings(times));
  startHelper();
  connect();
  const Token token = transport->observeAnswering([&](bool answers) {
    if (!answers) bus.kill();
  });
  EXPECT_THAT(failureOf([&] { tell("silence"); }), HasSubstr("the connection to the bus was lost"));
}

TEST_F(LinkRecovery, AStoppedBusNeitherHangsALookUpNorACommand) {
  LinkTimes times = quickTimes();
  times.connectPatience = times.lookup = times.command = std::chrono::milliseconds(50);
  startHelper();
  connect();
  restartTransport(surroundings(times));
  connect();
  DBusLinkTransport unconnected(surroundings(times));

  bus.stop();
  EXPECT_EQ(unconnected.portForName(kName), nullptr);
  EXPECT_EQ(transport->portForName(kName), nullptr);
  EXPECT_THAT(failureOf([&] { proxy->reload(); }), HasSubstr("no reply in time"));

  bus.resume();
  EXPECT_TRUE(loop.runUntil([&] { return unconnected.portForName(kName) != nullptr; }));
  EXPECT_EQ(proxy->reload(), Value(0));
}

TEST_F(LinkRecovery, AConnectionThatABusNeverAcceptsIsBegunAnew) {
  LinkTimes times = quickTimes();
  times.connectPatience = std::chrono::milliseconds(20);
  times.connect = std::chrono::milliseconds(1);
  bus.stop();
  DBusLinkTransport unconnected(surroundings(times));
  for (int i = 0; i < 5; ++i) EXPECT_EQ(unconnected.portForName(kName), nullptr);
  bus.resume();
  startHelper();
  EXPECT_TRUE(loop.runUntil([&] { return unconnected.portForName(kName) != nullptr; }));
}

TEST_F(LinkRecovery, FiveFailingCallsScheduleFiveAttempts) {
  NotificationCenter center;
  int reconnections = 0;
  const Token token = center.addObserver(kZPKDaemonReconnectedNotification, [&] { ++reconnections; });
  startHelper();
  connect();
  ZPKDaemon daemon({*transport, center, loop, log});
  ASSERT_EQ(reconnections, 1);
  helper.kill();
  log.clear();
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(daemon.reload().isNull());
  EXPECT_EQ(log.count("ZPKD::Reconnect"), 0U);
  EXPECT_TRUE(loop.runUntil([&] { return log.count("ZPKD::Reconnect") == 5; }));
  EXPECT_EQ(reconnections, 1);
}

TEST_F(LinkRecovery, ADaemonFindsAHelperThatWasKilledAgainAtOnce) {
  NotificationCenter center;
  int reconnections = 0;
  const Token token = center.addObserver(kZPKDaemonReconnectedNotification, [&] { ++reconnections; });
  ZPKDaemon daemon({*transport, center, loop, log});
  for (int i = 0; i < 20; ++i) {
    reconnections = 0;
    startHelper();
    ASSERT_TRUE(loop.runUntil([&] { return reconnections > 0; })) << "start " << i;
    EXPECT_EQ(daemon.reload(), Value(0));
    helper.kill();
    EXPECT_TRUE(daemon.reload().isNull());
  }
}

}  // namespace
}  // namespace zpk::tests
