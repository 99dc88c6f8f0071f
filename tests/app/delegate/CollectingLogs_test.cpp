#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/delegate/DelegateWorld.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kArchive = "/tmp/ZPK_Logs_2026-03-05-14-07-09.zip";

class CollectingLogs : public testing::Test {
 protected:
  CollectingLogs() {
    world.transport.helperAppears();
    world.log.clear();
    world.launch();
  }

  // Programs that were run, by their paths.
  std::vector<std::string> programs() const {
    std::vector<std::string> paths;
    for (const TaskDescription& task : world.tools.tasks()) paths.push_back(task.launchPath);
    return paths;
  }

  DelegateWorld world;
  ZPKAppDelegate& delegate = *world.delegate;
  FakeHelper& helper = world.transport.helper();
};

TEST_F(CollectingLogs, StartsWithTheWindowsButtonAndNotWithTheWindow) {
  delegate.openCollectLogsWindow();
  EXPECT_EQ(world.window.broughtToFront, 1);
  EXPECT_FALSE(delegate.isCollectingLogs());
  EXPECT_EQ(world.backgroundQueue.count(), 0U);
  EXPECT_THAT(world.log.lines(), IsEmpty());
}

TEST_F(CollectingLogs, ReturnsAtOnceAndLeavesTheWorkToTheBackground) {
  delegate.collectLogs();
  EXPECT_TRUE(delegate.isCollectingLogs());
  EXPECT_THAT(world.log.lines(), ElementsAre("ZPKUI::Collect logs"));
  EXPECT_EQ(world.backgroundQueue.count(), 1U);
  EXPECT_FALSE(world.files.fileExists(DelegateWorld::kFolder));
  EXPECT_EQ(world.daemonAsked, 0U);
}

TEST_F(CollectingLogs, WritesWhatItDoesToTheLog) {
  world.collectLogs();
  EXPECT_THAT(
      world.log.lines(),
      ElementsAre("ZPKUI::Collect logs",
                  "ZPKUI::Collect logs::target directory = \"/tmp/ZPK_Logs_2026-03-05-14-07-09\"",
                  "ZPKUI::Collect logs::saving helper logs...", "ZPKUI::Collect logs::saving helper logs done",
                  "Run 12 tasks...", "launched = 1, reason = 1, status = 0", "ZPKUI::Collect logs::done"));
}

TEST_F(CollectingLogs, AsksTheHelperForItsLogsThenRunsTheToolsThenPacks) {
  std::vector<std::string> order;
  helper.whenCalled("collectLogsToPath", [&] {
    order.emplace_back("helper");
    EXPECT_TRUE(world.files.fileExists(DelegateWorld::kFolder));
  });
  world.tool = [&](const TaskDescription& task) {
    order.push_back(task.launchPath);
    return TaskResult{};
  };
  world.collectLogs();
  EXPECT_THAT(order, ElementsAre("helper", "/usr/sbin/ioreg", "/sbin/mount", "/usr/sbin/diskutil",
                                 "/usr/sbin/system_profiler", "/opt/platform-tool", "/usr/bin/zip"));
  EXPECT_EQ(helper.lastCall("collectLogsToPath").arguments, Array({Value(DelegateWorld::kFolder)}));
}

TEST_F(CollectingLogs, GoesOnWithoutTheHelpersLogsWhateverItAnswers) {
  helper.answer("collectLogsToPath", std::uint64_t{6});
  world.collectLogs();
  EXPECT_EQ(programs().back(), "/usr/bin/zip");
  EXPECT_THAT(world.workspace.revealed, ElementsAre(kArchive));
}

TEST_F(CollectingLogs, GoesOnWithoutAHelper) {
  world.transport.helperDies();
  world.collectLogs();
  EXPECT_EQ(world.log.count("ZPKUI::Collect logs::saving helper logs done"), 1U);
  EXPECT_THAT(world.workspace.revealed, ElementsAre(kArchive));
}

TEST_F(CollectingLogs, KeepsTheWindowFromBeingClosedWhileItRuns) {
  EXPECT_THAT(world.window.closeButton, ElementsAre(true));
  delegate.collectLogs();
  EXPECT_THAT(world.window.closeButton, ElementsAre(true, false));
  world.backgroundQueue.doOldest();
  EXPECT_THAT(world.window.closeButton, ElementsAre(true, false));
  world.mainQueue.doOldest();
  EXPECT_THAT(world.window.closeButton, ElementsAre(true, false, true));
}

TEST_F(CollectingLogs, AnnouncesItsBeginningAndItsEnd) {
  std::vector<bool> announced;
  const Token token = delegate.observe("collectingLogs", [&] { announced.push_back(delegate.isCollectingLogs()); });
  world.collectLogs();
  EXPECT_THAT(announced, ElementsAre(true, false));
}

