#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <set>

#include "diagnostics/DiagnosticsWorld.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Keeps work until it is told to do it.
class HeldQueue final : public DispatchQueue {
 public:
  void async(std::function<void()> work) override { held.push_back(std::move(work)); }
  std::vector<std::function<void()>> held;
};

TEST(RunLogTasks, WithoutTasksSaysSoAndNeverSleeps) {
  DiagnosticsWorld world;
  runLogTasks({}, "/tmp/out", world.environment);
  EXPECT_THAT(world.log.lines(), ElementsAre("Run 0 tasks..."));
  EXPECT_THAT(world.sleeps, IsEmpty());
}

TEST(RunLogTasks, SaysHowManyTasksItRuns) {
  DiagnosticsWorld world;
  runLogTasks(makeLogTasks(kEveryCategory), "/tmp/out", world.environment);
  EXPECT_THAT(world.log.lines(), ElementsAre("Run 11 tasks..."));
}

TEST(RunLogTasks, CopiesFilesUnderTheirLastComponent) {
  DiagnosticsWorld world;
  world.files.addFolder("/var");
  world.files.addFolder("/var/log");
  world.files.add("/var/log/zpk.log", "ours");
  runLogTasks({fileTask("/var/log/zpk.log"), fileTask("/var/log/missing.log")}, "/tmp/out", world.environment);
  EXPECT_EQ(world.files.content("/tmp/out/zpk.log"), "ours");
  EXPECT_THAT(*world.files.contentsOfDirectory("/tmp/out"), ElementsAre("zpk.log"));
}

TEST(RunLogTasks, LeavesAFileThatIsThereAlready) {
  DiagnosticsWorld world;
  world.files.add("/zpk.log", "another's");
  world.files.add("/tmp/out/zpk.log", "the helper's");
  runLogTasks({fileTask("/zpk.log")}, "/tmp/out", world.environment);
  EXPECT_EQ(world.files.content("/tmp/out/zpk.log"), "the helper's");
}

TEST(RunLogTasks, RunsTheWholeTable) {
  DiagnosticsWorld world;
  for (const char* folder : {"/var", "/var/log", "/Library", "/Library/Logs", "/Library/Logs/DiagnosticReports"})
    world.files.addFolder(folder);
  world.files.add("/var/log/kernel.log", "k");
  world.files.add("/var/log/bexil_1.txt", "b");
  world.files.add("/var/log/gulden.log", "g");
  world.files.add("/var/log/wren.log", "w");
  world.files.add("/Library/Logs/DiagnosticReports/ZPKHelper_1.crash", "c");
  runLogTasks(makeLogTasks(kEveryCategory), "/tmp/out", world.environment);
  EXPECT_THAT(*world.files.contentsOfDirectory("/tmp/out"),
              ElementsAre("ZPKHelper_1.crash", "bexil_1.txt", "gulden.log", "kernel.log", "wren.log"));
  std::vector<std::string> tools;
  for (const TaskDescription& task : world.tasks.tasks()) tools.push_back(task.launchPath);
  EXPECT_THAT(tools,
              ElementsAre("/usr/sbin/ioreg", "/sbin/mount", "/usr/sbin/diskutil", "/usr/sbin/system_profiler"));
}

TEST(RunLogTasks, ATaskOfAnotherTypeOrNoneDoesNothingButCounts) {
  DiagnosticsWorld world;
  world.files.add("/a", "");
  const std::vector<LogTask> tasks{
      {{"type", 0U}, {"path", "/a"}}, {{"type", 4U}, {"path", "/a"}}, {{"path", "/a"}}, {}, fileTask("")};
  runLogTasks(tasks, "/tmp/out", world.environment);
  EXPECT_THAT(world.log.lines(), ElementsAre("Run 5 tasks..."));
  EXPECT_THAT(*world.files.contentsOfDirectory("/tmp/out"), IsEmpty());
  EXPECT_THAT(world.tasks.tasks(), IsEmpty());
}

TEST(RunLogTasks, HandsTasksInByTheOrderOfTheArray) {
  DiagnosticsWorld world;
  runLogTasks({toolTask("/b"), toolTask("/a"), toolTask("/c")}, "/tmp/out", world.environment);
  std::vector<std::string> tools;
  for (const TaskDescription& task : world.tasks.tasks()) tools.push_back(task.launchPath);
  EXPECT_THAT(tools, ElementsAre("/b", "/a", "/c"));
}

