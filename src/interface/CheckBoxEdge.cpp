#include "interface/CheckBoxEdge.h"

#include <QPainter>
#include <QProxyStyle>
#include <QStyle>
#include <QStyleOption>

namespace zpk {
namespace {

constexpr int kDark = 128;
constexpr float kEdgeStrength = 0.5F;

// Also when it is only changed in a detail. Every other style is a desktop's own and knows its dark colours.
bool isCommonStyle(const QStyle& style) {
  const auto* changed = qobject_cast<const QProxyStyle*>(&style);
  const QString name = changed ? changed->baseStyle()->name() : style.name();
  return name.compare(QLatin1String("fusion"), Qt::CaseInsensitive) == 0;
}

}  // namespace

void paintCheckBoxEdge(QPainter& painter, const QStyle& style, const QStyleOption& option, const QRect& square) {
  if (!isCommonStyle(style) || option.palette.color(QPalette::Window).lightness() >= kDark) return;
  const bool enabled = option.state.testFlag(QStyle::State_Enabled);
  QColor edge = option.palette.color(enabled ? QPalette::Active : QPalette::Disabled, QPalette::WindowText);
  edge.setAlphaF(edge.alphaF() * kEdgeStrength);
  painter.setPen(QPen(edge, 1));
  painter.setBrush(Qt::NoBrush);
  painter.drawRect(QRectF(square).adjusted(0.5, 0.5, -0.5, -0.5));
}

}  // namespace zpk
