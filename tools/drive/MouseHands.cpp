#include "tools/drive/MouseHands.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QSlider>
#include <QStyle>
#include <QStyleOptionButton>
#include <QStyleOptionSlider>
#include <QStyleOptionViewItem>
#include <QTimeEdit>

#include "tools/drive/DriveFailed.h"
#include "tools/drive/Gesture.h"

namespace zpk {
namespace {

QMainWindow& mainWindow() {
  for (QWidget* window : QApplication::topLevelWidgets()) {
    if (auto* found = qobject_cast<QMainWindow*>(window)) return *found;
  }
  throw DriveFailed("there is no main window");
}

QRect handleOf(QSlider& slider) {
  QStyleOptionSlider option;
  option.initFrom(&slider);
  option.orientation = slider.orientation();
  option.minimum = slider.minimum();
  option.maximum = slider.maximum();
  option.sliderPosition = slider.sliderPosition();
  option.sliderValue = slider.value();
  option.upsideDown = slider.isRightToLeft() != slider.invertedAppearance();
  return slider.style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, &slider);
}

// The square of the check box, which is what an item takes a click in.
QRect boxOf(QAbstractItemView& list, const QModelIndex& index) {
  QStyleOptionViewItem option;
  option.initFrom(list.viewport());
  option.rect = list.visualRect(index);
  option.features = QStyleOptionViewItem::HasCheckIndicator;
  option.widget = &list;
  return list.style()->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &option, &list);
}

}  // namespace

void MouseHands::press(QAbstractButton& button) {
  // A check box takes clicks on its square and its words, which may be shorter than it is wide.
  QStyleOptionButton option;
  option.initFrom(&button);
  const bool isBox = qobject_cast<QCheckBox*>(&button) != nullptr;
  gesture::click(button, isBox ? button.style()->subElementRect(QStyle::SE_CheckBoxIndicator, &option, &button)
                               : button.rect());
}

void MouseHands::command(QAbstractButton& button, QAction& /*action*/) {
  press(button);
}

void MouseHands::command(QAction& action) {
  QMenuBar& bar = *mainWindow().menuBar();
  for (QAction* title : bar.actions()) {
    if (!title->menu() || !title->menu()->actions().contains(&action)) continue;
    gesture::click(bar, bar.actionGeometry(title));
    if (!title->menu()->isVisible()) throw DriveFailed("the menu does not open: " + title->text().toStdString());
    if (!action.isEnabled()) throw DriveFailed("the menu's entry cannot be used: " + action.text().toStdString());
    return gesture::click(*title->menu(), title->menu()->actionGeometry(&action));
  }
  throw DriveFailed("no menu has the entry " + action.text().toStdString());
}

void MouseHands::selectRow(QAbstractItemView& list, int row) {
  const QModelIndex index = list.model()->index(row, list.model()->columnCount() > 1 ? 1 : 0);
  list.scrollTo(index);
  gesture::click(*list.viewport(), list.visualRect(index));
}

void MouseHands::tick(QAbstractItemView& list, const QModelIndex& box) {
  list.scrollTo(box);
  gesture::click(*list.viewport(), boxOf(list, box));
}

void MouseHands::choose(QComboBox& list, int row) {
  gesture::click(list);
  QAbstractItemView& rows = *list.view();
  if (!rows.isVisible()) throw DriveFailed("the list does not open");
  const QModelIndex index = list.model()->index(row, 0);
  rows.scrollTo(index);
  gesture::click(*rows.viewport(), rows.visualRect(index));
}

void MouseHands::type(QTimeEdit& picker, const QString& figures) {
  gesture::click(picker);
  // What was stepped is selected, and typed over.
  gesture::key(picker, Qt::Key_Home);
  gesture::key(picker, Qt::Key_Up);
  gesture::text(picker, figures);
}

void MouseHands::type(QLineEdit& field, const QString& text) {
  gesture::click(field);
  gesture::key(field, Qt::CTRL | Qt::Key_A);
  gesture::text(field, text);
}

void MouseHands::finish(QLineEdit& /*field*/, QWidget& elsewhere) {
  gesture::click(elsewhere);
}

void MouseHands::slideDown(QSlider& slider) {
  const QPoint handle = handleOf(slider).center();
  gesture::drag(slider, handle, QPoint(slider.rect().center().x(), handle.y()));
}

void MouseHands::slideToLowest(QSlider& slider) {
  const QPoint handle = handleOf(slider).center();
  gesture::drag(slider, handle, QPoint(slider.isRightToLeft() ? slider.width() - 1 : 0, handle.y()));
}

void MouseHands::accept(QDialog& sheet) {
  press(gesture::defaultButton(sheet));
}

void MouseHands::cancel(QDialog& sheet) {
  press(gesture::cancelButton(sheet));
}

}  // namespace zpk
