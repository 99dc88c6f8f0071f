#include "platform/qt/QtDateFormatter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <QDate>
#include <cmath>
#include <limits>

#include "platform/qt/QtText.h"

namespace zpk {
namespace {

// 2026-11-21 14:05:09.75 UTC, a Saturday.
constexpr Date kMoment{1795269909.75};

std::string text(DateStyle date, DateStyle time, const QLocale& locale, const QTimeZone& zone = QTimeZone::utc()) {
  return QtDateFormatter(date, time, locale, zone).stringFromDate(kMoment);
}

TEST(QtDateFormatter, ShowsAsMuchAsItsStylesSay) {
  const QLocale american(QLocale::English, QLocale::UnitedStates);
  EXPECT_EQ(text(DateStyle::brief, DateStyle::none, american), "11/21/26");
  EXPECT_EQ(text(DateStyle::medium, DateStyle::none, american), "Nov 21, 2026");
  EXPECT_EQ(text(DateStyle::full, DateStyle::none, american), "November 21, 2026");
  EXPECT_EQ(text(DateStyle::none, DateStyle::brief, american), "2:05 PM");
  EXPECT_EQ(text(DateStyle::none, DateStyle::medium, american), "2:05:09 PM");
  EXPECT_EQ(text(DateStyle::none, DateStyle::full, american), "2:05:09 PM UTC");
  EXPECT_EQ(text(DateStyle::medium, DateStyle::brief, american), "Nov 21, 2026 2:05 PM");
  EXPECT_EQ(text(DateStyle::none, DateStyle::none, american), "");
}

TEST(QtDateFormatter, FollowsTheLocalesOrderAndWords) {
  EXPECT_EQ(text(DateStyle::medium, DateStyle::brief, QLocale(QLocale::German)), "21. Nov. 2026 14:05");
  EXPECT_EQ(text(DateStyle::full, DateStyle::none, QLocale(QLocale::French)), "21 novembre 2026");
  EXPECT_EQ(text(DateStyle::full, DateStyle::none, QLocale(QLocale::Japanese)), "2026年11月21日");
  EXPECT_EQ(text(DateStyle::medium, DateStyle::brief, QLocale::c()), "21 Nov 2026 14:05:09");
}

TEST(QtDateFormatter, NamesDayMonthAndYearAndNoWeekdayInEveryLocale) {
  for (const QLocale& locale :
       QLocale::matchingLocales(QLocale::AnyLanguage, QLocale::AnyScript, QLocale::AnyCountry)) {
    for (const DateStyle style : {DateStyle::medium, DateStyle::full}) {
      const std::string shown = text(style, DateStyle::none, locale);
      const QString weekday = locale.dayName(6, QLocale::LongFormat);
      EXPECT_NE(shown.find(plainText(locale.toString(21))), std::string::npos) << plainText(locale.name()) << shown;
      EXPECT_FALSE(qtText(shown).contains(weekday)) << plainText(locale.name()) << " " << shown;
      EXPECT_EQ(qtText(shown), qtText(shown).trimmed()) << plainText(locale.name());
      EXPECT_EQ(qtText(shown).count(u'('), qtText(shown).count(u')')) << plainText(locale.name()) << " " << shown;
    }
  }
}

TEST(QtDateFormatter, ShowsTheTimeOfItsZone) {
  const QLocale german(QLocale::German);
  EXPECT_EQ(text(DateStyle::brief, DateStyle::brief, german, QTimeZone("Asia/Tokyo")), "21.11.26 23:05");
  EXPECT_EQ(text(DateStyle::brief, DateStyle::brief, german, QTimeZone("Pacific/Auckland")), "22.11.26 03:05");
}

TEST(QtDateFormatter, FollowsTheSystemsZoneAlsoWhenItChanges) {
  const QtDateFormatter formatter(DateStyle::none, DateStyle::brief, QLocale(QLocale::German));
  const QByteArray before = qgetenv("TZ");
  qputenv("TZ", "Asia/Tokyo");
  ::tzset();
  EXPECT_EQ(formatter.stringFromDate(kMoment), "23:05");
  qputenv("TZ", "UTC");
  ::tzset();
  EXPECT_EQ(formatter.stringFromDate(kMoment), "14:05");
  before.isNull() ? qunsetenv("TZ") : qputenv("TZ", before);
  ::tzset();
}

TEST(QtDateFormatter, ShowsTheTimeOfTheClockThatItIsSetTo) {
  QtDateFormatter formatter(DateStyle::none, DateStyle::brief, QLocale(QLocale::German), QTimeZone("Asia/Tokyo"));
  formatter.setTimeZoneForSecondsFromGMT(0);
  EXPECT_EQ(formatter.stringFromDate({34200}), "09:30");
  formatter.setTimeZoneForSecondsFromGMT(-2670);
  EXPECT_EQ(formatter.stringFromDate({34200}), "08:45");
  formatter.setTimeZoneForSecondsFromGMT(19800);
  EXPECT_EQ(formatter.stringFromDate({34200}), "15:00");
  formatter.setTimeZoneForSecondsFromGMT(std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(formatter.stringFromDate({34200}), "15:00") << "no clock is that far ahead";
}

TEST(QtDateFormatter, NamesTheWeekdaysInFullSundayFirstInEveryLocale) {
  using testing::ElementsAre;
  const auto names = [](const QLocale& locale) {
    return QtDateFormatter(DateStyle::none, DateStyle::none, locale).standaloneWeekdaySymbols();
  };
  EXPECT_THAT(names(QLocale(QLocale::English, QLocale::UnitedStates)),
              ElementsAre("Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"));
  EXPECT_THAT(names(QLocale(QLocale::German)),
              ElementsAre("Sonntag", "Montag", "Dienstag", "Mittwoch", "Donnerstag", "Freitag", "Samstag"));
  EXPECT_EQ(names(QLocale(QLocale::Hebrew)).front(), "יום ראשון");
  // As they stand alone, not as within a date.
  EXPECT_EQ(names(QLocale(QLocale::Finnish)).at(1), "maanantai");
}

TEST(QtDateFormatter, ShowsDatesBefore1970) {
  const QtDateFormatter formatter(DateStyle::full, DateStyle::medium, QLocale(QLocale::German), QTimeZone::utc());
  EXPECT_EQ(formatter.stringFromDate({-0.5}), "31. Dezember 1969 23:59:59");
}

TEST(QtDateFormatter, ADateBeyondAnyCalendarIsAnEmptyText) {
  const QtDateFormatter formatter(DateStyle::full, DateStyle::full, QLocale::c(), QTimeZone::utc());
  using Limits = std::numeric_limits<double>;
  for (const double seconds : {Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN(), 1e300, -1e18, 5e12}) {
    EXPECT_EQ(formatter.stringFromDate({seconds}), "") << seconds;
  }
  EXPECT_NE(formatter.stringFromDate({1e11}), "");
}

}  // namespace
}  // namespace zpk
