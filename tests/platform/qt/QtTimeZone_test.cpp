#include "platform/qt/QtTimeZone.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include <limits>

namespace zpk {
namespace {

// 2026-01-15 and 2026-07-15, 12:00:00 UTC.
constexpr Date kWinter{1768478400};
constexpr Date kSummer{1784116800};

std::int32_t offset(const char* zone, const Date& date) {
  return QtTimeZone(QTimeZone(zone)).secondsFromGMTForDate(date);
}

TEST(QtTimeZone, CountsSummerTimeAsOfTheDate) {
  EXPECT_EQ(offset("Europe/Berlin", kWinter), 3600);
  EXPECT_EQ(offset("Europe/Berlin", kSummer), 7200);
  EXPECT_EQ(offset("America/New_York", kWinter), -18000);
  EXPECT_EQ(offset("America/New_York", kSummer), -14400);
  EXPECT_EQ(offset("Asia/Kolkata", kWinter), 19800);
  EXPECT_EQ(offset("Asia/Kolkata", kSummer), 19800);
  EXPECT_EQ(offset("Australia/Lord_Howe", kWinter), 39600);
  EXPECT_EQ(offset("Australia/Lord_Howe", kSummer), 37800);
}

TEST(QtTimeZone, ChangesAtTheVerySecond) {
  // 2026-03-29 01:00:00 UTC.
  EXPECT_EQ(offset("Europe/Berlin", {1774745999.999}), 3600);
  EXPECT_EQ(offset("Europe/Berlin", {1774746000}), 7200);
}

TEST(QtTimeZone, KnowsWhatWasInForceInThePast) {
  EXPECT_EQ(offset("Europe/London", {0}), 3600) << "all year round then";
  EXPECT_EQ(offset("Africa/Monrovia", {0}), -2670) << "not a whole minute";
  EXPECT_EQ(offset("Australia/Lord_Howe", {0}), 36000);
  EXPECT_EQ(offset("America/New_York", {-0.5}), -18000);
}

TEST(QtTimeZone, OfTheSystemIsTheSystemsAlsoWhenThatChanges) {
  const QtTimeZone zone;
  const QByteArray before = qgetenv("TZ");
  qputenv("TZ", "Asia/Kolkata");
  ::tzset();
  EXPECT_EQ(zone.secondsFromGMTForDate(kSummer), 19800);
  EXPECT_EQ(zone.secondsFromGMTForDate({0}), 19800);
  qputenv("TZ", "America/New_York");
  ::tzset();
  EXPECT_EQ(zone.secondsFromGMTForDate(kSummer), -14400);
  EXPECT_EQ(zone.secondsFromGMTForDate(kWinter), -18000);
  before.isNull() ? qunsetenv("TZ") : qputenv("TZ", before);
  ::tzset();
}

TEST(QtTimeZone, HasNoOffsetForADateBeyondAnyCalendar) {
  using Limits = std::numeric_limits<double>;
  for (const double seconds : {Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN(), 1e300, -1e18}) {
    EXPECT_EQ(offset("Europe/Berlin", {seconds}), 0) << seconds;
  }
}

}  // namespace
}  // namespace zpk
