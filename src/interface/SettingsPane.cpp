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

SettingsPane::SettingsPane(ZPKUIDaemonController& controller, const Localization& localization, QWidget* parent)
    : QWidget(parent),
      _controller(controller),
      _localization(localization),
      _count(new IncrementCountField(this)),
      _check(new CheckBox(this)) {
  layOut();
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
  _count->setObjectName(QStringLiteral("maxIncCountField"));
  _count->setAccessibleName(localizedText(_localization, "Most increments kept"));
  _count->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  _check->setObjectName(QStringLiteral("checkFSButton"));
  _check->setText(localizedText(_localization, "&Check the file system before each backup"));

  auto* row = new QHBoxLayout(this);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(6);
  // The field stands within the sentence, wherever the language puts the number.
  const QString sentence = localizedText(_localization, "&Keep at most NUMBER increments");
  const auto addWords = [&](const QString& words) {
    auto* label = new QLabel(words.trimmed(), this);
    label->setBuddy(_count);
    row->addWidget(label);
  };
  addWords(sentence.section(QStringLiteral("NUMBER"), 0, 0));
  row->addWidget(_count);
  addWords(sentence.section(QStringLiteral("NUMBER"), 1));
  constexpr int kGap = 24;
  row->addSpacing(kGap);
  row->addWidget(_check);
  row->addStretch();
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
  setEnabled(!obstacle);
  setToolTip(why);
  _count->setAccessibleDescription(why);
  _check->setAccessibleDescription(why);
}

}  // namespace zpk
