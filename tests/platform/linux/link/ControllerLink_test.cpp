#include <gmock/gmock.h>

#include "base/NotificationCenter.h"
#include "helperlink/ZPKDaemonController.h"
#include "platform/linux/link/LinkFixture.h"

namespace zpk::tests {
namespace {

// The controller and the daemon of the program, on a real bus, with a helper that dies, hangs and talks nonsense.
class ControllerLink : public LinkTest {
 protected:
  ControllerLink() {
    receiving.reset();
    startHelper();
    // So that the daemon finds it at launch.
    EXPECT_TRUE(loop.runUntil([&] { return transport->portForName(kName) != nullptr; }));
    controller.awakeFromNib();
    center.postNotificationName(kApplicationDidFinishLaunchingNotification);
  }

  ZPKDaemonControllerEnvironment environment() {
    return {*transport, center, loop, [this]() -> ZPKDaemon& {
              if (!_daemon)
                _daemon = std::make_unique<ZPKDaemon>(ZPKDaemonEnvironment{*transport, center, loop, log});
              return *_daemon;
            }};
  }
  ZPKDaemon& daemon() { return *_daemon; }

  // What the helper was told in check-ins since it started.
  std::int64_t checkIns() { return numberInStatus("checkins"); }
  std::int64_t lastStateTimeSent() { return numberInStatus("laststatetime"); }

  // The "statetime" that the controller holds; -1 without a status.
  std::int64_t shown() const {
    const auto status = controller.currentStatus();
    return status ? (*status)["statetime"].integerValue() : -1;
  }
  bool isReachable(bool reachable) {
    return loop.runUntil([&] { return controller.isHelperReachable() == reachable; });
  }

 private:
  std::int64_t numberInStatus(std::string_view key) {
    const Value status = daemon().status();
    return status.isDictionary() ? (*status.dictionary())[key].integerValue() : -1;
  }

  NotificationCenter center;
  std::unique_ptr<ZPKDaemon> _daemon;

 protected:
  ZPKDaemonController controller{environment()};
};

TEST_F(ControllerLink, ChecksInAtLaunchAndOnceMoreForTheFirstConnection) {
  EXPECT_EQ(checkIns(), 1);
  EXPECT_TRUE(loop.runUntil([&] { return checkIns() == 2; }));
  EXPECT_EQ(lastStateTimeSent(), 0);
  EXPECT_TRUE(controller.isHelperReachable());
}

TEST_F(ControllerLink, AStatePushedDuringACommandIsShownAndHandedBackAtTheNextCheckIn) {
  EXPECT_EQ(daemon().setBackupSource("push 7"), Value(7));
  EXPECT_EQ(shown(), 7);
  controller.checkIn();
  EXPECT_EQ(lastStateTimeSent(), 7);
}

TEST_F(ControllerLink, AHelperThatDiesLeavesTheLastStateAndIsToldItWhenItIsBack) {
  EXPECT_EQ(daemon().setBackupSource("push 7"), Value(7));
  // What the launch had planned is over.
  EXPECT_TRUE(loop.runUntil([&] { return checkIns() == 2; }));
  log.clear();
  for (const char* death : {"die", "die-half"}) {
    EXPECT_TRUE(daemon().setBackupSource(death).isNull());
    EXPECT_EQ(log.count("ZPKD::Reconnect"), 0U);
    EXPECT_EQ(log.lines().size(), 1U) << "one line for one failure";
    EXPECT_THAT(log.lines().front(), testing::StartsWith("ZPKD::Exc: "));
    EXPECT_TRUE(isReachable(false));
    EXPECT_EQ(shown(), 7);

    startHelper();
    EXPECT_TRUE(isReachable(true));
    EXPECT_TRUE(loop.runUntil([&] { return lastStateTimeSent() == 7; })) << "checked in again";
    EXPECT_EQ(daemon().setBackupSource("push 7"), Value(7)) << "and called back at the port it was told";
    log.clear();
  }
}

TEST_F(ControllerLink, AStatusThatCannotBeReadLeavesTheLastState) {
  EXPECT_EQ(daemon().setBackupSource("push 7"), Value(7));
  log.clear();
  for (const char* nonsense : {"push-garbage", "push-levels 17", "push-bytes 16777217"}) {
    EXPECT_EQ(daemon().setBackupSource(nonsense), Value(1)) << nonsense;
    EXPECT_EQ(shown(), 7);
  }
  EXPECT_EQ(log.lines().size(), 3U);
  EXPECT_EQ(daemon().setBackupSource("push 9"), Value(9));
  EXPECT_EQ(shown(), 9);
}

TEST_F(ControllerLink, AnsweringNeedReloadSaysNo) {
  EXPECT_EQ(daemon().setBackupSource("need-reload"), Value(0));
}

}  // namespace
}  // namespace zpk::tests
