#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "platform/posix/TaskRunner_posix.h"
#include "tools/launchctl/Calendar.h"

namespace zpk {
namespace {

using testing::ElementsAre;

// What the real systemd-analyze says of calendar expressions.
std::string analyze(std::string_view zone, std::string_view base, int iterations,
                    const std::vector<std::string>& expressions) {
  PosixTaskRunner tasks;
  TaskDescription task;
  task.launchPath = "/usr/bin/env";
  task.arguments = {"TZ=" + std::string(zone),
                    "LC_ALL=C",
                    "systemd-analyze",
                    "calendar",
                    "--base-time=" + std::string(base),
                    "--iterations=" + std::to_string(iterations)};
  task.arguments.insert(task.arguments.end(), expressions.begin(), expressions.end());
  const auto result = tasks.run(task);
  if (!result) return result.error().reason;
  if (result->status != 0) return std::string(result->standardError.begin(), result->standardError.end());
  return std::string(result->standardOutput.begin(), result->standardOutput.end());
}

// The times on the lines "Next elapse: …" and "Iter. #2: …", in the zone they are in.
std::vector<std::string> elapses(const std::string& text) {
  std::vector<std::string> times;
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    const std::string line = text.substr(start, end - start);
    start = end + 1;
    if (line.find("Next elapse: ") == std::string::npos && line.find("Iter. #") == std::string::npos) continue;
    times.push_back(line.substr(line.find(": ") + 2));
  }
  return times;
}

std::string expressionOf(std::initializer_list<Dictionary::Entry> entries) {
  const auto intervals = calendarIntervals(Dictionary(entries));
  return calendarExpressions(intervals.value().front()).front();
}

std::vector<std::string> elapses(std::string_view zone, std::string_view base, int iterations,
                                 std::initializer_list<Dictionary::Entry> entries) {
  return elapses(analyze(zone, base, iterations, {expressionOf(entries)}));
}

TEST(CalendarInSystemd, EveryWeekdayIsTheDayThatItSays) {
  const std::vector<std::string> names = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
  std::vector<std::string> expressions;
  for (int day = 0; day <= 7; ++day) {
    expressions.push_back(expressionOf({{"Minute", 5}, {"Hour", 7}, {"Weekday", day}}));
  }
  const auto times = elapses(analyze("UTC", "2025-01-01 00:00:00", 1, expressions));
  ASSERT_EQ(times.size(), names.size());
  for (std::size_t i = 0; i < names.size(); ++i) {
    EXPECT_EQ(times[i].substr(0, 3), names[i]);
    EXPECT_EQ(times[i].substr(14), " 07:05:00 UTC");
  }
}

TEST(CalendarInSystemd, EveryDayOfTheMonthIsTheDayThatItSays) {
  std::vector<std::string> expressions;
  for (int day = 1; day <= 31; ++day) {
    expressions.push_back(expressionOf({{"Minute", 59}, {"Hour", 23}, {"Day", day}}));
  }
  const auto times = elapses(analyze("UTC", "2025-01-01 00:00:00", 1, expressions));
  ASSERT_EQ(times.size(), 31U);
  for (std::size_t i = 0; i < times.size(); ++i) {
    const std::string day = std::to_string(i + 1);
    EXPECT_EQ(times[i].substr(4), "2025-01-" + std::string(2 - day.size(), '0') + day + " 23:59:00 UTC");
  }
}

TEST(CalendarInSystemd, EveryMinuteOfTheDayIsTaken) {
  std::vector<std::string> expressions;
  for (int minute = 0; minute < 24 * 60; minute += 7) {
    expressions.push_back(expressionOf({{"Minute", minute % 60}, {"Hour", minute / 60}}));
  }
  const auto times = elapses(analyze("UTC", "2025-01-01 23:59:30", 1, expressions));
  ASSERT_EQ(times.size(), expressions.size());
  for (std::size_t i = 0; i < times.size(); ++i) {
    EXPECT_EQ(times[i], "Thu 2025-01-02 " + expressions[i].substr(6) + " UTC");
  }
}

TEST(CalendarInSystemd, ADayThatTheMonthDoesNotHaveIsLeftOut) {
  EXPECT_THAT(
      elapses("UTC", "2025-02-01 00:00:00", 3, {{"Minute", 0}, {"Hour", 8}, {"Day", 31}}),
      ElementsAre("Mon 2025-03-31 08:00:00 UTC", "Sat 2025-05-31 08:00:00 UTC", "Thu 2025-07-31 08:00:00 UTC"));
  EXPECT_THAT(elapses("UTC", "2025-01-01 00:00:00", 1, {{"Minute", 0}, {"Hour", 8}, {"Day", 29}, {"Month", 2}}),
              ElementsAre("Tue 2028-02-29 08:00:00 UTC"));
}

TEST(CalendarInSystemd, TheWallClockCountsWhateverTheZoneDoes) {
  const std::initializer_list<Dictionary::Entry> job = {{"Minute", 30}, {"Hour", 9}};
  EXPECT_THAT(elapses("Europe/Berlin", "2025-03-29 12:00:00", 2, job),
              ElementsAre("Sun 2025-03-30 09:30:00 CEST", "Mon 2025-03-31 09:30:00 CEST"));
  EXPECT_THAT(elapses("Europe/Berlin", "2025-10-25 12:00:00", 2, job),
              ElementsAre("Sun 2025-10-26 09:30:00 CET", "Mon 2025-10-27 09:30:00 CET"));
  EXPECT_THAT(elapses("America/New_York", "2025-03-08 12:00:00", 2, job),
              ElementsAre("Sun 2025-03-09 09:30:00 EDT", "Mon 2025-03-10 09:30:00 EDT"));
  EXPECT_THAT(elapses("Asia/Kolkata", "2025-03-29 12:00:00", 2, job),
              ElementsAre("Sun 2025-03-30 09:30:00 IST", "Mon 2025-03-31 09:30:00 IST"));
}

TEST(CalendarInSystemd, AnHourThatTheClockSkipsIsLeftOut) {
  EXPECT_THAT(elapses("Europe/Berlin", "2025-03-29 00:00:00", 2, {{"Minute", 30}, {"Hour", 2}}),
              ElementsAre("Sat 2025-03-29 02:30:00 CET", "Mon 2025-03-31 02:30:00 CEST"));
}

TEST(CalendarInSystemd, AnHourThatTheClockRepeatsCountsOnce) {
  EXPECT_THAT(elapses("America/New_York", "2025-11-01 12:00:00", 2, {{"Minute", 30}, {"Hour", 1}}),
              ElementsAre("Sun 2025-11-02 01:30:00 EDT", "Mon 2025-11-03 01:30:00 EST"));
}

}  // namespace
}  // namespace zpk
