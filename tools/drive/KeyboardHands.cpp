#include "tools/drive/KeyboardHands.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAction>
#include <QComboBox>
#include <QDialog>
#include <QKeySequence>
#include <QLineEdit>
#include <QSlider>
#include <QTimeEdit>
#include <QWidget>

#include "tools/drive/DriveFailed.h"
#include "tools/drive/Gesture.h"

namespace zpk {
namespace {

constexpr int kPagesDown = 3;

}  // namespace

void KeyboardHands::press(QAbstractButton& button) {
  gesture::tabTo(button);
  gesture::key(button, Qt::Key_Space);
}

void KeyboardHands::command(QAbstractButton& button, QAction& action) {
  if (!button.isEnabled()) throw DriveFailed("the command cannot be used: " + action.text().toStdString());
  command(action);
}

void KeyboardHands::command(QAction& action) {
  const QKeySequence keys = action.shortcut();
  auto* window = qobject_cast<QWidget*>(action.parent());
  if (keys.isEmpty() || !window) throw DriveFailed("the command has no keys: " + action.text().toStdString());
  for (int i = 0; i < keys.count(); ++i) gesture::key(*window, keys[static_cast<uint>(i)]);
}

void KeyboardHands::selectRow(QAbstractItemView& list, int row) {
  gesture::tabTo(list);
  if (list.model()->rowCount() > 1) gesture::key(list, Qt::Key_End);
  gesture::key(list, Qt::Key_Home);
  for (int down = 0; down < row; ++down) gesture::key(list, Qt::Key_Down);
  if (list.currentIndex().row() != row) throw DriveFailed("the arrow keys do not come to the row");
  // A row that was the current one already is not marked by coming to it; the only one is marked as all there are.
  if (!list.selectionModel()->isRowSelected(row)) {
    if (list.model()->rowCount() != 1) throw DriveFailed("the arrow keys do not mark the row");
    gesture::key(list, Qt::CTRL | Qt::Key_A);
  }
}

// The row's own command for its box is the space bar.
void KeyboardHands::tick(QAbstractItemView& list, const QModelIndex& box) {
  selectRow(list, box.row());
  gesture::key(list, Qt::Key_Space);
}

void KeyboardHands::choose(QComboBox& list, int row) {
  gesture::tabTo(list);
  gesture::key(list, Qt::Key_Home);
  for (int down = 0; down < row; ++down) gesture::key(list, Qt::Key_Down);
}

void KeyboardHands::type(QTimeEdit& picker, const QString& figures) {
  gesture::tabTo(picker);
  // What was stepped is selected, and typed over.
  gesture::key(picker, Qt::Key_Home);
  gesture::key(picker, Qt::Key_Up);
  gesture::text(picker, figures);
}

void KeyboardHands::type(QLineEdit& field, const QString& text) {
  gesture::tabTo(field);
  gesture::key(field, Qt::CTRL | Qt::Key_A);
  gesture::text(field, text);
}

void KeyboardHands::finish(QLineEdit& field, QWidget& /*elsewhere*/) {
  gesture::key(field, Qt::Key_Return);
}

void KeyboardHands::slideDown(QSlider& slider) {
  gesture::tabTo(slider);
  for (int page = 0; page < kPagesDown; ++page) gesture::key(slider, Qt::Key_PageDown);
}

void KeyboardHands::slideToLowest(QSlider& slider) {
  gesture::tabTo(slider);
  gesture::key(slider, Qt::Key_Home);
}

void KeyboardHands::accept(QDialog& sheet) {
  if (!gesture::defaultButton(sheet).isEnabled()) throw DriveFailed("the sheet's answer cannot be given");
  gesture::key(sheet, Qt::Key_Return);
}

void KeyboardHands::cancel(QDialog& sheet) {
  gesture::key(sheet, Qt::Key_Escape);
}

}  // namespace zpk
