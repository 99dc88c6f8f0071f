#include "interface/SettingsPane.h"

#include <QHBoxLayout>
#include <QLabel>

#include "interface/CheckBox.h"
#include "interface/IncrementCountField.h"
#include "interface/StaticTexts.h"
#include "interface/WindowTexts.h"
#include "mainwindow/ActionObstacles.h"
#include "mainwindow/ModalSession.h"

namespace zpk {
namespace {

constexpr int kGap = 24;

}  // namespace

SettingsPane::SettingsPane(ZPKUIDaemonController& controller, const InstalledParts& installed,
                           const Localization& localization, QWidget* parent)
    : QWidget(parent),
      _controller(controller),
      _localization(localization),
      _ofHelper(new QWidget(this)),
      _count(new IncrementCountField(_ofHelper)),
      _check(new CheckBox(_ofHelper)),
      _statusIcon(new CheckBox(this)) {
  layOut();
  addStatusIcon(installed);
  connect(_count, &IncrementCountField::countCommitted, this, [this](quint64 count) { commitCount(count); });
  connect(_check, &QCheckBox::clicked, this, [this](bool checked) {
    // The box shows the helper's setting, which follows with its next record.
    _check->setChecked(_controller.checkFS());
    _controller.setCheckFS(checked);
  });
  _bindings.bind(_controller, "maxIncCount", [this] { _count->setCount(_controller.maxIncCount()); });
  _bindings.bind(_controller, "checkFS", [this] { _check->setChecked(_controller.checkFS()); });
  _bindings.bind(_controller, {"launched", "helperReachable", "currentStatus", "inProgress"}, [this] { allow(); });
}

void SettingsPane::layOut() {
  layOutHelperSettings();
  auto* row = new QHBoxLayout(this);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(kGap);
  row->addWidget(_ofHelper);
  row->addWidget(_statusIcon);
  row->addStretch();
}

void SettingsPane::layOutHelperSettings() {
  _count->setObjectName(QStringLiteral("maxIncCountField"));
  _count->setAccessibleName(localizedText(_localization, "Most increments kept"));
  _count->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  _check->setObjectName(QStringLiteral("checkFSButton"));
  _check->setText(localizedText(_localization, "&Check the file system before each backup"));

  auto* row = new QHBoxLayout(_ofHelper);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(6);
  // The field stands within the sentence, wherever the language puts the number.
  const QString sentence = localizedText(_localization, "&Keep at most NUMBER increments");
  const auto addWords = [&](const QString& words) {
    auto* label = new QLabel(words.trimmed(), _ofHelper);
    label->setBuddy(_count);
    row->addWidget(label);
  };
  addWords(sentence.section(QStringLiteral("NUMBER"), 0, 0));
  row->addWidget(_count);
  addWords(sentence.section(QStringLiteral("NUMBER"), 1));
  row->addSpacing(kGap);
  row->addWidget(_check);
}

// The box shows what the launcher made of the choice, which the controller finds out a moment later.
void SettingsPane::addStatusIcon(const InstalledParts& installed) {
  _statusIcon->setObjectName(QStringLiteral("statusBarAppButton"));
  _statusIcon->setText(localizedText(_localization, "Show the s&tatus icon"));
  const QString why =
      installed.statusBarAgent ? QString() : localizedText(_localization, "The status icon is not installed.");
  _statusIcon->setEnabled(installed.statusBarAgent);
  _statusIcon->setToolTip(why);
  _statusIcon->setAccessibleDescription(why);
  connect(_statusIcon, &QCheckBox::clicked, this,
          [this](bool shown) { _controller.setStatusBarAppDisabled(!shown); });
  _bindings.bind(_controller, "statusBarAppDisabled", [this] {
    _statusIcon->setChecked(_statusIcon->isEnabled() && !_controller.statusBarAppDisabled());
  });
}

// The field is also left when a record disables it, or a sheet takes the focus: its user has not finished then, and
// a command would be sent, and refused, in the middle of showing the record.
void SettingsPane::commitCount(std::uint64_t count) {
  const bool taken = settingsObstacle(_controller) || _controller.modalSession() != modalsession::kNone;
  if (taken) return _count->setCount(_controller.maxIncCount());
  _controller.setMaxIncCount(count);
}

void SettingsPane::allow() {
  const auto obstacle = settingsObstacle(_controller);
  const QString why = obstacle ? obstacleText(*obstacle, _localization) : QString();
  _ofHelper->setEnabled(!obstacle);
  _ofHelper->setToolTip(why);
  _count->setAccessibleDescription(why);
  _check->setAccessibleDescription(why);
}

}  // namespace zpk
