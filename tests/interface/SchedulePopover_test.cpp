// The popover in which the schedule is edited, by clicks and keys.

#include <QtTest/qtestspontaneevent.h>
#include <QAccessible>
#include <QComboBox>
#include <QPainterPath>
#include <QPushButton>
#include <QScreen>
#include <QStackedWidget>
#include <QTimeEdit>
#include <ctime>

#include "interface/Language.h"
#include "interface/PopoverFrame.h"
#include "interface/WindowFixture.h"

namespace zpk {
namespace {

using Scheduler = ZPKSchedulerViewController;

class EditingSchedule : public Window {
 protected:
  EditingSchedule() {
    world.show(readyStatus());
    world.click("toggleSchedulerButton");
  }
  ~EditingSchedule() override {
    if (world.popover()) world.popover()->close();
  }

  void open() {
    world.click("changeScheduleButton");
    ASSERT_NE(world.popover(), nullptr);
  }
  PopoverFrame* frame() const { return dynamic_cast<PopoverFrame*>(world.popover()); }
  QComboBox* list(const char* name) const { return world.find<QComboBox>(name); }
  QTimeEdit* picker() const { return world.find<QTimeEdit>("timeOfDayPicker"); }
  QString summary() const { return text("scheduleSummary"); }
  // As the toolkit hands a key to the popover, which has them all while it is open.
  void press(int key, Qt::KeyboardModifiers modifiers = {}) {
    QWidget* focus = world.popover()->focusWidget();
    QTest::keyClick(focus ? focus : world.popover(), static_cast<Qt::Key>(key), modifiers);
    InterfaceWorld::settle();
  }
  // With the keys, from the row that is chosen now.
  void choose(const char* name, int row) {
    QComboBox* box = list(name);
    box->setFocus();
    while (box->currentIndex() < row) QTest::keyClick(box, Qt::Key_Down);
    while (box->currentIndex() > row) QTest::keyClick(box, Qt::Key_Up);
  }
  void typeTime(const char* hour, const char* minute) {
    picker()->setFocus();
    picker()->setSelectedSection(QDateTimeEdit::HourSection);
    QTest::keyClicks(picker(), QLatin1String(hour));
    picker()->setSelectedSection(QDateTimeEdit::MinuteSection);
    QTest::keyClicks(picker(), QLatin1String(minute));
  }
};

TEST_F(EditingSchedule, HangsOnTheButtonAndGreysTheSummary) {
  open();
  EXPECT_TRUE(world.scheduler->isUpdatingValue());
  EXPECT_FALSE(isEnabled("scheduleSummary"));
  const QWidget* button = world.find<QWidget>("changeScheduleButton");
  const QRect place(world.popover()->pos(), world.popover()->size());
  const QPoint top = button->mapToGlobal(QPoint(button->width() / 2, 0));
  EXPECT_FALSE(frame()->isBelow());
  EXPECT_LE(std::abs(place.bottom() - top.y()), 10) << "its tip is at the button's top edge";
  EXPECT_TRUE(place.left() < top.x() && top.x() < place.right());
  world.popover()->close();
  EXPECT_FALSE(world.scheduler->isUpdatingValue());
  EXPECT_TRUE(isEnabled("scheduleSummary"));
}

TEST_F(EditingSchedule, HangsBelowWhereThereIsNoRoomAbove) {
  QWidget* button = world.find<QWidget>("changeScheduleButton");
  world.window->move(world.window->pos().x(), -button->mapTo(world.window.get(), QPoint()).y() + 20);
  InterfaceWorld::settle();
  open();
  EXPECT_TRUE(frame()->isBelow());
  EXPECT_GE(world.popover()->pos().y() + 10, button->mapToGlobal(QPoint(0, button->height())).y());
}

TEST_F(EditingSchedule, OffersKindsWeekdaysFromMondayAndThirtyOneDays) {
  open();
  EXPECT_EQ(list("scheduleTypePopUpButton")->count(), 3);
  EXPECT_EQ(list("dayOfWeekPopUpButton")->count(), 7);
  EXPECT_EQ(list("dayOfWeekPopUpButton")->itemText(0), "Monday");
  EXPECT_EQ(list("dayOfMonthPopUpButton")->count(), 31);
  EXPECT_EQ(list("dayOfMonthPopUpButton")->itemText(30), "31");
  EXPECT_EQ(list("dayOfMonthPopUpButton")->currentIndex(), 0);
}

TEST_F(EditingSchedule, SavesADailySchedule) {
  open();
  typeTime("23", "59");
  world.click("saveCalButton");
  EXPECT_EQ(world.popover(), nullptr);
  EXPECT_EQ(world.calendar(), (Dictionary{{"Minute", 59}, {"Hour", 23}}));
  EXPECT_EQ(summary(), "Every day at 23:59");
  EXPECT_TRUE(isEnabled("scheduleSummary"));
}

TEST_F(EditingSchedule, SavesAWeeklySchedule) {
  open();
  choose("scheduleTypePopUpButton", 1);
  EXPECT_EQ(world.find<QStackedWidget>("parametersTabView")->currentIndex(), 1);
  choose("dayOfWeekPopUpButton", 6);
  world.click("saveCalButton");
  EXPECT_EQ(world.calendar(), (Dictionary{{"Minute", 0}, {"Hour", 12}, {"Weekday", 7}}));
  EXPECT_EQ(summary(), "Every sunday at 12:00");
}

TEST_F(EditingSchedule, SavesAMonthlyScheduleAndTellsOfDaysThatNotEveryMonthHas) {
  open();
  EXPECT_FALSE(isShown("scheduleNote"));
  choose("scheduleTypePopUpButton", 2);
  EXPECT_EQ(world.find<QStackedWidget>("parametersTabView")->currentIndex(), 2);
  choose("dayOfMonthPopUpButton", 27);
  EXPECT_FALSE(isShown("scheduleNote"));
  const QSize size = world.popover()->size();
  choose("dayOfMonthPopUpButton", 28);
  EXPECT_TRUE(isShown("scheduleNote"));
  EXPECT_EQ(world.popover()->size(), size) << "nothing moves";
  world.click("saveCalButton");
  EXPECT_EQ(world.calendar(), (Dictionary{{"Minute", 0}, {"Hour", 12}, {"Day", 29}}));
  EXPECT_EQ(summary(), "Every 29 of the month at 12:00");
}

TEST_F(EditingSchedule, ReturnSavesFromEveryControl) {
  for (const char* name : {"scheduleTypePopUpButton", "timeOfDayPicker", "saveCalButton"}) {
    open();
    world.find<QWidget>(name)->setFocus();
    const std::size_t runs = world.launchctlRuns.size();
    press(Qt::Key_Return);
    EXPECT_EQ(world.popover(), nullptr) << name;
    EXPECT_EQ(world.launchctlRuns.size(), runs + 2) << name;
  }
}

TEST_F(EditingSchedule, WhateverClosesItWithoutSavingRestoresWhatWas) {
  const std::vector<std::pair<const char*, std::function<void()>>> ways{
      {"Esc", [&] { press(Qt::Key_Escape); }},
      {"Cancel", [&] { world.click("scheduleCancelButton"); }},
      {"Return on Cancel",
       [&] {
         world.find<QWidget>("scheduleCancelButton")->setFocus();
         press(Qt::Key_Return);
       }},
      {"a click beside it", [&] { QTest::mouseClick(world.popover(), Qt::LeftButton, {}, QPoint(-20, -20)); }},
      {"a click into its shadow", [&] { QTest::mouseClick(world.popover(), Qt::LeftButton, {}, QPoint(1, 1)); }},
      {"the window moves", [&] { world.window->move(world.window->pos() + QPoint(5, 5)); }},
      {"the window changes its size", [&] { world.window->resize(world.window->size() + QSize(5, 5)); }},
      {"the action again", [&] { world.delegate->scheduleAction(nullptr); }},
      {"the window is minimised", [&] { world.window->showMinimized(); }},
  };
  const std::size_t runs = world.launchctlRuns.size();
  for (const auto& [way, close] : ways) {
    open();
    choose("scheduleTypePopUpButton", 1);
    typeTime("08", "30");
    EXPECT_EQ(world.scheduler->scheduleType(), Value(Scheduler::kEveryWeek));
    EXPECT_EQ(summary(), "Every day at 12:00") << "while it is edited";
    close();
    InterfaceWorld::settle();
    EXPECT_EQ(world.popover(), nullptr) << way;
    EXPECT_FALSE(world.scheduler->isUpdatingValue()) << way;
    EXPECT_EQ(summary(), "Every day at 12:00") << way;
    world.window->showNormal();
  }
  EXPECT_EQ(world.launchctlRuns.size(), runs) << "nothing was written";
}

TEST_F(EditingSchedule, ClosingRestoresAWeeklySchedule) {
  open();
  choose("scheduleTypePopUpButton", 1);
  choose("dayOfWeekPopUpButton", 6);
  world.click("saveCalButton");
  open();
  EXPECT_EQ(list("dayOfWeekPopUpButton")->currentIndex(), 6);
  choose("dayOfWeekPopUpButton", 2);
  choose("scheduleTypePopUpButton", 2);
  typeTime("08", "30");
  press(Qt::Key_Escape);
  EXPECT_EQ(world.scheduler->scheduleType(), Value(Scheduler::kEveryWeek));
  EXPECT_EQ(world.scheduler->dayOfWeek(), 6U);
  EXPECT_EQ(summary(), "Every sunday at 12:00");
  open();
  EXPECT_EQ(list("scheduleTypePopUpButton")->currentIndex(), 1);
  EXPECT_EQ(list("dayOfWeekPopUpButton")->currentIndex(), 6);
  EXPECT_EQ(picker()->time(), QTime(12, 0));
}

TEST_F(EditingSchedule, ClosingRestoresAMonthlySchedule) {
  open();
  choose("scheduleTypePopUpButton", 2);
  choose("dayOfMonthPopUpButton", 14);
  typeTime("06", "45");
  world.click("saveCalButton");
  open();
  choose("dayOfMonthPopUpButton", 30);
  choose("scheduleTypePopUpButton", 0);
  typeTime("23", "59");
  press(Qt::Key_Escape);
  EXPECT_EQ(world.scheduler->scheduleType(), Value(Scheduler::kEveryMonth));
  EXPECT_EQ(world.scheduler->dayOfMonth(), 14U);
  EXPECT_EQ(summary(), "Every 15 of the month at 06:45");
  open();
  EXPECT_EQ(list("scheduleTypePopUpButton")->currentIndex(), 2);
  EXPECT_EQ(list("dayOfMonthPopUpButton")->currentIndex(), 14);
  EXPECT_EQ(picker()->time(), QTime(6, 45));
}

// The button that it hangs on cannot be used without a schedule.
TEST_F(EditingSchedule, SwitchingTheScheduleOffTakesItDownAndRestoresWhatWas) {
  open();
  choose("scheduleTypePopUpButton", 1);
  world.delegate->toggleSchedulerAction();
  InterfaceWorld::settle();
  EXPECT_EQ(world.popover(), nullptr);
  EXPECT_FALSE(world.scheduler->isUpdatingValue());
  EXPECT_EQ(world.scheduler->scheduleType(), Value(Scheduler::kEveryDay));
  EXPECT_FALSE(isEnabled("changeScheduleButton"));
  world.delegate->toggleSchedulerAction();
  EXPECT_EQ(summary(), "Every day at 12:00");
}

// A window manager takes it off the screen with all else on a workspace; it is only away, and comes back with it.
TEST_F(EditingSchedule, WhatTheDesktopHidesIsStillBeingEdited) {
  open();
  choose("scheduleTypePopUpButton", 1);
  QHideEvent away;
  QSpontaneKeyEvent::setSpontaneous(&away);
  QCoreApplication::instance()->notify(world.popover(), &away);
  EXPECT_TRUE(world.scheduler->isUpdatingValue());
  EXPECT_EQ(world.scheduler->scheduleType(), Value(Scheduler::kEveryWeek));
  world.delegate->scheduleAction(nullptr);
  InterfaceWorld::settle();
  EXPECT_FALSE(world.scheduler->isUpdatingValue());
  EXPECT_EQ(world.scheduler->scheduleType(), Value(Scheduler::kEveryDay));
}

TEST_F(EditingSchedule, ClickOnTheButtonTakesItDownAndDoesNotPutItUpAgain) {
  open();
  QWidget* button = world.find<QWidget>("changeScheduleButton");
  const QPoint place = world.popover()->mapFromGlobal(button->mapToGlobal(button->rect().center()));
  QTest::mouseClick(world.popover(), Qt::LeftButton, {}, place);
  InterfaceWorld::settle();
  EXPECT_EQ(world.popover(), nullptr);
}

TEST_F(EditingSchedule, ListWithinItDoesNotCloseIt) {
  open();
  choose("scheduleTypePopUpButton", 1);
  QComboBox* weekdays = list("dayOfWeekPopUpButton");
  weekdays->showPopup();
  ASSERT_TRUE(weekdays->view()->isVisible());
  QTest::mouseClick(weekdays->view()->viewport(), Qt::LeftButton, {},
                    weekdays->view()->visualRect(weekdays->model()->index(3, 0)).center());
  InterfaceWorld::settle();
  EXPECT_FALSE(weekdays->view()->isVisible());
  ASSERT_NE(world.popover(), nullptr);
  EXPECT_EQ(world.scheduler->dayOfWeek(), 3U);
  weekdays->showPopup();
  QTest::keyClick(weekdays->view(), Qt::Key_Escape);
  InterfaceWorld::settle();
  EXPECT_FALSE(weekdays->view()->isVisible());
  EXPECT_NE(world.popover(), nullptr) << "Esc is the list's";
}

TEST_F(EditingSchedule, TabGoesRoundWithinIt) {
  open();
  choose("scheduleTypePopUpButton", 1);
  list("scheduleTypePopUpButton")->setFocus();
  QStringList stops;
  for (int i = 0; i < 7; ++i) {
    stops += world.popover()->focusWidget()->objectName();
    press(Qt::Key_Tab);
  }
  // Hour and minute are a stop each.
  EXPECT_EQ(stops.join(u' '),
            "scheduleTypePopUpButton dayOfWeekPopUpButton timeOfDayPicker timeOfDayPicker scheduleCancelButton "
            "saveCalButton scheduleTypePopUpButton");
}

TEST_F(EditingSchedule, FirstControlHasTheFocusEachTime) {
  for (int i = 0; i < 2; ++i) {
    open();
    EXPECT_EQ(world.popover()->focusWidget(), list("scheduleTypePopUpButton"));
    world.find<QWidget>("saveCalButton")->setFocus();
    press(Qt::Key_Escape);
  }
}

TEST_F(EditingSchedule, ControlsHaveNamesForAssistiveTechnology) {
  open();
  for (const char* name : {"scheduleTypePopUpButton", "dayOfWeekPopUpButton", "dayOfMonthPopUpButton",
                           "timeOfDayPicker", "scheduleCancelButton", "saveCalButton", "schedulePopover"}) {
    QAccessibleInterface* spoken = QAccessible::queryAccessibleInterface(world.find<QWidget>(name));
    ASSERT_NE(spoken, nullptr) << name;
    EXPECT_FALSE(spoken->text(QAccessible::Name).isEmpty()) << name;
  }
}

TEST_F(EditingSchedule, MenuCommandOpensItOnTheButton) {
  action("changeScheduleAction")->trigger();
  EXPECT_NE(world.popover(), nullptr);
}

TEST_F(EditingSchedule, GoesWhenASheetComesOverTheWindow) {
  open();
  choose("scheduleTypePopUpButton", 2);
  Dictionary failed = readyStatus();
  statuskey::opError.set(failed, "The disk is full.");
  world.show(failed);
  ASSERT_NE(world.sheet(), nullptr);
  EXPECT_EQ(world.popover(), nullptr);
  EXPECT_EQ(summary(), "Every day at 12:00");
}

TEST_F(EditingSchedule, TimeBeyondTheFirstDayIsOfTheFirstDayOnceItIsChanged) {
  world.scheduler->setTimeOfDay(Date{24 * 3600 + 15 * 60});
  open();
  EXPECT_EQ(picker()->time(), QTime(0, 15));
  typeTime("07", "20");
  EXPECT_EQ(world.scheduler->timeOfDay(), Date{7 * 3600 + 20 * 60});
}

// In summer, in winter, on either side of Greenwich, and where the clock was changed at the turn of 1970.
TEST_F(EditingSchedule, PickerShowsAndStoresTheHourAndMinuteInEveryZone) {
  const QByteArray before = qgetenv("TZ");
  for (const char* zone : {"UTC", "Europe/Berlin", "Europe/London", "America/New_York", "Asia/Kolkata",
                           "Pacific/Auckland", "Pacific/Kiritimati", "Asia/Kathmandu", "America/St_Johns"}) {
    qputenv("TZ", zone);
    tzset();
    for (const auto& [hour, minute] : {std::pair{0, 0}, {0, 30}, {2, 30}, {9, 30}, {23, 59}}) {
      const double stored = (hour * 60 + minute) * 60;
      world.scheduler->setTimeOfDay(Date{stored});
      open();
      EXPECT_EQ(picker()->time(), QTime(hour, minute)) << zone;
      // There and back.
      picker()->setTime(QTime(hour, minute == 15 ? 16 : 15));
      picker()->setTime(QTime(hour, minute));
      EXPECT_EQ(world.scheduler->timeOfDay(), Date{stored}) << zone;
      press(Qt::Key_Escape);
    }
  }
  before.isNull() ? qunsetenv("TZ") : qputenv("TZ", before);
  tzset();
}

TEST(SchedulePopoverFromTheRight, MirrorsItsControls) {
  InterfaceWorld world;
  const InLanguage hebrew(world, "he");
  world.openWindow();
  world.show(readyStatus());
  world.openSchedule();
  ASSERT_NE(world.popover(), nullptr);
  const auto left = [&](const char* name) { return world.find<QWidget>(name)->mapToGlobal(QPoint()).x(); };
  EXPECT_LT(left("saveCalButton"), left("scheduleCancelButton"));
  EXPECT_EQ(world.popover()->layoutDirection(), Qt::RightToLeft);
  EXPECT_EQ(world.find<QLabel>("scheduleSummary")->text(), "בכל יום בשעה 12:00");
  world.window.reset();
}

TEST(SchedulePopoverLife, WindowMayGoWhileItIsOpen) {
  InterfaceWorld world;
  world.openWindow();
  world.show(readyStatus());
  world.openSchedule();
  world.window.reset();
  EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
}

}  // namespace
}  // namespace zpk
