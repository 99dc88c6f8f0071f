// The schedule editor on one side and the launcher on the other: what the one calls valid and in the range of a
// clock, the other takes, and takes for the same time.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <string>
#include <vector>

#include "schedule/ScheduleWorld.h"
#include "tools/launchctl/JobDefinition.h"
#include "tools/launchctl/SystemdUnits.h"

namespace zpk {
namespace {

// A number as a job file may write it: whole, unsigned, real, and where it is 0 or 1 as a boolean.
enum class Writing { whole, unsignedWhole, real, boolean };

Value written(int number, Writing writing) {
  switch (writing) {
    case Writing::whole:
      return number;
    case Writing::unsignedWhole:
      return static_cast<std::uint64_t>(number);
    case Writing::real:
      return number + 0.75;
    case Writing::boolean:
      return number <= 1 ? Value(number == 1) : Value(number);
  }
  return {};
}

std::string timeOf(int hour, int minute) {
  char text[16];
  std::snprintf(text, sizeof text, "%02d:%02d:00", hour, minute);
  return text;
}

std::string dateOf(int day) {
  char text[16];
  std::snprintf(text, sizeof text, "*-*-%02d ", day);
  return text;
}

// The launcher's expressions for a job, or why there are none.
std::vector<std::string> expressionsOf(const Dictionary& job) {
  const auto definition = jobDefinition(job);
  if (!definition) return {definition.error().reason};
  if (definition->calendar.size() != 1) return {std::to_string(definition->calendar.size()) + " entries"};
  return calendarExpressions(definition->calendar.front());
}

constexpr std::array kWritings{Writing::whole, Writing::unsignedWhole, Writing::real, Writing::boolean};

Writing byTurns(int turn) {
  return kWritings.at(static_cast<std::size_t>(turn) % kWritings.size());
}

// Every time of a day on the `day` that the calendar's `dayKey` tells, in all writings by turns.
void expectAllTimes(const char* dayKey, int day, const std::string& date) {
  for (int minutes = 0; minutes < 24 * 60; ++minutes) {
    Dictionary calendar{{"Hour", written(minutes / 60, byTurns(minutes))},
                        {"Minute", written(minutes % 60, byTurns(minutes))}};
    if (dayKey != nullptr) calendar.set(dayKey, written(day, byTurns(minutes / 60)));
    const Dictionary job = ScheduleWorld::jobWithCalendar(calendar);
    ASSERT_FALSE(ZPKSchedulerViewController::validateJobInfo(job)) << date << minutes;
    ASSERT_EQ(expressionsOf(job), std::vector<std::string>{date + timeOf(minutes / 60, minutes % 60)});
  }
}

TEST(ScheduledJob, EveryTimeOfADayIsTheSameForEditorAndLauncher) {
  expectAllTimes(nullptr, 0, "*-*-* ");
}

TEST(ScheduledJob, EveryTimeOfAWeekIsTheSameForEditorAndLauncher) {
  static constexpr std::array<const char*, 8> kDays{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
  for (int weekday = 0; weekday <= 7; ++weekday) {
    expectAllTimes("Weekday", weekday, std::string(kDays.at(static_cast<std::size_t>(weekday))) + " *-*-* ");
  }
}

TEST(ScheduledJob, EveryTimeOfAMonthIsTheSameForEditorAndLauncher) {
  for (int day = 1; day <= 31; ++day) expectAllTimes("Day", day, dateOf(day));
}

// One step beyond a clock is valid to the editor, which holds no number to a range; the launcher would have to run
// it at a time that never comes.
TEST(ScheduledJob, ATimeThatNoClockShowsIsRefusedByTheLauncherAlone) {
  for (const Dictionary& calendar :
       {Dictionary{{"Hour", 24}, {"Minute", 0}}, Dictionary{{"Hour", 0}, {"Minute", 60}},
        Dictionary{{"Hour", -1}, {"Minute", 0}}, Dictionary{{"Hour", 0}, {"Minute", -1}},
        Dictionary{{"Hour", 0}, {"Minute", 0}, {"Weekday", 8}}, Dictionary{{"Hour", 0}, {"Minute", 0}, {"Day", 32}},
        Dictionary{{"Hour", 0}, {"Minute", 0}, {"Day", 0}}}) {
    const Dictionary job = ScheduleWorld::jobWithCalendar(calendar);
    EXPECT_FALSE(ZPKSchedulerViewController::validateJobInfo(job));
    EXPECT_FALSE(jobDefinition(job));
  }
}

// What the launcher's schedule says is what the editor shows at the next start.
TEST(ScheduledJob, EverySavedDayIsReadBackAndTakenAsItWasChosen) {
  for (std::uint64_t kind : {ZPKSchedulerViewController::kEveryWeek, ZPKSchedulerViewController::kEveryMonth}) {
    const std::uint64_t days = kind == ZPKSchedulerViewController::kEveryWeek ? 7 : 31;
    for (std::uint64_t day = 0; day < days; ++day) {
      ScheduleWorld world;
      world.makeFolder();
      world.controller.setTimeOfDay(Date{(23 * 60 + 59) * 60.0});
      world.controller.setScheduleType(kind);
      world.controller.setDayOfWeek(day);
      world.controller.setDayOfMonth(day);
      world.controller.saveCalAction();
      const Value job = world.job();
      ASSERT_TRUE(job.isDictionary());
      EXPECT_TRUE(jobDefinition(*job.dictionary()));
      ScheduleWorld next;
      next.putJob(*job.dictionary());
      next.controller.setEnabled(true);
      EXPECT_EQ(next.controller.scheduleType(), Value(kind));
      EXPECT_EQ(kind == ZPKSchedulerViewController::kEveryWeek ? next.controller.dayOfWeek()
                                                               : next.controller.dayOfMonth(),
                day);
    }
  }
}

}  // namespace
}  // namespace zpk
