#include "interface/AttributedLabel.h"

#include <QEvent>
#include <QPainter>
#include <QStyle>
#include <QtMath>

namespace zpk {
namespace {

constexpr double kMoreThanAnyLine = 1e5;

}  // namespace

AttributedLabel::AttributedLabel(QWidget* parent) : QLabel(parent) {
  setTextFormat(Qt::PlainText);
  setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void AttributedLabel::setAttributedText(const std::vector<TextRun>& runs) {
  QString whole;
  _formats.clear();
  for (const TextRun& run : runs) {
    const QString part = QString::fromStdString(run.text);
    if (run.isBold) {
      QTextCharFormat bold;
      bold.setFontWeight(QFont::Bold);
      _formats += QTextLayout::FormatRange{static_cast<int>(whole.size()), static_cast<int>(part.size()), bold};
    }
    whole += part;
  }
  setText(whole);
  layOut();
}

void AttributedLabel::layOut() {
  QTextOption option(Qt::AlignLeading);
  option.setTextDirection(layoutDirection());
  option.setWrapMode(QTextOption::NoWrap);
  _line.setFont(font());
  _line.setText(text());
  _line.setFormats(_formats);
  _line.setTextOption(option);
  _line.beginLayout();
  QTextLine line = _line.createLine();
  _size = {0, fontMetrics().height()};
  if (line.isValid()) {
    // As wide as its text, so that it begins at its edge from whichever side it is read.
    line.setLineWidth(kMoreThanAnyLine);
    _size = {qCeil(line.naturalTextWidth()), qMax(_size.height(), qCeil(line.height()))};
    line.setLineWidth(_size.width());
  }
  _line.endLayout();
  updateGeometry();
  update();
}

void AttributedLabel::changeEvent(QEvent* event) {
  QLabel::changeEvent(event);
  if (event->type() == QEvent::FontChange || event->type() == QEvent::LayoutDirectionChange) layOut();
}

void AttributedLabel::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.setPen(palette().color(foregroundRole()));
  const QRect place = QStyle::alignedRect(layoutDirection(), Qt::AlignLeading | Qt::AlignVCenter, _size, rect());
  _line.draw(&painter, place.topLeft());
}

}  // namespace zpk
