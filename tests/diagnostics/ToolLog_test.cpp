#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "diagnostics/DiagnosticsWorld.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TaskResult saying(std::string_view text) {
  TaskResult result;
  result.standardOutput.assign(text.begin(), text.end());
  return result;
}

TEST(RunToolToLog, WritesAHeaderTheOutputAndALineFeed) {
  DiagnosticsWorld world([](const TaskDescription&) { return saying("disk0\ndisk1"); });
  EXPECT_EQ(runToolToLog("/usr/sbin/diskutil", {{"list", "-plist"}}, "/tmp/out", world.environment),
            "/tmp/out/diskutil.log");
  EXPECT_EQ(world.tasks.log("/tmp/out/diskutil.log"),
            "2026-03-05 14:07:09 +0000 Launching /usr/sbin/diskutil \"list\" \"-plist\"\n\ndisk0\ndisk1\n");
  EXPECT_THAT(world.tasks.tasks().at(0).arguments, ElementsAre("list", "-plist"));
}

TEST(RunToolToLog, WithoutArgumentsTheHeaderEndsWithThePath) {
  DiagnosticsWorld world;
  for (const auto& none : {std::optional<std::vector<std::string>>{}, {{}}}) {
    runToolToLog("/sbin/mount", none, "/tmp/out", world.environment);
  }
  const std::string once = "2026-03-05 14:07:09 +0000 Launching /sbin/mount\n\n\n";
  EXPECT_EQ(world.tasks.log("/tmp/out/mount.log"), once + once);
  EXPECT_THAT(world.tasks.tasks().at(0).arguments, IsEmpty());
}

TEST(RunToolToLog, RunsTheToolWhereTheProgramIsWithNothingToRead) {
  DiagnosticsWorld world;
  runToolToLog("/sbin/mount", std::nullopt, "/tmp/out", world.environment);
  const TaskDescription task = world.tasks.tasks().at(0);
  EXPECT_EQ(task.launchPath, "/sbin/mount");
  EXPECT_EQ(task.currentDirectory, "");
  EXPECT_TRUE(task.standardInput.empty());
}

TEST(RunToolToLog, WhyAToolCouldNotStartStandsInItsLog) {
  DiagnosticsWorld world([](const TaskDescription&) { return TaskError{"/usr/sbin/ioreg: Not there"}; });
  EXPECT_EQ(runToolToLog("/usr/sbin/ioreg", {{"-l"}}, "/tmp/out", world.environment), "/tmp/out/ioreg.log");
  EXPECT_EQ(world.tasks.log("/tmp/out/ioreg.log"),
            "2026-03-05 14:07:09 +0000 Launching /usr/sbin/ioreg \"-l\"\n\n/usr/sbin/ioreg: Not there\n");
}

TEST(RunToolToLog, WithoutALogTheToolIsNotRun) {
  DiagnosticsWorld world;
  world.tasks.failLogAt("/tmp/out/mount.log");
  EXPECT_EQ(runToolToLog("/sbin/mount", std::nullopt, "/tmp/out", world.environment), std::nullopt);
  EXPECT_THAT(world.tasks.tasks(), IsEmpty());
}

TEST(RunToolToLog, OfAFailureOrASignalNothingMoreIsSaid) {
  for (const auto reason : {LoggedTaskEnd::Reason::exit, LoggedTaskEnd::Reason::uncaughtSignal}) {
    DiagnosticsWorld world([](const TaskDescription&) { return saying("half a li"); });
    world.tasks.endLoggedTasksWith({reason, 9});
    EXPECT_TRUE(runToolToLog("/sbin/mount", std::nullopt, "/tmp/out", world.environment));
    EXPECT_EQ(world.tasks.log("/tmp/out/mount.log"),
              "2026-03-05 14:07:09 +0000 Launching /sbin/mount\n\nhalf a li\n");
  }
}

TEST(RunToolToLog, AToolMayTakeFiveMinutesAndSaySixtyFourMebibytes) {
  DiagnosticsWorld world;
  runToolToLog("/sbin/mount", std::nullopt, "/tmp/out", world.environment);
  EXPECT_EQ(world.tasks.limits().at(0).time, std::chrono::seconds(300));
  EXPECT_EQ(world.tasks.limits().at(0).outputBytes, 67'108'864U);
}

TEST(RunToolToLog, TheLogOfAToolThatWasEndedSaysSo) {
  DiagnosticsWorld world([](const TaskDescription&) { return saying("half a li"); });
  world.tasks.endLoggedTasksWith({LoggedTaskEnd::Reason::timeLimit, 0});
  runToolToLog("/sbin/slow", std::nullopt, "/tmp/out", world.environment);
  EXPECT_EQ(
      world.tasks.log("/tmp/out/slow.log"),
      "2026-03-05 14:07:09 +0000 Launching /sbin/slow\n\nhalf a li\nEnded: it took longer than 300 seconds.\n");
  world.tasks.endLoggedTasksWith({LoggedTaskEnd::Reason::outputLimit, 0});
  runToolToLog("/sbin/loud", std::nullopt, "/tmp/out", world.environment);
  EXPECT_EQ(
      world.tasks.log("/tmp/out/loud.log"),
      "2026-03-05 14:07:09 +0000 Launching /sbin/loud\n\nhalf a li\nEnded: it wrote more than 67108864 bytes.\n");
}

}  // namespace
}  // namespace zpk
