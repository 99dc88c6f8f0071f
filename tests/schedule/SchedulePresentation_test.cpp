#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "schedule/ScheduleWorld.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

// An enabled schedule of 9:30 every day, after launch.
class SchedulePresentation : public testing::Test {
 protected:
  SchedulePresentation() {
    world.isLoaded = true;
    world.putJob(ScheduleWorld::jobWithCalendar(Dictionary{{"Minute", 30}, {"Hour", 9}}));
    controller.applicationDidFinishLaunching();
  }
  std::string text() { return controller.textualRepresentation(); }

  ScheduleWorld world;
  ZPKSchedulerViewController& controller = world.controller;
};

TEST_F(SchedulePresentation, SaysWhenTheBackupRuns) {
  EXPECT_EQ(text(), "Every day at 9:30");
  controller.setScheduleType(1);
  const std::vector<std::string> days{"monday", "tuesday", "wednesday", "thursday", "friday", "saturday", "sunday"};
  for (std::size_t day = 0; day < days.size(); ++day) {
    controller.setDayOfWeek(day);
    EXPECT_EQ(text(), "Every " + days[day] + " at 9:30");
    EXPECT_EQ(controller.everyWeekdayStringForWeekday(day), "Every " + days[day]);
  }
  controller.setScheduleType(2);
  controller.setDayOfMonth(0);
  EXPECT_EQ(text(), "Every 1 of the month at 9:30");
  controller.setDayOfMonth(14);
  EXPECT_EQ(text(), "Every 15 of the month at 9:30");
}

TEST_F(SchedulePresentation, SaysThatItIsDisabled) {
  controller.setEnabled(false);
  EXPECT_EQ(text(), "Disabled");
  EXPECT_EQ(controller.textualRepresentationControlColor(), ControlTextColor::controlText);
  world.popover.show();
  EXPECT_EQ(text(), "Disabled");
}

TEST_F(SchedulePresentation, DoesNotSetTheTimeOfADisabledSchedule) {
  controller.setEnabled(false);
  controller.setTimeOfDay(std::nullopt);
  text();
  EXPECT_FALSE(controller.timeOfDay());
}

TEST_F(SchedulePresentation, SetsTheTimeOfAScheduleThatHasNone) {
  controller.setTimeOfDay(std::nullopt);
  EXPECT_EQ(text(), "Every day at 0:05");
  EXPECT_EQ(controller.timeOfDay(), Date{300});
}

TEST_F(SchedulePresentation, AnObserverThatAsksAnewSeesTheTimeThatWasSet) {
  std::vector<std::string> seen;
  const Token token = controller.observe("textualRepresentation", [&] { seen.push_back(text()); });
  controller.setTimeOfDay(std::nullopt);
  EXPECT_THAT(seen, ElementsAre("Every day at 0:05", "Every day at 0:05"));
}

TEST_F(SchedulePresentation, SetsNoTimeWhileThePopoverIsOpen) {
  controller.setTimeOfDay(std::nullopt);
  world.popover.show();
  EXPECT_EQ(text(), "Every day at ");
  EXPECT_FALSE(controller.timeOfDay());
}

TEST_F(SchedulePresentation, ReadsAKindThatWasNeverSetAsEveryDay) {
  controller.setScheduleType(nullptr);
  EXPECT_EQ(text(), "Every day at 9:30");
}

TEST_F(SchedulePresentation, HasNoWordsForAKindOrAWeekdayThatIsNone) {
  for (const Value& kind : {Value(3), Value(-1), Value(UINT64_MAX)}) {
    controller.setScheduleType(kind);
    EXPECT_EQ(text(), " at 9:30");
  }
  controller.setScheduleType(1);
  for (const std::uint64_t day : {UINT64_C(7), UINT64_MAX}) {
    controller.setDayOfWeek(day);
    EXPECT_EQ(text(), " at 9:30");
    EXPECT_EQ(controller.everyWeekdayStringForWeekday(day), "");
  }
}

