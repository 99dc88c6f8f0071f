#include "interface/UsageBar.h"

#include <QPainter>
#include <QPainterPath>
#include <algorithm>

namespace zpk {
namespace {

constexpr int kHeight = 8;
constexpr double kNearlyFull = 0.9;
const QColor kWarning(0xD9, 0x7B, 0x1C);

}  // namespace

UsageBar::UsageBar(QWidget* parent) : QWidget(parent) {
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void UsageBar::setUsage(Usage usage) {
  if (usage == _usage) return;
  _usage = usage;
  update();
}

QSize UsageBar::sizeHint() const {
  return {120, kHeight};
}

double UsageBar::usedShare() const {
  if (_usage.size == 0) return 0;
  const double used = 1 - static_cast<double>(_usage.free) / static_cast<double>(_usage.size);
  return std::clamp(used, 0.0, 1.0);
}

void UsageBar::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const QRectF whole = QRectF(0, (height() - kHeight) / 2.0, width(), kHeight);
  QPainterPath shape;
  shape.addRoundedRect(whole, kHeight / 2.0, kHeight / 2.0);
  QColor trough = palette().color(QPalette::WindowText);
  trough.setAlphaF(0.14F);
  painter.fillPath(shape, trough);

  QRectF used = whole;
  used.setWidth(whole.width() * usedShare());
  if (layoutDirection() == Qt::RightToLeft) used.moveRight(whole.right());
  painter.setClipPath(shape);
  painter.fillRect(used, usedShare() > kNearlyFull ? kWarning : palette().color(QPalette::Highlight));
}

}  // namespace zpk
