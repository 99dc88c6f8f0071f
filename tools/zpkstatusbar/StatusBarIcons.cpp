#include "tools/zpkstatusbar/StatusBarIcons.h"

#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <array>

namespace zpk {
namespace {

constexpr std::array kSizes{16, 22, 24, 32, 44, 48, 64};

// Everything is drawn in a square of 22 units, the commonest size.
constexpr double kUnits = 22;
constexpr QPointF kCentre(11, 11);
constexpr double kRadius = 9.5;

QColor discColour(StatusBarIcon icon) {
  switch (icon) {
    case StatusBarIcon::ready:
      return {0x2E, 0x8B, 0x57};
    case StatusBarIcon::running:
      return {0x2F, 0x7B, 0xD0};
    case StatusBarIcon::attention:
      return {0xD3, 0x54, 0x2B};
    case StatusBarIcon::away:
      break;
  }
  return {0x80, 0x86, 0x8E};
}

QPen whitePen(double width) {
  return {Qt::white, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin};
}

void drawCheckMark(QPainter& painter) {
  painter.setPen(whitePen(2.4));
  painter.drawPolyline(QPolygonF({{6.6, 11.4}, {9.8, 14.6}, {15.4, 8.0}}));
}

void drawExclamationMark(QPainter& painter) {
  painter.setPen(whitePen(2.6));
  painter.drawLine(QPointF(11, 6.2), QPointF(11, 11.6));
  painter.drawPoint(QPointF(11, 15.8));
}

void drawDash(QPainter& painter) {
  painter.setPen(whitePen(2.6));
  painter.drawLine(QPointF(7.2, 11), QPointF(14.8, 11));
}

// From twelve o'clock on; even nothing shows where it will begin.
void drawRing(QPainter& painter, int percent) {
  constexpr QRectF kRing(5.2, 5.2, 11.6, 11.6);
  constexpr int kTwelve = 90 * 16;
  painter.setPen(QPen(QColor(255, 255, 255, 90), 3.2));
  painter.drawEllipse(kRing);
  painter.setPen(QPen(Qt::white, 3.2, Qt::SolidLine, Qt::FlatCap));
  painter.drawArc(kRing, kTwelve, -std::clamp(percent, 3, 100) * 360 * 16 / 100);
}

}  // namespace

QPixmap statusBarPixmap(StatusBarIcon icon, std::optional<int> percent, int size) {
  QPixmap pixmap(size, size);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.scale(size / kUnits, size / kUnits);
  painter.setPen(Qt::NoPen);
  painter.setBrush(discColour(icon));
  painter.drawEllipse(kCentre, kRadius, kRadius);
  painter.setBrush(Qt::NoBrush);
  switch (icon) {
    case StatusBarIcon::ready:
      drawCheckMark(painter);
      break;
    case StatusBarIcon::running:
      drawRing(painter, percent.value_or(0));
      break;
    case StatusBarIcon::attention:
      drawExclamationMark(painter);
      break;
    case StatusBarIcon::away:
      drawDash(painter);
      break;
  }
  return pixmap;
}

QIcon statusBarIcon(StatusBarIcon icon, std::optional<int> percent) {
  QIcon made;
  for (const int size : kSizes) made.addPixmap(statusBarPixmap(icon, percent, size));
  return made;
}

}  // namespace zpk
