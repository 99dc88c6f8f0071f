#pragma once

#include <gtest/gtest.h>

#include <QAbstractItemView>
#include <QAction>
#include <QLabel>

#include "interface/InterfaceWorld.h"

namespace zpk {

// An open window, and words for what is looked at in it.
class Window : public testing::Test {
 protected:
  Window() { world.openWindow(); }
  FakeHelper& helper() { return world.helper(); }
  bool isShown(const char* name) const { return world.find<QWidget>(name)->isVisible(); }
  bool isEnabled(const char* name) const { return world.find<QWidget>(name)->isEnabled(); }
  QString text(const char* name) const { return world.find<QLabel>(name)->text(); }
  QString words(const char* card) const { return world.find<QWidget>(card)->accessibleDescription(); }
  QString toolTip(const char* name) const { return world.find<QWidget>(name)->toolTip(); }

  QAction* action(const char* name) const {
    auto* found = world.window->findChild<QAction*>(QLatin1String(name));
    EXPECT_NE(found, nullptr) << name;
    return found;
  }
  // Keys reach the window's actions while it is the active window.
  void activate() {
    world.window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(world.window.get()));
  }

  QAbstractItemView* table() const { return world.find<QAbstractItemView>("arcItemsTable"); }
  QModelIndex cell(int row, int column) const { return table()->model()->index(row, column); }
  // Alone, whichever keys an earlier test has held down.
  void selectRow(int row) {
    table()->selectionModel()->setCurrentIndex(cell(row, 1),
                                               QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
  }
  void clickCell(int row, int column, Qt::KeyboardModifiers modifiers = {}) {
    QTest::mouseClick(table()->viewport(), Qt::LeftButton, modifiers,
                      table()->visualRect(cell(row, column)).center());
  }

  InterfaceWorld world;
};

}  // namespace zpk
