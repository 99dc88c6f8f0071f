#include "tools/launchctl/Calendar.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

namespace zpk {

namespace {

struct Field {
  std::string_view key;
  std::optional<std::int64_t> CalendarInterval::*member;
  std::int64_t least;
  std::int64_t most;
};

constexpr std::array<Field, 5> kFields = {{
    {"Minute", &CalendarInterval::minute, 0, 59},
    {"Hour", &CalendarInterval::hour, 0, 23},
    {"Day", &CalendarInterval::day, 1, 31},
    {"Weekday", &CalendarInterval::weekday, 0, 7},
    {"Month", &CalendarInterval::month, 1, 12},
}};

constexpr std::array<std::string_view, 7> kWeekdays = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr std::array<std::int64_t, 12> kMonthLengths = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

// More entries than any week has minutes are no schedule of a person's.
constexpr std::size_t kMaxIntervals = 1'000;

// Any number, a fraction cut off: so does the editor read it.
std::optional<std::int64_t> wholeNumber(const Value& value) {
  if (!value.isNumber() || std::isnan(value.doubleValue())) return std::nullopt;
  // What does not fit is out of every range anyway.
  if (value.isUnsigned() && value.unsignedIntegerValue() > INT64_MAX) return INT64_MAX;
  return value.integerValue();
}

std::optional<JobError> readField(const std::string& key, const Value& value, CalendarInterval& interval) {
  const auto field = std::find_if(kFields.begin(), kFields.end(), [&](const Field& f) { return f.key == key; });
  if (field == kFields.end()) return JobError{"StartCalendarInterval has a key that is not known: " + key};
  const auto number = wholeNumber(value);
  if (!number) return JobError{key + " of StartCalendarInterval is not a number"};
  if (*number < field->least || *number > field->most) {
    return JobError{key + " of StartCalendarInterval is not between " + std::to_string(field->least) + " and " +
                    std::to_string(field->most) + ": " + std::to_string(*number)};
  }
  interval.*field->member = *number;
  return std::nullopt;
}

Expected<CalendarInterval, JobError> readInterval(const Value& value) {
  const Dictionary* entry = value.dictionary();
  if (entry == nullptr) return JobError{"StartCalendarInterval is neither a dictionary nor an array of them"};
  CalendarInterval interval;
  for (const auto& [key, field] : *entry) {
    if (auto error = readField(key, field, interval)) return *error;
  }
  if (interval.weekday == 7) interval.weekday = 0;
  if (interval.day && interval.month &&
      *interval.day > kMonthLengths[static_cast<std::size_t>(*interval.month) - 1]) {
    return JobError{"month " + std::to_string(*interval.month) + " never has a day " +
                    std::to_string(*interval.day)};
  }
  return interval;
}

std::string twoDigits(const std::optional<std::int64_t>& number) {
  if (!number) return "*";
  return *number < 10 ? "0" + std::to_string(*number) : std::to_string(*number);
}

std::string expression(const CalendarInterval& interval) {
  const std::string weekday =
      interval.weekday ? std::string(kWeekdays[static_cast<std::size_t>(*interval.weekday)]) + " " : "";
  return weekday + "*-" + twoDigits(interval.month) + "-" + twoDigits(interval.day) + " " +
         twoDigits(interval.hour) + ":" + twoDigits(interval.minute) + ":00";
}

}  // namespace

Expected<std::vector<CalendarInterval>, JobError> calendarIntervals(const Value& startCalendarInterval) {
  const Array* array = startCalendarInterval.array();
  const Array entries = array != nullptr ? *array : Array{startCalendarInterval};
  if (entries.empty()) return JobError{"StartCalendarInterval is empty"};
  if (entries.size() > kMaxIntervals) return JobError{"StartCalendarInterval has too many entries"};
  std::vector<CalendarInterval> intervals;
  for (const Value& entry : entries) {
    auto interval = readInterval(entry);
    if (!interval) return interval.error();
    intervals.push_back(*interval);
  }
  return intervals;
}

std::vector<std::string> calendarExpressions(const CalendarInterval& interval) {
  if (!interval.day || !interval.weekday) return {expression(interval)};
  CalendarInterval onDay = interval;
  CalendarInterval onWeekday = interval;
  onDay.weekday.reset();
  onWeekday.day.reset();
  return {expression(onDay), expression(onWeekday)};
}

}  // namespace zpk
