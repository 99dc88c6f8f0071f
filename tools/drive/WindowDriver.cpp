#include "tools/drive/WindowDriver.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QLabel>
#include <QPainter>
#include <QPixmap>
#include <QtTest/QTest>

namespace zpk {
namespace {

// How long one look at the window lasts. The run loop wakes up by itself for whatever happens meanwhile.
constexpr Seconds kLook{0.02};

}  // namespace

WindowDriver::WindowDriver(Composition& program, QString pictures)
    : _program(program), _folder(std::move(pictures)) {
  if (!QDir().mkpath(_folder)) throw DriveFailed("cannot make the folder " + _folder.toStdString());
}

void WindowDriver::waitFor(const QString& what, Seconds atMost, const std::function<bool()>& seen) {
  const Seconds end = _program.runLoop().now() + atMost;
  while (!seen()) {
    if (const QString error = shownError(); !error.isEmpty()) {
      takePicture(QStringLiteral("error"));
      throw DriveFailed("the window says: " + error.toStdString());
    }
    if (_program.runLoop().now() >= end) throw DriveFailed("waited in vain for " + what.toStdString());
    _program.runLoop().runFor(kLook);
  }
}

QDialog* WindowDriver::sheet() const {
  for (QDialog* dialog : _program.window().findChildren<QDialog*>()) {
    if (dialog->isVisible() && dialog->parentWidget() == &_program.window()) return dialog;
  }
  return nullptr;
}

QString WindowDriver::shownError() const {
  const QDialog* shown = sheet();
  if (_program.controller().modalSession() != 4 || !shown) return {};
  const auto* text = shown->findChild<QLabel*>(QStringLiteral("messageText"));
  return text ? text->text() : shown->windowTitle();
}

void WindowDriver::press(const char* buttonName) {
  click(widget<QWidget>(buttonName));
}

void WindowDriver::pressTitled(const QString& title) {
  QDialog* shown = sheet();
  if (!shown) throw DriveFailed("no sheet to press " + title.toStdString() + " in");
  for (QAbstractButton* button : shown->findChildren<QAbstractButton*>()) {
    if (button->isVisible() && button->text().remove(u'&') == title) return click(*button);
  }
  throw DriveFailed("the sheet has no button " + title.toStdString());
}

void WindowDriver::click(QWidget& button) {
  if (!button.isVisible() || !button.isEnabled()) {
    throw DriveFailed("the button " + button.objectName().toStdString() + " cannot be pressed");
  }
  // A list of completions below a field takes the first click for itself.
  if (QWidget* list = QApplication::activePopupWidget()) list->close();
  QTest::mouseClick(&button, Qt::LeftButton);
}

void WindowDriver::type(QWidget& field, const QString& text) {
  QTest::keyClick(&field, Qt::Key_A, Qt::ControlModifier);
  QTest::keyClicks(&field, text);
}

void WindowDriver::takePicture(const QString& name) {
  // What just changed is laid out first.
  _program.runLoop().runFor(kLook);
  QPixmap picture = _program.window().grab();
  if (QDialog* shown = sheet()) {
    const QRect window(QPoint(), _program.window().size());
    QRect place(QPoint(), shown->size());
    place.moveCenter(window.center());
    QPainter painter(&picture);
    painter.fillRect(window, QColor(0, 0, 0, 70));
    painter.drawPixmap(place.topLeft(), shown->grab());
  }
  const QString path = QDir(_folder).filePath(QStringLiteral("%1-%2.png").arg(_taken.size() + 1).arg(name));
  if (!picture.save(path)) throw DriveFailed("cannot write " + path.toStdString());
  _taken += path;
}

}  // namespace zpk
