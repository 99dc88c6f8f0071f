#include "interface/Icons.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QPixmap>

namespace zpk {
namespace {

// Shapes are drawn in a square of 48 units.
constexpr double kUnits = 48;

const QColor kAmber(0xE0, 0x8A, 0x1E);
const QColor kRed(0xC9, 0x36, 0x2F);

QColor mixed(const QColor& a, const QColor& b, double share) {
  const auto mix = [share](int from, int to) { return static_cast<int>(from + (to - from) * share); };
  return {mix(a.red(), b.red()), mix(a.green(), b.green()), mix(a.blue(), b.blue())};
}

struct Colours {
  QColor line;
  QColor fill;
  QColor accent;
};

Colours coloursOf(const QPalette& palette, QIcon::Mode mode) {
  const QColor text = palette.color(QPalette::WindowText);
  const QColor back = palette.color(QPalette::Base);
  const double strength = mode == QIcon::Disabled ? 0.35 : 0.6;
  const QColor accent = palette.color(QPalette::Highlight);
  return {mixed(back, text, strength), mixed(back, text, 0.08),
          mode == QIcon::Disabled ? mixed(back, text, 0.35) : accent};
}

void drawDisk(QPainter& painter, const Colours& colours) {
  painter.setPen(QPen(colours.line, 2));
  painter.setBrush(colours.fill);
  painter.drawRoundedRect(QRectF(6, 9, 36, 30), 5, 5);
  painter.drawLine(QPointF(6, 29), QPointF(42, 29));
  painter.setPen(Qt::NoPen);
  painter.setBrush(colours.accent);
  painter.drawEllipse(QPointF(36, 34), 2, 2);
  painter.setBrush(colours.line);
  painter.drawRoundedRect(QRectF(11, 33, 14, 2), 1, 1);
}

void drawArchive(QPainter& painter, const Colours& colours) {
  painter.setPen(QPen(colours.line, 2));
  painter.setBrush(colours.fill);
  painter.drawRoundedRect(QRectF(9, 19, 30, 21), 3, 3);
  painter.drawRoundedRect(QRectF(6, 9, 36, 10), 3, 3);
  painter.setPen(QPen(colours.accent, 3, Qt::SolidLine, Qt::RoundCap));
  painter.drawLine(QPointF(20, 25), QPointF(28, 25));
}

void drawSign(QPainter& painter, const QPainterPath& shape, const QColor& colour) {
  painter.fillPath(shape, colour);
  painter.setPen(QPen(Qt::white, 4, Qt::SolidLine, Qt::RoundCap));
  painter.drawLine(QPointF(24, 19), QPointF(24, 27));
  painter.drawPoint(QPointF(24, 35));
}

QPainterPath triangle() {
  QPainterPath path;
  path.moveTo(24, 6);
  path.lineTo(44, 41);
  path.lineTo(4, 41);
  path.closeSubpath();
  QPainterPathStroker round;
  round.setWidth(4);
  round.setJoinStyle(Qt::RoundJoin);
  return path.united(round.createStroke(path));
}

QPainterPath disc() {
  QPainterPath path;
  path.addEllipse(QPointF(24, 25), 20, 20);
  return path;
}

void drawArrow(QPainter& painter, const Colours& colours) {
  painter.setPen(QPen(colours.line, 3.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  const bool toLeft = QGuiApplication::layoutDirection() == Qt::RightToLeft;
  if (toLeft) {
    painter.translate(kUnits, 0);
    painter.scale(-1, 1);
  }
  painter.drawLine(QPointF(8, 24), QPointF(40, 24));
  painter.drawPolyline(QPolygonF{QPointF(28, 12), QPointF(40, 24), QPointF(28, 36)});
}

QPen stroke(const Colours& colours) {
  return {colours.line, 4.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin};
}

// Back in time: most of a circle, run through against the clock.
void drawRestore(QPainter& painter, const Colours& colours) {
  constexpr int kFullDegree = 16;
  painter.setPen(stroke(colours));
  painter.drawArc(QRectF(9, 10, 30, 30), 150 * kFullDegree, -(360 - 60) * kFullDegree);
  painter.drawPolyline(QPolygonF{QPointF(9, 6), QPointF(10, 18), QPointF(22, 18)});
  painter.drawPolyline(QPolygonF{QPointF(24, 17), QPointF(24, 26), QPointF(30, 30)});
}

// Two that become one.
void drawMerge(QPainter& painter, const Colours& colours) {
  painter.setPen(stroke(colours));
  painter.drawPolyline(QPolygonF{QPointF(10, 8), QPointF(24, 24), QPointF(24, 40)});
  painter.drawLine(QPointF(38, 8), QPointF(24, 24));
  painter.drawPolyline(QPolygonF{QPointF(15, 32), QPointF(24, 41), QPointF(33, 32)});
}

void drawFolder(QPainter& painter, const Colours& colours) {
  painter.setPen(stroke(colours));
  painter.drawPolygon(QPolygonF{QPointF(6, 11), QPointF(18, 11), QPointF(23, 17), QPointF(42, 17), QPointF(42, 38),
                                QPointF(6, 38)});
}

// A shield with a clock's hands.
void drawSchedule(QPainter& painter, const Colours& colours) {
  QPainterPath shield;
  shield.moveTo(24, 4);
  shield.cubicTo(30, 9, 36, 10, 41, 10);
  shield.cubicTo(42, 26, 37, 38, 24, 44);
  shield.cubicTo(11, 38, 6, 26, 7, 10);
  shield.cubicTo(12, 10, 18, 9, 24, 4);
  painter.setPen(QPen(colours.line, 3, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.setBrush(colours.fill);
  painter.drawPath(shield);
  painter.setPen(QPen(colours.accent, 4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.drawPolyline(QPolygonF{QPointF(24, 14), QPointF(24, 25), QPointF(32, 29)});
}

class SymbolEngine final : public QIconEngine {
 public:
  explicit SymbolEngine(Symbol symbol) : _symbol(symbol) {}

  QIconEngine* clone() const override { return new SymbolEngine(_symbol); }

  QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
    QPixmap pixmap(size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    paint(&painter, QRect(QPoint(), size), mode, state);
    return pixmap;
  }

  void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    const double side = qMin(rect.width(), rect.height());
    painter->translate(rect.center().x() + 0.5 - side / 2, rect.center().y() + 0.5 - side / 2);
    painter->scale(side / kUnits, side / kUnits);
    draw(*painter, coloursOf(QGuiApplication::palette(), mode));
    painter->restore();
  }

 private:
  void draw(QPainter& painter, const Colours& colours) const {
    switch (_symbol) {
      case Symbol::disk:
        return drawDisk(painter, colours);
      case Symbol::archive:
        return drawArchive(painter, colours);
      case Symbol::warning:
        return drawSign(painter, triangle(), kAmber);
      case Symbol::error:
        return drawSign(painter, disc(), kRed);
      case Symbol::arrow:
        return drawArrow(painter, colours);
      case Symbol::restore:
        return drawRestore(painter, colours);
      case Symbol::merge:
        return drawMerge(painter, colours);
      case Symbol::open:
        return drawFolder(painter, colours);
      case Symbol::schedule:
        return drawSchedule(painter, colours);
    }
  }

  Symbol _symbol;
};

}  // namespace

QIcon symbolIcon(Symbol symbol) {
  return QIcon(new SymbolEngine(symbol));
}

}  // namespace zpk
