// The schedule editor without its window, with the real launcher: starts as the program does, then does what each
// word says, and prints "on" or "off" as the editor shows it.
//
//   schedule_editor LAUNCHER WORD…
//
//   on, off          the switch
//   daily-HH:MM      saves "every day" at that time
//   weekly-D-HH:MM   on one day of the week, from 0 for Monday to 6
//   monthly-D-HH:MM  on one day of the month, from 1 to 31
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>

#include "platform/posix/FileManager_posix.h"
#include "platform/posix/TaskRunner_posix.h"
#include "schedule/ScheduleWorld.h"

namespace zpk {
namespace {

int number(std::string_view text) {
  return std::atoi(std::string(text).c_str());
}

// What is behind the last `separator` of `text`, which loses it.
std::string_view takeLast(std::string_view& text, char separator) {
  const std::size_t at = text.rfind(separator);
  if (at == std::string_view::npos) return {};
  const std::string_view last = text.substr(at + 1);
  text = text.substr(0, at);
  return last;
}

bool obey(ZPKSchedulerViewController& editor, std::string_view word) {
  if (word == "on" || word == "off") {
    editor.setEnabled(word == "on");
    return true;
  }
  const int minute = number(takeLast(word, ':'));
  const int hour = number(takeLast(word, '-'));
  editor.setTimeOfDay(Date{(hour * 60 + minute) * 60.0});
  const auto day = static_cast<std::uint64_t>(number(takeLast(word, '-')));
  if (word == "weekly") editor.setDayOfWeek(day);
  if (word == "monthly") editor.setDayOfMonth(day - 1);
  if (word != "daily" && word != "weekly" && word != "monthly") return false;
  editor.setScheduleType(word == "daily"    ? ZPKSchedulerViewController::kEveryDay
                         : word == "weekly" ? ZPKSchedulerViewController::kEveryWeek
                                            : ZPKSchedulerViewController::kEveryMonth);
  editor.saveCalAction();
  return true;
}

int edit(const std::vector<std::string>& arguments) {
  NotificationCenter notificationCenter;
  PosixFileManager files;
  PosixTaskRunner tasks;
  const TMBLaunchctlManager launchctl(tasks, arguments.at(0));
  const EnglishLocalization localization;
  PlainTimeFormatter times;
  ZPKSchedulerViewController editor({notificationCenter, files, launchctl, localization, times, times});
  editor.applicationDidFinishLaunching();
  for (auto word = arguments.begin() + 1; word != arguments.end(); ++word) {
    if (!obey(editor, *word)) return 2;
  }
  std::cout << (editor.isEnabled() ? "on" : "off") << '\n';
  return 0;
}

}  // namespace
}  // namespace zpk

int main(int argc, char** argv) {
  return argc < 2 ? 2 : zpk::edit(std::vector<std::string>(argv + 1, argv + argc));
}
