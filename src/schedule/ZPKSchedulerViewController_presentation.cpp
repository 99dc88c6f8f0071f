// The schedule in words, and the popover in which it is edited.
#include <algorithm>
#include <array>

#include "schedule/ZPKSchedulerViewController.h"

namespace zpk {
namespace {

// 00:05, the time of a schedule that has none yet.
constexpr Date kTimeUntilSet{300};

// From Monday on. translated:
constexpr std::array<std::string_view, 7> kEveryWeekday{"Every monday",   "Every tuesday", "Every wednesday",
                                                        "Every thursday", "Every friday",  "Every saturday",
                                                        "Every sunday"};
// end of translated

// Every `word` of the text; a `replacement` with the word in it is not replaced again.
std::string replacing(std::string text, std::string_view word, std::string_view replacement) {
  for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + replacement.size())) {
    text.replace(at, word.size(), replacement);
  }
  return text;
}

std::optional<Date> dateOf(const Value& value) {
  return value.date() != nullptr ? std::optional(*value.date()) : std::nullopt;
}

}  // namespace

std::string ZPKSchedulerViewController::textualRepresentation() {
  const Localization& texts = _environment.localization;
  if (!_enabled) return texts.localizedString("Disabled");
  if (!_updatingValue && !_timeOfDay) setTimeOfDay(kTimeUntilSet);
  // Once the edit is saved, there are no old values any more, though the popover is still on its way down.
  const Dictionary schedule = _updatingValue && _savedCal ? *_savedCal : currentSchedule();
  const std::optional<Date> time = dateOf(schedule["timeOfDay"]);
  std::string text = texts.localizedString("SCHEDULE_DATE at SCHEDULE_TIME");
  text = replacing(std::move(text), "SCHEDULE_DATE", dateText(schedule));
  return replacing(std::move(text), "SCHEDULE_TIME", time ? _environment.timeFormatter.stringFromDate(*time) : "");
}

ControlTextColor ZPKSchedulerViewController::textualRepresentationControlColor() const {
  return _updatingValue ? ControlTextColor::disabledControlText : ControlTextColor::controlText;
}

std::string ZPKSchedulerViewController::dateText(const Dictionary& schedule) const {
  const Localization& texts = _environment.localization;
  switch (schedule["scheduleType"].unsignedIntegerValue()) {
    case kEveryDay:
      return texts.localizedString("Every day");
    case kEveryWeek:
      return everyWeekdayStringForWeekday(schedule["dayOfWeek"].unsignedIntegerValue());
    case kEveryMonth:
      return replacing(texts.localizedString("Every DAY of the month"), "DAY",
                       std::to_string(schedule["dayOfMonth"].unsignedIntegerValue() + 1));
    default:
      return {};
  }
}

std::vector<std::string> ZPKSchedulerViewController::shiftedWeekdaySymbols() const {
  auto names = _environment.defaultFormatter.standaloneWeekdaySymbols();
  // Not by the locale's first day of the week: day 0 is Monday in every one.
  std::rotate(names.begin(), names.begin() + 1, names.end());
  return {names.begin(), names.end()};
}

std::string ZPKSchedulerViewController::everyWeekdayStringForWeekday(std::uint64_t dayOfWeek) const {
  if (dayOfWeek >= kEveryWeekday.size()) return {};
  return _environment.localization.localizedString(kEveryWeekday[static_cast<std::size_t>(dayOfWeek)]);
}

void ZPKSchedulerViewController::popoverWillShow() {
  willChangeValueForKey("updatingValue");
  _updatingValue = true;
  _savedCal = currentSchedule();
  didChangeValueForKey("updatingValue");
}

void ZPKSchedulerViewController::popoverDidClose() {
  // Closed without Save: what was edited is undone. A day that another kind uses was not kept and stays as it is
  // now.
  if (const std::optional<Dictionary> saved = _savedCal) {
    setTimeOfDay(dateOf((*saved)["timeOfDay"]));
    const std::uint64_t kind = (*saved)["scheduleType"].unsignedIntegerValue();
    if (kind == kEveryMonth) setDayOfMonth((*saved)["dayOfMonth"].unsignedIntegerValue());
    if (kind == kEveryWeek) setDayOfWeek((*saved)["dayOfWeek"].unsignedIntegerValue());
    setScheduleType(kind);
  }
  willChangeValueForKey("updatingValue");
  _updatingValue = false;
  didChangeValueForKey("updatingValue");
}

// Without what is nothing, and with the day of the present kind alone.
Dictionary ZPKSchedulerViewController::currentSchedule() const {
  Dictionary schedule;
  if (_timeOfDay) schedule.set("timeOfDay", *_timeOfDay);
  if (!_scheduleType.isNull()) schedule.set("scheduleType", _scheduleType);
  const std::uint64_t kind = _scheduleType.unsignedIntegerValue();
  if (kind == kEveryMonth) schedule.set("dayOfMonth", _dayOfMonth);
  if (kind == kEveryWeek) schedule.set("dayOfWeek", _dayOfWeek);
  return schedule;
}

}  // namespace zpk
