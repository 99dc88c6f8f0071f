// The way of a schedule from the editor to systemd: saves schedules as the schedule editor does, and prints for
// each what its calendar is in the timer that the launcher makes of the saved job file, a line each:
//
//   KIND DAY HOUR MINUTE<tab>EXPRESSION      KIND daily, weekly (DAY 0, Monday, to 6) or monthly (DAY 1 to 31)
//
//   print_schedules HH:MM…                   every kind and day, at each of the times
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>

#include "schedule/ScheduleWorld.h"
#include "tools/launchctl/JobDefinition.h"
#include "tools/launchctl/SystemdUnits.h"

namespace zpk {
namespace {

constexpr std::string_view kOnCalendar = "OnCalendar=";

// The job file's timer: what follows "OnCalendar=", a tab before each.
std::string calendarOf(const std::string& jobFile) {
  const auto dictionary = readJobFile(Bytes(jobFile.begin(), jobFile.end()));
  if (!dictionary) return "\t" + dictionary.error().reason;
  const auto job = jobDefinition(*dictionary);
  if (!job) return "\t" + job.error().reason;
  std::string calendar;
  for (const UnitFile& unit : systemdUnits(*job, "job.plist")) {
    std::size_t at = unit.text.find(kOnCalendar);
    for (; at != std::string::npos; at = unit.text.find(kOnCalendar, at + 1)) {
      const std::size_t start = at + kOnCalendar.size();
      calendar += "\t" + unit.text.substr(start, unit.text.find('\n', start) - start);
    }
  }
  return calendar;
}

void printSaved(ScheduleWorld& world, std::string_view kind, std::uint64_t day, const std::string& time) {
  world.controller.saveCalAction();
  std::cout << kind << ' ' << day << ' ' << time.substr(0, 2) << ' ' << time.substr(3)
            << calendarOf(world.files.content(ScheduleWorld::kPath)) << '\n';
}

void printAll(const std::string& time) {
  ScheduleWorld world;
  world.makeFolder();
  world.controller.setTimeOfDay(Date{std::atoi(time.c_str()) * 3600.0 + std::atoi(time.c_str() + 3) * 60.0});
  world.controller.setScheduleType(ZPKSchedulerViewController::kEveryDay);
  printSaved(world, "daily", 0, time);
  world.controller.setScheduleType(ZPKSchedulerViewController::kEveryWeek);
  for (std::uint64_t day = 0; day < 7; ++day) {
    world.controller.setDayOfWeek(day);
    printSaved(world, "weekly", day, time);
  }
  world.controller.setScheduleType(ZPKSchedulerViewController::kEveryMonth);
  for (std::uint64_t day = 0; day < 31; ++day) {
    world.controller.setDayOfMonth(day);
    printSaved(world, "monthly", day + 1, time);
  }
}

}  // namespace
}  // namespace zpk

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    const std::string time = argv[i];
    if (time.size() != 5 || time[2] != ':') return 2;
    zpk::printAll(time);
  }
  return 0;
}
