#include "interface/ElidedLabel.h"

#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>

namespace zpk {
namespace {

constexpr float kSecondaryStrength = 0.72F;
constexpr double kCaptionScale = 0.9;

}  // namespace

ElidedLabel::ElidedLabel(QWidget* parent) : QLabel(parent) {
  setTextFormat(Qt::PlainText);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void ElidedLabel::setRole(Role role) {
  _role = role;
  if (role == Role::caption) {
    QFont smaller = font();
    smaller.setPointSizeF(smaller.pointSizeF() * kCaptionScale);
    setFont(smaller);
  }
  update();
}

void ElidedLabel::setElideMode(Qt::TextElideMode mode) {
  _elideMode = mode;
  update();
}

void ElidedLabel::setPlainText(const QString& newText) {
  if (newText == text()) return;
  setText(newText);
}

QSize ElidedLabel::minimumSizeHint() const {
  return {fontMetrics().averageCharWidth() * 6, sizeHint().height()};
}

void ElidedLabel::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  QColor colour = palette().color(QPalette::WindowText);
  if (_role != Role::primary) colour.setAlphaF(colour.alphaF() * kSecondaryStrength);
  painter.setPen(colour);
  const QRect line = contentsRect();
  painter.drawText(line,
                   static_cast<int>(QStyle::visualAlignment(layoutDirection(), alignment())) | Qt::TextSingleLine,
                   fontMetrics().elidedText(text(), _elideMode, line.width()));
}

bool ElidedLabel::event(QEvent* event) {
  if (event->type() != QEvent::ToolTip) return QLabel::event(event);
  showToolTip(static_cast<QHelpEvent*>(event)->globalPos());
  return true;
}

// Whether the text is cut is found out when the pointer asks: measuring it costs more than all else about a text
// that is set.
void ElidedLabel::showToolTip(QPoint where) {
  const bool cut = fontMetrics().horizontalAdvance(text()) > contentsRect().width();
  // A tool tip guesses whether its text is markup; escaped, it is shown as it stands.
  QToolTip::showText(where, cut ? QStringLiteral("<qt>%1</qt>").arg(text().toHtmlEscaped()) : QString(), this);
}

}  // namespace zpk
