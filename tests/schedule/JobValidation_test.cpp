#include <gtest/gtest.h>

#include <cmath>

#include "schedule/ScheduleWorld.h"

namespace zpk {
namespace {

const Dictionary kNoon{{"Minute", 0}, {"Hour", 12}};

Dictionary withCalendar(const Value& calendar) {
  return ScheduleWorld::jobWithCalendar(calendar);
}

// The calendar that `calendar` is repaired to; null when it is valid as it stands.
Value repairOf(const Value& calendar) {
  const auto repaired = ZPKSchedulerViewController::validateJobInfo(withCalendar(calendar));
  if (!repaired) return {};
  Dictionary rest = *repaired;
  rest.remove("StartCalendarInterval");
  EXPECT_EQ(rest, ZPKSchedulerViewController::defaultJobValues());
  return (*repaired)["StartCalendarInterval"];
}

Value with(std::string_view key, Value value) {
  Dictionary calendar{{"Minute", 0}, {"Hour", 8}};
  calendar.set(key, std::move(value));
  return calendar;
}

TEST(DefaultJob, HasFourKeysAndNoTimes) {
  const Dictionary job = ZPKSchedulerViewController::defaultJobValues();
  EXPECT_EQ(job.size(), 4u);
  EXPECT_EQ(job["Label"], "com.tarnwick.zpkauto");
  EXPECT_EQ(job["ProgramArguments"], Value(Array{"/usr/bin/zpkctl", "backup"}));
  EXPECT_TRUE(job["KeepAlive"].isBoolean());
  EXPECT_FALSE(job["KeepAlive"].boolValue());
  EXPECT_TRUE(job["RunAtLoad"].isBoolean());
  EXPECT_FALSE(job["RunAtLoad"].boolValue());
}

TEST(DefaultJob, RunsAtNoon) {
  const Dictionary calendar = ZPKSchedulerViewController::defaultStartCalendar();
  EXPECT_EQ(calendar, kNoon);
  EXPECT_TRUE(calendar["Minute"].isInteger());
  EXPECT_TRUE(calendar["Hour"].isInteger());
}

TEST(JobValidation, GivesNothingForAValidJob) {
  EXPECT_FALSE(ZPKSchedulerViewController::validateJobInfo(withCalendar(kNoon)));
  EXPECT_FALSE(ZPKSchedulerViewController::validateJobInfo(withCalendar(with("Day", 31))));
  EXPECT_FALSE(ZPKSchedulerViewController::validateJobInfo(withCalendar(with("Weekday", 7))));
}

TEST(JobValidation, MakesAWholeJobOfNothing) {
  const auto job = ZPKSchedulerViewController::validateJobInfo({});
  ASSERT_TRUE(job);
  EXPECT_EQ(*job, withCalendar(kNoon));
}

TEST(JobValidation, PutsTheDefaultInThePlaceOfEveryOtherValue) {
  const std::vector<Dictionary::Entry> wrong{
      {"Label", "com.tarnwick.other"},
      {"Label", 5},
      {"Label", nullptr},
      {"ProgramArguments", Array{"/usr/bin/zpkctl"}},
      {"ProgramArguments", Array{"backup", "/usr/bin/zpkctl"}},
      {"ProgramArguments", Array{"/usr/bin/zpkctl", "backup", "now"}},
      {"ProgramArguments", "/usr/bin/zpkctl backup"},
      {"KeepAlive", true},
      {"KeepAlive", 1},
      {"KeepAlive", "false"},
      {"KeepAlive", Dictionary{{"SuccessfulExit", false}}},
      {"RunAtLoad", true},
      {"RunAtLoad", nullptr},
  };
  for (const auto& [key, value] : wrong) {
    Dictionary job = withCalendar(kNoon);
    job.set(key, value);
    const auto repaired = ZPKSchedulerViewController::validateJobInfo(job);
    ASSERT_TRUE(repaired) << key;
    EXPECT_EQ(*repaired, withCalendar(kNoon)) << key;
  }
  for (const char* key : {"Label", "ProgramArguments", "KeepAlive", "RunAtLoad"}) {
    Dictionary job = withCalendar(kNoon);
    job.remove(key);
    EXPECT_EQ(ZPKSchedulerViewController::validateJobInfo(job), withCalendar(kNoon)) << key;
  }
}

TEST(JobValidation, LeavesANumberThatEqualsTheDefaultAsItIs) {
  Dictionary job = withCalendar(kNoon);
  job.set("RunAtLoad", 0);
  job.set("KeepAlive", 0.0);
  EXPECT_FALSE(ZPKSchedulerViewController::validateJobInfo(job));
  job.set("More", 1);
  const auto repaired = ZPKSchedulerViewController::validateJobInfo(job);
  ASSERT_TRUE(repaired);
  EXPECT_TRUE((*repaired)["RunAtLoad"].isInteger());
  EXPECT_TRUE((*repaired)["KeepAlive"].isReal());
}

TEST(JobValidation, RemovesEveryOtherKey) {
  Dictionary job = withCalendar(with("Day", 3));
  for (const char* key : {"StartInterval", "label", "EnvironmentVariables", "", "Disabled", "Minute"})
    job.set(key, 1);
  EXPECT_EQ(ZPKSchedulerViewController::validateJobInfo(job), withCalendar(with("Day", 3)));
}

TEST(JobValidation, GivesTheMissingCalendarNoon) {
  EXPECT_EQ(ZPKSchedulerViewController::validateJobInfo(ZPKSchedulerViewController::defaultJobValues()),
            withCalendar(kNoon));
}

TEST(JobValidation, TakesACalendarThatIsNoDictionaryForNoon) {
  for (const Value& calendar :
       {Value(Array{Dictionary{{"Hour", 3}, {"Minute", 4}}}), Value(Array{}), Value("12:00"), Value(12),
        Value(true), Value(Date{5}), Value(Bytes{1, 2}), Value()}) {
    EXPECT_EQ(repairOf(calendar), kNoon);
  }
}

TEST(JobValidation, PutsNoonsMinuteAndHourInThePlaceOfWhatIsNoNumber) {
  EXPECT_EQ(repairOf(Dictionary{{"Minute", "5"}, {"Hour", 7}}), (Dictionary{{"Minute", 0}, {"Hour", 7}}));
  EXPECT_EQ(repairOf(Dictionary{{"Minute", 5}, {"Hour", Date{7}}}), (Dictionary{{"Minute", 5}, {"Hour", 12}}));
  EXPECT_EQ(repairOf(Dictionary{{"Hour", 7}}), (Dictionary{{"Minute", 0}, {"Hour", 7}}));
  EXPECT_EQ(repairOf(Dictionary{{"Minute", 30}}), (Dictionary{{"Minute", 30}, {"Hour", 12}}));
  EXPECT_EQ(repairOf(Dictionary{}), kNoon);
}

TEST(JobValidation, TakesEveryKindOfNumberAndHoldsNoneToARange) {
  for (const Value& number : {Value(75), Value(-3), Value(UINT64_MAX), Value(2.5), Value(true), Value(INFINITY)}) {
    for (const char* key : {"Minute", "Hour", "Day", "Weekday"}) {
      EXPECT_TRUE(repairOf(with(key, number)).isNull()) << key;
    }
  }
}

TEST(JobValidation, RemovesADayThatIsNoNumber) {
  for (const Value& day : {Value("3"), Value(Array{3}), Value()}) {
    EXPECT_EQ(repairOf(with("Day", day)), (Dictionary{{"Minute", 0}, {"Hour", 8}}));
  }
}

TEST(JobValidation, KeepsAWeekdayThatIsNoNumber) {
  EXPECT_TRUE(repairOf(with("Weekday", "tuesday")).isNull());
  EXPECT_TRUE(repairOf(with("Weekday", Array{2})).isNull());
  Dictionary withDay = *with("Weekday", "tuesday").dictionary();
  withDay.set("Day", 3);
  EXPECT_EQ(repairOf(withDay), with("Weekday", "tuesday"));
}

TEST(JobValidation, RemovesTheOtherSpellingOfTheWeekday) {
  EXPECT_EQ(repairOf(with("WeekDay", 3)), (Dictionary{{"Minute", 0}, {"Hour", 8}}));
  Dictionary both = *with("Weekday", 3).dictionary();
  both.set("WeekDay", 4);
  EXPECT_EQ(repairOf(both), with("Weekday", 3));
  both.set("Weekday", "three");
  EXPECT_EQ(repairOf(both), with("Weekday", "three"));
}

TEST(JobValidation, LetsTheWeekdayWinOverTheDay) {
  EXPECT_EQ(repairOf(Dictionary{{"Minute", 0}, {"Hour", 8}, {"Day", 3}, {"Weekday", 2}}),
            (Dictionary{{"Minute", 0}, {"Hour", 8}, {"Weekday", 2}}));
}

TEST(JobValidation, RemovesEveryOtherKeyOfTheCalendar) {
  for (const char* key : {"Month", "minute", "Second", ""}) {
    EXPECT_EQ(repairOf(with(key, 3)), (Dictionary{{"Minute", 0}, {"Hour", 8}})) << key;
  }
}

}  // namespace
}  // namespace zpk
