#include "app/delegate/ZPKAppDelegate.h"

#include <gtest/gtest.h>

#include "app/delegate/DelegateWorld.h"

namespace zpk {
namespace {

using Runs = std::vector<TextRun>;
using Arguments = ScheduleWorld::Arguments;

const Runs kEnabled{{"Auto-Protection: ", false}, {"Enabled", true}};
const Runs kDisabled{{"Auto-Protection: ", false}, {"Disabled", true}};

class AppDelegate : public testing::Test {
 protected:
  DelegateWorld world;
  ZPKAppDelegate& delegate = *world.delegate;
};

TEST_F(AppDelegate, ShowsAfterLaunchWhetherTheScheduleIsOn) {
  world.schedule.isLoaded = true;
  world.launch();
  EXPECT_EQ(world.button.titles, std::vector<std::string>({"Disable"}));
  EXPECT_EQ(world.field.texts, std::vector<Runs>({kEnabled}));
}

TEST_F(AppDelegate, ShowsAfterLaunchThatTheScheduleIsOff) {
  world.launch();
  EXPECT_EQ(world.button.titles, std::vector<std::string>({"Enable"}));
  EXPECT_EQ(world.field.texts, std::vector<Runs>({kDisabled}));
}

TEST_F(AppDelegate, LeavesTheFirstTextsUntilTheScheduleAnnouncesItself) {
  delegate.applicationDidFinishLaunching();
  EXPECT_TRUE(world.button.titles.empty());
  EXPECT_TRUE(world.field.texts.empty());
}

TEST_F(AppDelegate, TakesNoNoticeOfTheScheduleBeforeLaunch) {
  world.schedule.controller.setEnabled(true);
  EXPECT_TRUE(world.button.titles.empty());
}

TEST_F(AppDelegate, TakesNoNoticeOfTheOtherKeysOfTheSchedule) {
  world.launch();
  world.schedule.controller.setScheduleType(Value(std::uint64_t{1}));
  world.schedule.controller.setTimeOfDay(Date{3600});
  world.schedule.controller.setDayOfWeek(3);
  EXPECT_EQ(world.button.titles.size(), 1U);
  EXPECT_EQ(world.field.texts.size(), 1U);
}

TEST_F(AppDelegate, SaysItInTheUsersLanguage) {
  world.schedule.localization.texts = {{"Enable", "Einschalten"},
                                       {"Disabled", "aus"},
                                       {"Auto-Protection: ", "Schutz: "},
                                       {"Disable", "Ausschalten"},
                                       {"Enabled", "an"}};
  world.launch();
  delegate.toggleSchedulerAction();
  EXPECT_EQ(world.button.titles, std::vector<std::string>({"Einschalten", "Ausschalten"}));
  EXPECT_EQ(world.field.texts,
            std::vector<Runs>({{{"Schutz: ", false}, {"aus", true}}, {{"Schutz: ", false}, {"an", true}}}));
}

TEST_F(AppDelegate, SwitchesTheScheduleOnAndOff) {
  world.launch();
  delegate.toggleSchedulerAction();
  EXPECT_TRUE(world.schedule.controller.isEnabled());
  EXPECT_EQ(world.schedule.runs().back(), Arguments({"load", "-w", ScheduleWorld::kPath}));
  EXPECT_EQ(world.button.titles.back(), "Disable");
  EXPECT_EQ(world.field.texts.back(), kEnabled);
  delegate.toggleSchedulerAction();
  EXPECT_FALSE(world.schedule.controller.isEnabled());
  EXPECT_EQ(world.schedule.runs().back(), Arguments({"unload", "-w", ScheduleWorld::kPath}));
  EXPECT_EQ(world.button.titles.back(), "Enable");
  EXPECT_EQ(world.field.texts.back(), kDisabled);
}

TEST_F(AppDelegate, HangsThePopoverOnTheViewThatAskedForIt) {
  const View view;
  delegate.scheduleAction(&view);
  EXPECT_EQ(world.popover.shownAt, &view);
}

TEST_F(AppDelegate, ClosesThePopoverThatIsShownWhoeverAsks) {
  const View view;
  for (const View* sender : {&view, static_cast<const View*>(nullptr)}) {
    world.popover.showRelativeTo(view);
    delegate.scheduleAction(sender);
    EXPECT_FALSE(world.popover.isShown());
  }
  EXPECT_EQ(world.popover.closed, 2);
}

TEST_F(AppDelegate, ShowsNoPopoverForASenderThatIsNoView) {
  delegate.scheduleAction(nullptr);
  EXPECT_FALSE(world.popover.isShown());
  EXPECT_EQ(world.popover.closed, 0);
}

TEST_F(AppDelegate, QuitsAtOnceWhenIdleAndWithTheLastWindow) {
  EXPECT_EQ(delegate.applicationShouldTerminate(), TerminateReply::now);
  EXPECT_TRUE(delegate.applicationShouldTerminateAfterLastWindowClosed());
  EXPECT_TRUE(world.application.replies.empty());
}

TEST_F(AppDelegate, AsksBeforeItQuitsWhereThereIsSomethingToAsk) {
  FakeQuitQuestion question;
  delegate.setQuitQuestion(&question);
  EXPECT_EQ(delegate.applicationShouldTerminate(), TerminateReply::afterQuestion);
  EXPECT_TRUE(world.application.replies.empty());
  question.answer(false);
  EXPECT_EQ(delegate.applicationShouldTerminate(), TerminateReply::afterQuestion);
  question.answer(true);
  EXPECT_EQ(world.application.replies, std::vector<bool>({false, true}));
  question.due = false;
  EXPECT_EQ(delegate.applicationShouldTerminate(), TerminateReply::now);
}

TEST_F(AppDelegate, AsksNothingWhileLogsAreCollected) {
  FakeQuitQuestion question;
  delegate.setQuitQuestion(&question);
  delegate.collectLogs();
  EXPECT_EQ(delegate.applicationShouldTerminate(), TerminateReply::later);
  world.finishCollection();
  EXPECT_EQ(question.asked, 0);
  EXPECT_EQ(world.application.replies, std::vector<bool>({true}));
}

TEST_F(AppDelegate, WaitsForLogsWhoseCollectionBeganDuringTheQuestion) {
  FakeQuitQuestion question;
  delegate.setQuitQuestion(&question);
  EXPECT_EQ(delegate.applicationShouldTerminate(), TerminateReply::afterQuestion);
  delegate.collectLogs();
  question.answer(true);
  EXPECT_TRUE(world.application.replies.empty());
  world.finishCollection();
  EXPECT_EQ(world.application.replies, std::vector<bool>({true}));
}

TEST_F(AppDelegate, AsksNobodyWhenTheSessionEnds) {
  FakeQuitQuestion question;
  delegate.setQuitQuestion(&question);
  delegate.quitWithoutAsking();
  EXPECT_TRUE(world.application.replies.empty());
  EXPECT_EQ(delegate.applicationShouldTerminate(), TerminateReply::now);
  EXPECT_EQ(question.asked, 0);
}

TEST_F(AppDelegate, TakesTheEndOfTheSessionForAnAnswer) {
  FakeQuitQuestion question;
  delegate.setQuitQuestion(&question);
  EXPECT_EQ(delegate.applicationShouldTerminate(), TerminateReply::afterQuestion);
  delegate.quitWithoutAsking();
  EXPECT_EQ(world.application.replies, std::vector<bool>({true}));
  question.answer(false);
  EXPECT_EQ(world.application.replies.size(), 1U);
}

TEST_F(AppDelegate, HearsNoAnswerAfterItsEnd) {
  FakeQuitQuestion question;
  delegate.setQuitQuestion(&question);
  EXPECT_EQ(delegate.applicationShouldTerminate(), TerminateReply::afterQuestion);
  world.delegate.reset();
  question.answer(true);
  EXPECT_TRUE(world.application.replies.empty());
}

TEST_F(AppDelegate, StartsTheUninstallerAndTheUpdaterWithItsArgument) {
  using Launch = RecordingWorkspace::Launch;
  delegate.uninstall();
  delegate.checkForUpdate();
  EXPECT_EQ(world.workspace.launched,
            std::vector<Launch>({Launch{"/opt/uninstaller", {}}, Launch{"/opt/updater", {"--forceui"}}}));
}

TEST_F(AppDelegate, SaysNothingOfProgramsThatAreNotThere) {
  world.workspace.works = false;
  delegate.uninstall();
  delegate.checkForUpdate();
  EXPECT_TRUE(world.log.lines().empty());
  EXPECT_EQ(world.window.broughtToFront + world.window.closed, 0);
}

TEST_F(AppDelegate, WorksWithoutAnyWindow) {
  delegate.setCollectLogsWindow(nullptr);
  delegate.setToggleSchedulerButton(nullptr);
  delegate.setAutoProtectionTextField(nullptr);
  delegate.setSchedulePopover(nullptr);
  world.launch();
  const View view;
  delegate.scheduleAction(&view);
  delegate.toggleSchedulerAction();
  delegate.openCollectLogsWindow();
  world.collectLogs();
  EXPECT_TRUE(world.schedule.controller.isEnabled());
  EXPECT_EQ(world.workspace.revealed.size(), 1U);
}

TEST_F(AppDelegate, EndsBeforeTheScheduleWithoutATrace) {
  world.launch();
  world.delegate.reset();
  world.schedule.controller.setEnabled(true);
  world.schedule.notificationCenter.postNotificationName(kApplicationDidFinishLaunchingNotification);
  EXPECT_EQ(world.button.titles.size(), 1U);
}

}  // namespace
}  // namespace zpk
