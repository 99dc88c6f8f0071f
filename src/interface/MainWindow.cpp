#include "interface/MainWindow.h"

#include <QEvent>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QSignalBlocker>
#include <algorithm>

#include "interface/BackupPointsModel.h"
#include "interface/DisplayText.h"
#include "interface/Icons.h"
#include "interface/Pictures.h"
#include "interface/PrimaryButton.h"
#include "interface/RowSpace.h"
#include "interface/SheetHost.h"
#include "interface/StaticTexts.h"
#include "interface/WindowTexts.h"
#include "ui_MainWindow.h"

namespace zpk {
namespace {

constexpr int kNoticeSide = 22;
constexpr int kArrowSide = 26;
constexpr double kHeadlineScale = 1.2;

QString nameIn(const Dictionary& info) {
  return displayText(info["name"].textOr(""));
}

void makeHeadline(QWidget& label) {
  QFont font = label.font();
  font.setPointSizeF(font.pointSizeF() * kHeadlineScale);
  font.setWeight(QFont::DemiBold);
  label.setFont(font);
}

// Whatever number the helper sends, the bar has a thousand steps.
int progressSteps(const Value& percents) {
  const double percent = percents.doubleValue();
  return percent >= 0 ? static_cast<int>(std::min(percent, 100.0) * 10) : 0;
}

}  // namespace

MainWindow::MainWindow(std::shared_ptr<ZPKUIDaemonController> controller, const Surroundings& surroundings)
    : _controller(std::move(controller)),
      _localization(surroundings.localization),
      _ui(std::make_unique<Ui::MainWindow>()),
      _points(std::make_unique<BackupPointsModel>(surroundings.localization, surroundings.dates)),
      _sheets(std::make_unique<SheetHost>(
          *this, *_controller,
          SheetHost::Surroundings{surroundings.localization, surroundings.dates, surroundings.images})) {
  _ui->setupUi(this);
  localizeStaticTexts(*this, _localization);
  setUpLooks();
  setUpPictures();
  connectActions();
  bindPlaces();
  bindOperation();
  bindHistory();
  bindLink();
  _controller->setMainWindow(_sheets.get());
  _controller->setLogScrollView(_ui->logView);
}

MainWindow::~MainWindow() {
  _controller->setMainWindow(nullptr);
  _controller->setLogScrollView(nullptr);
}

void MainWindow::setUpLooks() {
  makeHeadline(*_ui->readinessLabel);
  makeHeadline(*_ui->routeLabel);
  makeHeadline(*_ui->percentLabel);
  _ui->historyLabel->setRole(ElidedLabel::Role::secondary);
  _ui->timesLabel->setRole(ElidedLabel::Role::secondary);
  _ui->linkBanner->setLook(Panel::Look::notice);
  _ui->sourceCard->setCaption(localizedText(_localization, "Windows disk to protect"));
  _ui->sourceCard->chooseButton()->setText(localizedText(_localization, "Choose &Disk…"));
  _ui->sourceCard->chooseButton()->setObjectName(QStringLiteral("selectSourceButton"));
  _ui->destinationCard->setCaption(localizedText(_localization, "Where the backups are kept"));
  _ui->destinationCard->chooseButton()->setText(localizedText(_localization, "Choose L&ocation…"));
  _ui->destinationCard->chooseButton()->setObjectName(QStringLiteral("selectBackupPathButton"));

  _ui->logView->localize(_localization);
  _ui->arcItemsTable->setModel(_points.get());
  _ui->arcItemsTable->setItemDelegate(new RowSpace(_ui->arcItemsTable));
  _ui->arcItemsTable->header()->setSectionResizeMode(BackupPointsModel::label, QHeaderView::Stretch);
  _ui->arcItemsTable->header()->setStretchLastSection(false);
  _ui->arcItemsTable->setColumnWidth(BackupPointsModel::date, 220);
  _ui->arcItemsTable->setColumnWidth(BackupPointsModel::disks, 200);
  _ui->arcItemsTable->setEmptyText(
      localizedText(_localization, "No backup points yet. The first backup makes the first one."));
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

void MainWindow::connectActions() {
  ZPKUIDaemonController& controller = *_controller;
  connect(_ui->backupButton, &QPushButton::clicked, this, [&controller] { controller.backup(); });
  connect(_ui->stopButton, &QPushButton::clicked, this, [&controller] { controller.breakProgress(); });
  connect(_ui->sourceCard->chooseButton(), &QPushButton::clicked, this,
          [&controller] { controller.selectSourceAction(); });
  connect(_ui->destinationCard->chooseButton(), &QPushButton::clicked, this,
          [&controller] { controller.selectBackupPath(); });
  connect(_ui->checkFSButton, &QCheckBox::clicked, this, [this](bool checked) {
    // The box shows the helper's setting, which follows with its next record.
    _ui->checkFSButton->setChecked(_controller->checkFS());
    _controller->setCheckFS(checked);
  });
  connect(_ui->arcItemsTable->selectionModel(), &QItemSelectionModel::selectionChanged, this,
          [this] { sendSelection(); });
  connect(_points.get(), &QAbstractItemModel::modelReset, this, [this] { sendSelection(); });
}

void MainWindow::sendSelection() {
  IndexSet rows;
  for (const QModelIndex& index : _ui->arcItemsTable->selectionModel()->selectedRows()) {
    rows.insert(static_cast<std::uint64_t>(index.row()));
  }
  _controller->setSelectedArcItemsIndexes(std::move(rows));
}

void MainWindow::bindPlaces() {
  _bindings.bind(*_controller, {"sourceInfo", "sourceIcon"}, [this] { showSource(); });
  _bindings.bind(*_controller, {"destinationInfo", "targetIcon"}, [this] { showDestination(); });
  _bindings.bind(*_controller, "inProgress", [this] {
    const bool free = !_controller->inProgress();
    _ui->sourceCard->chooseButton()->setEnabled(free);
    _ui->destinationCard->chooseButton()->setEnabled(free);
    _ui->checkFSButton->setEnabled(free);
  });
  _bindings.bind(*_controller, "checkFS", [this] { _ui->checkFSButton->setChecked(_controller->checkFS()); });
}

void MainWindow::showSource() {
  const Dictionary& info = _controller->sourceInfo();
  if (info.empty()) return _ui->sourceCard->setContent(std::nullopt);
  _ui->sourceCard->setContent(PlaceCard::Content{iconOf(_controller->sourceIcon(), Symbol::disk), nameIn(info),
                                                 sourceDetailText(info, _localization),
                                                 sourceUsageText(info, _localization), sourceUsage(info)});
}

void MainWindow::showDestination() {
  const Dictionary& info = _controller->destinationInfo();
  if (info.empty()) return _ui->destinationCard->setContent(std::nullopt);
  _ui->destinationCard->setContent(PlaceCard::Content{iconOf(_controller->targetIcon(), Symbol::archive),
                                                      nameIn(info), displayText(info["location"].textOr("")),
                                                      displayText(info["status"].textOr("")), std::nullopt});
}

void MainWindow::bindOperation() {
  _bindings.bind(*_controller,
                 {"currentStatus", "sourceFound", "arcSet", "backupEnabled", "firstBackup", "lastBackup"},
                 [this] { showReadiness(); });
  _bindings.bind(*_controller, "inProgress", [this] {
    const bool running = _controller->inProgress();
    _ui->operationPages->setCurrentWidget(running ? _ui->progressPage : _ui->idlePage);
    _ui->accessoryTabs->setCurrentWidget(running ? _ui->logPage : _ui->pointsPage);
  });
  _bindings.bind(*_controller,
                 {"progressPercents", "elapsedTime", "remainingTime", "sourceInfo", "destinationInfo"},
                 [this] { showProgress(); });
  _bindings.bind(*_controller, "lastBackupError", [this] {
    const auto& error = _controller->lastBackupError();
    _ui->lastErrorRow->setVisible(error.has_value());
    if (error)
      _ui->lastErrorLabel->setText(localizedText(_localization, "The last backup failed:") + u' ' +
                                   withBreaks(displayText(*error)));
  });
}

void MainWindow::showReadiness() {
  _ui->readinessLabel->setPlainText(readinessText(*_controller, _localization));
  _ui->historyLabel->setPlainText(historyText(*_controller, _localization));
  _ui->historyLabel->setVisible(!_ui->historyLabel->text().isEmpty());
  _ui->backupButton->setEnabled(_controller->backupEnabled() && _controller->sourceFound());
  const bool known = !isWaitingForHelper(*_controller);
  _ui->sourceCard->chooseButton()->setProminent(known && !_controller->sourceFound());
  _ui->destinationCard->chooseButton()->setProminent(known && _controller->sourceFound() && !_controller->arcSet());
}

void MainWindow::showProgress() {
  const int steps = progressSteps(_controller->progressPercents());
  _ui->progressBar->setValue(steps);
  _ui->percentLabel->setText(QString::number(steps / 10) + u'%');
  _ui->routeLabel->setPlainText(routeText(*_controller));
  _ui->timesLabel->setPlainText(timesText(*_controller, _localization));
}

void MainWindow::bindHistory() {
  _bindings.bind(*_controller, "arcItems", [this] { _points->setPoints(_controller->arcItems()); });
  _bindings.bind(*_controller, "log", [this] { _ui->logView->setLines(_controller->log()); });
}

void MainWindow::bindLink() {
  _bindings.bind(*_controller, {"launched", "helperReachable", "helperAnswering"}, [this] {
    const QString trouble = linkTroubleText(*_controller, _localization);
    _ui->linkBannerText->setText(trouble);
    _ui->linkBanner->setVisible(!trouble.isEmpty());
  });
}

void MainWindow::changeEvent(QEvent* event) {
  QMainWindow::changeEvent(event);
  const bool looks = event->type() == QEvent::PaletteChange || event->type() == QEvent::StyleChange;
  // Nothing is there yet while the base class makes itself.
  if (!looks || !_ui || !_ui->arrow) return;
  setUpPictures();
  showSource();
  showDestination();
}

}  // namespace zpk
