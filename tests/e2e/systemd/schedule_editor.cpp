// The schedule editor without its window, with the real launcher: starts as the program does, then does what each
// word says, and prints "on" or "off" as the editor shows it.
//
//   schedule_editor LAUNCHER WORD…
//
//   on, off          the switch
//   daily-HH:MM      saves "every day" at that time
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>

#include "platform/posix/FileManager_posix.h"
#include "platform/posix/TaskRunner_posix.h"
#include "schedule/ScheduleWorld.h"

namespace zpk {
namespace {

constexpr std::string_view kDaily = "daily-";

int number(const std::string& text) {
  return std::atoi(text.c_str());
}

bool obey(ZPKSchedulerViewController& editor, const std::string& word) {
  if (word == "on" || word == "off") {
    editor.setEnabled(word == "on");
    return true;
  }
  const std::size_t colon = word.find(':');
  if (!word.starts_with(kDaily) || colon == std::string::npos) return false;
  const int minutes = number(word.substr(kDaily.size())) * 60 + number(word.substr(colon + 1));
  editor.setTimeOfDay(Date{minutes * 60.0});
  editor.setScheduleType(ZPKSchedulerViewController::kEveryDay);
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
