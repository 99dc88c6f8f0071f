#include "interface/PopoverFrame.h"

#include <QEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QVBoxLayout>

namespace zpk {
namespace {

constexpr int kShadow = 8;  // on every side
constexpr int kArrowHeight = 10;
constexpr int kArrowHalf = 11;
constexpr int kBubbleRadius = 10;
constexpr int kPadding = 16;
constexpr float kBubbleEdgeStrength = 0.3F;
constexpr float kShadowStrength = 0.025F;

}  // namespace

PopoverFrame::PopoverFrame(QWidget& window, QWidget& contents)
    : QWidget(&window, Qt::Popup | Qt::FramelessWindowHint | Qt::NoDropShadowWindowHint) {
  setAttribute(Qt::WA_TranslucentBackground);
  auto* layout = new QVBoxLayout(this);
  layout->setSizeConstraint(QLayout::SetFixedSize);
  layout->addWidget(&contents);
}

void PopoverFrame::popUp(QWidget& anchor) {
  _anchor = &anchor;
  setAttribute(Qt::WA_NoMouseReplay, false);
  place();
  anchor.installEventFilter(this);
  anchor.window()->installEventFilter(this);
  show();
}

QRect PopoverFrame::anchorOnScreen() const {
  return {_anchor->mapToGlobal(QPoint()), _anchor->size()};
}

// In the middle of its control as far as the screen allows; the arrow points to that middle all the same.
void PopoverFrame::place() {
  const QRect anchor = anchorOnScreen();
  const QRect screen = _anchor->screen()->availableGeometry();
  const auto setMargins = [this](int above, int below) {
    layout()->setContentsMargins(kShadow + kPadding, kShadow + kPadding + above, kShadow + kPadding,
                                 kShadow + kPadding + below);
  };
  setMargins(0, kArrowHeight);
  const QSize size = layout()->totalSizeHint();
  _below = anchor.top() + kShadow - size.height() < screen.top();
  if (_below) setMargins(kArrowHeight, 0);
  const int farthest = qMax(screen.left(), screen.right() + 1 - size.width());
  const int left = qBound(screen.left(), anchor.center().x() - size.width() / 2, farthest);
  const int top = _below ? anchor.bottom() + 1 - kShadow : anchor.top() + kShadow - size.height();
  constexpr int kOuter = kShadow + kBubbleRadius + kArrowHalf;
  _tip = qBound(kOuter, anchor.center().x() - left, qMax(kOuter, size.width() - kOuter));
  move(left, top);
}

QPainterPath PopoverFrame::outline() const {
  const QRectF whole = QRectF(rect()).adjusted(kShadow, kShadow, -kShadow, -kShadow);
  QRectF body = whole;
  if (_below) {
    body.setTop(whole.top() + kArrowHeight);
  } else {
    body.setBottom(whole.bottom() - kArrowHeight);
  }
  const double foot = _below ? body.top() : body.bottom();
  // The arrow stands a little within the body, so that no seam is left between the two.
  const double inside = _below ? foot + 1 : foot - 1;
  QPainterPath bubble;
  bubble.addRoundedRect(body, kBubbleRadius, kBubbleRadius);
  QPainterPath arrow;
  arrow.moveTo(_tip - kArrowHalf, inside);
  arrow.lineTo(_tip - kArrowHalf, foot);
  arrow.lineTo(_tip, _below ? whole.top() : whole.bottom());
  arrow.lineTo(_tip + kArrowHalf, foot);
  arrow.lineTo(_tip + kArrowHalf, inside);
  arrow.closeSubpath();
  return bubble.united(arrow);
}

void PopoverFrame::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const QPainterPath shape = outline();
  QColor shadow(Qt::black);
  shadow.setAlphaF(kShadowStrength);
  for (int reach = 1; reach < kShadow; ++reach) painter.strokePath(shape, QPen(shadow, 2 * reach));
  painter.fillPath(shape, palette().color(QPalette::Window));
  QColor edge = palette().color(QPalette::WindowText);
  edge.setAlphaF(kBubbleEdgeStrength);
  painter.strokePath(shape, QPen(edge, 1));
}

void PopoverFrame::hideEvent(QHideEvent* event) {
  QWidget::hideEvent(event);
  // Hidden by the desktop, say with all else on another workspace: it comes back with it.
  if (event->spontaneous()) return;
  if (_anchor) {
    _anchor->removeEventFilter(this);
    _anchor->window()->removeEventFilter(this);
  }
  if (_closed) _closed();
}

bool PopoverFrame::eventFilter(QObject* watched, QEvent* event) {
  switch (event->type()) {
    case QEvent::Move:
    case QEvent::Resize:
    case QEvent::Hide:
    case QEvent::WindowStateChange:
      close();
      break;
    case QEvent::EnabledChange:
      if (_anchor && !_anchor->isEnabled()) close();
      break;
    default:
      break;
  }
  return QWidget::eventFilter(watched, event);
}

void PopoverFrame::keyPressEvent(QKeyEvent* event) {
  if (event->matches(QKeySequence::Cancel)) {
    close();
  } else {
    QWidget::keyPressEvent(event);
  }
}

void PopoverFrame::mousePressEvent(QMouseEvent* event) {
  if (_anchor && anchorOnScreen().contains(event->globalPosition().toPoint())) setAttribute(Qt::WA_NoMouseReplay);
  // The shadow is beside it.
  if (outline().contains(event->position())) {
    QWidget::mousePressEvent(event);
  } else {
    close();
  }
}

}  // namespace zpk
