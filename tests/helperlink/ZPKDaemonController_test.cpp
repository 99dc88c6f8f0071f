#include "helperlink/ZPKDaemonController.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "helperlink/LinkWorld.h"

namespace zpk {
namespace {

using testing::ElementsAre;

constexpr std::string_view kCheckIn = "checkInWithPort_lastStateTime";

class ZPKDaemonControllerTest : public testing::Test {
 protected:
  ZPKDaemonControllerEnvironment environment() {
    return {world.transport, world.notificationCenter, world.loop,
            [this]() -> ZPKDaemon& { return sharedDaemon(); }};
  }
  // Made when first asked for, as the process's own is.
  ZPKDaemon& sharedDaemon() {
    if (!daemon) daemon = std::make_unique<ZPKDaemon>(world.environment());
    return *daemon;
  }
  void launch() { world.notificationCenter.postNotificationName(kApplicationDidFinishLaunchingNotification); }
  std::size_t checkIns() { return world.helper().count(kCheckIn); }
  std::int64_t lastStateTimeSent() {
    const Array arguments = world.helper().lastCall(kCheckIn).arguments;
    return arguments.empty() ? -1 : arguments.front().integerValue();
  }

  LinkWorld world;
  std::unique_ptr<ZPKDaemon> daemon;
};

class LaunchedController : public ZPKDaemonControllerTest {
 protected:
  LaunchedController() {
    world.transport.helperAppears();
    controller.awakeFromNib();
    launch();
    world.loop.turn();
    world.helper().forgetCalls();
  }
  ZPKDaemonController controller{environment()};
};

TEST_F(ZPKDaemonControllerTest, IsServedOnItsPortButContactsNobodyBeforeLaunch) {
  world.transport.helperAppears();
  ZPKDaemonController controller(environment());
  controller.awakeFromNib();
  world.loop.advance(Seconds(60));
  EXPECT_EQ(world.transport.servedPorts(), 1u);
  EXPECT_FALSE(daemon);
  EXPECT_TRUE(world.helper().calls().empty());
  EXPECT_EQ(controller.currentStatus(), nullptr);
}

TEST_F(ZPKDaemonControllerTest, LaunchMeansNothingToAControllerThatIsNotAwake) {
  ZPKDaemonController controller(environment());
  launch();
  EXPECT_FALSE(daemon);
  EXPECT_EQ(world.loop.pendingCount(), 0u);
}

TEST_F(ZPKDaemonControllerTest, ChecksInAtLaunchThenEveryTwoSeconds) {
  world.transport.helperAppears();
  sharedDaemon();
  ZPKDaemonController controller(environment());
  controller.awakeFromNib();
  launch();
  EXPECT_EQ(checkIns(), 1u);
  world.loop.advance(Seconds(1.999));
  EXPECT_EQ(checkIns(), 1u);
  world.loop.advance(Seconds(0.001));
  EXPECT_EQ(checkIns(), 2u);
  world.loop.advance(Seconds(3600));
  EXPECT_EQ(checkIns(), 1802u);
}

TEST_F(ZPKDaemonControllerTest, LaunchingMakesTheDaemonAndItsFirstConnectionChecksInOnceMore) {
  world.transport.helperAppears();
  ZPKDaemonController controller(environment());
  controller.awakeFromNib();
  launch();
  EXPECT_EQ(world.reconnections(), 1u);
  EXPECT_EQ(checkIns(), 1u);
  world.loop.turn();
  EXPECT_EQ(checkIns(), 2u);
}

TEST_F(ZPKDaemonControllerTest, HandsTheHelperItsOwnPortAndZeroAtFirst) {
  world.transport.helperAppears();
  ZPKDaemonController controller(environment());
  controller.awakeFromNib();
  launch();
  EXPECT_EQ(lastStateTimeSent(), 0);
  ASSERT_NE(world.helper().lastCall(kCheckIn).port, nullptr);
  world.transport.push(Dictionary{{"statetime", 1}});
  EXPECT_NE(controller.currentStatus(), nullptr) << "the port handed over is the one served";
}

TEST_F(LaunchedController, ASecondLaunchNotificationChecksInButLeavesTheTimerAsItIs) {
  world.loop.advance(Seconds(1));
  launch();
  EXPECT_EQ(checkIns(), 1u);
  world.loop.advance(Seconds(1));
  EXPECT_EQ(checkIns(), 2u) << "two seconds after the first launch";
  world.loop.advance(Seconds(1.5));
  EXPECT_EQ(checkIns(), 2u) << "and none that counts from the second";
}

TEST_F(ZPKDaemonControllerTest, AReconnectionBeforeLaunchHasNoEffect) {
  world.transport.helperAppears();
  ZPKDaemonController controller(environment());
  controller.awakeFromNib();
  world.notificationCenter.postNotificationName(kZPKDaemonReconnectedNotification);
  world.loop.advance(Seconds(60));
  EXPECT_TRUE(world.helper().calls().empty());
  EXPECT_FALSE(daemon);
}

TEST_F(LaunchedController, AReconnectionChecksInOnTheNextTurnNotInsideTheNotification) {
  sharedDaemon().reconnect();
  EXPECT_EQ(checkIns(), 0u);
  world.loop.turn();
  EXPECT_EQ(checkIns(), 1u);
  EXPECT_EQ(world.reconnections(), 2u);
}

TEST_F(LaunchedController, EveryReconnectionGetsItsOwnCheckIn) {
  sharedDaemon().reconnect();
  sharedDaemon().reconnect();
  world.loop.turn();
  EXPECT_EQ(checkIns(), 2u);
}

TEST_F(LaunchedController, ARestartedHelperIsCheckedInWithBeforeTheTimer) {
  world.transport.helperDies();
  world.transport.helperAppears();
  world.loop.turn();
  EXPECT_EQ(checkIns(), 1u);
  world.transport.push(Dictionary{{"statetime", 9}});
  ASSERT_NE(controller.currentStatus(), nullptr);
}

TEST_F(ZPKDaemonControllerTest, WithoutAHelperEveryVainCheckInSchedulesAReconnection) {
  ZPKDaemonController controller(environment());
  controller.awakeFromNib();
  launch();
  // Attempts: at launch, then one second after the check-ins at 0, 2, 4, 6 and 8.
  world.loop.advance(Seconds(9.5));
  EXPECT_EQ(world.reconnections(), 6u);
  EXPECT_TRUE(world.helper().calls().empty());
}

TEST_F(LaunchedController, APushAdvancesTheStateTimeOfTheNextCheckIn) {
  constexpr std::int64_t kFar = -9007199254740993;
  world.transport.push(Dictionary{{"statetime", kFar}});
  world.loop.advance(Seconds(2));
  EXPECT_EQ(lastStateTimeSent(), kFar);
}

TEST_F(LaunchedController, AStatusWithoutStateTimeAsksForEverythingAgain) {
  world.transport.push(Dictionary{{"statetime", 5}});
  world.transport.push(Dictionary{{"state", 0}});
  world.loop.advance(Seconds(2));
  EXPECT_EQ(lastStateTimeSent(), 0);
}

TEST_F(LaunchedController, KeepsTheNewestStatusAndAnnouncesIt) {
  std::vector<std::int64_t> seen;
  const Token token = controller.observe(
      "currentStatus", [&] { seen.push_back((*controller.currentStatus())["statetime"].integerValue()); });
  const Dictionary first{{"statetime", 1}, {"operror", "disk full"}};
  world.transport.push(first);
  const std::shared_ptr<const Dictionary> held = controller.currentStatus();
  world.transport.push(Dictionary{{"statetime", 2}});
  EXPECT_THAT(seen, ElementsAre(1, 2));
  EXPECT_EQ(*controller.currentStatus(), (Dictionary{{"statetime", 2}})) << "whole, not merged";
  EXPECT_EQ(*held, first) << "who holds the older one keeps it";
}

TEST_F(LaunchedController, KeepsTheLastStatusWhileTheHelperIsAwayAndTellsTheNextOne) {
  const Dictionary last{{"statetime", 6}, {"state", 0}};
  world.transport.push(last);
  world.transport.helperDies();
  world.loop.advance(Seconds(3600));
  EXPECT_EQ(*controller.currentStatus(), last);
  world.transport.helperAppears();
  world.loop.turn();
  EXPECT_EQ(lastStateTimeSent(), 6);
  EXPECT_EQ(*controller.currentStatus(), last);
}

TEST_F(LaunchedController, TheStateTimeIsUpToDateWhenTheStatusIsAnnounced) {
  const Token token = controller.observe("currentStatus", [&] { controller.checkIn(); });
  world.transport.push(Dictionary{{"statetime", 42}});
  EXPECT_EQ(lastStateTimeSent(), 42);
}

TEST_F(LaunchedController, ItsOwnStatusMayBeHandedInAgain) {
  world.transport.push(Dictionary{{"statetime", 3}, {"operror", "text long enough to live on the heap"}});
  const Dictionary copy = *controller.currentStatus();
  controller.stateChangedWithStatus(*controller.currentStatus());
  EXPECT_EQ(*controller.currentStatus(), copy);
}

TEST_F(LaunchedController, WantsNoReload) {
  controller.checkIn();
  const Value answer = world.transport.askNeedReload();
  EXPECT_TRUE(answer.isBoolean());
  EXPECT_FALSE(answer.boolValue());
}

TEST_F(LaunchedController, IsPushedToWhileACommandWaitsForItsReply) {
  world.transport.setAnswerDelay(Seconds(1));
  world.transport.pushAfter(Seconds(0.5), Dictionary{{"statetime", 8}});
  EXPECT_EQ(sharedDaemon().backup(), Value(0));
  ASSERT_NE(controller.currentStatus(), nullptr);
  EXPECT_EQ(world.loop.now(), Seconds(1));
}

TEST_F(LaunchedController, IsPushedToDuringTheBusyWait) {
  world.transport.pushAfter(Seconds(2), Dictionary{{"statetime", 8}});
  std::vector<bool> statusKnown;
  sharedDaemon().doAsyncAction([&](ZPKDaemon&) {
    statusKnown.push_back(controller.currentStatus() != nullptr);
    return Value(statusKnown.size() == 1 ? 6 : 0);
  });
  EXPECT_THAT(statusKnown, ElementsAre(false, true));
}

TEST_F(LaunchedController, IsPushedToInAPrivateModeOnlyOnceThatIsARequestMode) {
  world.transport.pushAfter(Seconds(1), Dictionary{{"statetime", 8}});
  world.loop.runInMode("modal", Seconds(5));
  EXPECT_EQ(controller.currentStatus(), nullptr);
  controller.addRequestMode("modal");
  world.loop.runInMode("modal", Seconds(5));
  EXPECT_NE(controller.currentStatus(), nullptr);
}

TEST_F(LaunchedController, TheCheckInTimerWaitsWhileAPrivateModeRuns) {
  world.loop.runInMode("modal", Seconds(7));
  EXPECT_EQ(checkIns(), 0u);
  world.loop.turn();
  EXPECT_EQ(checkIns(), 1u);
}

TEST_F(LaunchedController, TellsWhetherTheHelperIsReachable) {
  std::vector<bool> seen;
  const Token token =
      controller.observe("helperReachable", [&] { seen.push_back(controller.isHelperReachable()); });
  EXPECT_TRUE(controller.isHelperReachable());
  world.transport.helperDies();
  EXPECT_FALSE(controller.isHelperReachable());
  world.loop.advance(Seconds(10));
  world.transport.helperAppears();
  world.loop.advance(Seconds(10));
  EXPECT_THAT(seen, ElementsAre(false, true)) << "announced when it changes, not at every attempt";
}

TEST_F(ZPKDaemonControllerTest, KnowsOfAHelperThatWasReachedBeforeLaunch) {
  world.transport.helperAppears();
  sharedDaemon();
  ZPKDaemonController controller(environment());
  controller.awakeFromNib();
  EXPECT_FALSE(controller.isHelperReachable());
  launch();
  EXPECT_TRUE(controller.isHelperReachable());
}

TEST_F(LaunchedController, TellsWhenTheHelperTakesLongToAnswer) {
  std::vector<std::pair<Seconds, bool>> seen;
  const Token token = controller.observe(
      "helperAnswering", [&] { seen.emplace_back(world.loop.now(), controller.isHelperAnswering()); });
  world.transport.setAnswerDelay(Seconds(2.5));
  sharedDaemon().backup();
  EXPECT_TRUE(seen.empty());
  world.transport.setAnswerDelay(Seconds(10));
  sharedDaemon().backup();
  EXPECT_THAT(seen, ElementsAre(std::pair(Seconds(5.5), false), std::pair(Seconds(12.5), true)));
  EXPECT_TRUE(controller.isHelperAnswering());
}

// It may be waiting for its user to type a password, and calls meanwhile.
TEST_F(LaunchedController, AHelperThatCallsWhileItIsWaitedForIsAnswering) {
  std::vector<std::pair<Seconds, bool>> seen;
  const Token token = controller.observe(
      "helperAnswering", [&] { seen.emplace_back(world.loop.now(), controller.isHelperAnswering()); });
  const std::string waiting(FakeLinkTransport::kWaitMode);
  for (int second = 1; second <= 20; ++second) {
    world.loop.input(Seconds(second), [&] { world.transport.askNeedReload(); }, {waiting});
  }
  world.transport.setAnswerDelay(Seconds(21));
  sharedDaemon().backup();
  EXPECT_TRUE(seen.empty());
}

TEST_F(LaunchedController, AHelperThatFallsSilentIsNotAnsweringThreeSecondsAfterItsLastCall) {
  std::vector<std::pair<Seconds, bool>> seen;
  const Token token = controller.observe(
      "helperAnswering", [&] { seen.emplace_back(world.loop.now(), controller.isHelperAnswering()); });
  world.transport.pushAfter(Seconds(2), {});
  world.transport.pushAfter(Seconds(4.5), {});
  world.transport.setAnswerDelay(Seconds(10));
  sharedDaemon().backup();
  EXPECT_THAT(seen, ElementsAre(std::pair(Seconds(7.5), false), std::pair(Seconds(10), true)));
}

TEST_F(ZPKDaemonControllerTest, ASubclassIsWhatTheHelperAndTheLaunchReach) {
  class Subclass final : public ZPKDaemonController {
   public:
    using ZPKDaemonController::ZPKDaemonController;
    void applicationDidFinishLaunching() override {
      ZPKDaemonController::applicationDidFinishLaunching();
      checkedInBefore = daemon() != nullptr;
    }
    void stateChangedWithStatus(const Dictionary& status) override {
      ZPKDaemonController::stateChangedWithStatus(status);
      shown = *currentStatus();
    }
    Value needReload() override { return true; }
    bool checkedInBefore = false;
    Dictionary shown;
  };
  world.transport.helperAppears();
  Subclass controller(environment());
  controller.awakeFromNib();
  launch();
  EXPECT_TRUE(controller.checkedInBefore);
  world.transport.push(Dictionary{{"state", 2}});
  EXPECT_EQ(controller.shown, (Dictionary{{"state", 2}}));
  EXPECT_EQ(world.transport.askNeedReload(), Value(true));
}

TEST_F(ZPKDaemonControllerTest, LeavesNothingBehindWhenItEnds) {
  world.transport.helperAppears();
  {
    ZPKDaemonController controller(environment());
    controller.awakeFromNib();
    launch();
  }
  world.helper().forgetCalls();
  launch();
  world.transport.push(Dictionary{{"statetime", 1}});
  world.transport.helperDies();
  world.transport.helperAppears();
  world.loop.advance(Seconds(10));
  EXPECT_EQ(world.transport.servedPorts(), 0u);
  EXPECT_TRUE(world.helper().calls().empty());
}

}  // namespace
}  // namespace zpk
