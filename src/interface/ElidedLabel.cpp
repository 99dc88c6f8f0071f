#include "interface/ElidedLabel.h"

#include <QPainter>
#include <QStyle>

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
  updateToolTip();
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

void ElidedLabel::resizeEvent(QResizeEvent* event) {
  QLabel::resizeEvent(event);
  updateToolTip();
}

void ElidedLabel::updateToolTip() {
  const bool cut = fontMetrics().horizontalAdvance(text()) > contentsRect().width();
  // A tool tip guesses whether its text is markup; escaped, it is shown as it stands.
  setToolTip(cut ? QStringLiteral("<qt>%1</qt>").arg(text().toHtmlEscaped()) : QString());
}

}  // namespace zpk