TEST_F(CollectingLogs, ClosesItsWindowThenEndsThenRevealsTheArchive) {
  std::vector<std::string> order;
  world.window.atClose = [&] {
    order.emplace_back(delegate.isCollectingLogs() ? "closed while collecting" : "closed");
  };
  const Token token = delegate.observe("collectingLogs", [&] {
    if (!delegate.isCollectingLogs()) order.emplace_back(world.workspace.revealed.empty() ? "ended" : "revealed");
  });
  world.collectLogs();
  EXPECT_THAT(order, ElementsAre("closed while collecting", "ended"));
  EXPECT_THAT(world.workspace.revealed, ElementsAre(kArchive));
}

TEST_F(CollectingLogs, PutsQuittingOffUntilTheArchiveIsRevealed) {
  delegate.collectLogs();
  EXPECT_EQ(delegate.applicationShouldTerminate(), TerminateReply::later);
  std::size_t revealedAtReply = 0;
  world.application.atReply = [&] {
    revealedAtReply = world.workspace.revealed.size();
    EXPECT_FALSE(delegate.isCollectingLogs());
    EXPECT_EQ(world.window.closed, 1);
  };
  world.backgroundQueue.doOldest();
  EXPECT_THAT(world.application.replies, IsEmpty());
  world.mainQueue.doOldest();
  EXPECT_THAT(world.application.replies, ElementsAre(true));
  EXPECT_EQ(revealedAtReply, 1U);
}

TEST_F(CollectingLogs, AnswersAQuitThatWasAskedForTwiceOnce) {
  delegate.collectLogs();
  EXPECT_EQ(delegate.applicationShouldTerminate(), TerminateReply::later);
  EXPECT_EQ(delegate.applicationShouldTerminate(), TerminateReply::later);
  world.finishCollection();
  EXPECT_THAT(world.application.replies, ElementsAre(true));
}

TEST_F(CollectingLogs, AnswersNoQuitThatNobodyAskedFor) {
  world.collectLogs();
  EXPECT_THAT(world.application.replies, IsEmpty());
  EXPECT_EQ(delegate.applicationShouldTerminate(), TerminateReply::now);
}

TEST_F(CollectingLogs, EndsWithoutAFolderAtOnceAndStillQuits) {
  world.files.failAt(DelegateWorld::kFolder, "No space left on device");
  world.files.failAt(std::string(DelegateWorld::kFolder) + "-0e8a9b0c-7c11-4b1c-9d7f-0a4f2f6b8e55", "No space");
  delegate.collectLogs();
  EXPECT_EQ(delegate.applicationShouldTerminate(), TerminateReply::later);
  world.finishCollection();
  EXPECT_THAT(world.log.lines(),
              ElementsAre("ZPKUI::Collect logs", "ZPKUI::Collect logs::target directory = \"(null)\"",
                          "ZPKUI::Collect logs::done"));
  EXPECT_EQ(world.daemonAsked, 0U);
  EXPECT_THAT(programs(), IsEmpty());
  EXPECT_EQ(world.window.closed, 1);
  EXPECT_FALSE(delegate.isCollectingLogs());
  EXPECT_THAT(world.workspace.revealed, IsEmpty());
  EXPECT_THAT(world.application.replies, ElementsAre(true));
}

TEST_F(CollectingLogs, RevealsNothingWhenTheArchiveCouldNotBeMade) {
  world.tool = [](const TaskDescription& task) -> Expected<TaskResult, TaskError> {
    if (task.launchPath == "/usr/bin/zip") return TaskError{"No such file or directory"};
    return TaskResult{};
  };
  world.collectLogs();
  EXPECT_THAT(world.workspace.revealed, IsEmpty());
  EXPECT_EQ(world.window.closed, 1);
  EXPECT_FALSE(delegate.isCollectingLogs());
  EXPECT_TRUE(world.files.fileExists(DelegateWorld::kFolder));
}

TEST_F(CollectingLogs, MayRunTwiceAtOnce) {
  delegate.collectLogs();
  delegate.collectLogs();
  EXPECT_EQ(world.backgroundQueue.count(), 2U);
  world.finishCollection();
  world.finishCollection();
  EXPECT_THAT(world.workspace.revealed,
              ElementsAre(kArchive, "/tmp/ZPK_Logs_2026-03-05-14-07-09-0e8a9b0c-7c11-4b1c-9d7f-0a4f2f6b8e55.zip"));
}

TEST_F(CollectingLogs, HasNobodyToTellWhenTheDelegateIsGone) {
  delegate.collectLogs();
  world.delegate.reset();
  world.finishCollection();
  EXPECT_EQ(world.log.count("ZPKUI::Collect logs::done"), 1U);
  EXPECT_EQ(world.window.closed, 0);
  EXPECT_THAT(world.workspace.revealed, IsEmpty());
}

}  // namespace
}  // namespace zpk