TEST_F(SchedulePresentation, FillsTheDayAndTheTimeIntoTheTranslation) {
  world.localization.texts = {{"Every DAY of the month", "Am DAY. des Monats (DAY)"},
                              {"SCHEDULE_DATE at SCHEDULE_TIME", "SCHEDULE_TIME Uhr, SCHEDULE_DATE"},
                              {"Every day", "Täglich"},
                              {"Every sunday", "Jeden Sonntag"},
                              {"Disabled", "Ausgeschaltet"}};
  EXPECT_EQ(text(), "9:30 Uhr, Täglich");
  controller.setScheduleType(1);
  controller.setDayOfWeek(6);
  EXPECT_EQ(text(), "9:30 Uhr, Jeden Sonntag");
  controller.setDayOfWeek(5);
  EXPECT_EQ(text(), "9:30 Uhr, Every saturday") << "a text without a translation";
  controller.setScheduleType(2);
  controller.setDayOfMonth(14);
  EXPECT_EQ(text(), "9:30 Uhr, Am 15. des Monats (15)");
  controller.setEnabled(false);
  EXPECT_EQ(text(), "Ausgeschaltet");
}

TEST_F(SchedulePresentation, FillsInEveryOccurrenceAndNeverItsOwnWordsAgain) {
  world.localization.texts = {{"SCHEDULE_DATE at SCHEDULE_TIME", "SCHEDULE_DATE|SCHEDULE_DATE|SCHEDULE_TIME"},
                              {"Every DAY of the month", "DAYDAY"},
                              {"Every day", "SCHEDULE_DATE, SCHEDULE_TIME"}};
  EXPECT_EQ(text(), "SCHEDULE_DATE, 9:30|SCHEDULE_DATE, 9:30|9:30") << "the date is filled in first";
  controller.setScheduleType(2);
  EXPECT_EQ(text(), "11|11|9:30");
}

TEST_F(SchedulePresentation, NamesTheWeekdaysFromMondayOn) {
  EXPECT_THAT(controller.shiftedWeekdaySymbols(), ElementsAre("Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"));
}

TEST_F(SchedulePresentation, TellsOfTheTextWithEverythingThatItSays) {
  int changes = 0;
  const Token token = controller.observe("textualRepresentation", [&] { ++changes; });
  const auto expectChange = [&](const char* what) {
    EXPECT_EQ(changes, 1) << what;
    changes = 0;
  };
  controller.setTimeOfDay(Date{60});
  expectChange("timeOfDay");
  controller.setScheduleType(1);
  expectChange("scheduleType");
  controller.setDayOfWeek(2);
  expectChange("dayOfWeek");
  controller.setDayOfMonth(2);
  expectChange("dayOfMonth");
  controller.setEnabled(false);
  expectChange("enabled");
  controller.popoverWillShow();
  expectChange("updatingValue");
}

TEST_F(SchedulePresentation, TellsOfTheColorWithThePopoverAlone) {
  int changes = 0;
  const Token token = controller.observe("textualRepresentationControlColor", [&] { ++changes; });
  controller.setTimeOfDay(Date{60});
  controller.setScheduleType(1);
  controller.setEnabled(false);
  EXPECT_EQ(changes, 0);
  controller.popoverWillShow();
  EXPECT_EQ(changes, 1);
  EXPECT_EQ(controller.textualRepresentationControlColor(), ControlTextColor::disabledControlText);
  controller.popoverDidClose();
  EXPECT_EQ(changes, 2);
  EXPECT_EQ(controller.textualRepresentationControlColor(), ControlTextColor::controlText);
}

using SchedulePopover = SchedulePresentation;

TEST_F(SchedulePopover, TellsThatItIsOpen) {
  std::vector<bool> seen;
  const Token token = controller.observe("updatingValue", [&] { seen.push_back(controller.isUpdatingValue()); });
  world.popover.show();
  world.popover.performClose();
  EXPECT_THAT(seen, ElementsAre(true, false));
}

TEST_F(SchedulePopover, TheOldScheduleIsSaidForAsLongAsItIsOpen) {
  struct Case {
    std::uint64_t kind;
    std::string said;
  };
  for (const Case& c : {Case{0, "Every day at 9:30"}, Case{1, "Every wednesday at 9:30"},
                        Case{2, "Every 8 of the month at 9:30"}}) {
    controller.setTimeOfDay(Date{34200});
    controller.setScheduleType(c.kind);
    controller.setDayOfWeek(2);
    controller.setDayOfMonth(7);
    std::vector<std::string> said;
    const Token token = controller.observe("textualRepresentation", [&] { said.push_back(text()); });
    world.popover.show();
    controller.setTimeOfDay(Date{60});
    controller.setScheduleType((c.kind + 1) % 3);
    controller.setDayOfWeek(0);
    controller.setDayOfMonth(0);
    world.popover.performClose();
    EXPECT_THAT(said, testing::Each(c.said));
    EXPECT_GT(said.size(), 5u);
  }
}

