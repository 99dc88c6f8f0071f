#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/DateFormatter.h"
#include "base/FileManager.h"
#include "base/Localization.h"
#include "base/NotificationCenter.h"
#include "base/Observable.h"
#include "base/Value.h"
#include "schedule/ScheduleOutlets.h"
#include "schedule/TMBLaunchctlManager.h"

namespace zpk {

// What the schedule editor works with. All of it outlives the editor.
struct ZPKSchedulerEnvironment {
  NotificationCenter& notificationCenter;
  FileManager& fileManager;
  const TMBLaunchctlManager& launchctl;
  const Localization& localization;
  DateFormatter& timeFormatter;           // shows a time of day; set to GMT at launch
  const DateFormatter& defaultFormatter;  // of the user's locale, for the names of the weekdays
};

// The schedule of the automatic backup, and its editor.
//
// The schedule is kept by the operating system's job launcher and not by the program: a job file
// (~/Library/LaunchAgents/com.tarnwick.zpkauto.plist) says when `zpkctl backup` is run. This class owns that file:
// it validates and repairs it, has it loaded and unloaded, reads the schedule back from it, and edits it in a
// popover whose delegate it is. Nothing here reports an error: a missing or unreadable file is as good as an empty
// one, and what the launcher refuses shows at the next start.
//
// Main thread. Observable keys: "enabled", "scheduleType", "timeOfDay", "dayOfWeek", "dayOfMonth", "updatingValue",
// and derived from them "textualRepresentation" and "textualRepresentationControlColor".
class ZPKSchedulerViewController : public Observable {
 public:
  // Values of scheduleType.
  static constexpr std::uint64_t kEveryDay = 0;
  static constexpr std::uint64_t kEveryWeek = 1;
  static constexpr std::uint64_t kEveryMonth = 2;

  explicit ZPKSchedulerViewController(const ZPKSchedulerEnvironment& environment);

  // Outlets, set by the interface before launch; not owned. Null when there is no window (any more).
  void setDayOfMonthPopUpButton(PopUpButton* button) { _dayOfMonthPopUpButton = button; }
  void setPopover(Popover* popover) { _popover = popover; }

  // Waits for the application's launch notification.
  void awakeFromNib();
  // Reads back from the launcher whether the schedule is on, and what it is.
  void applicationDidFinishLaunching();

  bool isEnabled() const { return _enabled; }
  // Does the launcher's work first; the flag changes last.
  void setEnabled(bool enabled);
  // A number: 0 every day, 1 one day of the week, 2 one day of the month; the null value, read as 0, before it is
  // known.
  const Value& scheduleType() const { return _scheduleType; }
  void setScheduleType(Value kind);
  // Seconds since midnight of the scheduled wall-clock time, as a date after the epoch; nothing before it is known.
  const std::optional<Date>& timeOfDay() const { return _timeOfDay; }
  void setTimeOfDay(std::optional<Date> time);
  // 0 Monday … 6 Sunday.
  std::uint64_t dayOfWeek() const { return _dayOfWeek; }
  void setDayOfWeek(std::uint64_t day);
  // 0 to 30 for the days 1 to 31.
  std::uint64_t dayOfMonth() const { return _dayOfMonth; }
  void setDayOfMonth(std::uint64_t day);
  // The popover is open.
  bool isUpdatingValue() const { return _updatingValue; }

  // The schedule in one line; while the popover is open, as it was before. Sets the time of a schedule that has
  // none to 00:05, which is why it is not const.
  std::string textualRepresentation();
  ControlTextColor textualRepresentationControlColor() const;
  // Names of the weekdays in the user's language, Monday first everywhere.
  std::vector<std::string> shiftedWeekdaySymbols() const;
  // "Every monday" for 0, in the user's language; empty for a day that is none.
  std::string everyWeekdayStringForWeekday(std::uint64_t dayOfWeek) const;

  // The popover's delegate.
  void popoverWillShow();
  void popoverDidClose();
  // The popover's Save: writes the job and has it loaded anew, whether the schedule is on or off.
  void saveCalAction();

  // The job's name in the launcher.
  static std::string jobLabel();
  // Where the job file is.
  std::string jobPath() const;
  // The job without its times, and noon.
  static Dictionary defaultJobValues();
  static Dictionary defaultStartCalendar();
  // Nothing when the job is valid as it stands, else the job repaired.
  // A valid job has the default values, and a "StartCalendarInterval" with a numeric "Minute" and "Hour", perhaps
  // one of "Day" and "Weekday", and nothing else; no number in it is held to a range. A "Weekday" that is no number
  // stays, and counts as Sunday when it is read.
  static std::optional<Dictionary> validateJobInfo(const Dictionary& job);

 protected:
  std::vector<std::string_view> keyPathsForValuesAffectingValueForKey(std::string_view key) const override;

 private:
  Dictionary readJob() const;
  void writeJob(const Dictionary& job);
  void reloadJob();
  void readSchedule(const Dictionary& calendar);
  Dictionary currentSchedule() const;
  std::string dateText(const Dictionary& schedule) const;

  ZPKSchedulerEnvironment _environment;
  PopUpButton* _dayOfMonthPopUpButton = nullptr;
  Popover* _popover = nullptr;
  bool _enabled = false;
  Value _scheduleType;
  std::optional<Date> _timeOfDay;
  std::uint64_t _dayOfWeek = 0;
  std::uint64_t _dayOfMonth = 0;
  bool _updatingValue = false;
  std::optional<Dictionary> _savedCal;
  Token _launchRegistration;
};

}  // namespace zpk
