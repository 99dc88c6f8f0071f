// Switching the schedule on and off, and reading it back at start.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "schedule/ScheduleWorld.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using Arguments = ScheduleWorld::Arguments;

const std::string kPath = ScheduleWorld::kPath;

class SwitchingSchedule : public testing::Test {
 protected:
  // Switches on with a job of that calendar, which must be valid.
  void switchOn(const Value& calendar) {
    world.putJob(ScheduleWorld::jobWithCalendar(calendar));
    world.controller.setEnabled(true);
  }
  double seconds() const { return controller.timeOfDay().value_or(Date{-1}).secondsSince1970; }

  ScheduleWorld world;
  ZPKSchedulerViewController& controller = world.controller;
};

TEST_F(SwitchingSchedule, BeginsDisabledAndKnowsNoTime) {
  EXPECT_FALSE(controller.isEnabled());
  EXPECT_TRUE(controller.scheduleType().isNull());
  EXPECT_FALSE(controller.timeOfDay());
  EXPECT_FALSE(controller.isUpdatingValue());
  EXPECT_TRUE(world.runs().empty());
}

TEST_F(SwitchingSchedule, TheJobIsInTheUsersHome) {
  EXPECT_EQ(controller.jobPath(), kPath);
  world.files.setHomeDirectory("/Users/ann");
  EXPECT_EQ(controller.jobPath(), "/Users/ann/Library/LaunchAgents/com.tarnwick.zpkauto.plist");
  world.files.setHomeDirectory("/");
  EXPECT_EQ(controller.jobPath(), "/Library/LaunchAgents/com.tarnwick.zpkauto.plist");
}

TEST_F(SwitchingSchedule, OnWithoutAJobWritesTheDefaultOneAndLoadsIt) {
  world.makeFolder();
  controller.setEnabled(true);
  EXPECT_EQ(world.files.content(kPath), R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
	<key>KeepAlive</key>
	<false/>
	<key>Label</key>
	<string>com.tarnwick.zpkauto</string>
	<key>ProgramArguments</key>
	<array>
		<string>/usr/bin/zpkctl</string>
		<string>backup</string>
	</array>
	<key>RunAtLoad</key>
	<false/>
	<key>StartCalendarInterval</key>
	<dict>
		<key>Hour</key>
		<integer>12</integer>
		<key>Minute</key>
		<integer>0</integer>
	</dict>
</dict>
</plist>
)");
  EXPECT_THAT(world.runs(),
              ElementsAre(Arguments{"unload", kPath}, Arguments{"load", kPath}, Arguments{"load", "-w", kPath}));
  // The file was there before the launcher was asked anything.
  EXPECT_EQ(world.fileAtRuns.front(), world.files.content(kPath));
  EXPECT_EQ(seconds(), 12 * 3600);
  EXPECT_EQ(controller.scheduleType(), 0);
  EXPECT_TRUE(controller.isEnabled());
}

TEST_F(SwitchingSchedule, OnWithAValidJobOnlyEnablesIt) {
  world.putJob(ScheduleWorld::jobWithCalendar(Dictionary{{"Minute", 30}, {"Hour", 9}}));
  const std::string before = world.files.content(kPath) + "<!-- as it was -->";
  world.files.add(kPath, before);
  controller.setEnabled(true);
  EXPECT_EQ(world.files.content(kPath), before);
  EXPECT_THAT(world.runs(), ElementsAre(Arguments{"load", "-w", kPath}));
  EXPECT_EQ(seconds(), 34200);
  EXPECT_EQ(controller.scheduleType(), 0);
}

