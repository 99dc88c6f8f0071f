#pragma once

#include <QApplication>
#include <QDialog>
#include <QPalette>
#include <QtTest/QTest>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/PropertyList.h"
#include "interface/MainWindow.h"
#include "mainwindow/ControllerWorld.h"
#include "mainwindow/ModalSession.h"
#include "mainwindow/OperationWatch.h"
#include "mount/DriveControlDouble.h"
#include "platform/qt/QtDateFormatter.h"
#include "platform/qt/QtTimeZone.h"
#include "support/ImmediateQueue.h"
#include "support/MemoryFileManager.h"
#include "support/RecordingWorkspace.h"
#include "support/ScriptedTaskRunner.h"

namespace zpk {

// An application that does not end: whether it was told that it may.
struct WaitingApplication final : Application {
  void replyToApplicationShouldTerminate(bool quits) override { reply = quits; }
  std::optional<bool> reply;
};

// Keeps work until the test lets it be done, on the test's own thread.
struct HeldQueue final : DispatchQueue {
  void async(std::function<void()> work) override { held.push_back(std::move(work)); }
  void doAll() {
    while (!held.empty()) {
      const std::vector<std::function<void()>> due = std::exchange(held, {});
      for (const auto& work : due) work();
    }
  }
  std::vector<std::function<void()>> held;
};

// The real window on its controllers, with a scripted helper at the other end, a scripted job launcher and no files
// but those in memory.
struct InterfaceWorld : ControllerWorld {
  // "at 12" for the twelfth second.
  struct SecondFormatter final : DateFormatter {
    std::string stringFromDate(const Date& date) const override {
      return "at " + std::to_string(static_cast<std::int64_t>(date.secondsSince1970));
    }
    void setTimeZoneForSecondsFromGMT(std::int32_t) override {}
    std::array<std::string, 7> standaloneWeekdaySymbols() const override { return {}; }
  };
  SecondFormatter times;
  OperationWatch watch{controller, loop, [this] { return Date{loop.now().count()}; }};

  // The job is known to the launcher, and so the schedule on, once a test says so.
  bool jobIsLoaded = false;
  std::vector<std::string> launchctlRuns;
  ScriptedTaskRunner launcher{[this](const TaskDescription& task) { return runLaunchctl(task); }};
  TMBLaunchctlManager launchctlManager{launcher, "/bin/launchctl"};
  MemoryFileManager home;
  QtDateFormatter timeFormatter{DateStyle::none, DateStyle::brief,
                                QLocale(QLocale::English, QLocale::UnitedKingdom)};
  QtDateFormatter weekdays{DateStyle::medium, DateStyle::none, QLocale::c()};
  QtTimeZone timeZone;
  std::unique_ptr<ZPKSchedulerViewController> scheduler;
  HeldQueue background;
  ImmediateQueue mainQueue;
  ScriptedTaskRunner tools;
  RecordingWorkspace desktop;
  WaitingApplication application;
  std::unique_ptr<ZPKAppDelegate> delegate;
  // The virtual disks that are attached: those that a test says.
  DriveControlDouble driveControl;
  AttachedDrives drives{driveControl, loop};
  InstalledParts installed{true, true, true};
  std::unique_ptr<MainWindow> window;

  InterfaceWorld() {
    home.addFolder("/tmp");
    scheduler = std::make_unique<ZPKSchedulerViewController>(
        ZPKSchedulerEnvironment{notificationCenter, home, launchctlManager, texts, timeFormatter, weekdays});
    delegate = std::make_unique<ZPKAppDelegate>(
        ZPKAppDelegateEnvironment{.notificationCenter = notificationCenter,
                                  .application = application,
                                  .workspace = desktop,
                                  .localization = texts,
                                  .log = log,
                                  .mainQueue = mainQueue,
                                  .logCollection = {.fileManager = home,
                                                    .tasks = tools,
                                                    .backgroundQueue = background,
                                                    .log = log,
                                                    .timeStamp = [] { return "2026-03-05-14-07-09"; },
                                                    .dateDescription = [] { return "2026-03-05 14:07:09 +0000"; },
                                                    .randomUUID = [] { return std::string(36, '0'); },
                                                    .sleep = [this](Seconds) { background.doAll(); }},
                                  .updaterPath = "/updater",
                                  .uninstallerPath = "/uninstaller",
                                  .daemon = [this]() -> ZPKDaemon& { return *daemon; }},
        *scheduler);
    delegate->awakeFromNib();
    scheduler->awakeFromNib();
    drives.start();
  }

