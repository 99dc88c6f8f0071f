#include <gtest/gtest.h>

#include "mainwindow/ControllerWorld.h"

namespace zpk {
namespace {

using Arguments = std::vector<std::string>;

constexpr const char* kAgent = "/Library/LaunchAgents/com.tarnwick.zpkstatusbar.plist";
const Arguments kList{"list", "com.tarnwick.zpkstatusbar"};
const Arguments kLoad{"load", "-w", kAgent};
const Arguments kUnload{"unload", "-w", kAgent};

TaskResult exited(std::int32_t status) {
  TaskResult result;
  result.status = status;
  return result;
}

// A launcher that has the agent loaded or not, and does as it is told unless it is `obstinate`.
class StatusBarSwitch : public testing::Test {
 protected:
  StatusBarSwitch() {
    world.launchctl = [this](const TaskDescription& task) -> Expected<TaskResult, TaskError> {
      if (task.arguments.front() == "list") return exited(loaded ? 0 : 1);
      if (obstinate) return exited(1);
      loaded = task.arguments.front() == "load";
      return TaskResult{};
    };
    _observation = controller().observe("statusBarAppDisabled", [this] { shown.push_back(isDisabled()); });
  }

  // What the launcher does refers to the test.
  ~StatusBarSwitch() override { world.loop.advance(Seconds(0.1)); }

  ZPKUIDaemonController& controller() { return *world.controller; }
  bool isDisabled() { return controller().statusBarAppDisabled(); }
  std::vector<Arguments> runs() const {
    std::vector<Arguments> all;
    for (const TaskDescription& task : world.tasks.tasks()) all.push_back(task.arguments);
    return all;
  }

  ControllerWorld world;
  bool loaded = true;
  bool obstinate = false;
  std::vector<bool> shown;  // at each announcement

 private:
  Token _observation;
};

TEST_F(StatusBarSwitch, AsksTheLauncherForTheAgentByTheNameOfItsPropertyListWithEveryStreamClosed) {
  controller().checkStatusBarApp();
  ASSERT_EQ(world.tasks.tasks().size(), 1U);
  const TaskDescription task = world.tasks.tasks().front();
  EXPECT_EQ(task.launchPath, "/bin/launchctl");
  EXPECT_EQ(task.arguments, kList);
  EXPECT_TRUE(task.standardInput.empty());
  EXPECT_EQ(task.standardOutputPath, "/dev/null");
  EXPECT_EQ(task.standardErrorPath, "/dev/null");
}

TEST_F(StatusBarSwitch, ShowsAtLaunchWhetherTheAgentIsLoaded) {
  loaded = false;
  world.notificationCenter.postNotificationName(kApplicationDidFinishLaunchingNotification);
  EXPECT_EQ(runs(), std::vector<Arguments>({kList}));
  EXPECT_EQ(shown, std::vector<bool>({true}));
}

TEST_F(StatusBarSwitch, IsReadAfterTheFirstContactWithTheHelper) {
  std::vector<std::string> order;
  const Token launched = controller().observe("launched", [&] { order.emplace_back("launched"); });
  world.launchctl = [&](const TaskDescription& task) {
    order.push_back(task.arguments.front());
    return TaskResult{};
  };
  world.notificationCenter.postNotificationName(kApplicationDidFinishLaunchingNotification);
  EXPECT_EQ(order, std::vector<std::string>({"launched", "list"}));
}

TEST_F(StatusBarSwitch, AnnouncesNothingWhenTheLauncherSaysWhatIsShown) {
  controller().checkStatusBarApp();
  EXPECT_FALSE(isDisabled());
  EXPECT_TRUE(shown.empty());
}

TEST_F(StatusBarSwitch, IsOffUnlessTheToolEndedByItselfWithSuccess) {
  const auto answers = [&](Expected<TaskResult, TaskError> answer) {
    world.launchctl = [answer](const TaskDescription&) { return answer; };
    controller().checkStatusBarApp();
    return isDisabled();
  };
  TaskResult killed = exited(0);
  killed.reason = TaskResult::Reason::uncaughtSignal;
  EXPECT_TRUE(answers(exited(1)));
  EXPECT_FALSE(answers(exited(0)));
  EXPECT_TRUE(answers(killed));
  EXPECT_FALSE(answers(exited(0)));
  EXPECT_TRUE(answers(TaskError{"No such file or directory"}));
}

TEST_F(StatusBarSwitch, UnloadsAndLoadsTheAgentForGood) {
  controller().setStatusBarAppDisabled(true);
  EXPECT_EQ(runs(), std::vector<Arguments>({kUnload}));
  controller().setStatusBarAppDisabled(false);
  EXPECT_EQ(runs(), std::vector<Arguments>({kUnload, kLoad}));
}

TEST_F(StatusBarSwitch, IsStoredBeforeTheToolRunsAndAnnouncedAfterIt) {
  std::vector<bool> storedWhileRunning;
  std::size_t shownWhileRunning = 0;
  world.launchctl = [&](const TaskDescription& task) {
    if (task.arguments != kUnload) return TaskResult{};
    storedWhileRunning.push_back(isDisabled());
    shownWhileRunning = shown.size();
    return TaskResult{};
  };
  controller().setStatusBarAppDisabled(true);
  EXPECT_EQ(storedWhileRunning, std::vector<bool>({true}));
  EXPECT_EQ(shownWhileRunning, 0U);
  EXPECT_EQ(shown, std::vector<bool>({true}));
}

TEST_F(StatusBarSwitch, ShowsATenthOfASecondLaterWhatTheLauncherMadeOfIt) {
  loaded = false;
  obstinate = true;
  controller().checkStatusBarApp();
  shown.clear();
  controller().setStatusBarAppDisabled(false);
  world.loop.advance(Seconds(0.09));
  EXPECT_EQ(runs(), std::vector<Arguments>({kList, kLoad}));
  EXPECT_FALSE(isDisabled());
  world.loop.advance(Seconds(0.02));
  EXPECT_EQ(runs(), std::vector<Arguments>({kList, kLoad, kList}));
  EXPECT_EQ(shown, std::vector<bool>({false, true}));
}

TEST_F(StatusBarSwitch, IsCheckedAfterEveryChangeAlsoToWhatItIsAlready) {
  controller().setStatusBarAppDisabled(false);
  world.loop.advance(Seconds(0.1));
  EXPECT_EQ(runs(), std::vector<Arguments>({kLoad, kList}));
  EXPECT_EQ(shown, std::vector<bool>({false}));
}

TEST_F(StatusBarSwitch, KeepsTheControllerUntilTheCheckIsMade) {
  const std::weak_ptr<ZPKUIDaemonController> weak = world.controller;
  controller().setStatusBarAppDisabled(true);
  world.controller.reset();
  EXPECT_FALSE(weak.expired());
  world.loop.advance(Seconds(0.1));
  EXPECT_EQ(runs(), std::vector<Arguments>({kUnload, kList}));
  EXPECT_TRUE(weak.expired());
}

TEST_F(StatusBarSwitch, MayLoseItsOwnerWhileItAnnouncesItself) {
  const Token owner = controller().observe("statusBarAppDisabled", [&] { world.controller.reset(); });
  controller().setStatusBarAppDisabled(true);
  world.loop.advance(Seconds(0.1));
  EXPECT_EQ(runs(), std::vector<Arguments>({kUnload, kList}));
}

}  // namespace
}  // namespace zpk
