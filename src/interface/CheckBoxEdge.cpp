#include "interface/CheckBoxEdge.h"

#include <QPainter>
#include <QPalette>
#include <QStyle>

namespace zpk {
namespace {

constexpr int kDark = 128;
constexpr float kEdgeStrength = 0.5F;

}  // namespace

void paintCheckBoxEdge(QPainter& painter, const QStyle& style, const QPalette& palette, const QRect& square) {
  // Every other style is a desktop's own and knows its dark colours.
  const bool common = style.name().compare(QLatin1String("fusion"), Qt::CaseInsensitive) == 0;
  if (!common || palette.color(QPalette::Window).lightness() >= kDark) return;
  QColor edge = palette.color(QPalette::WindowText);
  edge.setAlphaF(edge.alphaF() * kEdgeStrength);
  painter.setPen(QPen(edge, 1));
  painter.setBrush(Qt::NoBrush);
  painter.drawRect(QRectF(square).adjusted(0.5, 0.5, -0.5, -0.5));
}

}  // namespace zpk