  MainWindow::Surroundings surroundings() {
    return {texts, dates, times, images, watch, *delegate, drives, timeZone, installed, [this] { terminate(); }};
  }

  // `show` last: everything else is there by then.
  void openWindow() {
    window = std::make_unique<MainWindow>(controller, surroundings());
    window->show();
    launch();
    settle();
  }
  ~InterfaceWorld() { window.reset(); }

  // Lets Qt do what is due: layouts, paints, deferred deletions.
  static void settle() {
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
  }
  void show(const Dictionary& status) {
    push(status);
    settle();
  }

  template <class W>
  W* find(const char* name) const {
    W* widget = window->findChild<W*>(QString::fromLatin1(name));
    EXPECT_NE(widget, nullptr) << name;
    return widget;
  }
  template <class W>
  void click(W* button) {
    QTest::mouseClick(button, Qt::LeftButton);
    settle();
  }
  void click(const char* name) { click(find<QWidget>(name)); }

  // As the application does when it is asked to quit: at once, or with its windows closed as soon as it may.
  void terminate() {
    switch (delegate->applicationShouldTerminate()) {
      case TerminateReply::now:
        quits = true;
        return;
      case TerminateReply::later:
        window->close();
        return;
      case TerminateReply::afterQuestion:
        return;
    }
  }
  bool quits = false;

  // The schedule is on, and its popover open.
  void openSchedule() {
    if (!scheduler->isEnabled()) click("toggleSchedulerButton");
    click("changeScheduleButton");
  }
  // The popover of the schedule; null while it is not shown.
  QWidget* popover() const {
    auto* frame = window->findChild<QWidget*>("schedulePopover");
    return frame && frame->isVisible() ? frame : nullptr;
  }
  // What the job file says of its times; empty without a file.
  Dictionary calendar() const {
    const auto content = home.contentsOfFile(scheduler->jobPath(), 1 << 16);
    if (!content) return {};
    const auto job = readPropertyList(*content);
    const Dictionary* start =
        job && job->dictionary() ? (*job->dictionary())["StartCalendarInterval"].dictionary() : nullptr;
    return start ? *start : Dictionary();
  }

  // The sheet over the window; null for none.
  QDialog* sheet() const {
    for (QDialog* dialog : window->findChildren<QDialog*>()) {
      if (dialog->isVisible()) return dialog;
    }
    return nullptr;
  }

 private:
  // Lists the job when it is loaded; loads and unloads it.
  Expected<TaskResult, TaskError> runLaunchctl(const TaskDescription& task) {
    std::string run;
    for (const std::string& argument : task.arguments) run += (run.empty() ? "" : " ") + argument;
    launchctlRuns.push_back(run);
    TaskResult result;
    if (task.arguments.front() == "list") result.status = jobIsLoaded ? 0 : 1;
    if (task.arguments.front() == "load") jobIsLoaded = true;
    if (task.arguments.front() == "unload") jobIsLoaded = false;
    return result;
  }
};

inline QPalette darkPalette() {
  const QColor window(0x26, 0x28, 0x2B);
  const QColor text(0xE6, 0xE6, 0xE6);
  QPalette dark(text, QColor(0x3A, 0x3D, 0x41), QColor(0x55, 0x58, 0x5C), QColor(0x16, 0x17, 0x19),
                QColor(0x30, 0x32, 0x36), text, QColor(0xFF, 0xFF, 0xFF), QColor(0x1D, 0x1F, 0x21), window);
  dark.setColor(QPalette::AlternateBase, QColor(0x24, 0x26, 0x29));
  dark.setColor(QPalette::Highlight, QColor(0x3D, 0x8B, 0xD9));
  dark.setColor(QPalette::HighlightedText, Qt::white);
  dark.setColor(QPalette::ToolTipBase, window);
  dark.setColor(QPalette::ToolTipText, text);
  dark.setColor(QPalette::PlaceholderText, QColor(0xE6, 0xE6, 0xE6, 0x90));
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    dark.setColor(QPalette::Disabled, role, QColor(0x80, 0x82, 0x85));
  }
  return dark;
}

}  // namespace zpk