// What the window is to those who use it by keyboard or by assistive technology.

#include <QAccessible>
#include <QCheckBox>
#include <QLineEdit>
#include <QStringList>

#include "interface/WindowFixture.h"

namespace zpk {
namespace {

class Reach : public Window {
 protected:
  QString nameOf(QWidget* widget) const {
    QAccessibleInterface* spoken = QAccessible::queryAccessibleInterface(widget);
    return spoken ? spoken->text(QAccessible::Name) : QString();
  }
  // Objects that Tab comes to, from the first control on, once around.
  QStringList tabStops() const {
    QStringList stops;
    QWidget* first = world.find<QWidget>("selectSourceButton");
    first->setFocus();
    QWidget* widget = first;
    do {
      stops += widget->objectName();
      QTest::keyClick(widget, Qt::Key_Tab);
      widget = world.window->focusWidget();
    } while (widget && widget != first && stops.size() < 50);
    return stops;
  }
};

TEST_F(Reach, EveryControlThatTakesTheFocusHasAName) {
  for (const Dictionary& status : {readyStatus(), backupStatus(10, {"line"})}) {
    world.show(status);
    int seen = 0;
    for (QWidget* widget : world.window->findChildren<QWidget*>()) {
      if (widget->focusPolicy() == Qt::NoFocus || widget->focusProxy() || widget->isWindow()) continue;
      // Parts of a control, such as the header of a table, go by its name.
      if (widget->objectName().isEmpty() || widget->objectName().startsWith("qt_")) continue;
      ++seen;
      EXPECT_FALSE(nameOf(widget).isEmpty()) << widget->objectName().toStdString();
    }
    EXPECT_GE(seen, 12);
  }
}

TEST_F(Reach, TabGoesThroughTheWindowAsItIsRead) {
  world.show(readyStatus());
  world.click("toggleSchedulerButton");
  activate();
  selectRow(2);
  EXPECT_EQ(tabStops(),
            (QStringList{"selectSourceButton", "selectBackupPathButton", "backupButton", "changeScheduleButton",
                         "toggleSchedulerButton", "qt_tabwidget_tabbar", "arcItemsTable", "restoreButton",
                         "mergeButton", "maxIncCountField", "checkFSButton", "statusBarAppButton"}));
}

TEST_F(Reach, TabComesToStopFirstWhileAnOperationRuns) {
  world.show(readyStatus());
  world.show(backupStatus(10, {"line"}));
  activate();
  world.find<QWidget>("stopButton")->setFocus();
  QTest::keyClick(world.window->focusWidget(), Qt::Key_Tab);
  EXPECT_EQ(world.window->focusWidget()->objectName(), "toggleSchedulerButton");
  QTest::keyClick(world.window->focusWidget(), Qt::Key_Tab);
  EXPECT_EQ(world.window->focusWidget()->objectName(), "qt_tabwidget_tabbar");
  QTest::keyClick(world.window->focusWidget(), Qt::Key_Tab);
  EXPECT_EQ(world.window->focusWidget()->objectName(), "logView");
}

TEST_F(Reach, LimitIsCommittedByReturnAndGoesBackWhenTheHelperSaysSo) {
  world.show(readyStatus());
  activate();
  auto* field = world.find<QLineEdit>("maxIncCountField");
  EXPECT_EQ(field->text(), "10");
  field->setFocus();
  field->selectAll();
  QTest::keyClicks(field, "25");
  EXPECT_EQ(helper().count("setMaxIncrementsCount"), 0U);
  QTest::keyClick(field, Qt::Key_Return);
  EXPECT_EQ(helper().lastCall("setMaxIncrementsCount").arguments, Array{25});
  EXPECT_EQ(field->text(), "25");
  // The helper has not taken it over; to be seen once the user has gone elsewhere.
  world.find<QWidget>("checkFSButton")->setFocus();
  world.show(readyStatus());
  EXPECT_EQ(field->text(), "10");
  EXPECT_EQ(helper().count("setMaxIncrementsCount"), 1U);
}

// Sent only when the sheet takes the focus, it would be answered by a record, which closes the sheet again.
TEST_F(Reach, WhatIsBeingTypedIsSentBeforeASheetOpens) {
  Dictionary taken = readyStatus();
  statuskey::maxIncCount.set(taken, 25);
  helper().whenCalled("setMaxIncrementsCount", [&] { world.transport.push(taken); });
  world.show(readyStatus());
  activate();
  auto* field = world.find<QLineEdit>("maxIncCountField");
  field->setFocus();
  field->selectAll();
  QTest::keyClicks(field, "25");
  QTest::keyClick(world.window.get(), Qt::Key_D, Qt::ControlModifier);
  InterfaceWorld::settle();
  EXPECT_EQ(helper().lastCall("setMaxIncrementsCount").arguments, Array{25});
  ASSERT_NE(world.sheet(), nullptr);
  EXPECT_EQ(world.controller->modalSession(), 3);
  QTest::keyClick(world.sheet(), Qt::Key_Escape);
  InterfaceWorld::settle();
  EXPECT_EQ(world.window->focusWidget(), field);
  EXPECT_EQ(helper().count("setMaxIncrementsCount"), 1U);
}

// Its user has not finished: nothing is sent to a helper that takes no settings now.
TEST_F(Reach, WhatIsBeingTypedIsGivenUpWhenTheFieldIsTakenAway) {
  Dictionary busy = readyStatus();
  statuskey::state.set(busy, HelperState::busy);
  for (const Dictionary& status : {backupStatus(1, {"line"}), busy}) {
    world.show(readyStatus());
    activate();
    auto* field = world.find<QLineEdit>("maxIncCountField");
    field->setFocus();
    field->selectAll();
    QTest::keyClicks(field, "25");
    world.show(status);
    if (world.sheet()) {
      world.sheet()->activateWindow();
      ASSERT_TRUE(QTest::qWaitForWindowActive(world.sheet()));
    }
    EXPECT_FALSE(field->hasFocus());
    EXPECT_EQ(helper().count("setMaxIncrementsCount"), 0U);
    EXPECT_EQ(field->text(), "10");
  }
}

TEST_F(Reach, SettingsSayWhyTheyCannotBeChanged) {
  world.show(readyStatus());
  EXPECT_TRUE(isEnabled("maxIncCountField"));
  world.show(backupStatus(10, {"line"}));
  EXPECT_FALSE(isEnabled("maxIncCountField"));
  EXPECT_FALSE(isEnabled("checkFSButton"));
  EXPECT_TRUE(words("maxIncCountField").contains("An operation is running"));
  EXPECT_TRUE(words("checkFSButton").contains("An operation is running"));
}

TEST_F(Reach, PinIsSpokenOfInWords) {
  world.show(readyStatus());
  const QModelIndex pinned = cell(0, 0);
  const QModelIndex free = cell(1, 0);
  EXPECT_EQ(pinned.data(Qt::AccessibleTextRole).toString(), "Pinned");
  EXPECT_EQ(free.data(Qt::AccessibleTextRole).toString(), "Not pinned");
}

}  // namespace
}  // namespace zpk
