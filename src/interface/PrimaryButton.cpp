#include "interface/PrimaryButton.h"

#include <QStyleOptionButton>

namespace zpk {

void PrimaryButton::initStyleOption(QStyleOptionButton* option) const {
  QPushButton::initStyleOption(option);
  if (!isEnabled()) return;
  option->palette.setColor(QPalette::Button, palette().color(QPalette::Highlight));
  option->palette.setColor(QPalette::ButtonText, palette().color(QPalette::HighlightedText));
}

}  // namespace zpk
