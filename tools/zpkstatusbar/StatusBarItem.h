#pragma once

#include <QAction>
#include <QMenu>
#include <QSystemTrayIcon>
#include <functional>
#include <string>

#include "base/Localization.h"
#include "tools/zpkstatusbar/StatusBarController.h"

namespace zpk {

// The icon in the status bar with its tool tip and its menu: what runs or was last, "Back Up Now" or "Stop", "Open
// ZPK", "Quit". A click on it opens ZPK, on desktops that do not show the menu then. Holds no state; what it shows
// is the controller's. Main thread.
class StatusBarItem {
 public:
  struct Actions {
    std::function<void()> openProgram;
    std::function<void()> quit;
  };

  // The controller and the localization outlive the item.
  StatusBarItem(StatusBarController& controller, const Localization& localization, Actions actions);

  void show() { _icon.show(); }
  // A message beside the icon, where the desktop shows such.
  void showMessage(const std::string& title, const std::string& text);

  QMenu& menu() { return _menu; }
  const QSystemTrayIcon& icon() const { return _icon; }

 private:
  void update();

  StatusBarController& _controller;
  QMenu _menu;
  QSystemTrayIcon _icon;
  QAction* _state;
  QAction* _backUp;
  QAction* _stop;
  StatusBarIcon _shownIcon = StatusBarIcon::away;
  std::optional<int> _shownPercent;
  Token _observation;
};

}  // namespace zpk
