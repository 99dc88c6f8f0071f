#include "interface/LogView.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <QtTest/QTest>

#include "interface/DisplayText.h"
#include "mainwindow/ControllerWorld.h"

namespace zpk {
namespace {

LogModel::Lines lines(int first, int end) {
  Array array;
  for (int i = first; i < end; ++i) array.emplace_back("line " + std::to_string(i));
  return std::make_shared<const Array>(std::move(array));
}

class LogViewTest : public testing::Test {
 protected:
  LogViewTest() {
    view.localize(texts);
    view.resize(400, 300);
    view.show();
    QCoreApplication::processEvents();
  }
  void selectRows(int first, int last) {
    view.selectionModel()->select(QItemSelection(row(first), row(last)), QItemSelectionModel::ClearAndSelect);
  }
  QModelIndex row(int number) const { return view.model()->index(number, 0); }
  int scrolled() const { return view.verticalScrollBar()->value(); }
  // As the controller does with every record.
  void scrollToItsEnd() {
    view.scrollDocumentViewToPoint(
        0, view.documentViewFrameY() + view.documentViewFrameHeight() - view.contentViewBoundsHeight());
  }
  bool shows(int number) const { return view.viewport()->rect().contains(view.visualRect(row(number)).center()); }
  static QString clipboard() { return QApplication::clipboard()->text(); }

