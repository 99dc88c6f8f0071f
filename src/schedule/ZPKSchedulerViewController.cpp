#include "schedule/ZPKSchedulerViewController.h"

#include <utility>

namespace zpk {
namespace {

constexpr std::uint64_t kDaysOfMonth = 31;

}  // namespace

ZPKSchedulerViewController::ZPKSchedulerViewController(const ZPKSchedulerEnvironment& environment)
    : _environment(environment) {}

void ZPKSchedulerViewController::awakeFromNib() {
  _launchRegistration = _environment.notificationCenter.addObserver(kApplicationDidFinishLaunchingNotification,
                                                                    [this] { applicationDidFinishLaunching(); });
}

void ZPKSchedulerViewController::applicationDidFinishLaunching() {
  // The stored hour and minute are printed unchanged.
  _environment.timeFormatter.setTimeZoneForSecondsFromGMT(0);
  // A loaded job is repaired and enabled for good; one that is not loaded is disabled for good, even when there has
  // never been one.
  setEnabled(_environment.launchctl.isJobEnabled(jobLabel()));
  if (_dayOfMonthPopUpButton == nullptr) return;
  _dayOfMonthPopUpButton->removeAllItems();
  for (std::uint64_t day = 1; day <= kDaysOfMonth; ++day) {
    _dayOfMonthPopUpButton->addItemWithTitle(std::to_string(day));
  }
  _dayOfMonthPopUpButton->selectItemAtIndex(_dayOfMonth);
}

void ZPKSchedulerViewController::setScheduleType(Value kind) {
  willChangeValueForKey("scheduleType");
  _scheduleType = std::move(kind);
  didChangeValueForKey("scheduleType");
}

void ZPKSchedulerViewController::setTimeOfDay(std::optional<Date> time) {
  willChangeValueForKey("timeOfDay");
  _timeOfDay = time;
  didChangeValueForKey("timeOfDay");
}

void ZPKSchedulerViewController::setDayOfWeek(std::uint64_t day) {
  willChangeValueForKey("dayOfWeek");
  _dayOfWeek = day;
  didChangeValueForKey("dayOfWeek");
}

void ZPKSchedulerViewController::setDayOfMonth(std::uint64_t day) {
  willChangeValueForKey("dayOfMonth");
  _dayOfMonth = day;
  didChangeValueForKey("dayOfMonth");
}

std::vector<std::string_view> ZPKSchedulerViewController::keyPathsForValuesAffectingValueForKey(
    std::string_view key) const {
  if (key == "textualRepresentation") {
    return {"updatingValue", "enabled", "scheduleType", "timeOfDay", "dayOfWeek", "dayOfMonth"};
  }
  if (key == "textualRepresentationControlColor") return {"updatingValue"};
  return {};
}

}  // namespace zpk
