// The row of the automatic backup, its commands in the menus, and the switch of the status icon.

#include <QCheckBox>
#include <QPushButton>

#include "interface/ElidedLabel.h"
#include "interface/WindowFixture.h"

namespace zpk {
namespace {

class AutoProtection : public Window {
 protected:
  QString title(const char* name) const { return world.find<QPushButton>(name)->text(); }
  void expectOn() {
    EXPECT_EQ(text("autoProtectionTextField"), "Auto-Protection: Enabled");
    EXPECT_EQ(title("toggleSchedulerButton"), "Disable");
    EXPECT_TRUE(action("autoProtectionAction")->isChecked());
    EXPECT_TRUE(isEnabled("changeScheduleButton"));
    EXPECT_TRUE(action("changeScheduleAction")->isEnabled());
  }
  void expectOff() {
    EXPECT_EQ(text("autoProtectionTextField"), "Auto-Protection: Disabled");
    EXPECT_EQ(title("toggleSchedulerButton"), "Enable");
    EXPECT_FALSE(action("autoProtectionAction")->isChecked());
    EXPECT_FALSE(isEnabled("changeScheduleButton"));
    EXPECT_FALSE(action("changeScheduleAction")->isEnabled());
  }
};

TEST(AutoProtectionRow, SaysThatItIsOffBeforeTheLaunch) {
  InterfaceWorld world;
  world.window = std::make_unique<MainWindow>(world.controller, world.surroundings());
  EXPECT_EQ(world.find<QLabel>("autoProtectionTextField")->text(), "Auto-Protection: Disabled");
  EXPECT_EQ(world.find<QPushButton>("toggleSchedulerButton")->text(), "Enable");
  EXPECT_TRUE(world.launchctlRuns.empty());
}

TEST(AutoProtectionRow, ShowsTheScheduleThatTheLauncherKnowsOf) {
  InterfaceWorld world;
  world.jobIsLoaded = true;
  world.openWindow();
  EXPECT_EQ(world.find<QLabel>("autoProtectionTextField")->text(), "Auto-Protection: Enabled");
  EXPECT_EQ(world.find<QLabel>("scheduleSummary")->text(), "Every day at 12:00");
}

TEST(AutoProtectionRow, MakesItsPopoverAndItsCollectionWindowOnFirstUse) {
  InterfaceWorld world;
  world.openWindow();
  world.show(readyStatus());
  EXPECT_EQ(world.window->findChild<QWidget*>("schedulePopover"), nullptr);
  EXPECT_EQ(world.window->findChild<QWidget*>("collectLogsWindow"), nullptr);
}

TEST_F(AutoProtection, ButtonSwitchesItOnAndOff) {
  expectOff();
  world.click("toggleSchedulerButton");
  EXPECT_TRUE(world.jobIsLoaded);
  expectOn();
  EXPECT_EQ(text("scheduleSummary"), "Every day at 12:00");
  world.click("toggleSchedulerButton");
  EXPECT_FALSE(world.jobIsLoaded);
  expectOff();
  EXPECT_EQ(text("scheduleSummary"), "Backs up by itself at the times you choose.");
}

TEST_F(AutoProtection, KeysAndMenuSwitchItOnAndOff) {
  activate();
  QTest::keyClick(world.window.get(), Qt::Key_A, Qt::ControlModifier | Qt::ShiftModifier);
  expectOn();
  action("autoProtectionAction")->trigger();
  expectOff();
}

TEST_F(AutoProtection, OnlyTheStateIsBold) {
  auto* field = dynamic_cast<AttributedTextField*>(world.find<QLabel>("autoProtectionTextField"));
  ASSERT_NE(field, nullptr);
  const auto width = [this] { return world.find<QLabel>("autoProtectionTextField")->sizeHint().width(); };
  field->setAttributedText({{"mmm", false}, {"mmm", false}});
  const int plain = width();
  field->setAttributedText({{"mmm", false}, {"mmm", true}});
  const int half = width();
  field->setAttributedText({{"mmm", true}, {"mmm", true}});
  EXPECT_GT(half, plain);
  EXPECT_GT(width(), half);
  EXPECT_EQ(text("autoProtectionTextField"), "mmmmmm");
}

TEST_F(AutoProtection, WhatCannotBeUsedYetSaysWhy) {
  EXPECT_EQ(toolTip("changeScheduleButton"), "Enable Auto-Protection first.");
  EXPECT_EQ(words("changeScheduleButton"), "Enable Auto-Protection first.");
  EXPECT_EQ(action("changeScheduleAction")->toolTip(), "Enable Auto-Protection first.");
  world.click("toggleSchedulerButton");
  EXPECT_EQ(toolTip("changeScheduleButton"), "");
  EXPECT_EQ(words("changeScheduleButton"), "Every day at 12:00");
}

TEST_F(AutoProtection, LongSummaryIsCutAndDoesNotWidenTheWindow) {
  const int width = world.window->minimumSizeHint().width();
  world.texts.texts["Every day"] = std::string(400, 'm');
  world.click("toggleSchedulerButton");
  EXPECT_EQ(world.window->minimumSizeHint().width(), width);
  EXPECT_NE(dynamic_cast<ElidedLabel*>(world.find<QLabel>("scheduleSummary")), nullptr)
      << "has a tool tip when cut";
}

TEST_F(AutoProtection, IsSwitchedWhileABackupRunsAndWithoutTheHelper) {
  world.show(backupStatus(10, {"line"}));
  EXPECT_TRUE(isEnabled("toggleSchedulerButton"));
  world.transport.helperDies();
  world.click("toggleSchedulerButton");
  expectOn();
}

TEST_F(AutoProtection, UpdaterAndUninstallerAreStartedFromTheMenu) {
  action("checkForUpdatesAction")->trigger();
  action("uninstallAction")->trigger();
  EXPECT_EQ(world.desktop.launched,
            (std::vector<RecordingWorkspace::Launch>{{"/updater", {"--forceui"}}, {"/uninstaller", {}}}));
}

TEST(InstalledParts, WhatIsNotInstalledIsNotOffered) {
  InterfaceWorld world;
  world.installed = {};
  world.openWindow();
  const auto why = [&](const char* name) {
    auto* action = world.window->findChild<QAction*>(QLatin1String(name));
    return action->isEnabled() ? QString() : action->toolTip();
  };
  EXPECT_EQ(why("checkForUpdatesAction"), "ZPK is updated by the system’s package manager.");
  EXPECT_EQ(why("uninstallAction"), "ZPK is removed with the system’s package manager.");
  auto* icon = world.find<QCheckBox>("statusBarAppButton");
  EXPECT_FALSE(icon->isEnabled());
  EXPECT_FALSE(icon->isChecked());
  EXPECT_EQ(icon->toolTip(), "The status icon is not installed.");
}

TEST_F(AutoProtection, StatusIconIsSwitchedAtTheLauncherAndShowsWhatThatSays) {
  auto* icon = world.find<QCheckBox>("statusBarAppButton");
  EXPECT_TRUE(icon->isChecked());
  // The launcher refuses.
  world.launchctl = [](const TaskDescription&) {
    TaskResult refused;
    refused.status = 1;
    return refused;
  };
  QTest::mouseClick(icon, Qt::LeftButton, {}, QPoint(8, icon->height() / 2));
  EXPECT_FALSE(icon->isChecked()) << "what was asked for";
  EXPECT_EQ(world.tasks.tasks().back().arguments.front(), "unload");
  world.launchctl = [](const TaskDescription&) { return TaskResult{}; };
  world.loop.advance(Seconds(0.2));
  EXPECT_TRUE(icon->isChecked()) << "what the launcher made of it";
}

TEST_F(AutoProtection, StatusIconDoesNotNeedTheHelper) {
  world.show(readyStatus());
  world.transport.helperDies();
  EXPECT_FALSE(isEnabled("checkFSButton"));
  EXPECT_TRUE(isEnabled("statusBarAppButton"));
}

}  // namespace
}  // namespace zpk
