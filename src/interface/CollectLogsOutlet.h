#pragma once

#include <QPointer>

#include "interface/CollectLogsDialog.h"

namespace zpk {

// The delegate's window for collecting logs, which is made when it is first asked for, over the main window.
class CollectLogsOutlet final : public CollectLogsWindow {
 public:
  CollectLogsOutlet(ZPKAppDelegate& delegate, const Localization& localization, QWidget& window)
      : _delegate(delegate), _localization(localization), _window(window) {}

  void makeKeyAndOrderFront() override {
    if (!_dialog) {
      _dialog = new CollectLogsDialog(_delegate, _localization, _window);
      _dialog->setClosable(_closable);
    }
    _dialog->show();
    _dialog->raise();
    _dialog->activateWindow();
  }
  void close() override {
    if (_dialog) _dialog->takeDown();
  }
  void setCloseButtonEnabled(bool enabled) override {
    _closable = enabled;
    if (_dialog) _dialog->setClosable(enabled);
  }

  // The program ends with the collection that is running: says so, where it can be seen.
  void showQuitPending() {
    makeKeyAndOrderFront();
    _dialog->setQuitPending(true);
  }
  // There is a window again, so it goes on.
  void withdrawQuitPending() {
    if (_dialog) _dialog->setQuitPending(false);
  }

 private:
  ZPKAppDelegate& _delegate;
  const Localization& _localization;
  QWidget& _window;
  QPointer<CollectLogsDialog> _dialog;
  bool _closable = true;
};

}  // namespace zpk
