#include "interface/DisplayText.h"

#include <gtest/gtest.h>

#include <QGuiApplication>

namespace zpk {
namespace {

std::string shown(std::string_view text) {
  return displayText(text).toStdString();
}

TEST(DisplayText, LeavesOrdinaryTextInAnyScript) {
  EXPECT_EQ(shown("Büro – 会社 \U0001F4BE"), "Büro – 会社 \U0001F4BE");
}

TEST(DisplayText, ShowsControlAndDirectionCharactersAsSymbols) {
  EXPECT_EQ(shown("a\nb\tc"), "a\u240Ab\u2409c");
  EXPECT_EQ(shown(std::string_view("\0\x7F", 2)), "\u2400\u2421");
  EXPECT_EQ(shown("a\u202Eb\u2066c\u200Fd\uFEFF\u2028\u0085"), "a\u2426b\u2426c\u2426d\u2426\u2426\u2426");
}

TEST(DisplayText, CutsLongTextWithAnEllipsisAndNeverWithinACharacter) {
  EXPECT_EQ(displayText(std::string(100'000, 'x')).size(), kLabelTextLimit);
  EXPECT_TRUE(displayText(std::string(257, 'x')).endsWith(QChar(0x2026)));
  EXPECT_EQ(displayText(std::string(256, 'x')), QString(256, u'x'));
  std::string disks;
  for (int i = 0; i < 300; ++i) disks += "\U0001F4BE";
  const QString text = displayText(disks);
  EXPECT_TRUE(text.isValidUtf16());
  EXPECT_LE(text.size(), kLabelTextLimit);
}

TEST(DisplayText, TurnsBytesThatAreNoTextIntoReplacementCharacters) {
  EXPECT_EQ(shown("a\xFF"), "a\uFFFD");
}

TEST(DisplayText, ParagraphsKeepTheirLineEnds) {
  EXPECT_EQ(displayParagraph("a\nb\rc", 100).toStdString(), "a\nb\u240Dc");
}

TEST(DisplayText, TextOfBothDirectionsKeepsItsOwnOrder) {
  EXPECT_EQ(shown("/backups"), "/backups");
  EXPECT_EQ(shown("דיסק 1"), "\u2068דיסק 1\u2069");
  EXPECT_EQ(shown("פנוי: 737 GB"), "\u2068פנוי: \u2068737 GB\u2069\u2069");
  QGuiApplication::setLayoutDirection(Qt::RightToLeft);
  EXPECT_EQ(shown("/backups"), "\u2068/backups\u2069");
  EXPECT_EQ(shown(""), "");
  EXPECT_EQ(isolated("47 GB").toStdString(), "\u206847 GB\u2069");
  EXPECT_EQ(displayParagraph("a\n\nb", 100).toStdString(), "\u2068a\u2069\n\n\u2068b\u2069");
  QGuiApplication::setLayoutDirection(Qt::LeftToRight);
}

TEST(DisplayText, TextTakesItsPlaceFromTheWindowAndNotFromItsFirstLetter) {
  const QString two = QStringLiteral("\u2068one\u2069\ntwo");
  EXPECT_EQ(placedText(two, Qt::LeftToRight), two);
  for (const QString& line : placedText(two, Qt::RightToLeft).split(u'\n')) EXPECT_TRUE(line.isRightToLeft());
  EXPECT_EQ(placedText({}, Qt::RightToLeft), QString());
}

TEST(DisplayText, PlaceholdersAreFilledOnceWhateverTheTextsSay) {
  EXPECT_EQ(filledText("OLD and NEW", {{"NEW", "OLD"}, {"OLD", "NEW"}}), "NEW and OLD");
  EXPECT_EQ(filledText("NAME, NAME", {{"NAME", "x"}}), "x, x");
  EXPECT_EQ(filledText("", {{"NAME", "x"}}), "");
}

TEST(DisplayText, LongWordsGetPlacesToBreakAndShortOnesNone) {
  EXPECT_EQ(withBreaks("short words only"), QString("short words only"));
  const QString word = withBreaks(QString(100, u'x'));
  EXPECT_EQ(word.count(QChar(0x200B)), 3);
  EXPECT_EQ(QString(word).remove(QChar(0x200B)), QString(100, u'x'));
}

}  // namespace
}  // namespace zpk
