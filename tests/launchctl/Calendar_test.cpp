#include "tools/launchctl/Calendar.h"

#include <gtest/gtest.h>

#include <limits>

namespace zpk {
namespace {

std::vector<std::string> expressions(const Value& value) {
  const auto intervals = calendarIntervals(value);
  if (!intervals) return {intervals.error().reason};
  std::vector<std::string> all;
  for (const auto& interval : *intervals) {
    for (const auto& expression : calendarExpressions(interval)) all.push_back(expression);
  }
  return all;
}

std::vector<std::string> expressionsOf(std::initializer_list<Dictionary::Entry> entries) {
  return expressions(Value(Dictionary(entries)));
}

using Lines = std::vector<std::string>;

TEST(Calendar, TheThreeKindsOfTheScheduleEditor) {
  EXPECT_EQ(expressionsOf({{"Minute", 30}, {"Hour", 9}}), Lines{"*-*-* 09:30:00"});
  EXPECT_EQ(expressionsOf({{"Minute", 0}, {"Hour", 12}, {"Weekday", 3}}), Lines{"Wed *-*-* 12:00:00"});
  EXPECT_EQ(expressionsOf({{"Minute", 59}, {"Hour", 23}, {"Day", 31}}), Lines{"*-*-31 23:59:00"});
}

TEST(Calendar, SundayIsBothZeroAndSeven) {
  EXPECT_EQ(expressionsOf({{"Minute", 0}, {"Hour", 1}, {"Weekday", 0}}), Lines{"Sun *-*-* 01:00:00"});
  EXPECT_EQ(expressionsOf({{"Minute", 0}, {"Hour", 1}, {"Weekday", 7}}), Lines{"Sun *-*-* 01:00:00"});
}

TEST(Calendar, WhatIsNotThereIsAny) {
  EXPECT_EQ(expressionsOf({{"Minute", 5}}), Lines{"*-*-* *:05:00"});
  EXPECT_EQ(expressionsOf({{"Hour", 5}}), Lines{"*-*-* 05:*:00"});
  EXPECT_EQ(expressionsOf({{"Month", 2}, {"Day", 29}}), Lines{"*-02-29 *:*:00"});
  EXPECT_EQ(expressions(Value(Dictionary())), Lines{"*-*-* *:*:00"});
}

TEST(Calendar, ADayAndAWeekdayAreEitherOfThem) {
  EXPECT_EQ(expressionsOf({{"Minute", 0}, {"Hour", 8}, {"Day", 13}, {"Weekday", 5}, {"Month", 12}}),
            (Lines{"*-12-13 08:00:00", "Fri *-12-* 08:00:00"}));
}

TEST(Calendar, AnArrayIsEachOfItsEntries) {
  EXPECT_EQ(
      expressions(Value(Array{Dictionary{{"Minute", 0}, {"Hour", 8}}, Dictionary{{"Minute", 0}, {"Hour", 20}}})),
      (Lines{"*-*-* 08:00:00", "*-*-* 20:00:00"}));
}

TEST(Calendar, AWholeRealIsANumber) {
  EXPECT_EQ(expressionsOf({{"Minute", 5.0}, {"Hour", std::uint64_t{7}}}), Lines{"*-*-* 07:05:00"});
}

TEST(Calendar, WhatNoClockEverShowsIsRefused) {
  EXPECT_EQ(expressionsOf({{"Minute", 75}}), Lines{"Minute of StartCalendarInterval is not between 0 and 59: 75"});
  EXPECT_EQ(expressionsOf({{"Hour", 24}}), Lines{"Hour of StartCalendarInterval is not between 0 and 23: 24"});
  EXPECT_EQ(expressionsOf({{"Hour", -1}}), Lines{"Hour of StartCalendarInterval is not between 0 and 23: -1"});
  EXPECT_EQ(expressionsOf({{"Day", 0}}), Lines{"Day of StartCalendarInterval is not between 1 and 31: 0"});
  EXPECT_EQ(expressionsOf({{"Weekday", 8}}), Lines{"Weekday of StartCalendarInterval is not between 0 and 7: 8"});
  EXPECT_EQ(expressionsOf({{"Month", 13}}), Lines{"Month of StartCalendarInterval is not between 1 and 12: 13"});
  EXPECT_EQ(expressionsOf({{"Month", 2}, {"Day", 30}}), Lines{"month 2 never has a day 30"});
}

TEST(Calendar, NumbersBeyondEveryRangeAreRefused) {
  for (const Value& number : {Value(std::numeric_limits<std::uint64_t>::max()),
                              Value(std::numeric_limits<std::int64_t>::min()), Value(1e300), Value(-1e300)}) {
    EXPECT_FALSE(calendarIntervals(Dictionary{{"Minute", number}}));
  }
}

TEST(Calendar, NumbersAreReadAsTheEditorReadsThem) {
  EXPECT_EQ(expressionsOf({{"Hour", 9.75}, {"Minute", 30.5}}), Lines{"*-*-* 09:30:00"});
  EXPECT_EQ(expressionsOf({{"Hour", true}, {"Minute", false}}), Lines{"*-*-* 01:00:00"});
}

TEST(Calendar, WhatIsNoNumberIsRefused) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const Value& value : {Value("5"), Value(nan), Value(Array{5}), Value(Date{5})}) {
    EXPECT_EQ(expressionsOf({{"Hour", value}}), Lines{"Hour of StartCalendarInterval is not a number"});
  }
}

TEST(Calendar, UnknownKeysAreRefused) {
  EXPECT_EQ(expressionsOf({{"Second", 5}}), Lines{"StartCalendarInterval has a key that is not known: Second"});
  EXPECT_EQ(expressionsOf({{"WeekDay", 3}}), Lines{"StartCalendarInterval has a key that is not known: WeekDay"});
}

TEST(Calendar, OtherKindsOfValuesAreRefused) {
  EXPECT_EQ(expressions(Value(Array())), Lines{"StartCalendarInterval is empty"});
  const Lines neither = {"StartCalendarInterval is neither a dictionary nor an array of them"};
  EXPECT_EQ(expressions(Value("daily")), neither);
  EXPECT_EQ(expressions(Value(Array(1, Value(Array())))), neither);
  EXPECT_EQ(expressions(Value(Array(1'001, Value(Dictionary())))),
            Lines{"StartCalendarInterval has too many entries"});
}

}  // namespace
}  // namespace zpk
