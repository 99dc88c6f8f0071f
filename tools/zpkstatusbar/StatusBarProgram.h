#pragma once

#include <QString>
#include <optional>

#include "base/NotificationCenter.h"
#include "platform/linux/link/DBusLinkTransport.h"
#include "platform/posix/Log_posix.h"
#include "platform/qt/QtDateFormatter.h"
#include "platform/qt/QtLocalization.h"
#include "platform/qt/QtRunLoop.h"
#include "platform/qt/QtWorkspace.h"
#include "tools/zpkstatusbar/StatusBarController.h"
#include "tools/zpkstatusbar/StatusBarItem.h"
#include "tools/zpkstatusbar/StatusBarOptions.h"

namespace zpk {

// The program put together. Made once a process, on the main thread, after the application object; the helper is
// not contacted before the icon is there.
class StatusBarProgram {
 public:
  explicit StatusBarProgram(const RunStatusBar& options);

  // Waits for a status bar, shows the icon and serves it until the user quits. The exit status: 0 also without a
  // status bar, which no restart would bring.
  int run();

 private:
  bool waitForStatusBar();
  void showIcon();
  ZPKDaemon& connectedDaemon();
  void openProgram();

  // In the order in which each needs the ones before it.
  RunStatusBar _options;
  PosixLog _log;
  QtRunLoop _runLoop;
  NotificationCenter _notificationCenter;
  QtLocalization _localization;
  QtDateFormatter _dates;
  QtWorkspace _workspace;
  DBusLinkTransport _transport;
  std::optional<ZPKDaemon> _daemon;
  StatusBarController _controller;
  // When there is a status bar for it.
  std::optional<StatusBarItem> _item;
};

}  // namespace zpk
