#pragma once

#include <QString>
#include <memory>

class QAbstractButton;
class QAbstractItemView;
class QAction;
class QComboBox;
class QDialog;
class QLineEdit;
class QModelIndex;
class QSlider;
class QTimeEdit;
class QWidget;

namespace zpk {

enum class InputKind { mouse, keyboard };

// What a person does to the program, each in the way of one input device: with the mouse by pointing and clicking
// (text is typed all the same), or with the keyboard alone.
//
// Events enter through the toolkit's windows, as those of a desktop do, so that what is covered, blocked by a sheet
// or out of the keyboard's reach cannot be used here either. A gesture that cannot be made throws DriveFailed. Main
// thread.
class Hands {
 public:
  static std::unique_ptr<Hands> make(InputKind kind);
  virtual ~Hands() = default;

  // A control that is pressed: a push button, a check box.
  virtual void press(QAbstractButton& button) = 0;
  // A command that has a button and keys of its own.
  virtual void command(QAbstractButton& button, QAction& action) = 0;
  // A command of the menus that has keys of its own.
  virtual void command(QAction& action) = 0;
  virtual void selectRow(QAbstractItemView& list, int row) = 0;
  // The check box at `box`, in a row that is not otherwise changed.
  virtual void tick(QAbstractItemView& list, const QModelIndex& box) = 0;
  // Chooses a row of a list that opens from its control.
  virtual void choose(QComboBox& list, int row) = 0;
  // The four figures of hour and minute.
  virtual void type(QTimeEdit& picker, const QString& figures) = 0;
  // Makes `text` the whole text of the field.
  virtual void type(QLineEdit& field, const QString& text) = 0;
  // Ends the typing: with the keys, or by turning to another control.
  virtual void finish(QLineEdit& field, QWidget& elsewhere) = 0;
  // Moves the slider down from its upper end: to about its middle, or to its lower end.
  virtual void slideDown(QSlider& slider) = 0;
  virtual void slideToLowest(QSlider& slider) = 0;
  // The sheet's answers. `accept` takes the button that Return would take.
  virtual void accept(QDialog& sheet) = 0;
  virtual void cancel(QDialog& sheet) = 0;
};

}  // namespace zpk
