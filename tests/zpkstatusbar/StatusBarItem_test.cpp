// The icon's menu with a helper in memory.

#include "tools/zpkstatusbar/StatusBarItem.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QTextDocument>

#include "helperlink/ResultCode.h"
#include "zpkstatusbar/StatusBarWorld.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

struct StatusBarItemTest : StatusBarWorld, testing::Test {
  QAction& action(const char* name) { return *item.menu().findChild<QAction*>(QString::fromLatin1(name)); }
  // The visible lines, a separator as "-"; what cannot be chosen in brackets.
  std::vector<std::string> lines() {
    std::vector<std::string> shown;
    for (const QAction* line : item.menu().actions()) {
      if (!line->isVisible()) continue;
      const std::string text = line->isSeparator() ? "-" : line->text().toStdString();
      shown.push_back(line->isEnabled() ? text : "(" + text + ")");
    }
    return shown;
  }

  int opened = 0;
  int quits = 0;
  StatusBarItem item{controller, english, {.openProgram = [this] { ++opened; }, .quit = [this] { ++quits; }}};
};

TEST_F(StatusBarItemTest, MakesNoContactWithTheHelperByItself) {
  transport.helperAppears();
  item.show();
  loop.advance(Seconds(10));
  EXPECT_THAT(helper().calls(), testing::IsEmpty());
  EXPECT_THAT(transport.lookedUpNames(), testing::IsEmpty());
}

TEST_F(StatusBarItemTest, WithoutAHelperNothingButTheProgramIsOffered) {
  launch();
  EXPECT_THAT(lines(),
              ElementsAre("(The backup helper is not running.)", "-", "(&Back Up Now)", "&Open ZPK", "-", "&Quit"));
  EXPECT_FALSE(item.icon().icon().isNull());
}

TEST_F(StatusBarItemTest, BacksUp) {
  helperIsThere(readyStatus());
  ASSERT_TRUE(action("backUp").isEnabled());
  action("backUp").trigger();
  EXPECT_EQ(helper().count("backup"), 1U);
  EXPECT_TRUE(refusals.empty());
}

TEST_F(StatusBarItemTest, SaysWhyABackupWasRefused) {
  helperIsThere(readyStatus());
  helper().answer("backup", static_cast<std::uint32_t>(ResultCode::noArchiveTargetDirectory));
  action("backUp").trigger();
  EXPECT_THAT(refusals, ElementsAre(Pair("No archive target directory", HasSubstr("Connect its disk"))));
}

TEST_F(StatusBarItemTest, OffersStopWhileABackupRunsAndOnce) {
  helperIsThere(backupStatus(42, {}));
  EXPECT_THAT(lines(), ElementsAre("(Backing up: 42 %)", "-", "&Stop", "&Open ZPK", "-", "&Quit"));
  action("stop").trigger();
  EXPECT_EQ(helper().count("breakProgress"), 1U);
  EXPECT_THAT(lines().front(), "(Stopping…)");
  EXPECT_FALSE(action("stop").isEnabled());
  transport.push(backupStatus(43, {}));
  EXPECT_THAT(lines().front(), "(Stopping…)");
  transport.push(readyStatus());
  transport.push(backupStatus(1, {}));
  EXPECT_TRUE(action("stop").isEnabled()) << "the next one can be stopped";
}

TEST_F(StatusBarItemTest, AStopThatWasNotHeardCanBeAskedForAgain) {
  helperIsThere(backupStatus(42, {}));
  helper().whenCalled("breakProgress", [] { throw LinkException("no answer"); });
  action("stop").trigger();
  EXPECT_THAT(lines().front(), "(Backing up: 42 %)");
  EXPECT_TRUE(action("stop").isEnabled());
}

TEST_F(StatusBarItemTest, AHelperThatCameBackCanBeAskedToStopAgain) {
  helperIsThere(backupStatus(42, {}));
  action("stop").trigger();
  transport.helperDies();
  EXPECT_THAT(lines().front(), "(The backup helper is not running.)");
  transport.helperAppears();
  loop.turn();
  transport.push(backupStatus(42, {}));
  EXPECT_TRUE(action("stop").isEnabled());
}

TEST_F(StatusBarItemTest, FollowsTheHelper) {
  helperIsThere(readyStatus());
  EXPECT_THAT(item.icon().toolTip().toStdString(), HasSubstr("ZPK\nReady. Last backup: at 1701200000"));
  const qint64 ready = item.icon().icon().cacheKey();
  transport.push(backupStatus(7, {}));
  EXPECT_THAT(item.icon().toolTip().toStdString(), HasSubstr("7 %"));
  const qint64 seven = item.icon().icon().cacheKey();
  EXPECT_NE(seven, ready);
  transport.push(backupStatus(7.9, {}));
  EXPECT_EQ(item.icon().icon().cacheKey(), seven) << "the same picture is not made again";
  transport.helperDies();
  EXPECT_THAT(item.icon().toolTip().toStdString(), HasSubstr("not running"));
}

TEST_F(StatusBarItemTest, TextFromOutsideIsNeitherMarkupNorKeyMark) {
  Dictionary status = readyStatus();
  statuskey::lastBackupError.set(status, "<b>R&D</b> " + std::string(5000, 'x'));
  helperIsThere(status);
  EXPECT_THAT(lines().front(), HasSubstr("R&&D"));
  EXPECT_LE(item.menu().actions().front()->text().size(), 90);
  EXPECT_FALSE(Qt::mightBeRichText(item.icon().toolTip()));
}

TEST_F(StatusBarItemTest, AClickOpensTheProgramAndADoubleClickDoesSoOnce) {
  auto& icon = const_cast<QSystemTrayIcon&>(item.icon());
  emit icon.activated(QSystemTrayIcon::Trigger);
  EXPECT_EQ(opened, 1);
  emit icon.activated(QSystemTrayIcon::DoubleClick);
  emit icon.activated(QSystemTrayIcon::Context);
  emit icon.activated(QSystemTrayIcon::MiddleClick);
  EXPECT_EQ(opened, 1);
  EXPECT_EQ(quits, 0);
}

TEST_F(StatusBarItemTest, OpensTheProgramAndQuits) {
  action("open").trigger();
  action("quit").trigger();
  EXPECT_EQ(opened, 1);
  EXPECT_EQ(quits, 1);
}

}  // namespace
}  // namespace zpk
