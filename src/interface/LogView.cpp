#include "interface/LogView.h"

#include <QClipboard>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QScrollBar>
#include <QtMath>
#include <algorithm>
#include <vector>

#include "interface/StaticTexts.h"

namespace zpk {
namespace {

constexpr int kSpaceBetweenLines = 2;
// What a style leaves free beside the text of an item, and some more.
constexpr int kSpaceBesideLine = 16;

}  // namespace

LogView::LogView(QWidget* parent) : EmptyTextView(parent) {
  setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  setLayoutDirection(Qt::LeftToRight);
  setSelectionMode(ExtendedSelection);
  setSelectionBehavior(SelectRows);
  setEditTriggers(NoEditTriggers);
  setShowGrid(false);
  setWordWrap(false);
  setTextElideMode(Qt::ElideNone);
  setHorizontalScrollMode(ScrollPerPixel);
  // The next control is reached by Tab; a table would move on to the next row.
  setTabKeyNavigation(false);
  for (QHeaderView* header : {horizontalHeader(), verticalHeader()}) {
    header->hide();
    header->setMinimumSectionSize(1);
    header->setSectionResizeMode(QHeaderView::Fixed);
    header->setHighlightSections(false);
  }
  takeFont();
  setModel(&_lines);
  connect(&_lines, &QAbstractItemModel::rowsInserted, this,
          [this](const QModelIndex&, int first, int last) { measureRows(first, last); });
  connect(&_lines, &QAbstractItemModel::modelReset, this, [this] {
    _widestLine = 0;
    measureRows(0, _lines.rowCount() - 1);
  });
}

void LogView::localize(const Localization& localization) {
  setEmptyText(localizedText(localization, "The log of a backup is shown here while it runs."));
}

void LogView::setLines(LogModel::Lines lines) {
  _lines.setLines(std::move(lines));
}

void LogView::copySelection() const {
  std::vector<std::pair<int, int>> ranges;
  for (const QItemSelectionRange& range : selectionModel()->selection())
    ranges.emplace_back(range.top(), range.bottom());
  if (ranges.empty()) return;
  std::sort(ranges.begin(), ranges.end());
  QString text;
  for (const auto& [top, bottom] : ranges) {
    for (int row = top; row <= bottom; ++row) {
      text += _lines.data(_lines.index(row), Qt::DisplayRole).toString() + u'\n';
    }
  }
  // A single line goes into a field or a shell without being entered there.
  text.chop(1);
  QGuiApplication::clipboard()->setText(text);
}

double LogView::documentViewFrameHeight() const {
  return _lines.rowCount();
}

double LogView::contentViewBoundsHeight() const {
  // Whole lines.
  const int lines = viewport()->height() / std::max(lineHeight(), 1);
  return lines;
}

void LogView::scrollDocumentViewToPoint(double /*x*/, double y) {
  // The new rows are to be reached now, not after the next turn of the event loop.
  executeDelayedItemsLayout();
  verticalScrollBar()->setValue(static_cast<int>(y));
}

void LogView::scrollTo(const QModelIndex& index, ScrollHint hint) {
  const int across = horizontalScrollBar()->value();
  EmptyTextView::scrollTo(index, hint);
  horizontalScrollBar()->setValue(across);
}

// Of a list, which has no cells to move between.
QModelIndex LogView::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) {
  if (action == MoveHome) return _lines.index(0);
  if (action == MoveEnd) return _lines.index(_lines.rowCount() - 1);
  return EmptyTextView::moveCursor(action, modifiers);
}

void LogView::keyPressEvent(QKeyEvent* event) {
  if (event->matches(QKeySequence::Copy)) return copySelection();
  const bool across = event->key() == Qt::Key_Left || event->key() == Qt::Key_Right;
  if (!across || event->modifiers() != Qt::NoModifier) return EmptyTextView::keyPressEvent(event);
  horizontalScrollBar()->triggerAction(event->key() == Qt::Key_Left ? QAbstractSlider::SliderSingleStepSub
                                                                    : QAbstractSlider::SliderSingleStepAdd);
}

void LogView::resizeEvent(QResizeEvent* event) {
  const QScrollBar* bar = verticalScrollBar();
  const bool atEnd = bar->value() == bar->maximum();
  fitColumn();
  EmptyTextView::resizeEvent(event);
  if (atEnd) scrollToBottom();
}

void LogView::changeEvent(QEvent* event) {
  EmptyTextView::changeEvent(event);
  if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) takeFont();
}

int LogView::lineHeight() const {
  return verticalHeader()->defaultSectionSize();
}

void LogView::takeFont() {
  verticalHeader()->setDefaultSectionSize(fontMetrics().height() + kSpaceBetweenLines);
  fitColumn();
}

void LogView::measureRows(int first, int last) {
  for (int row = first; row <= last; ++row) _widestLine = std::max(_widestLine, _lines.columns(row));
  fitColumn();
}

// As wide as the view, or as its widest line.
void LogView::fitColumn() {
  // In parts of a pixel, which sum up over thousands of characters.
  const int line = qCeil(_widestLine * QFontMetricsF(font()).horizontalAdvance(u'M')) + kSpaceBesideLine;
  const int width = std::max(line, viewport()->width());
  if (columnWidth(0) != width) setColumnWidth(0, width);
}

}  // namespace zpk