TEST_F(SwitchingSchedule, OnWithADamagedJobRepairsItAndKeepsWhatIsGood) {
  Dictionary job = ScheduleWorld::jobWithCalendar(
      Dictionary{{"Minute", 0}, {"Hour", 8}, {"Day", 3}, {"Weekday", 2}, {"Month", 4}});
  job.set("RunAtLoad", true);
  job.set("StandardOutPath", "/tmp/out");
  world.putJob(job);
  controller.setEnabled(true);
  EXPECT_EQ(world.job(), ScheduleWorld::jobWithCalendar(Dictionary{{"Minute", 0}, {"Hour", 8}, {"Weekday", 2}}));
  EXPECT_THAT(world.runs(),
              ElementsAre(Arguments{"unload", kPath}, Arguments{"load", kPath}, Arguments{"load", "-w", kPath}));
  EXPECT_EQ(controller.scheduleType(), 1);
  EXPECT_EQ(controller.dayOfWeek(), 1u);
}

TEST_F(SwitchingSchedule, OnTakesAFileThatIsNoJobForAnEmptyOne) {
  world.makeFolder();
  for (const std::string& content :
       {std::string(), std::string("<plist"), std::string("(a, b)"), std::string("\0\1\2\xff", 4)}) {
    world.files.add(kPath, content);
    controller.setEnabled(true);
    EXPECT_EQ(world.job(), ScheduleWorld::jobWithCalendar(Dictionary{{"Minute", 0}, {"Hour", 12}}));
  }
}

TEST_F(SwitchingSchedule, OnTakesAFileBeyondAMebibyteForAnEmptyOne) {
  world.putJob(ScheduleWorld::jobWithCalendar(Dictionary{{"Minute", 30}, {"Hour", 9}}));
  std::string content = world.files.content(kPath);
  content.resize(1 << 20, '\n');
  world.files.add(kPath, content);
  controller.setEnabled(true);
  EXPECT_EQ(seconds(), 34200);
  world.files.add(kPath, content + "\n");
  controller.setEnabled(true);
  EXPECT_EQ(seconds(), 12 * 3600);
}

TEST_F(SwitchingSchedule, OnReadsAJobInEveryForm) {
  world.makeFolder();
  world.files.add(kPath, R"({ Label = "com.tarnwick.zpkauto"; ProgramArguments = ("/usr/bin/zpkctl", backup);
      KeepAlive = <*BN>; RunAtLoad = <*BN>; StartCalendarInterval = { Hour = <*I6>; Minute = <*I15>; Day = <*I2>; }; })");
  controller.setEnabled(true);
  EXPECT_THAT(world.runs(), ElementsAre(Arguments{"load", "-w", kPath}));
  EXPECT_EQ(seconds(), (6 * 60 + 15) * 60);
  EXPECT_EQ(controller.dayOfMonth(), 1u);
}

TEST_F(SwitchingSchedule, OnTakesAnArrayOfCalendarsForNoon) {
  switchOn(Array{Dictionary{{"Hour", 3}, {"Minute", 0}}, Dictionary{{"Hour", 4}, {"Minute", 0}}});
  EXPECT_EQ(world.job(), ScheduleWorld::jobWithCalendar(Dictionary{{"Minute", 0}, {"Hour", 12}}));
  EXPECT_EQ(seconds(), 12 * 3600);
}

TEST_F(SwitchingSchedule, OnMakesNoFolderAndGoesOnAsIfTheJobWereWritten) {
  controller.setEnabled(true);
  EXPECT_FALSE(world.files.fileExists(ScheduleWorld::kFolder));
  EXPECT_FALSE(world.files.fileExists(kPath));
  EXPECT_THAT(world.runs(),
              ElementsAre(Arguments{"unload", kPath}, Arguments{"load", kPath}, Arguments{"load", "-w", kPath}));
  EXPECT_EQ(seconds(), 12 * 3600);
  EXPECT_TRUE(controller.isEnabled());
}

TEST_F(SwitchingSchedule, OnGoesOnWhenTheDiskIsFullAndWhenTheLauncherRefuses) {
  world.makeFolder();
  world.files.failAt(kPath, "No space left on device");
  world.fails = true;
  controller.setEnabled(true);
  EXPECT_EQ(world.runs().size(), 3u);
  EXPECT_TRUE(controller.isEnabled());
  EXPECT_EQ(seconds(), 12 * 3600);
}

