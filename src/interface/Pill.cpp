#include "interface/Pill.h"

#include <QPainter>
#include <QPainterPath>
#include <QWidget>

namespace zpk {
namespace {

constexpr float kTroughStrength = 0.14F;

}  // namespace

void paintPill(QWidget& widget, const QRect& area, double share, const QColor& colour) {
  QPainter painter(&widget);
  painter.setRenderHint(QPainter::Antialiasing);
  const QRectF whole(area.x(), area.y() + (area.height() - kPillHeight) / 2.0, area.width(), kPillHeight);
  QPainterPath shape;
  shape.addRoundedRect(whole, kPillHeight / 2.0, kPillHeight / 2.0);
  QColor trough = widget.palette().color(QPalette::WindowText);
  trough.setAlphaF(kTroughStrength);
  painter.fillPath(shape, trough);

  QRectF filled = whole;
  filled.setWidth(whole.width() * share);
  if (widget.layoutDirection() == Qt::RightToLeft) filled.moveRight(whole.right());
  painter.setClipPath(shape);
  painter.fillRect(filled, colour);
}

}  // namespace zpk
