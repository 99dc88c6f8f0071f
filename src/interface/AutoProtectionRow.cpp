#include "interface/AutoProtectionRow.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>

#include "interface/AttributedLabel.h"
#include "interface/DisplayText.h"
#include "interface/ElidedLabel.h"
#include "interface/Icons.h"
#include "interface/StaticTexts.h"

namespace zpk {
namespace {

constexpr int kSymbolSide = 22;

}  // namespace

AutoProtectionRow::AutoProtectionRow(ZPKSchedulerViewController& scheduler, const Localization& localization,
                                     QWidget* parent)
    : Panel(parent),
      _scheduler(scheduler),
      _localization(localization),
      _picture(new QLabel(this)),
      _state(new AttributedLabel(this)),
      _summary(new ElidedLabel(this)),
      _change(new ViewButton(this)),
      _toggle(new TitledPushButton(this)) {
  setObjectName(QStringLiteral("autoProtectionRow"));
  layOut();
  setUpPicture();
  _bindings.bind(_scheduler, {"enabled", "textualRepresentation", "textualRepresentationControlColor"},
                 [this] { showSummary(); });
}

void AutoProtectionRow::layOut() {
  const Localization& l = _localization;
  _state->setObjectName(QStringLiteral("autoProtectionTextField"));
  _state->setAttributedText(
      {{l.localizedString("Auto-Protection: "), false}, {l.localizedString("Disabled"), true}});
  _summary->setObjectName(QStringLiteral("scheduleSummary"));
  _change->setObjectName(QStringLiteral("changeScheduleButton"));
  _change->setText(localizedText(l, "Change…"));
  _change->setAccessibleName(localizedText(l, "Change Schedule"));
  _toggle->setObjectName(QStringLiteral("toggleSchedulerButton"));
  _toggle->setTitle(l.localizedString("Enable"));
  _toggle->setToolTip(localizedText(l, "Back up by itself, without being asked to."));
  _toggle->setAccessibleDescription(localizedText(l, "Auto-Protection"));

  auto* row = new QHBoxLayout(this);
  row->setContentsMargins(16, 8, 14, 8);
  row->setSpacing(10);
  row->addWidget(_picture);
  row->addWidget(_state);
  row->addWidget(_summary, 1);
  row->addWidget(_change);
  row->addWidget(_toggle);
}

void AutoProtectionRow::setUpPicture() {
  _picture->setPixmap(symbolIcon(Symbol::schedule).pixmap(QSize(kSymbolSide, kSymbolSide), devicePixelRatioF()));
}

// There is a schedule to be told of, and to be changed, while it is in force.
void AutoProtectionRow::showSummary() {
  const bool enabled = _scheduler.isEnabled();
  const QString summary = QString::fromStdString(_scheduler.textualRepresentation());
  _summary->setPlainText(enabled ? summary
                                 : localizedText(_localization, "Backs up by itself at the times you choose."));
  _summary->setRole(enabled ? ElidedLabel::Role::primary : ElidedLabel::Role::secondary);
  _summary->setEnabled(_scheduler.textualRepresentationControlColor() == ControlTextColor::controlText);
  _change->setEnabled(enabled);
  const QString why = enabled ? QString() : localizedText(_localization, "Enable Auto-Protection first.");
  _change->setToolTip(why);
  _change->setAccessibleDescription(enabled ? summary : why);
}

void AutoProtectionRow::changeEvent(QEvent* event) {
  Panel::changeEvent(event);
  const bool looks = event->type() == QEvent::PaletteChange || event->type() == QEvent::StyleChange;
  if (looks && _picture) setUpPicture();
}

}  // namespace zpk
