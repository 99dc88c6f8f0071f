#pragma once

#include <QTableView>

#include "base/Localization.h"
#include "interface/EmptyTextView.h"
#include "interface/LogModel.h"
#include "mainwindow/LogScrollView.h"

namespace zpk {

// The log of the running operation: plain lines of a fixed-width font, to be read, selected and copied.
//
// Rows are of one height and lines are not measured but counted, so that what is appended costs what it adds to the
// screen, however long the log is. It is a table of one column because assistive technology reads the rows of a
// table; its headers are hidden. Lines run from left to right in every language: they are the helper's own.
//
// As the controller's scroll view it counts in rows. A view that stands at its end stays there when its size
// changes.
class LogView final : public EmptyTextView<QTableView>, public LogScrollView {
 public:
  explicit LogView(QWidget* parent = nullptr);

  // The text of the empty view.
  void localize(const Localization& localization);

  // Null is an empty log.
  void setLines(LogModel::Lines lines);

  // The selected lines as they are shown, from the top, onto the clipboard; without a selection nothing happens.
  void copySelection() const;

  bool documentViewIsFlipped() const override { return true; }
  double documentViewFrameY() const override { return 0; }
  double documentViewFrameHeight() const override;
  double contentViewBoundsHeight() const override;
  void scrollDocumentViewToPoint(double x, double y) override;

  // Up and down only: a line longer than the view stays where the reader has moved it.
  void scrollTo(const QModelIndex& index, ScrollHint hint = EnsureVisible) override;

 protected:
  QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
  void keyPressEvent(QKeyEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  int lineHeight() const;
  void takeFont();
  void measureRows(int first, int last);
  void fitColumn();

  LogModel _lines;
  int _widestLine = 0;  // characters, of all lines since the log began
};

}  // namespace zpk
