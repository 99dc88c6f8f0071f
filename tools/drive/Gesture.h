#pragma once

#include <QKeyCombination>
#include <QPoint>
#include <QRect>

class QAbstractButton;
class QDialog;
class QString;
class QWidget;

namespace zpk::gesture {

// The single events of which gestures are made. Each throws DriveFailed when it cannot reach what it is for.

// Makes the widget's window the active one, as a desktop does with the window that is used.
void activate(QWidget& widget);

// A click into `spot`, in the widget's coordinates, which has to be visible, enabled and not covered.
void click(QWidget& widget, const QRect& spot);
void click(QWidget& widget);
// Presses at `from`, moves to `to`, lets go.
void drag(QWidget& widget, const QPoint& from, const QPoint& to);

// A key to whatever has the focus in the widget's window.
void key(QWidget& widget, QKeyCombination keys);
void text(QWidget& widget, const QString& characters);
// Goes to the widget with the Tab key alone.
void tabTo(QWidget& widget);

// The button that Return presses in the sheet, and the one that Esc stands for.
QAbstractButton& defaultButton(QDialog& sheet);
QAbstractButton& cancelButton(QDialog& sheet);

}  // namespace zpk::gesture
