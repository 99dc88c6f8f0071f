// What the window says and does about backup points that are open.
#include <QLabel>
#include <QPushButton>

#include "interface/WindowFixture.h"

namespace zpk {
namespace {

class OpenPoints : public Window {
 protected:
  OpenPoints() { world.show(readyStatus()); }

  void attach(const char* id) {
    world.driveControl.attach(id, std::string("/b/") + id + "/disk0.pvhd");
    InterfaceWorld::settle();
  }
  void quit() {
    action("quitAction")->trigger();
    InterfaceWorld::settle();
  }
  QString title() const { return world.sheet() ? world.sheet()->windowTitle() : QString(); }
  void answer(const char* button) {
    ASSERT_NE(world.sheet(), nullptr);
    world.click(world.sheet()->findChild<QPushButton*>(QLatin1String(button)));
  }

  const QString kQuestion = QStringLiteral("Backup points are open. Close them and quit?");
};

TEST_F(OpenPoints, AreClosedFromTheMenu) {
  EXPECT_FALSE(action("closePointsAction")->isEnabled());
  EXPECT_EQ(action("closePointsAction")->toolTip(), "No backup point is open.");
  attach("A");
  attach("B");
  EXPECT_TRUE(action("closePointsAction")->isEnabled());
  action("closePointsAction")->trigger();
  EXPECT_EQ(world.driveControl.detached, (std::vector<std::string>{"A", "B"}));
  EXPECT_FALSE(action("closePointsAction")->isEnabled());
}

TEST_F(OpenPoints, CanBeClosedWhileTheHelperIsAway) {
  attach("A");
  world.transport.helperDies();
  InterfaceWorld::settle();
  EXPECT_TRUE(action("closePointsAction")->isEnabled());
}

TEST_F(OpenPoints, AreNotClosedTwice) {
  world.driveControl.stubborn = true;
  attach("A");
  action("closePointsAction")->trigger();
  EXPECT_FALSE(action("closePointsAction")->isEnabled());
  EXPECT_EQ(action("closePointsAction")->toolTip(), "The open backup points are being closed.");
}

TEST_F(OpenPoints, WithoutOneQuittingAsksNothing) {
  quit();
  EXPECT_TRUE(world.quits);
  EXPECT_EQ(world.sheet(), nullptr);
}

TEST_F(OpenPoints, AreClosedBeforeTheProgramQuitsWhenTheUserAgrees) {
  attach("A");
  quit();
  EXPECT_EQ(title(), kQuestion);
  EXPECT_FALSE(world.quits);
  EXPECT_TRUE(world.driveControl.detached.empty());
  answer("actionButton");
  EXPECT_EQ(world.driveControl.detached, std::vector<std::string>{"A"});
  EXPECT_EQ(world.application.reply, true);
  EXPECT_EQ(world.sheet(), nullptr);
}

TEST_F(OpenPoints, StayAndSoDoesTheProgramWhenTheUserCancels) {
  attach("A");
  quit();
  answer("cancelButton");
  EXPECT_EQ(world.application.reply, false);
  EXPECT_EQ(world.sheet(), nullptr);
  EXPECT_TRUE(world.driveControl.detached.empty());
  quit();
  EXPECT_EQ(title(), kQuestion);
}

TEST_F(OpenPoints, EscCancelsTheQuestion) {
  attach("A");
  quit();
  QTest::keyClick(world.sheet(), Qt::Key_Escape);
  InterfaceWorld::settle();
  EXPECT_EQ(world.application.reply, false);
}

TEST_F(OpenPoints, AreAskedAboutWhenTheWindowIsClosed) {
  attach("A");
  world.window->close();
  InterfaceWorld::settle();
  EXPECT_TRUE(world.window->isVisible());
  EXPECT_EQ(title(), kQuestion);
  answer("actionButton");
  EXPECT_EQ(world.application.reply, true);
}

TEST_F(OpenPoints, TheQuestionSaysThatItClosesThemAndTakesNoOtherAnswer) {
  world.driveControl.stubborn = true;
  attach("A");
  quit();
  answer("actionButton");
  ASSERT_NE(world.sheet(), nullptr);
  EXPECT_EQ(title(), "The open backup points are being closed.");
  EXPECT_FALSE(world.sheet()->isEnabled());
  EXPECT_FALSE(world.application.reply);
  world.driveControl.end("A");
  EXPECT_EQ(world.application.reply, true);
}

TEST_F(OpenPoints, ARecordOfTheHelperLeavesTheQuestionOnTheScreen) {
  attach("A");
  quit();
  world.show(backupStatus(10, {"line"}));
  world.show(readyStatus());
  EXPECT_EQ(title(), kQuestion);
}

TEST_F(OpenPoints, OneThatIsLostIsSaidOnce) {
  attach("A");
  world.driveControl.lose("A");
  InterfaceWorld::settle();
  EXPECT_EQ(title(), "An opened backup point is no longer there.");
  EXPECT_EQ(world.sheet()->findChild<QLabel*>("messageText")->text().remove(QChar(0x200B)), "/b/A/disk0.pvhd");
  EXPECT_TRUE(isEnabled("backupButton"));
  answer("cancelButton");
  EXPECT_EQ(world.sheet(), nullptr);
  world.show(readyStatus());
  EXPECT_EQ(world.sheet(), nullptr);
}

TEST_F(OpenPoints, OneThatIsLostGoesByItsNameInTheList) {
  Dictionary status = readyStatus();
  const auto point = std::make_shared<RLDArchiveItem>(
      RLDArchiveItem::Fields{.indexFilePath = "/b/A/index.json", .name = "Before the update"});
  statuskey::archiveDescription.set(status, archiveOf({point}));
  world.show(status);
  attach("A");
  world.driveControl.attach("C", "/b/A/disk1.pvhd");
  attach("D");
  for (const char* id : {"A", "C", "D"}) world.driveControl.remains.insert(id);
  world.driveControl.drives.clear();
  world.driveControl.end("A");
  InterfaceWorld::settle();
  EXPECT_EQ(world.sheet()->findChild<QLabel*>("messageText")->text().remove(QChar(0x200B)),
            QStringLiteral("“Before the update”\n/b/D/disk0.pvhd"));
}

TEST_F(OpenPoints, OneThatCannotAllBeShownIsSaidOnceAndStaysOpen) {
  world.driveControl.attach("A", "/b/A/disk0.pvhd", "Partition 3: no\nPartition 4: neither");
  InterfaceWorld::settle();
  EXPECT_EQ(title(), "Part of the backup point cannot be shown.");
  EXPECT_EQ(world.sheet()->findChild<QLabel*>("messageText")->text(), "Partition 3: no\nPartition 4: neither");
  answer("cancelButton");
  EXPECT_EQ(world.sheet(), nullptr);
  EXPECT_TRUE(action("closePointsAction")->isEnabled());
  attach("B");
  EXPECT_EQ(world.sheet(), nullptr);
}

TEST_F(OpenPoints, OneThatIsUnmountedElsewhereIsNoNews) {
  attach("A");
  world.driveControl.end("A");
  InterfaceWorld::settle();
  EXPECT_EQ(world.sheet(), nullptr);
}

}  // namespace
}  // namespace zpk
