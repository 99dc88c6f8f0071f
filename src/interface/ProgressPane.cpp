#include "interface/ProgressPane.h"

#include <QAction>
#include <QEvent>

#include "interface/ActionButton.h"
#include "interface/Headline.h"
#include "interface/Icons.h"
#include "interface/StaticTexts.h"
#include "interface/WindowActions.h"
#include "interface/WindowTexts.h"
#include "ui_ProgressPane.h"

namespace zpk {
namespace {

constexpr int kNoticeSide = 20;
constexpr int kStepsPerPercent = 10;

}  // namespace

ProgressPane::ProgressPane(ZPKUIDaemonController& controller, OperationWatch& watch, const WindowActions& actions,
                           const Localization& localization, const Dates& dates, QWidget* parent)
    : QWidget(parent),
      _controller(controller),
      _watch(watch),
      _localization(localization),
      _dates(dates),
      _ui(std::make_unique<Ui::ProgressPane>()) {
  _ui->setupUi(this);
  localizeStaticTexts(*this, localization);
  makeHeadline(*_ui->routeLabel);
  makeHeadline(*_ui->percentLabel);
  _ui->timesLabel->setRole(ElidedLabel::Role::secondary);
  followAction(*_ui->stopButton, *actions.stop);
  connect(_ui->showLogButton, &QPushButton::clicked, actions.showLog, &QAction::trigger);
  setUpPictures();
  _bindings.bind(
      _controller,
      {"currentStatus", "progressPercents", "elapsedTime", "remainingTime", "sourceInfo", "destinationInfo"},
      [this] { showProgress(); });
  _bindings.bind(_watch, "noProgressSince", [this] { showStandstill(); });
}

ProgressPane::~ProgressPane() = default;

QPushButton* ProgressPane::stopButton() const {
  return _ui->stopButton;
}

QPushButton* ProgressPane::showLogButton() const {
  return _ui->showLogButton;
}

void ProgressPane::setUpPictures() {
  const QIcon warning = symbolIcon(Symbol::warning);
  _ui->standstillIcon->setPixmap(warning.pixmap(QSize(kNoticeSide, kNoticeSide), devicePixelRatioF()));
}

void ProgressPane::showProgress() {
  const int steps = progressSteps(_controller.progressPercents());
  _ui->progressBar->setValue(steps);
  _ui->percentLabel->setText(QString::number(steps / kStepsPerPercent) + u'%');
  _ui->percentLabel->setAccessibleDescription(_ui->percentLabel->text());
  _ui->routeLabel->setPlainText(routeText(_controller, _localization, _dates.ofPoints));
  _ui->timesLabel->setPlainText(timesText(_controller, _localization));
}

void ProgressPane::showStandstill() {
  const auto& since = _watch.noProgressSince();
  _ui->standstillRow->setVisible(since.has_value());
  if (since) _ui->standstillLabel->setText(standstillText(*since, _dates.ofTheDay, _localization));
}

void ProgressPane::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  const bool looks = event->type() == QEvent::PaletteChange || event->type() == QEvent::StyleChange;
  if (looks && _ui && _ui->standstillIcon) setUpPictures();
}

}  // namespace zpk
