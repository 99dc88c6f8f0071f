// Saves a schedule once, into the job file below HOME, and ends: the program that the tests kill and trip. It
// prints what the job launcher would have been asked.
//
//   save_schedule_once HOUR MINUTE WEEKDAY    WEEKDAY from 0, Monday, to 6
#include <cstdlib>
#include <iostream>

#include "platform/posix/FileManager_posix.h"
#include "schedule/ScheduleWorld.h"

namespace zpk {
namespace {

void save(long hour, long minute, long weekday) {
  NotificationCenter notificationCenter;
  PosixFileManager files;
  ScriptedTaskRunner tasks([](const TaskDescription& task) {
    for (const std::string& argument : task.arguments) std::cout << argument << '\n';
    return TaskResult{};
  });
  const TMBLaunchctlManager launchctl(tasks, "/bin/launchctl");
  const EnglishLocalization localization;
  PlainTimeFormatter times;
  ZPKSchedulerViewController controller({notificationCenter, files, launchctl, localization, times, times});
  controller.setTimeOfDay(Date{static_cast<double>((hour * 60 + minute) * 60)});
  controller.setScheduleType(ZPKSchedulerViewController::kEveryWeek);
  controller.setDayOfWeek(static_cast<std::uint64_t>(weekday));
  controller.saveCalAction();
}

}  // namespace
}  // namespace zpk

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  zpk::save(std::atol(argv[1]), std::atol(argv[2]), std::atol(argv[3]));
  return 0;
}