  SomeTranslations texts;
  LogView view;
};

TEST_F(LogViewTest, ScrollingToItsEndShowsTheNewestLineAtOnce) {
  view.setLines(lines(0, 1000));
  scrollToItsEnd();
  EXPECT_TRUE(shows(999));
  view.setLines(lines(0, 1010));
  scrollToItsEnd();
  EXPECT_TRUE(shows(1009));
  EXPECT_EQ(scrolled(), view.verticalScrollBar()->maximum());
  EXPECT_EQ(view.documentViewFrameHeight() - view.contentViewBoundsHeight(), scrolled());
}

TEST_F(LogViewTest, ViewAtItsEndStaysThereWhenItsSizeChanges) {
  view.setLines(lines(0, 1000));
  scrollToItsEnd();
  view.resize(400, 120);
  EXPECT_TRUE(shows(999));
  view.verticalScrollBar()->setValue(10);
  view.resize(400, 300);
  EXPECT_EQ(scrolled(), 10);
}

TEST_F(LogViewTest, HiddenViewIsAtItsEndWhenItIsShown) {
  LogView later;
  later.setLines(lines(0, 1000));
  later.scrollDocumentViewToPoint(0, later.documentViewFrameHeight() - later.contentViewBoundsHeight());
  later.resize(300, 200);
  later.show();
  QCoreApplication::processEvents();
  EXPECT_EQ(later.verticalScrollBar()->value(), later.verticalScrollBar()->maximum());
  EXPECT_GT(later.verticalScrollBar()->value(), 900);
}

TEST_F(LogViewTest, SelectedLinesAreCopiedFromTheTop) {
  view.setLines(lines(0, 100));
  selectRows(7, 8);
  view.selectionModel()->select(row(3), QItemSelectionModel::Select);
  QTest::keyClick(&view, Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(clipboard(), "line 3\nline 7\nline 8");
}

TEST_F(LogViewTest, CopyingWithoutASelectionLeavesTheClipboard) {
  QApplication::clipboard()->setText(QStringLiteral("mine"));
  view.setLines(lines(0, 5));
  QTest::keyClick(&view, Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(clipboard(), "mine");
}

TEST_F(LogViewTest, AllOfALongLogIsSelectedAndCopied) {
  view.setLines(lines(0, 100'000));
  QTest::keyClick(&view, Qt::Key_A, Qt::ControlModifier);
  view.copySelection();
  EXPECT_TRUE(clipboard().startsWith("line 0\nline 1\n"));
  EXPECT_TRUE(clipboard().endsWith("\nline 99999"));
}

TEST_F(LogViewTest, SelectionOutlivesWhatIsAppendedAndDropped) {
  view.setLines(lines(0, 1000));
  selectRows(40, 41);
  view.setLines(lines(30, 1100));
  view.copySelection();
  EXPECT_EQ(clipboard(), "line 40\nline 41");
}

TEST_F(LogViewTest, KeysGoToTheFirstAndTheLastLineAndAcross) {
  view.setLines(std::make_shared<const Array>(Array{"first", std::string(300, 'x'), "third"}));
  QTest::keyClick(&view, Qt::Key_End);
  EXPECT_EQ(view.currentIndex().row(), 2);
  QTest::keyClick(&view, Qt::Key_Home);
  EXPECT_EQ(view.currentIndex().row(), 0);
  QTest::keyClick(&view, Qt::Key_Right);
  const int across = view.horizontalScrollBar()->value();
  EXPECT_GT(across, 0);
  QTest::keyClick(&view, Qt::Key_Down);
  EXPECT_EQ(view.horizontalScrollBar()->value(), across);
  QTest::keyClick(&view, Qt::Key_Left);
  EXPECT_EQ(view.horizontalScrollBar()->value(), 0);
}

TEST_F(LogViewTest, LongestLineIsReachedByScrollingAcross) {
  view.setLines(lines(0, 100));
  EXPECT_EQ(view.horizontalScrollBar()->maximum(), 0);
  const QString longLine(2000, u'W');
  view.setLines(std::make_shared<const Array>(Array{longLine.toStdString()}));
  QCoreApplication::processEvents();
  const int reached = view.horizontalScrollBar()->maximum() + view.viewport()->width();
  EXPECT_GE(reached, view.fontMetrics().horizontalAdvance(longLine));
  view.setLines(lines(0, 5));
  QCoreApplication::processEvents();
  EXPECT_EQ(view.horizontalScrollBar()->maximum(), 0);
}

TEST_F(LogViewTest, MegabyteLineIsNoWiderThanItsCut) {
  view.setLines(std::make_shared<const Array>(Array{std::string(1'000'000, 'x')}));
  QCoreApplication::processEvents();
  EXPECT_LE(view.columnWidth(0), 3 * kLogLineLimit * view.fontMetrics().horizontalAdvance(u'M'));
}

TEST_F(LogViewTest, TabLeavesIt) {
  QWidget window;
  LogView first(&window);
  LogView second(&window);
  first.setLines(lines(0, 10));
  window.show();
  window.activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
  first.setFocus();
  QTest::keyClick(&first, Qt::Key_Tab);
  EXPECT_TRUE(second.hasFocus());
}

TEST_F(LogViewTest, LinesRunFromLeftToRightInAnyLayout) {
  QWidget window;
  window.setLayoutDirection(Qt::RightToLeft);
  LogView log(&window);
  EXPECT_EQ(log.layoutDirection(), Qt::LeftToRight);
}

TEST_F(LogViewTest, AssistiveTechnologyReadsItsLines) {
  view.setLines(lines(0, 1000));
  QAccessibleInterface* table = QAccessible::queryAccessibleInterface(&view);
  ASSERT_NE(table, nullptr);
  ASSERT_NE(table->tableInterface(), nullptr);
  EXPECT_EQ(table->tableInterface()->rowCount(), 1000);
  QAccessibleInterface* line = table->tableInterface()->cellAt(7, 0);
  ASSERT_NE(line, nullptr);
  EXPECT_EQ(line->text(QAccessible::Name), "line 7");
}

TEST_F(LogViewTest, OnlyALogWithoutLinesSaysWhatItIsFor) {
  const auto described = [this] { return view.accessibleDescription().toStdString(); };
  EXPECT_EQ(described(), "The log of a backup is shown here while it runs.");
  view.setLines(lines(0, 3));
  EXPECT_EQ(described(), "");
  view.setLines(nullptr);
  EXPECT_EQ(described(), "The log of a backup is shown here while it runs.");
}

// Counts paints and the rows that they draw.
class PaintCount final : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;
  void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
    ++rows;
    QStyledItemDelegate::paint(painter, option, index);
  }
  mutable int rows = 0;
};

TEST_F(LogViewTest, ThousandRecordsInOneTurnArePaintedOnce) {
  PaintCount painted;
  view.setItemDelegate(&painted);
  view.setLines(lines(0, 1000));
  scrollToItsEnd();
  QCoreApplication::processEvents();
  painted.rows = 0;
  for (int i = 0; i < 1000; ++i) {
    view.setLines(lines(0, 1000 + i));
    scrollToItsEnd();
  }
  EXPECT_EQ(painted.rows, 0);
  QCoreApplication::processEvents();
  EXPECT_GT(painted.rows, 0);
  EXPECT_LE(painted.rows, 2 * (view.contentViewBoundsHeight() + 1));
  EXPECT_TRUE(shows(1998));
}

}  // namespace
}  // namespace zpk
