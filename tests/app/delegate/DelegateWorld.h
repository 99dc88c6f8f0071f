#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/delegate/ZPKAppDelegate.h"
#include "schedule/ScheduleWorld.h"
#include "support/FakeLinkTransport.h"
#include "support/RecordingLog.h"
#include "support/RecordingWorkspace.h"
#include "support/VirtualRunLoop.h"

namespace zpk {

// Holds its work until the test has it done. What the work itself hands in is done at once.
class HeldQueue final : public DispatchQueue {
 public:
  void async(std::function<void()> work) override {
    if (_isWorking) return work();
    _held.push_back(std::move(work));
  }
  std::size_t count() const { return _held.size(); }
  void doOldest() {
    const std::function<void()> work = std::move(_held.front());
    _held.pop_front();
    _isWorking = true;
    work();
    _isWorking = false;
  }

 private:
  std::deque<std::function<void()>> _held;
  bool _isWorking = false;
};

struct FakeApplication final : Application {
  void replyToApplicationShouldTerminate(bool quits) override {
    replies.push_back(quits);
    if (atReply) atReply();
  }
  std::vector<bool> replies;
  std::function<void()> atReply;
};

struct FakeCollectLogsWindow final : CollectLogsWindow {
  void makeKeyAndOrderFront() override { ++broughtToFront; }
  void close() override {
    ++closed;
    if (atClose) atClose();
  }
  void setCloseButtonEnabled(bool enabled) override { closeButton.push_back(enabled); }
  int broughtToFront = 0;
  int closed = 0;
  std::function<void()> atClose;
  std::vector<bool> closeButton;  // each setting
};

struct FakeQuitQuestion final : QuitQuestion {
  bool isDue() const override { return due; }
  void ask(std::function<void(bool)> answered) override {
    ++asked;
    answer = std::move(answered);
  }
  bool due = true;
  int asked = 0;
  std::function<void(bool)> answer;
};

struct FakeButton final : TitledButton {
  void setTitle(const std::string& title) override { titles.push_back(title); }
  std::vector<std::string> titles;
};

struct FakeTextField final : AttributedTextField {
  void setAttributedText(const std::vector<TextRun>& runs) override { texts.push_back(runs); }
  std::vector<std::vector<TextRun>> texts;
};

struct FakeAnchoredPopover final : AnchoredPopover {
  bool isShown() const override { return shownAt != nullptr; }
  void performClose() override {
    ++closed;
    shownAt = nullptr;
  }
  void showRelativeTo(const View& view) override { shownAt = &view; }
  const View* shownAt = nullptr;
  int closed = 0;
};

// The delegate between a schedule editor without a popover, a helper link in memory and tools that do nothing.
struct DelegateWorld {
  static constexpr const char* kFolder = "/tmp/ZPK_Logs_2026-03-05-14-07-09";

  ScheduleWorld schedule;
  VirtualRunLoop loop;
  RecordingLog log;
  FakeLinkTransport transport{loop};
  ZPKDaemon daemon{{transport, schedule.notificationCenter, loop, log}};
  MemoryFileManager files;
  ScriptedTaskRunner::Script tool = [](const TaskDescription&) { return TaskResult{}; };
  ScriptedTaskRunner tools{[this](const TaskDescription& task) { return tool(task); }};
  HeldQueue backgroundQueue;
  HeldQueue mainQueue;
  RecordingWorkspace workspace;
  FakeApplication application;
  FakeCollectLogsWindow window;
  FakeButton button;
  FakeTextField field;
  FakeAnchoredPopover popover;
  std::size_t daemonAsked = 0;
  std::unique_ptr<ZPKAppDelegate> delegate = std::make_unique<ZPKAppDelegate>(environment(), schedule.controller);

  DelegateWorld() {
    files.addFolder("/tmp");
    log.clear();
    delegate->setCollectLogsWindow(&window);
    delegate->setToggleSchedulerButton(&button);
    delegate->setAutoProtectionTextField(&field);
    delegate->setSchedulePopover(&popover);
  }

  ZPKAppDelegateEnvironment environment() {
    return {.notificationCenter = schedule.notificationCenter,
            .application = application,
            .workspace = workspace,
            .localization = schedule.localization,
            .log = log,
            .mainQueue = mainQueue,
            .logCollection = collection(),
            .updaterPath = "/opt/updater",
            .uninstallerPath = "/opt/uninstaller",
            .daemon = [this]() -> ZPKDaemon& {
              ++daemonAsked;
              return daemon;
            }};
  }
  LogCollectionEnvironment collection() {
    LogTask platformTask;
    platformTask.set("type", static_cast<std::uint64_t>(LogTaskKind::runTool));
    platformTask.set("path", "/opt/platform-tool");
    return {.fileManager = files,
            .tasks = tools,
            .backgroundQueue = backgroundQueue,
            .log = log,
            .timeStamp = [] { return "2026-03-05-14-07-09"; },
            .dateDescription = [] { return "2026-03-05 14:07:09 +0000"; },
            .randomUUID = [] { return "0e8a9b0c-7c11-4b1c-9d7f-0a4f2f6b8e55"; },
            .sleep = [](Seconds) {},
            .platformTasks = {platformTask}};
  }

  // In the program's order: the delegate first.
  void launch() {
    delegate->awakeFromNib();
    schedule.controller.awakeFromNib();
    schedule.notificationCenter.postNotificationName(kApplicationDidFinishLaunchingNotification);
  }
  // A collection from the gesture to the end.
  void collectLogs() {
    delegate->collectLogs();
    finishCollection();
  }
  void finishCollection() {
    backgroundQueue.doOldest();
    mainQueue.doOldest();
  }
};

}  // namespace zpk
