#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "app/delegate/AppOutlets.h"
#include "base/DispatchQueue.h"
#include "base/Localization.h"
#include "base/Log.h"
#include "base/NotificationCenter.h"
#include "base/Observable.h"
#include "base/Workspace.h"
#include "diagnostics/LogTasks.h"
#include "helperlink/ZPKDaemon.h"
#include "schedule/ZPKSchedulerViewController.h"

namespace zpk {

// What the application's delegate works with. All of it outlives the delegate and the work that it has done in the
// background.
struct ZPKAppDelegateEnvironment {
  NotificationCenter& notificationCenter;
  Application& application;
  Workspace& workspace;
  const Localization& localization;
  Log& log;
  DispatchQueue& mainQueue;
  LogCollectionEnvironment logCollection;
  std::string updaterPath;      // the updater's program
  std::string uninstallerPath;  // the uninstaller's application
  // Asked when logs are collected and not before, since asking makes the first contact with the helper. Any thread.
  std::function<ZPKDaemon&()> daemon = &ZPKDaemon::sharedDaemon;
};

// What belongs to the whole application rather than to its main window: the switch of the backup schedule, the
// popover of its editor, the collection of logs, quitting, and the programs that are started beside this one.
//
// A collection of logs runs on the background queue; quitting waits for it. Main thread. Observable key:
// "collectingLogs".
class ZPKAppDelegate : public Observable {
 public:
  // The schedule's editor outlives the delegate. Work on the background queue may outlive the delegate; it then
  // ends without a word.
  ZPKAppDelegate(ZPKAppDelegateEnvironment environment, ZPKSchedulerViewController& schedulerViewController);
  ~ZPKAppDelegate() override;

  // Outlets, set by the interface before launch; not owned. Null when there is no window (any more).
  void setCollectLogsWindow(CollectLogsWindow* window) { _collectLogsWindow = window; }
  void setQuitQuestion(QuitQuestion* question) { _quitQuestion = question; }
  void setToggleSchedulerButton(TitledButton* button) { _toggleSchedulerButton = button; }
  void setAutoProtectionTextField(AttributedTextField* field) { _autoProtectionTextField = field; }
  void setSchedulePopover(AnchoredPopover* popover) { _schedulePopover = popover; }

  ZPKSchedulerViewController& schedulerViewController() { return _schedulerViewController; }
  bool isCollectingLogs() const { return _collectingLogs; }

  // Waits for the application's launch notification. Before the schedule's editor does, so that what that reads at
  // launch is shown.
  void awakeFromNib();
  // From now on the window of the collection and the controls of the schedule follow.
  void applicationDidFinishLaunching();
  bool applicationShouldTerminateAfterLastWindowClosed() const { return true; }
  // Later while logs are collected: the application is told when they are, and nothing is asked then. Otherwise
  // after the question, where there is one to ask.
  TerminateReply applicationShouldTerminate();
  // Nobody is there to answer (the session ends, or a signal has come): from now on nothing is asked, and a
  // question that is being asked has been answered with yes.
  void quitWithoutAsking();

  // Actions.
  void toggleSchedulerAction();
  // `sender`: the view that the popover is to hang on. Null, for a sender that is none (a menu item), only closes
  // it.
  void scheduleAction(const View* sender);
  void openCollectLogsWindow();
  // Returns at once. Does not ask whether a collection runs already.
  void collectLogs();
  // Each starts a program that goes on by itself; one that is not there is no error.
  void uninstall();
  void checkForUpdate();

 private:
  void schedulerEnabledChanged();
  void collectingLogsChanged();
  void quitAnswered(bool quits);
  void _setCollectingLogs(bool collecting);
  void logsCollected(const std::optional<std::string>& archive);

  ZPKAppDelegateEnvironment _environment;
  // Ends with this object; a collection that ends later has nobody to tell.
  std::shared_ptr<ZPKAppDelegate*> _self;
  bool _terminateAfterCollegtingLogs = false;
  bool _collectingLogs = false;
  bool _askingToQuit = false;
  CollectLogsWindow* _collectLogsWindow = nullptr;
  QuitQuestion* _quitQuestion = nullptr;
  ZPKSchedulerViewController& _schedulerViewController;
  TitledButton* _toggleSchedulerButton = nullptr;
  AttributedTextField* _autoProtectionTextField = nullptr;
  AnchoredPopover* _schedulePopover = nullptr;
  Token _launchRegistration;
  Token _enabledObservation;
  Token _collectingObservation;
};

}  // namespace zpk
