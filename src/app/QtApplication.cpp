#include "app/QtApplication.h"

#include <QApplication>
#include <QEvent>
#include <QWidget>

namespace zpk {
namespace {

// A window that must stay refuses.
void closeWindows() {
  for (QWidget* window : QApplication::topLevelWidgets()) {
    if (window->isVisible()) window->close();
  }
}

}  // namespace

QtApplication::QtApplication() {
  QCoreApplication::instance()->installEventFilter(this);
}

void QtApplication::setDelegate(ZPKAppDelegate* delegate) {
  _delegate = delegate;
  QApplication::setQuitOnLastWindowClosed(!delegate || delegate->applicationShouldTerminateAfterLastWindowClosed());
}

void QtApplication::terminate() {
  if (_putOff) return;
  switch (_delegate ? _delegate->applicationShouldTerminate() : TerminateReply::now) {
    case TerminateReply::now:
      return QCoreApplication::exit();
    case TerminateReply::later:
      _putOff = true;
      if (_leaving) _leaving();
      return closeWindows();
    case TerminateReply::afterQuestion:
      _putOff = true;
      return;
  }
}

void QtApplication::replyToApplicationShouldTerminate(bool quits) {
  if (!_putOff) return;
  _putOff = false;
  if (quits) QCoreApplication::exit();
}

bool QtApplication::eventFilter(QObject* object, QEvent* event) {
  if (event->type() != QEvent::Quit || object != QCoreApplication::instance()) return false;
  terminate();
  event->setAccepted(!_putOff);
  return true;
}

}  // namespace zpk
