#include "interface/PrimaryButton.h"

#include <QStyleOptionButton>

namespace zpk {
namespace {

// Styles lighten a button's colour towards its top; the text must stay readable there.
constexpr int kDarkening = 205;
constexpr int kRoomBesideTitle = 20;

}  // namespace

void PrimaryButton::setProminent(bool prominent) {
  if (prominent == _prominent) return;
  _prominent = prominent;
  update();
}

QSize PrimaryButton::sizeHint() const {
  return QPushButton::sizeHint() + QSize(kRoomBesideTitle, 0);
}

void PrimaryButton::initStyleOption(QStyleOptionButton* option) const {
  QPushButton::initStyleOption(option);
  if (!isEnabled() || !_prominent) return;
  option->palette.setColor(QPalette::Button, palette().color(QPalette::Highlight).darker(kDarkening));
  option->palette.setColor(QPalette::ButtonText, palette().color(QPalette::HighlightedText));
}

}  // namespace zpk
