#pragma once

#include <QAction>
#include <QKeySequence>
#include <optional>
#include <vector>

#include "app/delegate/ZPKAppDelegate.h"
#include "base/Localization.h"
#include "interface/Binding.h"
#include "interface/InstalledParts.h"
#include "mainwindow/ActionObstacles.h"
#include "mainwindow/OperationWatch.h"
#include "mainwindow/ZPKUIDaemonController.h"
#include "mount/AttachedDrives.h"

class QWidget;

namespace zpk {

// Every command of the main window, once: menus, buttons and shortcuts share one action each.
//
// Commands for the controller and for the application's delegate are connected here, and enabled as they allow;
// what keeps one from being used is its status tip and its tool tip. Commands for the window itself are connected
// by the window. The actions belong to the window.
class WindowActions {
 public:
  // Who the commands are for. All of it outlives the actions.
  struct Receivers {
    ZPKUIDaemonController& controller;
    OperationWatch& watch;
    ZPKAppDelegate& delegate;
    AttachedDrives& drives;
  };

  WindowActions(QWidget& window, const Receivers& receivers, const InstalledParts& installed,
                const Localization& localization);

  // In the order of the menus.
  QAction* about;
  QAction* checkForUpdates;
  QAction* uninstall;
  QAction* quit;
  QAction* chooseDisk;
  QAction* chooseLocation;
  QAction* backUpNow;
  QAction* stop;
  QAction* autoProtection;
  QAction* changeSchedule;
  QAction* close;
  QAction* copy;
  QAction* selectAll;
  QAction* restore;
  QAction* merge;
  QAction* pin;
  QAction* open;
  QAction* closePoints;
  QAction* showPoints;
  QAction* showLog;
  QAction* fullScreen;
  QAction* minimize;
  QAction* zoom;
  QAction* raise;
  QAction* shortcuts;
  QAction* collectLogs;

  // All of them, in that order.
  const std::vector<QAction*>& all() const { return _all; }

 private:
  QAction* add(const char* name, const QString& text, const QList<QKeySequence>& keys = {});
  void addApplicationActions();
  void addWindowActions();
  void setRoles();
  void allowInstalled(const InstalledParts& installed);
  void setPictures();
  void connectCommands();
  void connectApplicationCommands();
  void bindStates();
  void bindSchedule();
  void allow(QAction& action, std::optional<Obstacle> obstacle);
  static void allow(QAction& action, bool allowed, const QString& why);
  void showPin();
  void showStop();
  void togglePin();
  bool finishTyping(const QAction& action);

  QWidget& _window;
  ZPKUIDaemonController& _controller;
  OperationWatch& _watch;
  ZPKAppDelegate& _delegate;
  AttachedDrives& _drives;
  const Localization& _localization;
  std::vector<QAction*> _all;
  Bindings _bindings;
};

}  // namespace zpk