TEST_F(SwitchingSchedule, OnGoesOnWhenTheRepairedJobHasNoWrittenForm) {
  world.makeFolder();
  // A weekday that is no number stays, and this text has characters that no XML can hold.
  const std::string job = R"({ StartCalendarInterval = { Hour = <*I6>; Minute = <*I15>; Weekday = "\U0001"; }; })";
  world.files.add(kPath, job);
  controller.setEnabled(true);
  EXPECT_EQ(world.files.content(kPath), job);
  EXPECT_EQ(world.runs().size(), 3u);
  EXPECT_EQ(seconds(), (6 * 60 + 15) * 60);
  EXPECT_EQ(controller.dayOfWeek(), 6u);
}

TEST_F(SwitchingSchedule, OffOnlyDisablesTheJobAndLeavesItsFile) {
  world.putJob(ScheduleWorld::jobWithCalendar(Dictionary{{"Minute", "bad"}, {"Hour", 9}}));
  const std::string before = world.files.content(kPath);
  controller.setEnabled(false);
  EXPECT_EQ(world.files.content(kPath), before);
  EXPECT_THAT(world.runs(), ElementsAre(Arguments{"unload", "-w", kPath}));
  EXPECT_FALSE(controller.isEnabled());
  EXPECT_FALSE(controller.timeOfDay());
}

TEST_F(SwitchingSchedule, OnAgainTakesUpTheScheduleThatWasSwitchedOff) {
  switchOn(Dictionary{{"Minute", 30}, {"Hour", 9}, {"Weekday", 5}});
  controller.setEnabled(false);
  controller.setTimeOfDay(Date{60});
  controller.setScheduleType(0);
  controller.setEnabled(true);
  EXPECT_EQ(seconds(), 34200);
  EXPECT_EQ(controller.scheduleType(), 1);
  EXPECT_EQ(controller.dayOfWeek(), 4u);
}

TEST_F(SwitchingSchedule, ReadsEveryWeekdayBack) {
  for (std::uint64_t weekday = 1; weekday <= 7; ++weekday) {
    switchOn(Dictionary{{"Minute", 0}, {"Hour", 8}, {"Weekday", weekday}});
    EXPECT_EQ(controller.dayOfWeek(), weekday - 1);
    EXPECT_EQ(controller.scheduleType(), 1);
  }
}

TEST_F(SwitchingSchedule, ReadsSundaysOtherNumberAndWhatIsNoNumberAsSunday) {
  for (const Value& weekday : {Value(0), Value(false), Value(0.5), Value("monday"), Value(Array{1})}) {
    controller.setDayOfWeek(2);
    switchOn(Dictionary{{"Minute", 0}, {"Hour", 8}, {"Weekday", weekday}});
    EXPECT_EQ(controller.dayOfWeek(), 6u);
    EXPECT_EQ(controller.scheduleType(), 1);
  }
  EXPECT_THAT(world.runs(), testing::Each(Arguments{"load", "-w", kPath})) << "they are valid as they stand";
}

TEST_F(SwitchingSchedule, ReadsEveryDayOfTheMonthBack) {
  for (std::uint64_t day = 1; day <= 31; ++day) {
    switchOn(Dictionary{{"Minute", 0}, {"Hour", 8}, {"Day", day}});
    EXPECT_EQ(controller.dayOfMonth(), day - 1);
    EXPECT_EQ(controller.scheduleType(), 2);
  }
}

