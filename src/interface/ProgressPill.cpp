#include "interface/ProgressPill.h"

#include "interface/Pill.h"

namespace zpk {

void ProgressPill::setValue(int value) {
  setUpdatesEnabled(false);
  QProgressBar::setValue(value);
  setUpdatesEnabled(true);
}

void ProgressPill::paintEvent(QPaintEvent* /*event*/) {
  const int range = maximum() - minimum();
  const double share = range > 0 ? static_cast<double>(value() - minimum()) / range : 0;
  paintPill(*this, rect(), share, palette().color(QPalette::Highlight));
}

}  // namespace zpk
