// The job file: what is in it, how it is repaired, read and written, and the job launcher's part.
#include <algorithm>
#include <array>

#include "base/PropertyList.h"
#include "schedule/ZPKSchedulerViewController.h"

namespace zpk {
namespace {

// In the user's home folder.
constexpr std::string_view kJobFolder = "/Library/LaunchAgents";
constexpr std::string_view kJobFile = "com.tarnwick.zpkauto.plist";

constexpr std::string_view kCalendar = "StartCalendarInterval";
constexpr std::array<std::string_view, 4> kCalendarKeys{"Minute", "Hour", "Day", "Weekday"};

// Of which a job takes a few hundred bytes.
constexpr std::size_t kLongestJobFile = std::size_t{1} << 20;

constexpr std::uint64_t kSunday = 6;

// Without the entries that `keep` does not want.
template <class Predicate>
Dictionary filtered(Dictionary dictionary, Predicate keep) {
  std::vector<Dictionary::Entry> entries = std::move(dictionary).release();
  std::erase_if(entries, [&](const Dictionary::Entry& entry) { return !keep(entry.first); });
  return Dictionary(std::move(entries));
}

Dictionary repairedCalendar(Dictionary calendar) {
  const Dictionary defaults = ZPKSchedulerViewController::defaultStartCalendar();
  if (!calendar["Minute"].isNumber()) calendar.set("Minute", defaults["Minute"]);
  if (!calendar["Hour"].isNumber()) calendar.set("Hour", defaults["Hour"]);
  if (!calendar["Day"].isNumber()) calendar.remove("Day");
  // "WeekDay" with a capital D is another key than the one tested; a non-numeric "Weekday" stays.
  if (!calendar["Weekday"].isNumber()) calendar.remove("WeekDay");
  if (calendar.contains("Day") && calendar.contains("Weekday")) calendar.remove("Day");
  return filtered(std::move(calendar), [](const std::string& key) {
    return std::find(kCalendarKeys.begin(), kCalendarKeys.end(), key) != kCalendarKeys.end();
  });
}

std::string jobFolder(const FileManager& files) {
  std::string home = files.homeDirectory();
  if (home == "/") home.clear();
  return home.append(kJobFolder);
}

}  // namespace

Dictionary ZPKSchedulerViewController::defaultJobValues() {
  return {{"Label", jobLabel()},
          {"ProgramArguments", Array{"/usr/bin/zpkctl", "backup"}},
          {"KeepAlive", false},
          {"RunAtLoad", false}};
}

Dictionary ZPKSchedulerViewController::defaultStartCalendar() {
  return {{"Minute", 0}, {"Hour", 12}};
}

std::optional<Dictionary> ZPKSchedulerViewController::validateJobInfo(const Dictionary& job) {
  const Dictionary defaults = defaultJobValues();
  Dictionary repaired = job;
  for (const auto& [key, value] : defaults) {
    if (repaired[key] != value) repaired.set(key, value);
  }
  repaired = filtered(std::move(repaired),
                      [&](const std::string& key) { return key == kCalendar || defaults.contains(key); });
  // The job launcher also takes an array of calendars, which the editor cannot show: it goes the way of all that is
  // no dictionary.
  const Dictionary* calendar = repaired[kCalendar].dictionary();
  repaired.set(kCalendar, calendar != nullptr ? repairedCalendar(*calendar) : defaultStartCalendar());
  if (repaired == job) return std::nullopt;
  return repaired;
}

// The label is nowhere but in the name of the file.
std::string ZPKSchedulerViewController::jobLabel() {
  return std::string(kJobFile.substr(0, kJobFile.rfind('.')));
}

std::string ZPKSchedulerViewController::jobPath() const {
  return jobFolder(_environment.fileManager).append("/").append(kJobFile);
}

void ZPKSchedulerViewController::setEnabled(bool enabled) {
  if (enabled) {
    Dictionary job = readJob();
    if (std::optional<Dictionary> repaired = validateJobInfo(job)) {
      job = *std::move(repaired);
      writeJob(job);
      reloadJob();
    }
    _environment.launchctl.enable(true, jobPath());
    readSchedule(*job[kCalendar].dictionary());  // A valid job has one.
  } else {
    // The file stays: switching on later takes up its schedule.
    _environment.launchctl.enable(false, jobPath());
  }
  willChangeValueForKey("enabled");
  _enabled = enabled;
  didChangeValueForKey("enabled");
}

void ZPKSchedulerViewController::saveCalAction() {
  // Forgotten first, so that the closing popover does not take the edit back.
  _savedCal.reset();
  const std::uint64_t time = Value(_timeOfDay ? _timeOfDay->secondsSince1970 : 0).unsignedIntegerValue();
  // Hours beyond the first day are written as they are.
  Dictionary calendar{{"Minute", time % 3600 / 60}, {"Hour", time / 3600}};
  const std::uint64_t kind = _scheduleType.unsignedIntegerValue();
  if (kind == kEveryMonth) calendar.set("Day", _dayOfMonth + 1);
  if (kind == kEveryWeek) calendar.set("Weekday", _dayOfWeek + 1);
  Dictionary job = defaultJobValues();
  job.set(kCalendar, std::move(calendar));

  FileManager& files = _environment.fileManager;
  if (const std::string folder = jobFolder(files); !files.fileExists(folder)) (void)files.createDirectories(folder);
  writeJob(job);
  reloadJob();
  if (_popover != nullptr) _popover->performClose();
}

// Empty when there is none that can be read.
Dictionary ZPKSchedulerViewController::readJob() const {
  const auto content = _environment.fileManager.contentsOfFile(jobPath(), kLongestJobFile);
  if (!content) return {};
  const auto job = readPropertyList(*content);
  return job && job->isDictionary() ? *job->dictionary() : Dictionary();
}

void ZPKSchedulerViewController::writeJob(const Dictionary& job) {
  const auto content = writeXMLPropertyList(job);
  if (content) (void)_environment.fileManager.saveFile(jobPath(), *content);
}

void ZPKSchedulerViewController::reloadJob() {
  _environment.launchctl.load(false, jobPath());
  _environment.launchctl.load(true, jobPath());
}

void ZPKSchedulerViewController::readSchedule(const Dictionary& calendar) {
  // In 32 bits, in which absurd numbers wrap.
  const std::uint32_t seconds =
      (calendar["Hour"].unsignedIntValue() * 60 + calendar["Minute"].unsignedIntValue()) * 60;
  setTimeOfDay(Date{static_cast<double>(seconds)});
  std::uint64_t kind = kEveryDay;
  if (calendar.contains("Weekday")) {
    // The job launcher's other number for Sunday is 0, and so reads a "Weekday" that is no number.
    const std::uint64_t weekday = calendar["Weekday"].unsignedIntegerValue();
    setDayOfWeek(weekday == 0 ? kSunday : weekday - 1);
    kind = kEveryWeek;
  } else if (calendar.contains("Day")) {
    setDayOfMonth(calendar["Day"].unsignedIntegerValue() - 1);
    kind = kEveryMonth;
  }
  setScheduleType(kind);
}

}  // namespace zpk