TEST(RunLogTasks, LooksEveryHalfSecondUntilTheLastTaskHasFinished) {
  HeldQueue queue;
  DiagnosticsWorld world([](const TaskDescription&) { return TaskResult{}; }, queue);
  world.environment.sleep = [&](Seconds time) {
    world.sleeps.push_back(time);
    // One of them finishes in each half second, the last one first.
    ASSERT_FALSE(queue.held.empty());
    queue.held.back()();
    queue.held.pop_back();
  };
  runLogTasks({toolTask("/a"), toolTask("/b"), toolTask("/c")}, "/tmp/out", world.environment);
  EXPECT_EQ(world.tasks.tasks().size(), 3U);
  EXPECT_THAT(world.sleeps, ElementsAre(Seconds(0.5), Seconds(0.5), Seconds(0.5)));
}

TEST(RunLogTasks, TwoOfTheSameToolRunOneAfterTheOtherIntoOneLog) {
  std::atomic<int> running = 0;
  std::atomic<bool> overlapped = false;
  DiagnosticsWorld* there = nullptr;
  auto queue = std::make_unique<ThreadQueue>();
  DiagnosticsWorld world(
      [&](const TaskDescription&) {
        if (++running > 1) overlapped = true;
        // Not before the other one found the name taken, unless that ran before.
        const bool isFirst = there->tasks.tasks().size() == 1;
        while (isFirst && !overlapped && there->sleepsOf(0.05) == 0) std::this_thread::yield();
        --running;
        return TaskResult{};
      },
      *queue);
  there = &world;
  // Of the same name, though of another folder.
  runLogTasks({toolTask("/sbin/mount"), toolTask("/bin/mount")}, "/tmp/out", world.environment);
  queue.reset();
  EXPECT_FALSE(overlapped);
  EXPECT_GE(world.sleepsOf(0.05), 1U);
  const std::string log = world.tasks.log("/tmp/out/mount.log");
  const std::string sbin = "2026-03-05 14:07:09 +0000 Launching /sbin/mount\n\n\n";
  const std::string bin = "2026-03-05 14:07:09 +0000 Launching /bin/mount\n\n\n";
  EXPECT_THAT(log, testing::AnyOf(sbin + bin, bin + sbin));
}

TEST(RunLogTasks, ToolsOfDifferentNamesRunAtTheSameTime) {
  std::mutex mutex;
  std::condition_variable changed;
  int running = 0;
  std::atomic<int> met = 0;
  {
    ThreadQueue queue;
    DiagnosticsWorld world(
        [&](const TaskDescription&) {
          std::unique_lock lock(mutex);
          ++running;
          changed.notify_all();
          // Would one wait for the other's end, they would never meet.
          if (changed.wait_for(lock, std::chrono::seconds(20), [&] { return running == 3; })) ++met;
          return TaskResult{};
        },
        queue);
    runLogTasks({toolTask("/a"), toolTask("/b"), toolTask("/c")}, "/tmp/out", world.environment);
    EXPECT_EQ(world.sleepsOf(0.05), 0U);
  }
  EXPECT_EQ(met, 3);
}

TEST(RunLogTasks, AToolThatCannotStartLetsTheNextOfItsNameRun) {
  ThreadQueue queue;
  DiagnosticsWorld world([](const TaskDescription&) { return TaskError{"no"}; }, queue);
  world.tasks.failLogAt("/tmp/out/locked.log");
  runLogTasks({toolTask("/a"), toolTask("/a"), toolTask("/locked"), toolTask("/locked")}, "/tmp/out",
              world.environment);
  EXPECT_EQ(world.tasks.tasks().size(), 2U);
}

TEST(RunLogTasks, ManyTasksOfFewToolsAllRun) {
  std::vector<LogTask> tasks;
  for (int i = 0; i < 60; ++i) tasks.push_back(toolTask("/tool" + std::to_string(i % 3)));
  std::mutex mutex;
  std::multiset<std::string> running;
  bool twice = false;
  auto queue = std::make_unique<ThreadQueue>();
  DiagnosticsWorld world(
      [&](const TaskDescription& task) {
        {
          const std::lock_guard lock(mutex);
          running.insert(task.launchPath);
          twice = twice || running.count(task.launchPath) > 1;
        }
        std::this_thread::yield();
        const std::lock_guard lock(mutex);
        running.erase(task.launchPath);
        return TaskResult{};
      },
      *queue);
  runLogTasks(tasks, "/tmp/out", world.environment);
  EXPECT_EQ(world.tasks.tasks().size(), 60U);
  queue.reset();
  EXPECT_FALSE(twice);
}

}  // namespace
}  // namespace zpk