TEST_F(SwitchingSchedule, LeavesTheDaysThatTheKindDoesNotUse) {
  controller.setDayOfWeek(3);
  controller.setDayOfMonth(20);
  switchOn(Dictionary{{"Minute", 0}, {"Hour", 8}});
  EXPECT_EQ(controller.dayOfWeek(), 3u);
  EXPECT_EQ(controller.dayOfMonth(), 20u);
  switchOn(Dictionary{{"Minute", 0}, {"Hour", 8}, {"Day", 7}});
  EXPECT_EQ(controller.dayOfWeek(), 3u);
  switchOn(Dictionary{{"Minute", 0}, {"Hour", 8}, {"Weekday", 1}});
  EXPECT_EQ(controller.dayOfMonth(), 6u);
}

TEST_F(SwitchingSchedule, ReadsTimesBeyondTheClockAsTheyAre) {
  switchOn(Dictionary{{"Minute", 75}, {"Hour", 8}});
  EXPECT_EQ(seconds(), (8 * 60 + 75) * 60);
  switchOn(Dictionary{{"Minute", 0}, {"Hour", 49}});
  EXPECT_EQ(seconds(), 49 * 3600);
}

TEST_F(SwitchingSchedule, ReadsHourAndMinuteInUnsigned32Bits) {
  struct Case {
    Value hour;
    Value minute;
    double seconds;
  };
  for (const Case& c : {Case{0, -1, 4294967236.0}, Case{0, UINT64_C(0x100000005), 300}, Case{-1, 60, 0},
                        Case{UINT64_C(71582789), 0, 2640}, Case{1.9, 2.9, 3720}, Case{true, false, 3600},
                        Case{std::numeric_limits<double>::quiet_NaN(), 1, 60}, Case{-1e300, 1, 60}}) {
    switchOn(Dictionary{{"Minute", c.minute}, {"Hour", c.hour}});
    EXPECT_EQ(seconds(), c.seconds);
  }
}

TEST_F(SwitchingSchedule, SurvivesDaysThatAreNone) {
  switchOn(Dictionary{{"Minute", 0}, {"Hour", 8}, {"Day", 0}});
  EXPECT_EQ(controller.dayOfMonth(), UINT64_MAX);
  EXPECT_EQ(controller.textualRepresentation(), "Every 0 of the month at 10:00");
  switchOn(Dictionary{{"Minute", 0}, {"Hour", 8}, {"Weekday", 8}});
  EXPECT_EQ(controller.dayOfWeek(), 7u);
  EXPECT_EQ(controller.textualRepresentation(), " at 10:00");
  switchOn(Dictionary{{"Minute", 0}, {"Hour", 8}, {"Weekday", -3}});
  EXPECT_EQ(controller.textualRepresentation(), " at 10:00");
}

TEST_F(SwitchingSchedule, ChangesTheFlagLastAndTellsOfEveryChange) {
  std::vector<std::string> changes;
  std::vector<Token> tokens;
  for (const char* key : {"enabled", "timeOfDay", "dayOfWeek", "dayOfMonth", "scheduleType"}) {
    tokens.push_back(controller.observe(key, [&, key] {
      changes.emplace_back(key);
      EXPECT_EQ(controller.isEnabled(), std::string(key) == "enabled");
    }));
  }
  world.atRun.emplace_back([&] { EXPECT_FALSE(controller.isEnabled()); });
  switchOn(Dictionary{{"Minute", 0}, {"Hour", 8}, {"Day", 7}});
  EXPECT_THAT(changes, ElementsAre("timeOfDay", "dayOfMonth", "scheduleType", "enabled"));
}

TEST_F(SwitchingSchedule, TellsOfAFlagThatIsSetAnew) {
  int changes = 0;
  const Token token = controller.observe("enabled", [&] { ++changes; });
  controller.setEnabled(false);
  controller.setEnabled(false);
  EXPECT_EQ(changes, 2);
}

class StartOfSchedule : public SwitchingSchedule {
 protected:
  StartOfSchedule() {
    controller.setDayOfMonthPopUpButton(&days);
    controller.awakeFromNib();
  }
  void launch() { world.notificationCenter.postNotificationName(kApplicationDidFinishLaunchingNotification); }

