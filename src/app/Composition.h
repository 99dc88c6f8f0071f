#pragma once

#include <QLocale>
#include <QStringList>
#include <functional>
#include <memory>

#include "base/NotificationCenter.h"
#include "interface/MainWindow.h"
#include "mainwindow/OperationWatch.h"
#include "mainwindow/ZPKUIDaemonController.h"
#include "platform/linux/InstalledPaths.h"
#include "platform/linux/link/DBusLinkTransport.h"
#include "platform/posix/FileManager_posix.h"
#include "platform/posix/Log_posix.h"
#include "platform/posix/TaskRunner_posix.h"
#include "platform/qt/QtDateFormatter.h"
#include "platform/qt/QtImage.h"
#include "platform/qt/QtLocalization.h"
#include "platform/qt/QtRunLoop.h"
#include "platform/qt/QtWorkspace.h"

namespace zpk {

// The program put together: every adapter, the main window's controller and the window. Made once a process, on the
// main thread, after the application object; the helper is not contacted before launch().
class Composition {
 public:
  // Its texts are in the first of `languages` that it speaks, else in English.
  explicit Composition(const BusEndpoint& bus, const QStringList& languages = QLocale::system().uiLanguages(),
                       const InstalledPaths& paths = {});
  ~Composition();
  Composition(const Composition&) = delete;
  Composition& operator=(const Composition&) = delete;

  // Shows the window and launches once it has been painted, so that no helper, however slow, keeps it from the
  // screen.
  void show();
  // Announces that the application has launched, which makes the first contact with the helper; once.
  void launch();
  // Serves until the last window is closed.
  void run() { _runLoop.run(); }

  QtRunLoop& runLoop() { return _runLoop; }
  ZPKUIDaemonController& controller() { return *_controller; }
  MainWindow& window() { return *_window; }

 private:
  class FirstPaint;

  ZPKDaemonEnvironment daemonEnvironment();

  // In the order in which each needs the ones before it.
  PosixLog _log;
  PosixFileManager _fileManager;
  PosixTaskRunner _tasks;
  QtRunLoop _runLoop;
  NotificationCenter _notificationCenter;
  QtLocalization _localization;
  QtDateFormatter _backupDates;
  QtDateFormatter _times;
  QtWorkspace _workspace;
  QtImageLoader _images;
  DBusLinkTransport _transport;
  // The one daemon of the process refers to what is above for good; nothing calls it once this is gone.
  std::shared_ptr<ZPKUIDaemonController> _controller;
  std::unique_ptr<OperationWatch> _watch;
  std::unique_ptr<MainWindow> _window;
  std::unique_ptr<FirstPaint> _firstPaint;
  bool _launched = false;
};

}  // namespace zpk