TEST_F(SchedulePopover, ClosedWithoutSavingTakesTheEditBackAndWritesNothing) {
  const std::string before = world.files.content(ScheduleWorld::kPath);
  const std::size_t runs = world.runs().size();
  controller.setScheduleType(1);
  controller.setDayOfWeek(3);
  world.popover.show();
  controller.setTimeOfDay(Date{60});
  controller.setScheduleType(2);
  controller.setDayOfWeek(4);
  world.popover.performClose();
  EXPECT_EQ(controller.timeOfDay(), Date{34200});
  EXPECT_EQ(controller.scheduleType(), 1);
  EXPECT_EQ(controller.dayOfWeek(), 3u);
  EXPECT_EQ(text(), "Every thursday at 9:30");
  EXPECT_EQ(world.files.content(ScheduleWorld::kPath), before);
  EXPECT_EQ(world.runs().size(), runs);
}

TEST_F(SchedulePopover, TakesNoDayBackThatTheOldKindDidNotUse) {
  controller.setDayOfMonth(3);
  controller.setDayOfWeek(3);
  world.popover.show();
  controller.setScheduleType(2);
  controller.setDayOfMonth(20);
  controller.setDayOfWeek(5);
  world.popover.performClose();
  EXPECT_EQ(controller.scheduleType(), 0);
  EXPECT_EQ(controller.dayOfMonth(), 20u);
  EXPECT_EQ(controller.dayOfWeek(), 5u);
}

TEST_F(SchedulePopover, TakesTheDayOfTheMonthBack) {
  controller.setScheduleType(2);
  controller.setDayOfMonth(3);
  world.popover.show();
  controller.setDayOfMonth(20);
  world.popover.performClose();
  EXPECT_EQ(controller.dayOfMonth(), 3u);
}

TEST_F(SchedulePopover, BringsNothingBackAsNoTimeAndKindZero) {
  controller.setTimeOfDay(std::nullopt);
  controller.setScheduleType(nullptr);
  world.popover.show();
  controller.setTimeOfDay(Date{60});
  controller.setScheduleType(2);
  controller.popoverDidClose();
  // The summary, where somebody asks for it, is what gives the time back its first value.
  EXPECT_FALSE(controller.timeOfDay());
  EXPECT_FALSE(controller.scheduleType().isNull());
  EXPECT_EQ(controller.scheduleType(), 0);
}

TEST_F(SchedulePopover, SavedShowsTheNewScheduleOnceItIsClosed) {
  std::vector<std::string> said;
  const Token token = controller.observe("textualRepresentation", [&] { said.push_back(text()); });
  world.popover.show();
  controller.setTimeOfDay(Date{60});
  controller.setScheduleType(1);
  controller.saveCalAction();
  EXPECT_THAT(said,
              ElementsAre("Every day at 9:30", "Every day at 9:30", "Every day at 9:30", "Every monday at 0:01"));
  EXPECT_EQ(text(), "Every monday at 0:01");
}

TEST_F(SchedulePopover, OpenedAgainKeepsWhatIsThereThen) {
  world.popover.show();
  controller.setTimeOfDay(Date{60});
  controller.saveCalAction();
  world.popover.show();
  controller.setTimeOfDay(Date{7200});
  EXPECT_EQ(text(), "Every day at 0:01");
  world.popover.performClose();
  EXPECT_EQ(controller.timeOfDay(), Date{60});
}

TEST_F(SchedulePopover, WhatWasKeptOutlivesTheClosing) {
  world.popover.show();
  world.popover.performClose();
  controller.setTimeOfDay(Date{60});
  controller.popoverDidClose();
  EXPECT_EQ(controller.timeOfDay(), Date{34200});
}

TEST_F(SchedulePopover, WhatWasKeptIsNotSaidOnceItIsClosed) {
  world.popover.show();
  world.popover.performClose();
  controller.setTimeOfDay(Date{60});
  EXPECT_EQ(text(), "Every day at 0:01");
}

TEST_F(SchedulePopover, ASaveThatIsStillClosingSaysTheNewSchedule) {
  controller.setPopover(nullptr);
  controller.popoverWillShow();
  controller.setTimeOfDay(Date{60});
  controller.saveCalAction();
  EXPECT_TRUE(controller.isUpdatingValue());
  EXPECT_EQ(text(), "Every day at 0:01");
}

}  // namespace
}  // namespace zpk
