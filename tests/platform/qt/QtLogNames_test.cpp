#include "platform/qt/QtLogNames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QTimeZone>

namespace zpk {
namespace {

using testing::MatchesRegex;

// In Tokyo, whose day is ahead of that of Greenwich.
QDateTime moment() {
  return {QDate(2026, 3, 6), QTime(2, 7, 9), QTimeZone("Asia/Tokyo")};
}

TEST(LogTimeStamp, IsTheClocksWithTwoDigitsEachHoursOfTheDayTwentyFour) {
  EXPECT_EQ(logTimeStamp(moment(), QLocale(QLocale::English)), "2026-03-06-02-07-09");
  const QDateTime evening(QDate(2026, 12, 31), QTime(23, 59, 58), QTimeZone::utc());
  EXPECT_EQ(logTimeStamp(evening, QLocale(QLocale::German)), "2026-12-31-23-59-58");
}

TEST(LogTimeStamp, HasTheLocalesDigits) {
  EXPECT_EQ(logTimeStamp(moment(), QLocale(QLocale::Arabic, QLocale::Egypt)), "٢٠٢٦-٠٣-٠٦-٠٢-٠٧-٠٩");
}

TEST(LogTimeStamp, IsNowsWhenNothingElseIsSaid) {
  const QString before = QLocale().toString(QDateTime::currentDateTime(), QStringLiteral("yyyy-MM-dd-HH-mm-ss"));
  const QString stamp = QString::fromStdString(logTimeStamp());
  const QString after = QLocale().toString(QDateTime::currentDateTime(), QStringLiteral("yyyy-MM-dd-HH-mm-ss"));
  EXPECT_LE(before, stamp);
  EXPECT_LE(stamp, after);
}

TEST(DateDescription, IsGreenwichsInPlainDigitsWhateverTheLocale) {
  const QLocale before;
  QLocale::setDefault(QLocale(QLocale::Arabic, QLocale::Egypt));
  EXPECT_EQ(dateDescription(moment()), "2026-03-05 17:07:09 +0000");
  EXPECT_THAT(dateDescription(), MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2} \\+0000"));
  QLocale::setDefault(before);
}

TEST(RandomUUID, IsALowerCaseOneOfVersionFourAndNeverTheSame) {
  const std::string first = randomUUID();
  EXPECT_THAT(first, MatchesRegex("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}"));
  EXPECT_NE(first, randomUUID());
}

}  // namespace
}  // namespace zpk
