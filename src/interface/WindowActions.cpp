#include "interface/WindowActions.h"

#include <QLineEdit>
#include <QWidget>

#include "interface/Icons.h"
#include "interface/StaticTexts.h"
#include "interface/WindowTexts.h"
#include "mainwindow/ModalSession.h"

namespace zpk {
namespace {

QList<QKeySequence> standard(QKeySequence::StandardKey key) {
  return QKeySequence::keyBindings(key);
}

// The platform's own keys where it has any.
QList<QKeySequence> standardOr(QKeySequence::StandardKey key, QKeyCombination fallback) {
  const QList<QKeySequence> keys = QKeySequence::keyBindings(key);
  return keys.isEmpty() ? QList<QKeySequence>{QKeySequence(fallback)} : keys;
}

QList<QKeySequence> key(QKeyCombination combination) {
  return {QKeySequence(combination)};
}

}  // namespace

WindowActions::WindowActions(QWidget& window, const Receivers& receivers, const InstalledParts& installed,
                             const Localization& localization)
    : _window(window),
      _controller(receivers.controller),
      _watch(receivers.watch),
      _delegate(receivers.delegate),
      _drives(receivers.drives),
      _localization(localization) {
  addApplicationActions();
  addWindowActions();
  setRoles();
  setPictures();
  connectCommands();
  connectApplicationCommands();
  bindStates();
  bindSchedule();
  allowInstalled(installed);
}

// In the order of the menus: of the application, of the disk and its backups.
void WindowActions::addApplicationActions() {
  const Localization& l = _localization;
  about = add("aboutAction", localizedText(l, "&About ZPK"));
  checkForUpdates = add("checkForUpdatesAction", localizedText(l, "Check for &Updates…"));
  uninstall = add("uninstallAction", localizedText(l, "U&ninstall ZPK…"));
  quit = add("quitAction", localizedText(l, "&Quit ZPK"), standardOr(QKeySequence::Quit, Qt::CTRL | Qt::Key_Q));
  chooseDisk = add("chooseDiskAction", localizedText(l, "Choose &Disk…"), key(Qt::CTRL | Qt::Key_D));
  chooseLocation = add("chooseLocationAction", localizedText(l, "Choose L&ocation…"), key(Qt::CTRL | Qt::Key_L));
  backUpNow = add("backUpNowAction", localizedText(l, "&Back Up Now"), key(Qt::CTRL | Qt::Key_B));
  stop = add("stopAction", localizedText(l, "&Stop"), key(Qt::CTRL | Qt::Key_Period));
  autoProtection =
      add("autoProtectionAction", localizedText(l, "&Auto-Protection"), key(Qt::CTRL | Qt::SHIFT | Qt::Key_A));
  changeSchedule =
      add("changeScheduleAction", localizedText(l, "Change Sc&hedule…"), key(Qt::CTRL | Qt::SHIFT | Qt::Key_S));
  close = add("closeAction", localizedText(l, "&Close"), standardOr(QKeySequence::Close, Qt::CTRL | Qt::Key_W));
}

// Of what is shown in the window, and of the window.
void WindowActions::addWindowActions() {
  const Localization& l = _localization;
  copy = add("copyAction", localizedText(l, "&Copy"), standard(QKeySequence::Copy));
  selectAll = add("selectAllAction", localizedText(l, "Select &All"), standard(QKeySequence::SelectAll));
  restore = add("restoreAction", localizedText(l, "&Restore…"), key(Qt::CTRL | Qt::Key_R));
  merge = add("mergeAction", localizedText(l, "&Merge…"), key(Qt::CTRL | Qt::SHIFT | Qt::Key_M));
  pin = add("pinAction", localizedText(l, "&Pin…"), {QKeySequence(Qt::Key_Space)});
  open = add("openAction", localizedText(l, "Ope&n"), standard(QKeySequence::Open));
  closePoints =
      add("closePointsAction", localizedText(l, "&Close Open Points"), key(Qt::CTRL | Qt::SHIFT | Qt::Key_O));
  showPoints = add("showPointsAction", localizedText(l, "Backup &Points"), key(Qt::CTRL | Qt::Key_1));
  showLog = add("showLogAction", localizedText(l, "&Log"), key(Qt::CTRL | Qt::Key_2));
  fullScreen = add("fullScreenAction", localizedText(l, "&Full Screen"),
                   standardOr(QKeySequence::FullScreen, QKeyCombination(Qt::Key_F11)));
  minimize = add("minimizeAction", localizedText(l, "Mi&nimize"), key(Qt::CTRL | Qt::Key_M));
  zoom = add("zoomAction", localizedText(l, "&Zoom"));
  raise = add("raiseAction", localizedText(l, "&Main Window"), key(Qt::CTRL | Qt::Key_0));
  shortcuts = add("shortcutsAction", localizedText(l, "&Keyboard Shortcuts"),
                  standardOr(QKeySequence::HelpContents, QKeyCombination(Qt::Key_F1)));
  collectLogs = add("collectLogsAction", localizedText(l, "Collect &Logs…"), key(Qt::CTRL | Qt::SHIFT | Qt::Key_L));
}

QAction* WindowActions::add(const char* name, const QString& text, const QList<QKeySequence>& keys) {
  auto* action = new QAction(text, &_window);
  action->setObjectName(QLatin1String(name));
  action->setShortcuts(keys);
  action->setMenuRole(QAction::NoRole);
  // A key that is held down gives its command once.
  action->setAutoRepeat(false);
  _all.push_back(action);
  return action;
}

void WindowActions::setRoles() {
  about->setMenuRole(QAction::AboutRole);
  quit->setMenuRole(QAction::QuitRole);
  checkForUpdates->setMenuRole(QAction::ApplicationSpecificRole);
  uninstall->setMenuRole(QAction::ApplicationSpecificRole);
  autoProtection->setCheckable(true);
  fullScreen->setCheckable(true);
  showPoints->setCheckable(true);
  showLog->setCheckable(true);
  // Elsewhere the space bar presses what has the focus.
  pin->setShortcutContext(Qt::WidgetWithChildrenShortcut);
}

void WindowActions::setPictures() {
  restore->setIcon(symbolIcon(Symbol::restore));
  merge->setIcon(symbolIcon(Symbol::merge));
  open->setIcon(symbolIcon(Symbol::open));
}

void WindowActions::connectCommands() {
  const auto on = [this](QAction* action, auto command) {
    QObject::connect(action, &QAction::triggered, &_window, [this, action, command] {
      if (finishTyping(*action)) command();
    });
  };
  on(chooseDisk, [this] { _controller.selectSourceAction(); });
  on(chooseLocation, [this] { _controller.selectBackupPath(); });
  on(backUpNow, [this] { _controller.backup(); });
  on(stop, [this] { _watch.stop(); });
  on(restore, [this] { _controller.restore(); });
  on(merge, [this] { _controller.mergeArvhiveAction(); });
  on(pin, [this] { togglePin(); });
  on(open, [this] { _controller.mountArcItem(); });
  on(closePoints, [this] { _drives.closeAll(); });
}

void WindowActions::connectApplicationCommands() {
  const auto on = [this](QAction* action, auto command) {
    QObject::connect(action, &QAction::triggered, &_window, command);
  };
  on(checkForUpdates, [this] { _delegate.checkForUpdate(); });
  on(uninstall, [this] { _delegate.uninstall(); });
  on(collectLogs, [this] { _delegate.openCollectLogsWindow(); });
  on(autoProtection, [this] {
    // The mark shows the schedule, which may not follow.
    autoProtection->setChecked(_delegate.schedulerViewController().isEnabled());
    _delegate.toggleSchedulerAction();
  });
}

// What is being typed is sent first. A sheet would take the focus from it and so have it sent, and the record that
// answers would close the sheet. False when something came of it that is in the way of the action.
bool WindowActions::finishTyping(const QAction& action) {
  QWidget* field = qobject_cast<QLineEdit*>(_window.focusWidget());
  if (!field) return true;
  field->clearFocus();
  field->setFocus(Qt::OtherFocusReason);
  return action.isEnabled() && _controller.modalSession() == modalsession::kNone;
}

void WindowActions::togglePin() {
  if (const auto point = onlySelectedPoint(_controller)) point->setIsPinned(!point->isPinned());
}

void WindowActions::bindStates() {
  _bindings.bind(
      _controller,
      {"launched", "helperReachable", "currentStatus", "inProgress", "sourceFound", "arcSet", "backupEnabled"},
      [this] {
        allow(*backUpNow, backupObstacle(_controller));
        allow(*chooseDisk, settingsObstacle(_controller));
        allow(*chooseLocation, settingsObstacle(_controller));
      });
  _bindings.bind(_controller,
                 {"launched", "helperReachable", "currentStatus", "inProgress", "canMergeSelectedArcItem"}, [this] {
                   allow(*restore, restoreObstacle(_controller));
                   allow(*merge, mergeObstacle(_controller));
                   allow(*open, openObstacle(_controller));
                   showPin();
                 });
  _bindings.bind(_controller, {"launched", "helperReachable", "inProgress"}, [this] { showStop(); });
  _bindings.bind(_watch, "stopping", [this] { showStop(); });
  _bindings.bind(_drives, {"drives", "closing"}, [this] { allow(*closePoints, closeObstacle(_drives)); });
}

void WindowActions::bindSchedule() {
  ZPKSchedulerViewController& scheduler = _delegate.schedulerViewController();
  _bindings.bind(scheduler, "enabled", [this, &scheduler] {
    autoProtection->setChecked(scheduler.isEnabled());
    allow(*changeSchedule, scheduler.isEnabled(), localizedText(_localization, "Enable Auto-Protection first."));
  });
}

void WindowActions::allowInstalled(const InstalledParts& installed) {
  allow(*checkForUpdates, installed.updater,
        localizedText(_localization, "ZPK is updated by the system’s package manager."));
  allow(*uninstall, installed.uninstaller,
        localizedText(_localization, "ZPK is removed with the system’s package manager."));
}

void WindowActions::allow(QAction& action, std::optional<Obstacle> obstacle) {
  allow(action, !obstacle, obstacle ? obstacleText(*obstacle, _localization) : QString());
}

void WindowActions::allow(QAction& action, bool allowed, const QString& why) {
  action.setEnabled(allowed);
  action.setStatusTip(allowed ? QString() : why);
  action.setToolTip(allowed ? QString() : why);
}

void WindowActions::showPin() {
  const auto point = onlySelectedPoint(_controller);
  const bool pinned = point && point->isPinned();
  pin->setText(pinned ? localizedText(_localization, "Un&pin") : localizedText(_localization, "&Pin…"));
  allow(*pin, pinObstacle(_controller));
}

void WindowActions::showStop() {
  stop->setText(_watch.isStopping() ? localizedText(_localization, "Stopping…")
                                    : localizedText(_localization, "&Stop"));
  allow(*stop, stopObstacle(_controller, _watch.isStopping()));
}

}  // namespace zpk
