#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "schedule/ScheduleWorld.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using Arguments = ScheduleWorld::Arguments;

const std::string kPath = ScheduleWorld::kPath;

class SavingSchedule : public testing::Test {
 protected:
  void set(int hour, int minute, std::uint64_t kind) {
    controller.setTimeOfDay(Date{(hour * 60.0 + minute) * 60});
    controller.setScheduleType(kind);
  }
  // The calendar that is written.
  Value saved() {
    controller.saveCalAction();
    const Value job = world.job();
    if (job.dictionary() == nullptr) return {};
    return (*job.dictionary())["StartCalendarInterval"];
  }

  ScheduleWorld world;
  ZPKSchedulerViewController& controller = world.controller;
};

TEST_F(SavingSchedule, WritesAJobThatIsValidAndHasItLoadedAnew) {
  set(23, 59, 0);
  controller.saveCalAction();
  EXPECT_EQ(world.job(), ScheduleWorld::jobWithCalendar(Dictionary{{"Minute", 59}, {"Hour", 23}}));
  EXPECT_FALSE(ZPKSchedulerViewController::validateJobInfo(*world.job().dictionary()));
  EXPECT_THAT(world.runs(), ElementsAre(Arguments{"unload", kPath}, Arguments{"load", kPath}));
  EXPECT_EQ(world.fileAtRuns.front(), world.files.content(kPath)) << "written before it is loaded";
}

TEST_F(SavingSchedule, WritesTheDayOfTheKindAndNoOther) {
  controller.setDayOfWeek(6);
  controller.setDayOfMonth(0);
  set(8, 5, 0);
  EXPECT_EQ(saved(), (Dictionary{{"Minute", 5}, {"Hour", 8}}));
  set(8, 5, 1);
  EXPECT_EQ(saved(), (Dictionary{{"Minute", 5}, {"Hour", 8}, {"Weekday", 7}}));
  set(8, 5, 2);
  EXPECT_EQ(saved(), (Dictionary{{"Minute", 5}, {"Hour", 8}, {"Day", 1}}));
  set(8, 5, 3);
  EXPECT_EQ(saved(), (Dictionary{{"Minute", 5}, {"Hour", 8}}));
}

TEST_F(SavingSchedule, WritesUnsignedIntegers) {
  set(8, 5, 1);
  const Value calendar = saved();
  for (const auto& [key, value] : *calendar.dictionary()) EXPECT_TRUE(value.isInteger()) << key;
}

TEST_F(SavingSchedule, EveryScheduleReadsBackAsItWas) {
  const auto expectSame = [&](std::uint64_t kind, std::uint64_t day, double time) {
    controller.setScheduleType(kind);
    controller.setDayOfWeek(day % 7);
    controller.setDayOfMonth(day);
    controller.setTimeOfDay(Date{time});
    controller.saveCalAction();
    ScheduleWorld another;
    another.putJob(*world.job().dictionary());
    another.controller.setEnabled(true);
    ASSERT_EQ(another.runs().size(), 1u) << "it was not valid";
    ASSERT_EQ(another.controller.scheduleType(), kind);
    ASSERT_EQ(another.controller.timeOfDay(), Date{time});
    ASSERT_EQ(another.controller.dayOfWeek(), kind == 1 ? day % 7 : 0);
    ASSERT_EQ(another.controller.dayOfMonth(), kind == 2 ? day : 0);
  };
  for (int minute = 0; minute < 24 * 60; minute += 7) expectSame(0, 3, minute * 60);
  for (std::uint64_t day = 0; day < 31; ++day) {
    expectSame(1, day, 86340);
    expectSame(2, day, 0);
  }
}

TEST_F(SavingSchedule, CutsTheTimeToItsMinuteAndLeavesHoursBeyondTheFirstDay) {
  controller.setTimeOfDay(Date{3599.99});
  EXPECT_EQ(saved(), (Dictionary{{"Minute", 59}, {"Hour", 0}}));
  controller.setTimeOfDay(Date{86400 + 3600});
  EXPECT_EQ(saved(), (Dictionary{{"Minute", 0}, {"Hour", 25}}));
}

