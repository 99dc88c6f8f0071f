#include <gtest/gtest.h>

#include <QLineEdit>
#include <QPushButton>

#include "interface/InterfaceWorld.h"

namespace zpk {
namespace {

class LabelSheetOfAPoint : public testing::Test {
 protected:
  LabelSheetOfAPoint() {
    world.openWindow();
    world.show(readyStatus());
    world.controller->pin(true, *(*world.controller->arcItems())[1]);
    InterfaceWorld::settle();
    label = world.find<QLineEdit>("incrementLabelField");
  }

  std::string labelSent() { return world.helper().lastCall("pin_arcItem_withLabel").arguments[2].textOr("none"); }

  InterfaceWorld world;
  QLineEdit* label = nullptr;
};

TEST_F(LabelSheetOfAPoint, ReturnPinsWithWhatWasTyped) {
  QTest::keyClicks(label, "Before the update");
  QTest::keyClick(label, Qt::Key_Return);
  EXPECT_EQ(labelSent(), "Before the update");
}

TEST_F(LabelSheetOfAPoint, EscapePinsNothing) {
  QTest::keyClicks(label, "Before");
  QTest::keyClick(label, Qt::Key_Escape);
  InterfaceWorld::settle();
  EXPECT_EQ(world.helper().count("pin_arcItem_withLabel"), 0U);
  EXPECT_EQ(world.sheet(), nullptr);
}

TEST_F(LabelSheetOfAPoint, IsReadyToTypeIntoAndNamed) {
  EXPECT_EQ(world.sheet()->focusWidget(), label);
  EXPECT_FALSE(label->accessibleName().isEmpty());
  EXPECT_FALSE(world.sheet()->accessibleName().isEmpty());
}

TEST_F(LabelSheetOfAPoint, EndlessLabelIsCutAndDoesNotWidenTheSheet) {
  const int width = world.sheet()->width();
  label->insert(QString(100'000, u'W'));
  InterfaceWorld::settle();
  EXPECT_EQ(world.sheet()->width(), width);
  QTest::keyClick(label, Qt::Key_Return);
  EXPECT_EQ(labelSent(), std::string(255, 'W'));
}

TEST_F(LabelSheetOfAPoint, CharacterThatTheLimitCutsInTwoIsLeftOut) {
  label->insert(QString(254, u'W') + QStringLiteral("\U0001F4BE"));
  QTest::keyClick(label, Qt::Key_Return);
  EXPECT_EQ(labelSent(), std::string(254, 'W'));
}

TEST_F(LabelSheetOfAPoint, LinesThatArePastedBecomeOne) {
  label->insert("one\ntwo");
  EXPECT_EQ(label->text(), "one two");
  QTest::keyClick(label, Qt::Key_Return);
  EXPECT_EQ(labelSent(), "one two");
}

}  // namespace
}  // namespace zpk
