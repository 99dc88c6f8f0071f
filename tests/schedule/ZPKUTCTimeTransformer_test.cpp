#include "schedule/ZPKUTCTimeTransformer.h"

#include <gtest/gtest.h>

#include <cmath>

namespace zpk {
namespace {

// Two hours ahead of GMT until the second day, three hours from then on.
class ChangingZone final : public TimeZone {
 public:
  std::int32_t secondsFromGMTForDate(const Date& date) const override {
    return date.secondsSince1970 < 86400 ? 7200 : 10800;
  }
};

class UTCTimeTransformer : public testing::Test {
 protected:
  ChangingZone zone;
  const ZPKUTCTimeTransformer transformer{zone};
};

TEST_F(UTCTimeTransformer, TurnsDatesIntoDatesAndBack) {
  EXPECT_TRUE(transformer.allowsReverseTransformation());
  EXPECT_EQ(transformer.transformedValueClass(), ValueTransformer::ValueClass::Date);
}

TEST_F(UTCTimeTransformer, ShowsTheStoredTimeOnTheLocalClock) {
  EXPECT_EQ(transformer.transformedValue(Date{34200}), Date{27000});
  EXPECT_EQ(transformer.transformedValue(Date{0}), Date{-7200});
}

TEST_F(UTCTimeTransformer, StoresWhatTheLocalClockShows) {
  EXPECT_EQ(transformer.reverseTransformedValue(Date{28800}), Date{36000});
}

TEST_F(UTCTimeTransformer, GoesByTheOffsetAtTheDateGiven) {
  EXPECT_EQ(transformer.transformedValue(Date{86399}), Date{79199});
  EXPECT_EQ(transformer.transformedValue(Date{86400}), Date{75600});
  EXPECT_EQ(transformer.reverseTransformedValue(Date{86399}), Date{93599});
  EXPECT_EQ(transformer.reverseTransformedValue(Date{86400}), Date{97200});
}

TEST_F(UTCTimeTransformer, KeepsTheFractionOfASecond) {
  EXPECT_EQ(transformer.transformedValue(Date{34200.25}), Date{27000.25});
}

TEST_F(UTCTimeTransformer, GivesNothingForWhatIsNoDate) {
  for (const Value& value : {Value(), Value(34200), Value("9:30")}) {
    EXPECT_TRUE(transformer.transformedValue(value).isNull());
    EXPECT_TRUE(transformer.reverseTransformedValue(value).isNull());
  }
}

}  // namespace
}  // namespace zpk