TEST_F(SavingSchedule, TakesNoTimeAndATimeBeforeTheFirstDayForMidnight) {
  EXPECT_EQ(saved(), (Dictionary{{"Minute", 0}, {"Hour", 0}}));
  for (const double seconds : {-1.0, -1e300, std::numeric_limits<double>::quiet_NaN()}) {
    controller.setTimeOfDay(Date{seconds});
    EXPECT_EQ(saved(), (Dictionary{{"Minute", 0}, {"Hour", 0}}));
  }
}

TEST_F(SavingSchedule, TakesTheFarthestTimeWithoutOverflow) {
  controller.setTimeOfDay(Date{std::numeric_limits<double>::infinity()});
  EXPECT_EQ(saved(), (Dictionary{{"Minute", UINT64_MAX % 3600 / 60}, {"Hour", UINT64_MAX / 3600}}));
  controller.setScheduleType(2);
  controller.setDayOfMonth(UINT64_MAX);
  EXPECT_EQ((*saved().dictionary())["Day"], 0);
}

TEST_F(SavingSchedule, ReplacesWhateverTheFileHeld) {
  Dictionary job = ScheduleWorld::jobWithCalendar(Dictionary{{"Minute", 1}, {"Hour", 2}, {"Weekday", 3}});
  job.set("StandardOutPath", "/tmp/out");
  world.putJob(job);
  set(4, 5, 0);
  controller.saveCalAction();
  EXPECT_EQ(world.job(), ScheduleWorld::jobWithCalendar(Dictionary{{"Minute", 5}, {"Hour", 4}}));
}

TEST_F(SavingSchedule, MakesTheFolderWithAllOnTheWayToIt) {
  ASSERT_FALSE(world.files.fileExists("/home"));
  controller.saveCalAction();
  EXPECT_TRUE(world.files.fileExists(kPath));
}

TEST_F(SavingSchedule, GoesOnWhenTheFolderCannotBeMade) {
  world.files.add("/home", "a file");
  world.popover.show();
  controller.saveCalAction();
  EXPECT_THAT(world.runs(), ElementsAre(Arguments{"unload", kPath}, Arguments{"load", kPath}));
  EXPECT_FALSE(world.popover.isShown());
}

TEST_F(SavingSchedule, GoesOnWhenTheDiskIsFullAndKeepsTheOldFile) {
  world.putJob(ScheduleWorld::jobWithCalendar(Dictionary{{"Minute", 1}, {"Hour", 2}}));
  const std::string before = world.files.content(kPath);
  world.files.failAt(kPath, "No space left on device");
  world.fails = true;
  world.popover.show();
  set(4, 5, 0);
  controller.saveCalAction();
  EXPECT_EQ(world.files.content(kPath), before);
  EXPECT_EQ(world.runs().size(), 2u);
  EXPECT_FALSE(world.popover.isShown());
  EXPECT_EQ(controller.timeOfDay(), Date{(4 * 60 + 5) * 60}) << "as if it had been written";
}

TEST_F(SavingSchedule, DoesNotSwitchTheScheduleOnOrOff) {
  int changes = 0;
  const Token token = controller.observe("enabled", [&] { ++changes; });
  controller.saveCalAction();
  EXPECT_FALSE(controller.isEnabled());
  controller.setEnabled(true);
  controller.saveCalAction();
  EXPECT_TRUE(controller.isEnabled());
  EXPECT_EQ(changes, 1);
}

TEST_F(SavingSchedule, ClosesThePopoverLastAndKeepsTheEdit) {
  set(8, 0, 0);
  world.popover.show();
  set(9, 30, 2);
  controller.setDayOfMonth(14);
  world.atRun.emplace_back([&] { EXPECT_TRUE(world.popover.isShown()); });
  controller.saveCalAction();
  EXPECT_FALSE(world.popover.isShown());
  EXPECT_EQ(controller.timeOfDay(), Date{34200});
  EXPECT_EQ(controller.scheduleType(), 2);
  EXPECT_EQ(controller.dayOfMonth(), 14u);
}

}  // namespace
}  // namespace zpk
