#include <QProgressBar>
#include <QPushButton>
#include <QTabWidget>
#include <limits>

#include "interface/WindowFixture.h"

namespace zpk {
namespace {

class Progress : public Window {
 protected:
  Progress() { world.show(readyStatus()); }
  void pass(double seconds) {
    world.loop.advance(Seconds(seconds));
    InterfaceWorld::settle();
  }
  QString stopTitle() const { return world.find<QPushButton>("stopButton")->text(); }
};

TEST_F(Progress, SaysWhatGoesWhere) {
  Dictionary status = backupStatus(10, {});
  world.show(status);
  EXPECT_EQ(text("routeLabel"), "Backing up Flash Disk FD0256G → Office PC");
  statuskey::progressType.set(status, ProgressType::restore);
  statuskey::restoreTarget.set(status, std::make_shared<const RLDDisk>(RLDDisk::Fields{.name = "SOURCE → TARGET"}));
  world.show(status);
  EXPECT_EQ(text("routeLabel"), "Restoring Office PC → SOURCE → TARGET");
  statuskey::progressType.set(status, ProgressType::merge);
  statuskey::mergeIndex.set(status, 1);
  statuskey::archiveDescription.set(status, archiveOf({backupPoint(0, "Monday", 1), backupPoint(1, "Tuesday", 2)}));
  world.show(status);
  EXPECT_EQ(text("routeLabel"), "Merging Tuesday → Monday");
}

TEST_F(Progress, PointsWithoutALabelAreMergedByTheirDates) {
  Dictionary status = backupStatus(10, {});
  statuskey::progressType.set(status, ProgressType::merge);
  statuskey::mergeIndex.set(status, 1);
  statuskey::archiveDescription.set(status,
                                    archiveOf({backupPoint(0, "", 86'400), backupPoint(1, "", 2 * 86'400)}));
  world.show(status);
  EXPECT_EQ(text("routeLabel"), "Merging day 2 → day 1");
  EXPECT_TRUE(words("sourceCard").startsWith("day 2")) << words("sourceCard").toStdString();
  EXPECT_TRUE(words("destinationCard").startsWith("day 1")) << words("destinationCard").toStdString();
}

TEST_F(Progress, PointsWithNeitherLabelNorDateAreMergedWithoutARoute) {
  const auto nameless = std::make_shared<const RLDArchiveItem>(RLDArchiveItem::Fields{});
  Dictionary status = backupStatus(10, {});
  statuskey::progressType.set(status, ProgressType::merge);
  statuskey::mergeIndex.set(status, 1);
  statuskey::archiveDescription.set(status, archiveOf({nameless, nameless}));
  world.show(status);
  EXPECT_EQ(text("routeLabel"), "Merging backup points");
}

TEST_F(Progress, RemainingTimeThatIsNotKnownIsNotShown) {
  Dictionary status = backupStatus(10, {});
  world.show(status);
  EXPECT_TRUE(text("timesLabel").contains("Remaining 00:05:10"));
  EXPECT_EQ(words("percentLabel"), "10%");
  status.remove("remainingtime");
  world.show(status);
  EXPECT_EQ(text("timesLabel"), "Elapsed 00:01:35");
}

TEST_F(Progress, WhateverPercentComesTheBarStaysInItsBounds) {
  const auto* bar = world.find<QProgressBar>("progressBar");
  for (const double percent : {250.0, 1e300, std::numeric_limits<double>::infinity()}) {
    world.show(backupStatus(percent, {}));
    EXPECT_EQ(text("percentLabel"), "100%");
    EXPECT_EQ(bar->value(), bar->maximum());
  }
  for (const double percent : {-5.0, std::numeric_limits<double>::quiet_NaN()}) {
    world.show(backupStatus(percent, {}));
    EXPECT_EQ(text("percentLabel"), "0%");
  }
}

TEST_F(Progress, StopSaysThatItStopsUntilTheOperationIsOver) {
  world.show(backupStatus(10, {}));
  EXPECT_EQ(stopTitle(), "&Stop");
  world.click("stopButton");
  EXPECT_EQ(helper().count("breakProgress"), 1U);
  EXPECT_EQ(stopTitle(), "Stopping…");
  EXPECT_FALSE(isEnabled("stopButton"));
  world.click("stopButton");
  EXPECT_EQ(helper().count("breakProgress"), 1U);
  world.show(backupStatus(11, {}));
  EXPECT_EQ(stopTitle(), "Stopping…");
  world.show(readyStatus());
  world.show(backupStatus(1, {}));
  EXPECT_EQ(stopTitle(), "&Stop");
  EXPECT_TRUE(isEnabled("stopButton"));
}

TEST_F(Progress, StandstillIsShownWithTheWayToTheLog) {
  world.show(backupStatus(10, {"line"}));
  const auto start = static_cast<std::int64_t>(world.loop.now().count());
  EXPECT_FALSE(isShown("standstillRow"));
  pass(300);
  EXPECT_TRUE(isShown("standstillRow"));
  EXPECT_EQ(text("standstillLabel"), "No progress since at " + QString::number(start));
  world.find<QTabWidget>("accessoryTabs")->setCurrentIndex(0);
  world.click("showLogButton");
  EXPECT_TRUE(isShown("logView"));
  world.show(backupStatus(11, {"line"}));
  EXPECT_FALSE(isShown("standstillRow"));
}

TEST_F(Progress, LogComesUpWithAnOperationAndGoesWithAGoodEnd) {
  auto* tabs = world.find<QTabWidget>("accessoryTabs");
  world.show(backupStatus(10, {"line"}));
  EXPECT_EQ(tabs->currentIndex(), 1);
  world.show(readyStatus());
  EXPECT_EQ(tabs->currentIndex(), 0);
  world.show(backupStatus(10, {"line"}));
  Dictionary failed = readyStatus();
  statuskey::lastBackupError.set(failed, "The disk is full");
  world.show(failed);
  EXPECT_EQ(tabs->currentIndex(), 1);
  EXPECT_TRUE(isShown("lastErrorRow"));
}

// Stop comes up where the first click was.
TEST_F(Progress, DoubleClickThatStartsABackupDoesNotStopIt) {
  activate();
  helper().whenCalled("backup", [this] { world.transport.push(backupStatus(1, {"line"})); });
  const auto* button = world.find<QWidget>("backupButton");
  QTest::mouseDClick(world.window->windowHandle(), Qt::LeftButton, {},
                     button->mapTo(world.window.get(), button->rect().center()));
  InterfaceWorld::settle();
  EXPECT_EQ(helper().count("backup"), 1U);
  ASSERT_TRUE(isShown("stopButton"));
  EXPECT_EQ(helper().count("breakProgress"), 0U);
  world.click("stopButton");
  EXPECT_EQ(helper().count("breakProgress"), 1U);
}

TEST_F(Progress, FocusGoesFromTheMainButtonToStopAndBack) {
  activate();
  world.find<QWidget>("backupButton")->setFocus();
  world.show(backupStatus(10, {"line"}));
  EXPECT_EQ(world.window->focusWidget(), world.find<QWidget>("stopButton"));
  world.show(readyStatus());
  EXPECT_EQ(world.window->focusWidget(), world.find<QWidget>("backupButton"));
}

}  // namespace
}  // namespace zpk
