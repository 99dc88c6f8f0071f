// The transformer in the zones of the world: the picker's clock must show what is stored.
#include <gtest/gtest.h>

#include <QDateTime>
#include <QTime>
#include <QTimeZone>

#include "platform/qt/QtTimeZone.h"
#include "schedule/ZPKUTCTimeTransformer.h"

namespace zpk {
namespace {

constexpr int kDay = 24 * 60 * 60;

class TransformerIn {
 public:
  explicit TransformerIn(const char* name) : _name(name), _zone(_name), _adapter(_zone), _transformer(_adapter) {}

  double shown(double stored) const { return _transformer.transformedValue(Date{stored}).date()->secondsSince1970; }
  double stored(double shown) const {
    return _transformer.reverseTransformedValue(Date{shown}).date()->secondsSince1970;
  }
  // Hour and minute that a picker in the zone shows for it, in seconds since midnight.
  int clock(double date) const {
    return QDateTime::fromSecsSinceEpoch(static_cast<qint64>(date), _zone).time().msecsSinceStartOfDay() / 1000;
  }
  // The moment at which the zone's clock shows that.
  double moment(int year, int month, int day, int hour, int minute) const {
    return static_cast<double>(QDateTime(QDate(year, month, day), QTime(hour, minute), _zone).toSecsSinceEpoch());
  }

 private:
  QByteArray _name;
  QTimeZone _zone;
  QtTimeZone _adapter;
  ZPKUTCTimeTransformer _transformer;
};

// `year-month-day hour:minute` of a clock, as it is stored: read as if it were GMT.
double asGMT(int year, int month, int day, int hour, int minute) {
  return static_cast<double>(QDateTime(QDate(year, month, day), QTime(hour, minute), Qt::UTC).toSecsSinceEpoch());
}

class UTCTimeTransformerIn : public testing::TestWithParam<const char*> {};

TEST_P(UTCTimeTransformerIn, ThePickerShowsEveryStoredMinuteAndGivesItBack) {
  const TransformerIn zone(GetParam());
  for (int time = 0; time < kDay; time += 60) {
    const double shown = zone.shown(time);
    ASSERT_EQ(zone.clock(shown), time) << time / 60;
    ASSERT_EQ(zone.stored(shown), time) << time / 60;
  }
}

// The last was 44 minutes and 30 seconds behind GMT then.
INSTANTIATE_TEST_SUITE_P(Zones, UTCTimeTransformerIn,
                         testing::Values("UTC", "Europe/Berlin", "America/New_York", "Asia/Kolkata",
                                         "Australia/Lord_Howe", "Pacific/Kiritimati", "Pacific/Pago_Pago",
                                         "Asia/Kathmandu", "Africa/Monrovia"),
                         [](const auto& zone) {
                           std::string name = zone.param;
                           std::replace(name.begin(), name.end(), '/', '_');
                           return name;
                         });

TEST(UTCTimeTransformerInZones, GoesByTheOffsetThatWasInForce) {
  EXPECT_EQ(TransformerIn("Europe/Berlin").shown(34200), 34200 - 3600);
  EXPECT_EQ(TransformerIn("America/New_York").shown(34200), 34200 + 5 * 3600);
  EXPECT_EQ(TransformerIn("Asia/Kolkata").shown(34200), 34200 - 19800);
  // Ten hours in 1970, ten and a half now, eleven in summer: a summer time of half an hour.
  const TransformerIn lordHowe("Australia/Lord_Howe");
  EXPECT_EQ(lordHowe.shown(34200), 34200 - 36000);
  EXPECT_EQ(asGMT(2026, 7, 1, 9, 30) - lordHowe.shown(asGMT(2026, 7, 1, 9, 30)), 37800);
  EXPECT_EQ(asGMT(2026, 1, 1, 9, 30) - lordHowe.shown(asGMT(2026, 1, 1, 9, 30)), 39600);
}

TEST(UTCTimeTransformerInZones, CountsSummerTimeAtTheDateGivenAndNotNow) {
  struct Season {
    const char* zone;
    int month;
    int offset;
  };
  for (const Season& season : {Season{"Europe/Berlin", 1, 3600}, Season{"Europe/Berlin", 7, 7200},
                               Season{"America/New_York", 1, -18000}, Season{"America/New_York", 7, -14400},
                               Season{"Asia/Kolkata", 1, 19800}, Season{"Asia/Kolkata", 7, 19800}}) {
    const TransformerIn zone(season.zone);
    const double shown = zone.moment(2026, season.month, 15, 9, 30);
    EXPECT_EQ(zone.stored(shown), asGMT(2026, season.month, 15, 9, 30)) << season.zone;
    EXPECT_EQ(zone.stored(shown) - shown, season.offset) << season.zone;
    EXPECT_EQ(zone.shown(asGMT(2026, season.month, 15, 9, 30)), shown) << season.zone;
  }
}

TEST(UTCTimeTransformerInZones, StoresWhatTheClockShowsOnTheDayOfAChange) {
  // Both sides of the gap in spring and of the hour that comes twice in autumn.
  const TransformerIn berlin("Europe/Berlin");
  const double spring = asGMT(2026, 3, 29, 1, 0);
  EXPECT_EQ(berlin.stored(spring - 60), asGMT(2026, 3, 29, 1, 59));
  EXPECT_EQ(berlin.stored(spring), asGMT(2026, 3, 29, 3, 0));
  const double autumn = asGMT(2026, 10, 25, 1, 0);
  EXPECT_EQ(berlin.stored(autumn - 60), asGMT(2026, 10, 25, 2, 59));
  EXPECT_EQ(berlin.stored(autumn), asGMT(2026, 10, 25, 2, 0));
}

}  // namespace
}  // namespace zpk
