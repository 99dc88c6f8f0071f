#include "interface/IncrementCountField.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QHBoxLayout>
#include <QtTest/QTest>
#include <memory>
#include <vector>

#include "platform/qt/QtNumberFormat.h"

namespace zpk {
namespace {

class CountField : public testing::Test {
 protected:
  CountField() {
    auto* row = new QHBoxLayout(&window);
    row->addWidget(&field);
    row->addWidget(&other);
    QObject::connect(&field, &IncrementCountField::countCommitted,
                     [this](quint64 count) { sent.push_back(count); });
    field.setCount(10);
    window.show();
    window.activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
    field.setFocus();
    field.selectAll();
  }
  ~CountField() override {
    field.setParent(nullptr);
    other.setParent(nullptr);
  }

  void type(const char* keys) { QTest::keyClicks(&field, QString::fromUtf8(keys)); }
  void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QTest::keyClick(&field, key, modifiers);
  }
  void paste(const char* text) {
    QApplication::clipboard()->setText(QString::fromUtf8(text));
    press(Qt::Key_V, Qt::ControlModifier);
  }
  std::string text() const { return field.text().toStdString(); }

  QWidget window;
  IncrementCountField field{
      ZPKMaxIncCountFormatter(std::make_shared<QtNumberFormat>(QLocale(QLocale::English, QLocale::UnitedStates)))};
  QLineEdit other;
  std::vector<quint64> sent;
};

TEST_F(CountField, TypingZeroLeavesOne) {
  type("0");
  EXPECT_EQ(text(), "1");
}

TEST_F(CountField, TypingTooManyLeavesAHundred) {
  type("250");
  EXPECT_EQ(text(), "100");
  press(Qt::Key_Return);
  EXPECT_EQ(sent, std::vector<quint64>{100});
}

TEST_F(CountField, NumberInRangeIsTakenAsItIs) {
  type("42");
  EXPECT_EQ(text(), "42");
  EXPECT_TRUE(sent.empty());
  press(Qt::Key_Return);
  EXPECT_EQ(sent, std::vector<quint64>{42});
  EXPECT_EQ(text(), "42");
}

TEST_F(CountField, AHundredIsTakenAndOneMoreBecomesIt) {
  type("100");
  EXPECT_EQ(text(), "100");
  field.selectAll();
  paste("101");
  EXPECT_EQ(text(), "100");
}

TEST_F(CountField, LettersAndSpacesAreDropped) {
  type("12x");
  EXPECT_EQ(text(), "12");
  type(" -");
  EXPECT_EQ(text(), "12");
  press(Qt::Key_Home);
  type("e");
  EXPECT_EQ(text(), "12");
}

TEST_F(CountField, LetterOverASelectionLeavesTheSelectedText) {
  type("x");
  EXPECT_EQ(text(), "10");
}

TEST_F(CountField, PastedNumberWithSeparatorsBecomesAHundred) {
  paste("1,000");
  EXPECT_EQ(text(), "100");
}

TEST_F(CountField, PastedNegativeNumberBecomesAHundred) {
  paste("-5");
  EXPECT_EQ(text(), "100");
}

TEST_F(CountField, PastedWordsAreDropped) {
  paste("a few");
  EXPECT_EQ(text(), "10");
  paste(std::string(1 << 20, '1').c_str());
  EXPECT_EQ(text(), "10");
}

TEST_F(CountField, EmptiedFieldStaysEmptyAndCommitsOne) {
  press(Qt::Key_Delete);
  EXPECT_EQ(text(), "");
  EXPECT_TRUE(sent.empty());
  press(Qt::Key_Return);
  EXPECT_EQ(text(), "1");
  EXPECT_EQ(sent, std::vector<quint64>{1});
}

TEST_F(CountField, LeavingTheFieldCommitsOnce) {
  type("7");
  press(Qt::Key_Return);
  press(Qt::Key_Tab);
  EXPECT_TRUE(other.hasFocus());
  field.setFocus();
  field.selectAll();
  type("8");
  other.setFocus();
  EXPECT_EQ(sent, (std::vector<quint64>{7, 8}));
}

TEST_F(CountField, NumberThatIsNoOtherIsNotCommitted) {
  press(Qt::Key_Return);
  field.selectAll();
  type("10");
  press(Qt::Key_Return);
  EXPECT_TRUE(sent.empty());
}

TEST_F(CountField, FractionIsCutOffWhenCommitted) {
  type("5.7");
  EXPECT_EQ(text(), "5.7");
  press(Qt::Key_Return);
  EXPECT_EQ(text(), "5");
  EXPECT_EQ(sent, std::vector<quint64>{5});
}

TEST_F(CountField, RecordThatArrivesWhileTypingLeavesWhatIsTyped) {
  type("4");
  field.setCount(33);
  EXPECT_EQ(text(), "4");
  type("2");
  press(Qt::Key_Return);
  EXPECT_EQ(text(), "42");
  EXPECT_EQ(sent, std::vector<quint64>{42});
  field.setCount(33);
  EXPECT_EQ(text(), "33");
}

TEST_F(CountField, RecordThatArrivesBeforeTypingIsShown) {
  field.setCount(33);
  EXPECT_EQ(text(), "33");
}

TEST_F(CountField, EscapeGoesBackToTheNewestRecord) {
  type("4");
  field.setCount(33);
  press(Qt::Key_Escape);
  EXPECT_EQ(text(), "33");
  press(Qt::Key_Return);
  EXPECT_TRUE(sent.empty());
}

TEST_F(CountField, CountBeyondTheRangeIsShownAsItIs) {
  for (const auto& [count, shown] : {std::pair{quint64{0}, "0"}, std::pair{quint64{250}, "250"},
                                     std::pair{~quint64{0}, "18,446,744,073,709,551,615"}}) {
    field.setCount(count);
    EXPECT_EQ(text(), shown);
  }
  press(Qt::Key_Return);
  EXPECT_TRUE(sent.empty());
}

TEST_F(CountField, ArrowsStepByOneWithinTheLimits) {
  press(Qt::Key_Up);
  EXPECT_EQ(text(), "11");
  press(Qt::Key_Down);
  press(Qt::Key_Down);
  EXPECT_EQ(text(), "9");
  EXPECT_TRUE(sent.empty());
  type("100");
  press(Qt::Key_Up);
  EXPECT_EQ(text(), "100");
  type("1");
  press(Qt::Key_Down);
  EXPECT_EQ(text(), "1");
  press(Qt::Key_Delete);
  press(Qt::Key_Up);
  EXPECT_EQ(text(), "1");
  press(Qt::Key_Return);
  EXPECT_EQ(sent, std::vector<quint64>{1});
}

TEST_F(CountField, IsNoWiderThanItsNumbersNeed) {
  EXPECT_LT(field.sizeHint().width(), other.sizeHint().width());
  EXPECT_GT(field.sizeHint().width(), field.fontMetrics().horizontalAdvance("100"));
}

TEST(CountFieldOfAnInterfaceFile, HasTheDigitsOfItsLocale) {
  QWidget window;
  window.setLocale(QLocale(QLocale::Arabic, QLocale::Egypt));
  IncrementCountField field(&window);
  field.setCount(42);
  EXPECT_EQ(field.text().toStdString(), "٤٢");
  field.selectAll();
  field.insert("٢٥٠");
  EXPECT_EQ(field.text().toStdString(), "100");
}

}  // namespace
}  // namespace zpk
