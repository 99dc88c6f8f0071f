#pragma once

#include <QObject>
#include <functional>

#include "app/delegate/ZPKAppDelegate.h"

namespace zpk {

// The application, as its delegate sees it, on top of Qt's.
//
// Whatever asks the program to quit (the menu, the last window being closed, the end of the desktop's session, a
// signal) comes here and is put to the delegate. When that puts it off, the windows leave the screen, but for those
// that refuse to be closed, and the program quits when the delegate says so. They stay where the user is asked
// first. Main thread; made after the QApplication and gone before it.
class QtApplication final : public QObject, public Application {
 public:
  QtApplication();

  // Whom to ask; until then, and with null again, quitting asks nobody.
  void setDelegate(ZPKAppDelegate* delegate);
  // Called when the windows leave the screen for good and something is still being finished.
  void setLeaving(std::function<void()> leaving) { _leaving = std::move(leaving); }

  // Asks to quit; again, while an earlier request is put off, does nothing.
  void terminate();
  void replyToApplicationShouldTerminate(bool quits) override;

  // Qt's own ways of quitting all end in one event.
  bool eventFilter(QObject* object, QEvent* event) override;

 private:
  ZPKAppDelegate* _delegate = nullptr;
  std::function<void()> _leaving;
  bool _putOff = false;
};

}  // namespace zpk
