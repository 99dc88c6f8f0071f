#pragma once

#include <algorithm>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "diagnostics/LogTasks.h"
#include "support/ImmediateQueue.h"
#include "support/MemoryFileManager.h"
#include "support/RecordingLog.h"
#include "support/ScriptedTaskRunner.h"

namespace zpk {

// A thread for each piece of work. Destruction waits for them.
class ThreadQueue final : public DispatchQueue {
 public:
  ~ThreadQueue() override {
    for (std::thread& thread : _threads) thread.join();
  }
  void async(std::function<void()> work) override {
    const std::lock_guard lock(_mutex);
    _threads.emplace_back(std::move(work));
  }

 private:
  std::mutex _mutex;
  std::vector<std::thread> _threads;
};

// The platform of a collection as doubles. The clock stands still, sleeping is remembered, the UUIDs are numbered.
struct DiagnosticsWorld {
  MemoryFileManager files;
  ScriptedTaskRunner tasks;
  ImmediateQueue immediate;
  RecordingLog log;

  std::mutex mutex;
  std::vector<Seconds> sleeps;
  int uuids = 0;
  std::string stamp = "2026-03-05-14-07-09";

  LogCollectionEnvironment environment;

  DiagnosticsWorld() : DiagnosticsWorld([](const TaskDescription&) { return TaskResult{}; }) {}
  explicit DiagnosticsWorld(ScriptedTaskRunner::Script script) : DiagnosticsWorld(std::move(script), immediate) {}
  DiagnosticsWorld(ScriptedTaskRunner::Script script, DispatchQueue& queue)
      : tasks(std::move(script)),
        environment{files,
                    tasks,
                    queue,
                    log,
                    [this] { return stamp; },
                    [] { return std::string("2026-03-05 14:07:09 +0000"); },
                    [this] { return uuid(++uuids); },
                    [this](Seconds time) { slept(time); }} {
    files.addFolder("/tmp");
    files.addFolder("/tmp/out");
  }

  static std::string uuid(int number) { return "00000000-0000-4000-8000-00000000000" + std::to_string(number); }
  std::size_t sleepsOf(double seconds) {
    const std::lock_guard lock(mutex);
    return static_cast<std::size_t>(std::count(sleeps.begin(), sleeps.end(), Seconds(seconds)));
  }

 private:
  void slept(Seconds time) {
    {
      const std::lock_guard lock(mutex);
      sleeps.push_back(time);
    }
    std::this_thread::yield();
  }
};

inline LogTask fileTask(const std::string& path) {
  return {{"type", 1U}, {"path", path}};
}
inline LogTask toolTask(const std::string& path) {
  return {{"type", 3U}, {"path", path}};
}

}  // namespace zpk
