#pragma once

#include <QAction>
#include <QKeySequence>
#include <optional>
#include <vector>

#include "base/Localization.h"
#include "interface/Binding.h"
#include "mainwindow/ActionObstacles.h"
#include "mainwindow/OperationWatch.h"
#include "mainwindow/ZPKUIDaemonController.h"

class QWidget;

namespace zpk {

// Every command of the main window, once: menus, buttons and shortcuts share one action each.
//
// Commands for the controller are connected here, and enabled as the controller allows; what keeps one from being
// used is its status tip and its tool tip. Commands for the window itself are connected by the window. The actions
// belong to the window.
class WindowActions {
 public:
  WindowActions(QWidget& window, ZPKUIDaemonController& controller, OperationWatch& watch,
                const Localization& localization);

  // In the order of the menus.
  QAction* about;
  QAction* quit;
  QAction* chooseDisk;
  QAction* chooseLocation;
  QAction* backUpNow;
  QAction* stop;
  QAction* close;
  QAction* copy;
  QAction* selectAll;
  QAction* restore;
  QAction* merge;
  QAction* pin;
  QAction* open;
  QAction* showPoints;
  QAction* showLog;
  QAction* fullScreen;
  QAction* minimize;
  QAction* zoom;
  QAction* raise;
  QAction* shortcuts;

  // All of them, in that order.
  const std::vector<QAction*>& all() const { return _all; }

 private:
  QAction* add(const char* name, const QString& text, const QList<QKeySequence>& keys = {});
  void setRoles();
  void setPictures();
  void connectCommands();
  void bindStates();
  void allow(QAction& action, std::optional<Obstacle> obstacle);
  void showPin();
  void showStop();
  void togglePin();
  bool finishTyping(const QAction& action);

  QWidget& _window;
  ZPKUIDaemonController& _controller;
  OperationWatch& _watch;
  const Localization& _localization;
  std::vector<QAction*> _all;
  Bindings _bindings;
};

}  // namespace zpk
