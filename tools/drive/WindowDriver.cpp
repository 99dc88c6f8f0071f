#include "tools/drive/WindowDriver.h"

#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QPainter>
#include <QPixmap>

#include "mainwindow/ModalSession.h"

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
  waitThroughErrorsFor(what, atMost, [&] {
    if (seen()) return true;
    failOnError();
    return false;
  });
}

void WindowDriver::waitThroughErrorsFor(const QString& what, Seconds atMost, const std::function<bool()>& seen) {
  const Seconds end = _program.runLoop().now() + atMost;
  while (!seen()) {
    if (_program.runLoop().now() >= end) {
      takePicture(QStringLiteral("in-vain"));
      throw DriveFailed(QStringLiteral("waited in vain for ") + what);
    }
    _program.runLoop().runFor(kLook);
  }
}

void WindowDriver::failOnError() {
  const QString error = shownError();
  if (error.isEmpty()) return;
  takePicture(QStringLiteral("error"));
  throw DriveFailed(QStringLiteral("the window says: ") + error);
}

QDialog* WindowDriver::sheet() const {
  for (QDialog* dialog : _program.window().findChildren<QDialog*>()) {
    if (dialog->isVisible() && dialog->parentWidget() == &_program.window()) return dialog;
  }
  return nullptr;
}

QDialog& WindowDriver::shownSheet() const {
  QDialog* shown = sheet();
  if (!shown) throw SheetGone();
  return *shown;
}

QString WindowDriver::shownError() const {
  const QDialog* shown = sheet();
  if (_program.controller().modalSession() != modalsession::kError || !shown) return {};
  const auto* text = shown->findChild<QLabel*>(QStringLiteral("messageText"));
  return text ? text->text() : shown->windowTitle();
}

void WindowDriver::takePicture(const QString& name) {
  // What just changed is laid out first.
  _program.runLoop().runFor(kLook);
  QPixmap picture = _program.window().grab();
  if (QWidget* popup = QApplication::activePopupWidget()) {
    QPainter painter(&picture);
    painter.drawPixmap(_program.window().mapFromGlobal(popup->pos()), popup->grab());
  } else if (QDialog* shown = sheet()) {
    const QRect window(QPoint(), _program.window().size());
    QRect place(QPoint(), shown->size());
    place.moveCenter(window.center());
    QPainter painter(&picture);
    painter.fillRect(window, QColor(0, 0, 0, 70));
    painter.drawPixmap(place.topLeft(), shown->grab());
  }
  const QString path =
      QDir(_folder).filePath(QStringLiteral("%1-%2.png").arg(_taken.size() + 1, 2, 10, QLatin1Char('0')).arg(name));
  if (!picture.save(path)) throw DriveFailed("cannot write " + path.toStdString());
  _taken += path;
}

}  // namespace zpk
