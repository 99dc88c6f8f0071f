#include "interface/ScrolledText.h"

#include <QEvent>
#include <QLabel>
#include <QScrollBar>
#include <algorithm>

#include "interface/DisplayText.h"

namespace zpk {
namespace {

constexpr int kMostLines = 12;

}  // namespace

ScrolledText::ScrolledText(int width, QWidget* parent) : QScrollArea(parent), _label(new QLabel) {
  _label->setTextFormat(Qt::PlainText);
  _label->setWordWrap(true);
  _label->setAlignment(Qt::AlignLeading | Qt::AlignTop);
  _label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  setFixedWidth(width);
  setFrameShape(QFrame::NoFrame);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  // In the colour of the sheet.
  viewport()->setAutoFillBackground(false);
  setWidget(_label);
  _label->setAutoFillBackground(false);
  fit();
}

void ScrolledText::setText(const QString& text) {
  _label->setText(placedText(text, layoutDirection()));
  fit();
}

void ScrolledText::changeEvent(QEvent* event) {
  QScrollArea::changeEvent(event);
  if (_label && (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)) fit();
}

// A text that scrolls gives the scroll bar its room, and is reached by the keyboard to be scrolled.
void ScrolledText::fit() {
  const int most = kMostLines * _label->fontMetrics().lineSpacing();
  const bool scrolls = _label->heightForWidth(width()) > most;
  const int textWidth = scrolls ? width() - verticalScrollBar()->sizeHint().width() : width();
  const int height = _label->text().isEmpty() ? 0 : _label->heightForWidth(textWidth);
  _label->setFixedSize(textWidth, height);
  setFixedHeight(std::min(height, most));
  setVerticalScrollBarPolicy(scrolls ? Qt::ScrollBarAlwaysOn : Qt::ScrollBarAlwaysOff);
  setFocusPolicy(scrolls ? Qt::StrongFocus : Qt::NoFocus);
}

}  // namespace zpk
