#include "interface/Panel.h"

#include <QPainter>

namespace zpk {
namespace {

constexpr double kPanelRadius = 8;
constexpr float kPanelEdgeStrength = 0.16F;
const QColor kNotice(0xE0, 0x8A, 0x1E);

}  // namespace

Panel::Panel(QWidget* parent) : QFrame(parent) {
  setFrameShape(QFrame::NoFrame);
}

void Panel::setLook(Look look) {
  _look = look;
  update();
}

void Panel::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  QColor edge = _look == Look::notice ? kNotice : palette().color(QPalette::WindowText);
  edge.setAlphaF(_look == Look::notice ? 0.55F : kPanelEdgeStrength);
  painter.setPen(QPen(edge, 1));
  painter.setBrush(palette().color(QPalette::Base));
  const QRectF outline = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
  painter.drawRoundedRect(outline, kPanelRadius, kPanelRadius);
  if (_look == Look::notice) {
    QColor tint = kNotice;
    tint.setAlphaF(0.14F);
    painter.setBrush(tint);
    painter.drawRoundedRect(outline, kPanelRadius, kPanelRadius);
  }
}

}  // namespace zpk
