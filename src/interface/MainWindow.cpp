#include "interface/MainWindow.h"

#include <QCloseEvent>
#include <QMenuBar>

#include "interface/ActionButton.h"
#include "interface/AttributedLabel.h"
#include "interface/AutoProtectionRow.h"
#include "interface/BackupPointsPane.h"
#include "interface/CollectLogsOutlet.h"
#include "interface/DisplayText.h"
#include "interface/Headline.h"
#include "interface/Icons.h"
#include "interface/MainMenu.h"
#include "interface/OpenPointsSheets.h"
#include "interface/Pictures.h"
#include "interface/PrimaryButton.h"
#include "interface/ProgressPane.h"
#include "interface/SchedulePopover.h"
#include "interface/SettingsPane.h"
#include "interface/SheetHost.h"
#include "interface/StaticTexts.h"
#include "interface/WindowActions.h"
#include "interface/WindowTexts.h"
#include "mainwindow/ModalSession.h"
#include "ui_MainWindow.h"

namespace zpk {
namespace {

constexpr int kNoticeSide = 22;
constexpr int kArrowSide = 26;

}  // namespace

MainWindow::MainWindow(std::shared_ptr<ZPKUIDaemonController> controller, const Surroundings& surroundings)
    : _controller(std::move(controller)),
      _localization(surroundings.localization),
      _dates(surroundings.dates),
      _delegate(surroundings.delegate),
      _terminate(surroundings.terminate),
      _ui(std::make_unique<Ui::MainWindow>()),
      _actions(std::make_unique<WindowActions>(
          *this,
          WindowActions::Receivers{*_controller, surroundings.watch, surroundings.delegate, surroundings.drives},
          surroundings.installed, surroundings.localization)),
      _sheets(std::make_unique<SheetHost>(
          *this, *_controller,
          SheetHost::Surroundings{
              surroundings.localization, surroundings.dates, surroundings.images, {_actions->quit}})),
      _schedulePopover(std::make_unique<SchedulePopover>(_delegate.schedulerViewController(), _localization,
                                                         surroundings.timeZone)),
      _collectLogs(std::make_unique<CollectLogsOutlet>(_delegate, _localization, *this)),
      _openPoints(std::make_unique<OpenPointsSheets>(
          *this, surroundings.drives, _localization,
          [this](const std::string& image) { return pointTextOfImage(image, *_controller, _dates); })) {
  _ui->setupUi(this);
  localizeStaticTexts(*this, _localization);
  makePanes(surroundings);
  setUpLooks();
  setUpPictures();
  setUpTabOrder();
  fillMainMenu(*menuBar(), *_actions, _localization);
  connectWindowActions();
  connectSchedule();
  bindPlaces();
  bindOperation();
  bindLog();
  bindLink();
  setOutlets(true);
}

MainWindow::~MainWindow() {
  setOutlets(false);
}

void MainWindow::setOutlets(bool alive) {
  _controller->setMainWindow(alive ? _sheets.get() : nullptr);
  _controller->setLogScrollView(alive ? _ui->logView : nullptr);
  _delegate.setToggleSchedulerButton(alive ? &_autoProtection->toggleButton() : nullptr);
  _delegate.setAutoProtectionTextField(alive ? &_autoProtection->textField() : nullptr);
  _delegate.setSchedulePopover(alive ? _schedulePopover.get() : nullptr);
  _delegate.setCollectLogsWindow(alive ? _collectLogs.get() : nullptr);
  _delegate.setQuitQuestion(alive ? _openPoints.get() : nullptr);
  ZPKSchedulerViewController& scheduler = _delegate.schedulerViewController();
  scheduler.setPopover(alive ? _schedulePopover.get() : nullptr);
  scheduler.setDayOfMonthPopUpButton(alive ? &_schedulePopover->dayOfMonthPopUpButton() : nullptr);
}

void MainWindow::makePanes(const Surroundings& surroundings) {
  _progress = new ProgressPane(*_controller, surroundings.watch, *_actions, _localization,
                               ProgressPane::Dates{surroundings.dates, surroundings.times}, this);
  _ui->operationPages->addWidget(_progress);
  _autoProtection = new AutoProtectionRow(_delegate.schedulerViewController(), _localization, this);
  _ui->contentLayout->insertWidget(_ui->contentLayout->indexOf(_ui->operationPanel) + 1, _autoProtection);
  _points = new BackupPointsPane(*_controller, *_actions, _localization, surroundings.dates, this);
  _ui->pointsLayout->addWidget(_points);
  _ui->contentLayout->addWidget(new SettingsPane(*_controller, surroundings.installed, _localization, this));
}

void MainWindow::setUpLooks() {
  makeHeadline(*_ui->readinessLabel);
  _ui->historyLabel->setRole(ElidedLabel::Role::secondary);
  _ui->linkBanner->setLook(Panel::Look::notice);
  _ui->logView->localize(_localization);
  _ui->logView->addActions({_actions->copy, _actions->selectAll});
  _ui->logView->setContextMenuPolicy(Qt::ActionsContextMenu);
  _ui->sourceCard->setCaption(localizedText(_localization, "Windows disk to protect"));
  _ui->sourceCard->chooseButton()->setObjectName(QStringLiteral("selectSourceButton"));
  _ui->destinationCard->setCaption(localizedText(_localization, "Where the backups are kept"));
  _ui->destinationCard->chooseButton()->setObjectName(QStringLiteral("selectBackupPathButton"));
  followAction(*_ui->sourceCard->chooseButton(), *_actions->chooseDisk);
  followAction(*_ui->destinationCard->chooseButton(), *_actions->chooseLocation);
  followAction(*_ui->backupButton, *_actions->backUpNow);
}

// As the window is read, from the top, along the lines: its controls are made in that order, but for those of the
// running operation.
void MainWindow::setUpTabOrder() {
  setTabOrder(_ui->backupButton, _progress->stopButton());
  setTabOrder(_progress->stopButton(), _progress->showLogButton());
  setTabOrder(_progress->showLogButton(), _ui->lastErrorLabel);
  setTabOrder(_ui->lastErrorLabel, &_autoProtection->changeButton());
  setTabOrder(&_autoProtection->changeButton(), &_autoProtection->toggleButton());
}

// Drawn in the colours of the palette, so again when it changes.
void MainWindow::setUpPictures() {
  const auto put = [this](QLabel& label, Symbol symbol, int side) {
    label.setPixmap(symbolIcon(symbol).pixmap(QSize(side, side), devicePixelRatioF()));
  };
  put(*_ui->arrow, Symbol::arrow, kArrowSide);
  put(*_ui->linkBannerIcon, Symbol::warning, kNoticeSide);
  put(*_ui->lastErrorIcon, Symbol::error, kNoticeSide);
  _ui->sourceCard->setPrompt(symbolIcon(Symbol::disk), localizedText(_localization, "No disk chosen"),
                             localizedText(_localization, "Its Windows side is what is backed up."));
  _ui->destinationCard->setPrompt(symbolIcon(Symbol::archive), localizedText(_localization, "No location chosen"),
                                  localizedText(_localization, "Best on another disk than Windows itself."));
}

void MainWindow::bindPlaces() {
  _bindings.bind(*_controller, {"sourceInfo", "sourceIcon"}, [this] { showSource(); });
  _bindings.bind(*_controller, {"destinationInfo", "destinationSpace", "targetIcon"},
                 [this] { showDestination(); });
}

void MainWindow::showSource() {
  const Dictionary& info = _controller->sourceInfo();
  const QString name = sourceName(*_controller, _dates);
  if (info.empty() && name.isEmpty()) return _ui->sourceCard->setContent(std::nullopt);
  _ui->sourceCard->setContent(PlaceCard::Content{iconOf(_controller->sourceIcon(), Symbol::disk), name,
                                                 sourceDetailText(info, _localization),
                                                 sourceUsageText(info, _localization), sourceUsage(info)});
}

void MainWindow::showDestination() {
  const Dictionary& info = _controller->destinationInfo();
  const QString name = destinationName(*_controller, _dates);
  if (info.empty() && name.isEmpty()) return _ui->destinationCard->setContent(std::nullopt);
  _ui->destinationCard->setContent(PlaceCard::Content{
      iconOf(_controller->targetIcon(), Symbol::archive), name, displayText(info["location"].textOr("")),
      displayText(info["status"].textOr("")), destinationUsage(*_controller)});
}

void MainWindow::bindOperation() {
  // A status is stored before anything follows from it: the one main control hands the focus to the other, though
  // it loses it when it is disabled.
  _bindings.bind(*_controller, "currentStatus", [this] { _mainControlFocused = isMainControlFocused(); });
  _bindings.bind(*_controller,
                 {"launched", "helperReachable", "currentStatus", "sourceFound", "arcSet", "backupEnabled",
                  "firstBackup", "lastBackup"},
                 [this] { showReadiness(); });
  _bindings.bind(*_controller, "lastBackupError", [this] { showLastError(); });
  _bindings.bind(*_controller, "inProgress", [this] { showRunning(); });
}

void MainWindow::showReadiness() {
  _ui->readinessLabel->setPlainText(readinessText(*_controller, _localization));
  _ui->historyLabel->setPlainText(historyText(*_controller, _localization));
  _ui->historyLabel->setVisible(!_ui->historyLabel->text().isEmpty());
  const bool known = !isWaitingForHelper(*_controller);
  _ui->sourceCard->chooseButton()->setProminent(known && !_controller->sourceFound());
  _ui->destinationCard->chooseButton()->setProminent(known && _controller->sourceFound() && !_controller->arcSet());
}

void MainWindow::showLastError() {
  const auto& error = _controller->lastBackupError();
  _ui->lastErrorRow->setVisible(error.has_value());
  if (!error) return;
  const QString text =
      localizedText(_localization, "The last backup failed:") + u' ' + withBreaks(displayText(*error));
  _ui->lastErrorLabel->setText(text);
  // Its name tells assistive technology what it is, and hides what it says.
  _ui->lastErrorLabel->setAccessibleDescription(text);
}

bool MainWindow::isMainControlFocused() const {
  return focusWidget() == _ui->backupButton || focusWidget() == _progress->stopButton();
}

// The log comes up with an operation, and goes with it, unless it is needed to see what went wrong.
void MainWindow::showRunning() {
  const bool running = _controller->inProgress();
  const bool failed = _controller->lastBackupError() || _controller->modalSession() == modalsession::kError;
  if (running) {
    _ui->operationPages->setCurrentWidget(_progress);
    showPage(_ui->logPage);
  } else {
    _ui->operationPages->setCurrentWidget(_ui->idlePage);
    if (!failed) showPage(_ui->pointsPage);
  }
  if (!_mainControlFocused) return;
  QWidget* next = running ? _progress->stopButton() : static_cast<QWidget*>(_ui->backupButton);
  next->setFocus();
}

void MainWindow::bindLog() {
  _bindings.bind(*_controller, "log", [this] { _ui->logView->setLines(_controller->log()); });
}

void MainWindow::bindLink() {
  _bindings.bind(*_controller, {"launched", "helperReachable", "helperAnswering"}, [this] {
    const QString trouble = linkTroubleText(*_controller, _localization);
    _ui->linkBannerText->setText(trouble);
    _ui->linkBanner->setVisible(!trouble.isEmpty());
  });
}

// The application quits with its window, but for a collection that is running: what it waits for is still shown.
// With the last window the program ends, so what has to be asked then is asked while there is one.
void MainWindow::closeEvent(QCloseEvent* event) {
  if (_openPoints->isDue() && !_delegate.isCollectingLogs()) {
    event->ignore();
    _terminate();
    return;
  }
  QMainWindow::closeEvent(event);
  if (event->isAccepted() && _delegate.isCollectingLogs()) _collectLogs->showQuitPending();
}

void MainWindow::changeEvent(QEvent* event) {
  QMainWindow::changeEvent(event);
  // Nothing is there yet while the base class makes itself.
  if (!_ui || !_ui->arrow) return;
  if (event->type() == QEvent::WindowStateChange) _actions->fullScreen->setChecked(isFullScreen());
  if (event->type() != QEvent::PaletteChange && event->type() != QEvent::StyleChange) return;
  setUpPictures();
  showSource();
  showDestination();
}

}  // namespace zpk
