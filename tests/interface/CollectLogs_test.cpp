// The window from which logs are collected, and quitting while they are.

#include <QCloseEvent>
#include <QProgressBar>
#include <QPushButton>

#include "interface/WindowFixture.h"

namespace zpk {
namespace {

class CollectLogs : public Window {
 protected:
  CollectLogs() {
    world.show(readyStatus());
    action("collectLogsAction")->trigger();
    InterfaceWorld::settle();
  }

  QDialog* dialog() const { return world.find<QDialog>("collectLogsWindow"); }
  void collect() { world.click("collectLogsButton"); }
  // The background's work, and what it hands to the main thread.
  void finish() {
    world.background.doAll();
    InterfaceWorld::settle();
  }
};

TEST_F(CollectLogs, MenuOpensItsWindowAndNothingIsCollectedYet) {
  EXPECT_TRUE(dialog()->isVisible());
  EXPECT_TRUE(dialog()->isActiveWindow());
  EXPECT_FALSE(world.delegate->isCollectingLogs());
  EXPECT_FALSE(isShown("collectingProgress"));
  EXPECT_TRUE(isEnabled("collectLogsButton"));
  EXPECT_TRUE(world.background.held.empty());
}

TEST_F(CollectLogs, ReturnBeginsAndTheArchiveIsShownAtTheEnd) {
  QTest::keyClick(dialog(), Qt::Key_Return);
  EXPECT_TRUE(world.delegate->isCollectingLogs());
  finish();
  EXPECT_FALSE(dialog()->isVisible());
  EXPECT_EQ(world.desktop.revealed, std::vector<std::string>{"/tmp/ZPK_Logs_2026-03-05-14-07-09.zip"});
  EXPECT_EQ(helper().count("collectLogsToPath"), 1U);
  EXPECT_FALSE(world.quits);
}

TEST_F(CollectLogs, WhileItGoesOnNothingClosesItAndNothingBeginsAnother) {
  collect();
  EXPECT_FALSE(isEnabled("collectLogsButton"));
  EXPECT_FALSE(isEnabled("closeButton"));
  EXPECT_TRUE(isShown("collectingProgress"));
  EXPECT_EQ(text("collectingText"), "Collecting. This takes a few minutes.");
  QTest::keyClick(dialog(), Qt::Key_Escape);
  EXPECT_TRUE(dialog()->isVisible());
  EXPECT_FALSE(dialog()->close()) << "the title bar's button";
  EXPECT_TRUE(dialog()->isVisible());
  EXPECT_EQ(world.background.held.size(), 1U);
}

TEST_F(CollectLogs, CanBeOpenedAndUsedAgainAfterwards) {
  collect();
  finish();
  action("collectLogsAction")->trigger();
  EXPECT_TRUE(dialog()->isVisible());
  EXPECT_TRUE(isEnabled("collectLogsButton"));
  EXPECT_FALSE(isShown("collectingProgress"));
  QTest::keyClick(dialog(), Qt::Key_Escape);
  EXPECT_FALSE(dialog()->isVisible());
  action("collectLogsAction")->trigger();
  EXPECT_TRUE(dialog()->close());
}

TEST_F(CollectLogs, QuitWhileItGoesOnWaitsForIt) {
  collect();
  action("quitAction")->trigger();
  InterfaceWorld::settle();
  EXPECT_FALSE(world.quits);
  EXPECT_FALSE(world.window->isVisible());
  EXPECT_TRUE(dialog()->isVisible());
  EXPECT_EQ(text("collectingText"), "ZPK quits when the logs are collected.");
  EXPECT_FALSE(dialog()->close());
  EXPECT_EQ(world.application.reply, std::nullopt);
  finish();
  EXPECT_EQ(world.application.reply, true);
  EXPECT_EQ(world.desktop.revealed.size(), 1U);
}

TEST_F(CollectLogs, QuitWithoutACollectionIsAtOnce) {
  action("quitAction")->trigger();
  EXPECT_TRUE(world.quits);
}

TEST_F(CollectLogs, ClosingTheMainWindowWhileItGoesOnShowsWhatIsWaitedFor) {
  collect();
  dialog()->hide();
  EXPECT_TRUE(world.window->close());
  EXPECT_TRUE(dialog()->isVisible());
  EXPECT_EQ(text("collectingText"), "ZPK quits when the logs are collected.");
}

// Whoever opens the program again while the collection goes on wants it to stay.
TEST_F(CollectLogs, AWindowThatCameBackTakesBackThatTheProgramQuits) {
  collect();
  world.window->close();
  world.window->comeForward();
  EXPECT_TRUE(world.window->isVisible());
  EXPECT_EQ(text("collectingText"), "Collecting. This takes a few minutes.");
  finish();
  EXPECT_TRUE(world.window->isVisible());
}

TEST_F(CollectLogs, WindowMayGoBeforeTheCollectionEnds) {
  collect();
  world.window.reset();
  finish();
  EXPECT_FALSE(world.delegate->isCollectingLogs());
}

TEST_F(CollectLogs, ControlsHaveNamesForAssistiveTechnology) {
  collect();
  EXPECT_EQ(world.find<QWidget>("collectingProgress")->accessibleName(), "Collecting. This takes a few minutes.");
  EXPECT_EQ(dialog()->accessibleDescription(), "Collecting. This takes a few minutes.");
}

}  // namespace
}  // namespace zpk
