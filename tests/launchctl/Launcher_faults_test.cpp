#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "LauncherWorld.h"

namespace zpk {
namespace {

using testing::IsEmpty;
using testing::StartsWith;

class LauncherFaults : public testing::Test, public LauncherWorld {};

// A label is anybody's word, and a unit in the user's data goes before the system's of the same name.
TEST_F(LauncherFaults, AUnitOfSomebodyElseIsNeitherReplacedNorStopped) {
  manager.unit("a.b.service").foreignPath = "/usr/lib/systemd/user/a.b.service";
  manager.unit("a.b.service").activeState = "active";
  const std::string refusal = "a.b.service is not a unit of a job: /usr/lib/systemd/user/a.b.service";
  EXPECT_EQ(load(timedJob(), kAlways), refusal);
  EXPECT_EQ(unload(kAlways), refusal);
  EXPECT_THAT(manager.takeVerbs(), IsEmpty());
  EXPECT_FALSE(has("a.b.timer"));
}

TEST_F(LauncherFaults, AUnitThatTheUserWroteIsKept) {
  load(timedJob(), kAlways);
  ASSERT_TRUE(folder.save("a.b.service", "[Service]\nExecStart=/bin/mine\n"));
  EXPECT_THAT(load(timedJob(), kAlways), StartsWith("a.b.service is not a unit of a job"));
  EXPECT_THAT(unload(kAlways), StartsWith("a.b.service is not a unit of a job"));
  EXPECT_EQ(folder.contents("a.b.service"), "[Service]\nExecStart=/bin/mine\n");
}

// A launcher that was killed after it removed the file, in a home that has two names.
TEST_F(LauncherFaults, AUnitWhoseFileIsGoneIsOursHoweverItsFolderIsSpelled) {
  load(timedJob(), kAlways);
  std::filesystem::create_symlink(home.path("data"), home.path("link"));
  manager.unit("a.b.service").foreignPath = home.path("link/systemd/user/a.b.service");
  ASSERT_TRUE(folder.remove("a.b.service"));
  EXPECT_EQ(unload(kAlways), "done");
  EXPECT_FALSE(has("a.b.timer"));
}

TEST_F(LauncherFaults, AUnitOfAnotherFolderIsNotOursByItsName) {
  std::filesystem::create_directories(home.path("other"));
  manager.unit("a.b.service").foreignPath = home.path("other/a.b.service");
  EXPECT_THAT(load(timedJob(), kAlways), StartsWith("a.b.service is not a unit of a job"));
  manager.unit("a.b.service").foreignPath = folder.pathOf("b.service");
  EXPECT_THAT(load(timedJob(), kAlways), StartsWith("a.b.service is not a unit of a job"));
}

TEST_F(LauncherFaults, EveryRefusalOfTheManagerIsAnErrorAndTheNextTryGoesOn) {
  for (const char* verb : {"show", "reenable", "start"}) {
    manager.refuse(verb);
    EXPECT_EQ(load(timedJob(), kAlways), "Failed to " + std::string(verb) + ": Permission denied");
    manager.refuseNothing();
    EXPECT_EQ(load(timedJob(), kAlways), "done");
    EXPECT_TRUE(launcher.list("a.b"));
    EXPECT_EQ(unload(kAlways), "done");
  }
  for (const char* verb : {"show", "stop", "disable", "daemon-reload"}) {
    load(timedJob(), kAlways);
    manager.refuse(verb);
    EXPECT_EQ(unload(kAlways), "Failed to " + std::string(verb) + ": Permission denied");
    manager.refuseNothing();
    EXPECT_EQ(unload(kAlways), "done");
    EXPECT_FALSE(launcher.list("a.b"));
    EXPECT_FALSE(has("a.b.timer"));
  }
}

// Nothing to forget, or a timer that is running: neither is a reason not to start it.
TEST_F(LauncherFaults, ATimerThatCannotForgetItsPastIsStartedAllTheSame) {
  manager.refuse("clean");
  EXPECT_EQ(load(timedJob(), kAlways), "done");
  EXPECT_TRUE(launcher.list("a.b"));
}

TEST_F(LauncherFaults, AFolderThatCannotBeMadeIsAnError) {
  home.put("data", "a file in the folder's place");
  EXPECT_THAT(load(timedJob(), kAlways), StartsWith(home.path("data/systemd/user") + ": "));
  EXPECT_THAT(manager.takeVerbs(), IsEmpty());
}

TEST_F(LauncherFaults, TheListPassesOverWhatIsNoJob) {
  load(timedJob(), kAlways);
  ASSERT_TRUE(folder.save("mine.service", "[Service]\nExecStart=/bin/mine\n"));
  std::filesystem::create_directory(folder.pathOf("folder.service"));
  EXPECT_EQ(*launcher.list(), "PID\tStatus\tLabel\n-\t0\ta.b\n");
}

TEST_F(LauncherFaults, TheListIsEmptyWithoutJobsButNotWithoutAManager) {
  EXPECT_EQ(*launcher.list(), "PID\tStatus\tLabel\n");
  load(timedJob(), kAlways);
  manager.refuse("show");
  EXPECT_FALSE(launcher.list());
  EXPECT_FALSE(launcher.list("a.b"));
}

}  // namespace
}  // namespace zpk
