#include "interface/UsageBar.h"

#include <algorithm>

#include "interface/Pill.h"

namespace zpk {
namespace {

constexpr double kNearlyFull = 0.9;
const QColor kWarning(0xD9, 0x7B, 0x1C);

}  // namespace

UsageBar::UsageBar(QWidget* parent) : QWidget(parent) {
  QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Fixed);
  // Its place stays when it is hidden, so that cards with and without it are of one height.
  policy.setRetainSizeWhenHidden(true);
  setSizePolicy(policy);
}

void UsageBar::setUsage(Usage usage) {
  if (usage == _usage) return;
  _usage = usage;
  update();
}

QSize UsageBar::sizeHint() const {
  return {120, kPillHeight};
}

double UsageBar::usedShare() const {
  if (_usage.size == 0) return 0;
  const double used = 1 - static_cast<double>(_usage.free) / static_cast<double>(_usage.size);
  return std::clamp(used, 0.0, 1.0);
}

void UsageBar::paintEvent(QPaintEvent* /*event*/) {
  const double share = usedShare();
  paintPill(*this, rect(), share, share > kNearlyFull ? kWarning : palette().color(QPalette::Highlight));
}

}  // namespace zpk
