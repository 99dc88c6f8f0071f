#pragma once

#include <QCloseEvent>
#include <QWidget>
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "app/QtApplication.h"
#include "app/delegate/DelegateWorld.h"
#include "platform/qt/BackgroundQueue.h"
#include "platform/qt/MainQueue.h"
#include "platform/qt/QtRunLoop.h"

namespace zpk {

// A door that work waits at until it is opened.
class Door {
 public:
  void open() {
    const std::lock_guard lock(_mutex);
    _isOpen = true;
    _opened.notify_all();
  }
  void waitUntilOpen() {
    std::unique_lock lock(_mutex);
    _opened.wait(lock, [this] { return _isOpen; });
  }

 private:
  std::mutex _mutex;
  std::condition_variable _opened;
  bool _isOpen = false;
};

// A window of the collection as the interface makes it: it refuses to be closed by anybody but the delegate while
// its close button is off.
class RefusingWindow final : public QWidget, public CollectLogsWindow {
 public:
  void makeKeyAndOrderFront() override { show(); }
  void close() override {
    _mayClose = true;
    QWidget::close();
  }
  void setCloseButtonEnabled(bool enabled) override { _mayClose = enabled; }

 protected:
  void closeEvent(QCloseEvent* event) override { event->setAccepted(_mayClose); }

 private:
  bool _mayClose = true;
};

// A question that is there as long as a test wants it.
struct PendingQuestion final : QuitQuestion {
  bool isDue() const override { return due; }
  void ask(std::function<void(bool)> answered) override { answer = std::move(answered); }
  bool due = false;
  std::function<void(bool)> answer;
};

// The delegate with the real application, run loop and queues, a main window and the window of the collection. The
// helper and the tools are doubles; the first tool of a collection waits at the door.
struct QuittingWorld {
  QtRunLoop loop;
  VirtualRunLoop linkLoop;
  ScheduleWorld schedule;
  RecordingLog log;
  FakeLinkTransport transport{linkLoop};
  ZPKDaemon daemon{{transport, schedule.notificationCenter, linkLoop, log}};
  MemoryFileManager files;
  Door door;
  ScriptedTaskRunner tools{[this](const TaskDescription&) {
    door.waitUntilOpen();
    return TaskResult{};
  }};
  RecordingWorkspace workspace;
  MainQueue mainQueue{loop};
  BackgroundQueue backgroundQueue;
  QtApplication application;
  ZPKAppDelegate delegate{{.notificationCenter = schedule.notificationCenter,
                           .application = application,
                           .workspace = workspace,
                           .localization = schedule.localization,
                           .log = log,
                           .mainQueue = mainQueue,
                           .logCollection = {.fileManager = files,
                                             .tasks = tools,
                                             .backgroundQueue = backgroundQueue,
                                             .log = log,
                                             .timeStamp = [] { return "now"; },
                                             .dateDescription = [] { return "now"; },
                                             .randomUUID = [] { return "0"; },
                                             .sleep = [](Seconds) { std::this_thread::yield(); }},
                           .updaterPath = {},
                           .uninstallerPath = {},
                           .daemon = [this]() -> ZPKDaemon& { return daemon; }},
                          schedule.controller};
  PendingQuestion question;
  QWidget mainWindow;
  RefusingWindow collectWindow;

  QuittingWorld() {
    files.addFolder("/tmp");
    application.setDelegate(&delegate);
    delegate.setCollectLogsWindow(&collectWindow);
    delegate.setQuitQuestion(&question);
    delegate.applicationDidFinishLaunching();
    mainWindow.show();
  }
  ~QuittingWorld() {
    door.open();
    application.setDelegate(nullptr);
  }

  // Runs the application; `step` is done in its first turn. What quits it has a deadline.
  void run(std::function<void()> step) {
    bool over = false;
    const Token deadline = loop.scheduledTimer(Seconds(30), [&] {
      over = true;
      QCoreApplication::exit();
    });
    loop.performAfterDelay(Seconds(0), std::move(step));
    loop.run();
    EXPECT_FALSE(over) << "nothing made the application quit";
  }
  // After some turns of the run loop, in which a quit that was not put off would have come.
  void soon(std::function<void()> step, int turns = 20) {
    if (turns == 0) return step();
    loop.performAfterDelay(Seconds(0.001), [this, turns, step = std::move(step)] { soon(step, turns - 1); });
  }
};

}  // namespace zpk
