#include "interface/CheckBox.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOptionButton>

namespace zpk {
namespace {

constexpr int kDark = 128;
constexpr float kEdgeStrength = 0.5F;

}  // namespace

void CheckBox::paintEvent(QPaintEvent* event) {
  QCheckBox::paintEvent(event);
  // Every other style is a desktop's own and knows its dark colours.
  const bool common = style()->name().compare(QLatin1String("fusion"), Qt::CaseInsensitive) == 0;
  if (!common || palette().color(QPalette::Window).lightness() >= kDark) return;
  QStyleOptionButton option;
  initStyleOption(&option);
  const QRect square = style()->subElementRect(QStyle::SE_CheckBoxIndicator, &option, this);
  QColor edge = palette().color(QPalette::WindowText);
  edge.setAlphaF(edge.alphaF() * kEdgeStrength);
  QPainter painter(this);
  painter.setPen(QPen(edge, 1));
  painter.drawRect(QRectF(square).adjusted(0.5, 0.5, -0.5, -0.5));
}

}  // namespace zpk