  RecordingPopUpButton days;
};

TEST_F(StartOfSchedule, HappensOnceTheApplicationHasFinishedLaunching) {
  EXPECT_TRUE(world.runs().empty());
  launch();
  EXPECT_FALSE(world.runs().empty());
}

TEST_F(StartOfSchedule, SwitchesALoadedJobOn) {
  world.isLoaded = true;
  world.putJob(ScheduleWorld::jobWithCalendar(Dictionary{{"Minute", 5}, {"Hour", 7}, {"Day", 15}}));
  launch();
  EXPECT_THAT(world.runs(), ElementsAre(Arguments{"list", "com.tarnwick.zpkauto"}, Arguments{"load", "-w", kPath}));
  EXPECT_TRUE(controller.isEnabled());
  EXPECT_EQ(seconds(), (7 * 60 + 5) * 60);
  EXPECT_EQ(controller.scheduleType(), 2);
}

TEST_F(StartOfSchedule, RepairsAndReloadsALoadedJobThatIsDamaged) {
  world.isLoaded = true;
  world.makeFolder();
  launch();
  EXPECT_THAT(world.runs(), ElementsAre(Arguments{"list", "com.tarnwick.zpkauto"}, Arguments{"unload", kPath},
                                        Arguments{"load", kPath}, Arguments{"load", "-w", kPath}));
  EXPECT_EQ(world.job(), ScheduleWorld::jobWithCalendar(Dictionary{{"Minute", 0}, {"Hour", 12}}));
}

TEST_F(StartOfSchedule, DisablesAJobThatIsNotLoadedEvenIfThereIsNone) {
  launch();
  EXPECT_THAT(world.runs(),
              ElementsAre(Arguments{"list", "com.tarnwick.zpkauto"}, Arguments{"unload", "-w", kPath}));
  EXPECT_FALSE(controller.isEnabled());
  EXPECT_FALSE(world.files.fileExists(kPath));
}

TEST_F(StartOfSchedule, ShowsTheTimeAsItIsStored) {
  EXPECT_EQ(world.timeFormatter.stringFromDate({34200}), "11:30");
  launch();
  EXPECT_EQ(world.timeFormatter.stringFromDate({34200}), "9:30");
  EXPECT_EQ(world.timeFormatter.stringFromDate({34199}), "9:29");
  EXPECT_EQ(world.defaultFormatter.stringFromDate({34200}), "11:30") << "the other one is left alone";
}

TEST_F(StartOfSchedule, OffersTheDaysOfAMonthWithTheStoredOneChosen) {
  world.isLoaded = true;
  world.putJob(ScheduleWorld::jobWithCalendar(Dictionary{{"Minute", 5}, {"Hour", 7}, {"Day", 15}}));
  launch();
  ASSERT_EQ(days.titles.size(), 31u);
  for (std::size_t day = 0; day < 31; ++day) EXPECT_EQ(days.titles[day], std::to_string(day + 1));
  EXPECT_EQ(days.selected, 14u);
}

TEST_F(StartOfSchedule, NeedsNoWindow) {
  controller.setDayOfMonthPopUpButton(nullptr);
  controller.setPopover(nullptr);
  world.isLoaded = true;
  launch();
  controller.saveCalAction();
  EXPECT_TRUE(controller.isEnabled());
  EXPECT_THAT(days.titles, ElementsAre("left from before"));
}

TEST_F(StartOfSchedule, AfterTheControllerIsGoneALaunchAsksNothing) {
  {
    ZPKSchedulerViewController another({world.notificationCenter, world.files, world.launchctl, world.localization,
                                        world.timeFormatter, world.defaultFormatter});
    another.awakeFromNib();
  }
  launch();
  EXPECT_EQ(world.runs().size(), 2u);
}

}  // namespace
}  // namespace zpk
