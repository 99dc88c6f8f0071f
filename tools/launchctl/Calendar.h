#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/Expected.h"
#include "base/Value.h"

namespace zpk {

// Why a job is not one that can be given to the service manager; in English, for the terminal.
struct JobError {
  std::string reason;
};

// One entry of a job's "StartCalendarInterval": the fields that the wall clock has to show for the job to start.
// Nothing stands for "any".
struct CalendarInterval {
  std::optional<std::int64_t> minute;   // 0 to 59
  std::optional<std::int64_t> hour;     // 0 to 23
  std::optional<std::int64_t> day;      // of the month, 1 to 31
  std::optional<std::int64_t> weekday;  // 0 Sunday … 6 Saturday
  std::optional<std::int64_t> month;    // 1 to 12

  bool operator==(const CalendarInterval&) const = default;
};

// The entries of a "StartCalendarInterval": a dictionary, or an array of them.
//
// Stricter than the job editor, which takes any number for a time: what no clock ever shows (Minute 75, a day that
// its month never has), keys of no meaning here and numbers that are not whole are refused. A job that silently
// never runs would be a backup that is never made.
Expected<std::vector<CalendarInterval>, JobError> calendarIntervals(const Value& startCalendarInterval);

// The expressions of systemd.time(7) that together elapse when `interval` does, in the time zone of the user
// manager. One, but two when both a day and a weekday are given, for the job is then due on either.
//
//   {Minute 5, Hour 7}             *-*-* 07:05:00
//   {Minute 5, Hour 7, Weekday 0}  Sun *-*-* 07:05:00
//   {Hour 7, Day 31}               *-*-31 07:*:00
std::vector<std::string> calendarExpressions(const CalendarInterval& interval);

}  // namespace zpk
