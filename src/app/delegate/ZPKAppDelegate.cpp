#include "app/delegate/ZPKAppDelegate.h"

#include <utility>

namespace zpk {

ZPKAppDelegate::ZPKAppDelegate(ZPKAppDelegateEnvironment environment,
                               ZPKSchedulerViewController& schedulerViewController)
    : _environment(std::move(environment)),
      _self(std::make_shared<ZPKAppDelegate*>(this)),
      _schedulerViewController(schedulerViewController) {}

ZPKAppDelegate::~ZPKAppDelegate() = default;

void ZPKAppDelegate::awakeFromNib() {
  _launchRegistration = _environment.notificationCenter.addObserver(kApplicationDidFinishLaunchingNotification,
                                                                    [this] { applicationDidFinishLaunching(); });
}

void ZPKAppDelegate::applicationDidFinishLaunching() {
  _collectingObservation = observe("collectingLogs", [this] { collectingLogsChanged(); });
  collectingLogsChanged();
  // The controls keep their first texts until the key changes.
  _enabledObservation = _schedulerViewController.observe("enabled", [this] { schedulerEnabledChanged(); });
}

TerminateReply ZPKAppDelegate::applicationShouldTerminate() {
  if (_collectingLogs) {
    _terminateAfterCollegtingLogs = true;
    return TerminateReply::later;
  }
  if (!_quitQuestion || !_quitQuestion->isDue()) return TerminateReply::now;
  _askingToQuit = true;
  _quitQuestion->ask([weak = std::weak_ptr(_self)](bool quits) {
    if (const auto self = weak.lock()) (*self)->quitAnswered(quits);
  });
  return TerminateReply::afterQuestion;
}

// A collection that was begun while the question was on the screen is not cut short either.
void ZPKAppDelegate::quitAnswered(bool quits) {
  if (!std::exchange(_askingToQuit, false)) return;
  if (quits && _collectingLogs) {
    _terminateAfterCollegtingLogs = true;
  } else {
    _environment.application.replyToApplicationShouldTerminate(quits);
  }
}

void ZPKAppDelegate::quitWithoutAsking() {
  _quitQuestion = nullptr;
  quitAnswered(true);
}

// The user cannot close the window over a collection that runs.
void ZPKAppDelegate::collectingLogsChanged() {
  if (_collectLogsWindow) _collectLogsWindow->setCloseButtonEnabled(!_collectingLogs);
}

void ZPKAppDelegate::schedulerEnabledChanged() {
  const Localization& texts = _environment.localization;
  const bool enabled = _schedulerViewController.isEnabled();
  if (_toggleSchedulerButton) {
    _toggleSchedulerButton->setTitle(enabled ? texts.localizedString("Disable") : texts.localizedString("Enable"));
  }
  if (_autoProtectionTextField) {
    const std::string state = enabled ? texts.localizedString("Enabled") : texts.localizedString("Disabled");
    _autoProtectionTextField->setAttributedText(
        {{.text = texts.localizedString("Auto-Protection: ")}, {.text = state, .isBold = true}});
  }
}

void ZPKAppDelegate::toggleSchedulerAction() {
  _schedulerViewController.setEnabled(!_schedulerViewController.isEnabled());
}

void ZPKAppDelegate::scheduleAction(const View* sender) {
  if (!_schedulePopover) return;
  if (_schedulePopover->isShown()) {
    _schedulePopover->performClose();
  } else if (sender) {
    _schedulePopover->showRelativeTo(*sender);
  }
}

void ZPKAppDelegate::openCollectLogsWindow() {
  if (_collectLogsWindow) _collectLogsWindow->makeKeyAndOrderFront();
}

void ZPKAppDelegate::uninstall() {
  _environment.workspace.launchApplication(_environment.uninstallerPath, {});
}

void ZPKAppDelegate::checkForUpdate() {
  _environment.workspace.launchApplication(_environment.updaterPath, {"--forceui"});
}

}  // namespace zpk
