#pragma once

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "base/PropertyList.h"
#include "schedule/ZPKSchedulerViewController.h"
#include "support/MemoryFileManager.h"
#include "support/ScriptedTaskRunner.h"

namespace zpk {

// Shows dates as "9:30" in the zone that it was given last. It starts two hours ahead of GMT.
class PlainTimeFormatter final : public DateFormatter {
 public:
  std::string stringFromDate(const Date& date) const override {
    const auto minutes = static_cast<long>(date.secondsSince1970 + _seconds) / 60;
    char text[32];
    std::snprintf(text, sizeof text, "%ld:%02ld", minutes / 60, minutes % 60);
    return text;
  }
  void setTimeZoneForSecondsFromGMT(std::int32_t seconds) override { _seconds = seconds; }
  std::array<std::string, 7> standaloneWeekdaySymbols() const override {
    return {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  }

 private:
  std::int32_t _seconds = 7200;
};

class RecordingPopUpButton final : public PopUpButton {
 public:
  void removeAllItems() override { titles.clear(); }
  void addItemWithTitle(const std::string& title) override { titles.push_back(title); }
  void selectItemAtIndex(std::uint64_t index) override { selected = index; }

  std::vector<std::string> titles{"left from before"};
  std::optional<std::uint64_t> selected;
};

// Tells its delegate as a real one does.
class FakePopover final : public Popover {
 public:
  explicit FakePopover(ZPKSchedulerViewController& delegate) : _delegate(delegate) {}
  void show() {
    _delegate.popoverWillShow();
    _isShown = true;
  }
  bool isShown() const override { return _isShown; }
  void performClose() override {
    if (!_isShown) return;
    _isShown = false;
    _delegate.popoverDidClose();
  }

 private:
  ZPKSchedulerViewController& _delegate;
  bool _isShown = false;
};

// Texts with a translation; English for the others.
class TableLocalization final : public Localization {
 public:
  std::string localizedString(std::string_view key) const override {
    const auto found = texts.find(key);
    return found == texts.end() ? std::string(key) : found->second;
  }
  std::map<std::string, std::string, std::less<>> texts;
};

// The schedule editor in front of a home folder in memory and a job launcher of which only the arguments are kept.
class ScheduleWorld {
 public:
  static constexpr const char* kTool = "/bin/launchctl";
  static constexpr const char* kLabel = "com.tarnwick.zpkauto";
  static constexpr const char* kFolder = "/home/user/Library/LaunchAgents";
  static constexpr const char* kPath = "/home/user/Library/LaunchAgents/com.tarnwick.zpkauto.plist";
  using Arguments = std::vector<std::string>;

  ScheduleWorld() { controller.setPopover(&popover); }

  void makeFolder() {
    for (const char* folder : {"/home", "/home/user", "/home/user/Library", kFolder}) files.addFolder(folder);
  }
  void putJob(const Dictionary& job) {
    makeFolder();
    const auto content = writeXMLPropertyList(job);
    files.add(kPath, std::string(content->begin(), content->end()));
  }
  // What the job file holds; the null value when it is no property list.
  Value job() const {
    const std::string content = files.content(kPath);
    const auto value = readPropertyList(Bytes(content.begin(), content.end()));
    return value ? *value : Value();
  }
  // Arguments of what was run, in order.
  std::vector<Arguments> runs() const {
    std::vector<Arguments> lists;
    for (const TaskDescription& task : tasks.tasks()) lists.push_back(task.arguments);
    return lists;
  }
  // A valid job with that calendar.
  static Dictionary jobWithCalendar(const Value& calendar) {
    Dictionary job = ZPKSchedulerViewController::defaultJobValues();
    job.set("StartCalendarInterval", calendar);
    return job;
  }

  MemoryFileManager files;
  bool isLoaded = false;                     // what the launcher answers when it is asked for the job
  bool fails = false;                        // whether everything else that it is asked for fails
  std::vector<std::string> fileAtRuns;       // the job file's content at every run
  std::vector<std::function<void()>> atRun;  // called in every run
  ScriptedTaskRunner tasks{[this](const TaskDescription& task) -> Expected<TaskResult, TaskError> {
    fileAtRuns.push_back(files.content(kPath));
    for (const auto& call : atRun) call();
    TaskResult result;
    result.status = (task.arguments.front() == "list" ? !isLoaded : fails) ? 1 : 0;
    return result;
  }};
  TMBLaunchctlManager launchctl{tasks, kTool};
  NotificationCenter notificationCenter;
  TableLocalization localization;
  PlainTimeFormatter timeFormatter;
  PlainTimeFormatter defaultFormatter;
  ZPKSchedulerViewController controller{
      {notificationCenter, files, launchctl, localization, timeFormatter, defaultFormatter}};
  FakePopover popover{controller};
};

}  // namespace zpk
