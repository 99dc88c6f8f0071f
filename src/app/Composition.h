#pragma once

#include <QLocale>
#include <QStringList>
#include <functional>
#include <memory>

#include "app/QtApplication.h"
#include "app/delegate/ZPKAppDelegate.h"
#include "base/NotificationCenter.h"
#include "interface/MainWindow.h"
#include "mainwindow/OperationWatch.h"
#include "mainwindow/ZPKUIDaemonController.h"
#include "mount/AttachedDrives.h"
#include "mount/BackupPointMounter.h"
#include "platform/linux/InstalledPaths.h"
#include "platform/linux/MountTable_linux.h"
#include "platform/linux/link/DBusLinkTransport.h"
#include "platform/linux/session/SessionInstance.h"
#include "platform/linux/virtualdisk/LinuxDriveControl.h"
#include "platform/linux/virtualdisk/LinuxVirtualDiskDriver.h"
#include "platform/posix/EndableSleep.h"
#include "platform/posix/FileManager_posix.h"
#include "platform/posix/Log_posix.h"
#include "platform/posix/TaskRunner_posix.h"
#include "platform/qt/BackgroundQueue.h"
#include "platform/qt/MainQueue.h"
#include "platform/qt/QtDateFormatter.h"
#include "platform/qt/QtImage.h"
#include "platform/qt/QtLocalization.h"
#include "platform/qt/QtRunLoop.h"
#include "platform/qt/QtTimeZone.h"
#include "platform/qt/QtWorkspace.h"
#include "schedule/TMBLaunchctlManager.h"
#include "schedule/ZPKSchedulerViewController.h"

namespace zpk {

// The program put together: every adapter, the controllers, the application's delegate and the window. Made once a
// process, on the main thread, after the application object; neither the helper nor the job launcher is asked
// anything before launch().
//
// It may end at any moment, but waits for a collection of logs that is at work.
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
  // Announces that the application has launched, which makes the first contact with the helper and asks the job
  // launcher; once.
  void launch();
  // From now on the window comes forward for whoever starts the program again. The place is given up as soon as the
  // program is leaving: who starts it then wants one that stays.
  void hold(std::unique_ptr<SessionInstance> place);
  // Serves until the application quits, also when it is told to by a signal.
  void run();
  // Asks the application to quit, which it does at once, when the logs are collected, or when the user has agreed.
  void terminate() { _application.terminate(); }

  QtRunLoop& runLoop() { return _runLoop; }
  ZPKUIDaemonController& controller() { return *_controller; }
  ZPKSchedulerViewController& scheduler() { return *_scheduler; }
  ZPKAppDelegate& delegate() { return *_delegate; }
  AttachedDrives& attachedDrives() { return _drives; }
  MainWindow& window() { return *_window; }

 private:
  class FirstPaint;

  ZPKDaemonEnvironment daemonEnvironment();
  ZPKSchedulerEnvironment schedulerEnvironment();
  ZPKAppDelegateEnvironment delegateEnvironment(const InstalledPaths& paths);
  LogCollectionEnvironment logCollectionEnvironment();
  MainWindow::Surroundings windowSurroundings(const InstalledPaths& paths);
  BackupPointMounterEnvironment mounterEnvironment();
  void makeJobFolder();
  void comeForward(const SessionInstance::ActivationToken& token);

  // In the order in which each needs the ones before it.
  PosixLog _log;
  PosixFileManager _fileManager;
  PosixTaskRunner _tasks;
  QtRunLoop _runLoop;
  NotificationCenter _notificationCenter;
  QtLocalization _localization;
  QtDateFormatter _backupDates;
  QtDateFormatter _times;
  QtDateFormatter _scheduleTimes;
  QtTimeZone _timeZone;
  QtWorkspace _workspace;
  QtImageLoader _images;
  DBusLinkTransport _transport;
  LinuxMountTable _mountTable;
  LinuxVirtualDiskDriver _virtualDisks;
  TMBLaunchctlManager _launchctl;
  MainQueue _mainQueue;
  // Of work in the background.
  EndableSleep _sleep;
  // Ends only when its work is done, which uses what is above: the main queue at last.
  BackgroundQueue _backgroundQueue;
  BackupPointMounter _mounter;
  LinuxDriveControl _driveControl;
  AttachedDrives _drives;
  QtApplication _application;
  std::unique_ptr<ZPKSchedulerViewController> _scheduler;
  std::unique_ptr<ZPKAppDelegate> _delegate;
  // The one daemon of the process refers to what is above for good; nothing calls it once this is gone. A check of
  // the status-bar agent that is still to come keeps the controller as long as the run loop, which then drops both.
  std::shared_ptr<ZPKUIDaemonController> _controller;
  std::unique_ptr<OperationWatch> _watch;
  std::unique_ptr<MainWindow> _window;
  std::unique_ptr<FirstPaint> _firstPaint;
  std::unique_ptr<SessionInstance> _place;
  bool _launched = false;
};

}  // namespace zpk
