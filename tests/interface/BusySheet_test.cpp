#include <QAbstractButton>
#include <QDialog>
#include <QProgressBar>

#include "interface/WindowFixture.h"

namespace zpk {
namespace {

class BusyHelper : public Window {
 protected:
  BusyHelper() {
    world.show(readyStatus());
    world.show(busy());
  }
  static Dictionary busy() {
    Dictionary status = readyStatus();
    statuskey::state.set(status, HelperState::busy);
    return status;
  }
  void pressEscape() {
    QTest::keyClick(world.sheet(), Qt::Key_Escape);
    InterfaceWorld::settle();
  }
};

TEST_F(BusyHelper, IsWaitedForWithNothingToAnswer) {
  ASSERT_NE(world.sheet(), nullptr);
  EXPECT_EQ(world.sheet()->windowTitle(), "The helper is busy");
  EXPECT_TRUE(world.sheet()->findChild<QProgressBar*>()->isVisible());
  EXPECT_FALSE(isShown("cancelButton"));
  pressEscape();
  EXPECT_NE(world.sheet(), nullptr);
  world.show(readyStatus());
  EXPECT_EQ(world.sheet(), nullptr);
}

TEST_F(BusyHelper, ThatIsGoneNoLongerHoldsTheWindow) {
  world.transport.helperDies();
  InterfaceWorld::settle();
  EXPECT_EQ(world.sheet()->windowTitle(), "The backup helper is not running.");
  EXPECT_TRUE(world.sheet()->accessibleDescription().contains("Waiting for the helper"));
  ASSERT_TRUE(isShown("cancelButton"));
  world.click("cancelButton");
  EXPECT_EQ(world.sheet(), nullptr);
  EXPECT_TRUE(isShown("linkBanner"));
}

TEST_F(BusyHelper, ThatIsGoneIsLeftByEscapeToo) {
  world.transport.helperDies();
  pressEscape();
  EXPECT_EQ(world.sheet(), nullptr);
}

TEST_F(BusyHelper, ThatIsBackIsWaitedForAgain) {
  world.transport.helperDies();
  world.transport.helperAppears();
  InterfaceWorld::settle();
  EXPECT_EQ(world.sheet()->windowTitle(), "The helper is busy");
  EXPECT_FALSE(isShown("cancelButton"));
  pressEscape();
  EXPECT_NE(world.sheet(), nullptr);
}

TEST_F(BusyHelper, DoesNotKeepTheProgramFromBeingQuit) {
  world.sheet()->activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(world.sheet()));
  QTest::keyClick(world.sheet(), Qt::Key_Q, Qt::ControlModifier);
  InterfaceWorld::settle();
  EXPECT_TRUE(world.quits);
}

}  // namespace
}  // namespace zpk
