#include "tools/drive/Gesture.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QWindow>
#include <QtTest/QTest>

#include "tools/drive/DriveFailed.h"

namespace zpk::gesture {
namespace {

// More than any window has; a round trip ends much earlier.
constexpr int kMostTabs = 60;
constexpr int kDragSteps = 8;

QString nameOf(const QWidget& widget) {
  return widget.objectName().isEmpty() ? QString::fromLatin1(widget.metaObject()->className())
                                       : widget.objectName();
}

QWindow& windowOf(QWidget& widget) {
  QWindow* window = widget.window()->windowHandle();
  if (!window) throw DriveFailed(nameOf(widget) + QStringLiteral(" is not on the screen"));
  return *window;
}

void expectUsable(QWidget& widget) {
  if (!widget.isVisible()) throw DriveFailed(nameOf(widget) + QStringLiteral(" is not shown"));
  if (!widget.isEnabled()) throw DriveFailed(nameOf(widget) + QStringLiteral(" cannot be used now"));
}

// Where in its window the point of the widget lies, when it can be seen there.
QPoint onWindow(QWidget& widget, const QPoint& point) {
  QWidget* window = widget.window();
  const QPoint place = widget.mapTo(window, point);
  const QWidget* there = window->childAt(place);
  if (!there) there = window;
  if (there != &widget && !widget.isAncestorOf(there)) {
    throw DriveFailed(nameOf(widget) + QStringLiteral(" is covered by ") + nameOf(*there));
  }
  return place;
}

// A round trip that finds nothing ends where it began.
bool tabOn(QWidget& widget) {
  QWidget* window = widget.window();
  key(widget, Qt::Key_Tab);
  return window->focusWidget() == &widget || window->focusWidget() == widget.focusProxy();
}

}  // namespace

void activate(QWidget& widget) {
  QWidget* window = widget.window();
  // One that has come up over another has its keys and clicks without being the active one.
  if (window->isActiveWindow() || window == QApplication::activePopupWidget()) return;
  window->activateWindow();
  if (!QTest::qWaitForWindowActive(window)) throw DriveFailed(nameOf(*window) + QStringLiteral(" stays inactive"));
}

void click(QWidget& widget, const QRect& spot) {
  expectUsable(widget);
  activate(widget);
  // A list of completions below a field takes the first click for itself.
  if (QWidget* list = QApplication::activePopupWidget(); list && list != widget.window()) list->close();
  QTest::mouseClick(&windowOf(widget), Qt::LeftButton, {}, onWindow(widget, spot.center()));
}

void click(QWidget& widget) {
  click(widget, widget.rect());
}

void drag(QWidget& widget, const QPoint& from, const QPoint& to) {
  expectUsable(widget);
  activate(widget);
  QWindow& window = windowOf(widget);
  const QPoint begin = onWindow(widget, from);
  const QPoint end = widget.mapTo(widget.window(), to);
  QTest::mousePress(&window, Qt::LeftButton, {}, begin);
  for (int step = 1; step <= kDragSteps; ++step)
    QTest::mouseMove(&window, begin + (end - begin) * step / kDragSteps);
  QTest::mouseRelease(&window, Qt::LeftButton, {}, end);
}

void key(QWidget& widget, QKeyCombination keys) {
  activate(widget);
  QTest::keyClick(&windowOf(widget), keys.key(), keys.keyboardModifiers());
}

void text(QWidget& widget, const QString& characters) {
  activate(widget);
  QWindow& window = windowOf(widget);
  for (const QChar character : characters) {
    // The toolkit's testing knows the keys of ASCII only; others come as an input method brings them.
    if (character.unicode() < 0x80) {
      QTest::keyClick(&window, character.toLatin1());
    } else {
      QTest::sendKeyEvent(QTest::Click, &window, Qt::Key_unknown, QString(character), Qt::NoModifier);
    }
  }
}

void tabTo(QWidget& widget) {
  expectUsable(widget);
  activate(widget);
  if (widget.window()->focusWidget() == &widget) return;
  for (int tabs = 0; tabs < kMostTabs; ++tabs) {
    if (tabOn(widget)) return;
  }
  throw DriveFailed(QStringLiteral("the Tab key does not come to ") + nameOf(widget));
}

QAbstractButton& defaultButton(QDialog& sheet) {
  for (QPushButton* button : sheet.findChildren<QPushButton*>()) {
    if (button->isVisible() && button->isDefault()) return *button;
  }
  throw DriveFailed(nameOf(sheet) + QStringLiteral(" has no default button"));
}

QAbstractButton& cancelButton(QDialog& sheet) {
  if (auto* button = sheet.findChild<QAbstractButton*>(QStringLiteral("cancelButton"))) return *button;
  // A toolkit's own sheet.
  auto* box = sheet.findChild<QDialogButtonBox*>();
  QPushButton* button = box ? box->button(QDialogButtonBox::Cancel) : nullptr;
  if (!button) throw DriveFailed(nameOf(sheet) + QStringLiteral(" cannot be cancelled"));
  return *button;
}

}  // namespace zpk::gesture
