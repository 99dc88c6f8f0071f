#include "helper/service/LogCollection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "support/TemporaryFolder.h"

namespace zpk {
namespace {

using testing::IsEmpty;

constexpr uid_t kUser = 65534;

// What a user can do with the folder that root is to write into. All of it takes root to be somebody else.
class CollectLogsForAnother : public testing::Test {
 protected:
  CollectLogsForAnother() {
    EXPECT_EQ(geteuid(), 0U) << "only root can be another";
    source.put("zpkhelper.log.1", "the older log");
    source.put("zpkhelper.log", "the log");
    // As /tmp is.
    EXPECT_EQ(chmod(target.path().c_str(), 01777), 0);
    std::filesystem::create_directory(target.path("mine"));
    EXPECT_EQ(chmod(target.path("mine").c_str(), 0700), 0);
    EXPECT_EQ(chown(target.path("mine").c_str(), kUser, kUser), 0);
  }
  std::string collect(const std::string& folder) {
    return collectLogs({source.path("zpkhelper.log.1"), source.path("zpkhelper.log")}, target.path(folder), kUser);
  }
  static std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) names.push_back(entry.path().filename());
    return names;
  }

  TemporaryFolder source;
  TemporaryFolder target;
};

TEST_F(CollectLogsForAnother, TheCopiesAreTheUsersAlone) {
  ASSERT_EQ(collect("mine"), "");
  for (const char* name : {"mine/zpkhelper.log", "mine/zpkhelper.log.1"}) {
    struct stat facts {};
    ASSERT_EQ(lstat(target.path(name).c_str(), &facts), 0);
    EXPECT_EQ(facts.st_uid, kUser);
    EXPECT_EQ(facts.st_gid, kUser);
    EXPECT_EQ(facts.st_mode, S_IFREG | 0600U);
  }
}

TEST_F(CollectLogsForAnother, RootsOwnFolderIsNotTheUsers) {
  std::filesystem::create_directory(target.path("roots"));
  EXPECT_NE(collect("roots"), "");
  EXPECT_THAT(namesIn(target.path("roots")), IsEmpty());
}

TEST_F(CollectLogsForAnother, APipeUnderALogsNameIsNeitherOpenedNorWaitedFor) {
  ASSERT_EQ(mkfifo(target.path("mine/zpkhelper.log").c_str(), 0666), 0);
  EXPECT_NE(collect("mine"), "");
  EXPECT_TRUE(std::filesystem::is_fifo(target.path("mine/zpkhelper.log")));
}

TEST_F(CollectLogsForAnother, AnotherNameOfAPreciousFileIsNotWrittenTo) {
  target.put("precious", "as it was");
  std::filesystem::create_hard_link(target.path("precious"), target.path("mine/zpkhelper.log"));
  EXPECT_NE(collect("mine"), "");
  EXPECT_EQ(target.get("precious"), "as it was");
  struct stat facts {};
  ASSERT_EQ(stat(target.path("precious").c_str(), &facts), 0);
  EXPECT_EQ(facts.st_uid, 0U) << "it was given away";
}

TEST_F(CollectLogsForAnother, ADanglingLinkUnderALogsNameMakesNoFileElsewhere) {
  std::filesystem::create_symlink(target.path("elsewhere"), target.path("mine/zpkhelper.log"));
  EXPECT_NE(collect("mine"), "");
  EXPECT_FALSE(std::filesystem::exists(target.path("elsewhere")));
}

TEST_F(CollectLogsForAnother, ALogThatCannotBeCopiedKeepsNoOtherFromIt) {
  target.put("mine/zpkhelper.log.1", "in the way");
  EXPECT_NE(collect("mine"), "");
  EXPECT_EQ(target.get("mine/zpkhelper.log"), "the log");
  EXPECT_EQ(target.get("mine/zpkhelper.log.1"), "in the way");
}

TEST_F(CollectLogsForAnother, WhatIsMissingOrNoFolderIsRefused) {
  target.put("file", "");
  EXPECT_NE(collect("missing"), "");
  EXPECT_NE(collect("file"), "");
  EXPECT_EQ(target.get("file"), "");
}

// The user, who keeps changing his folder for a link to root's. Runs until it is gone.
class Swapper {
 public:
  Swapper(const std::string& mine, const std::string& aside, const std::string& roots) {
    const std::string older = mine + "/zpkhelper.log.1";
    const std::string newer = mine + "/zpkhelper.log";
    _process = fork();
    if (_process != 0) return;
    if (setgid(kUser) != 0 || setuid(kUser) != 0) _exit(1);
    for (;;) {
      unlink(older.c_str());
      unlink(newer.c_str());
      if (rename(mine.c_str(), aside.c_str()) != 0) continue;
      if (symlink(roots.c_str(), mine.c_str()) == 0) unlink(mine.c_str());
      if (rename(aside.c_str(), mine.c_str()) != 0) _exit(1);
    }
  }
  Swapper(const Swapper&) = delete;
  Swapper& operator=(const Swapper&) = delete;
  ~Swapper() {
    kill(_process, SIGKILL);
    waitpid(_process, nullptr, 0);
  }

 private:
  pid_t _process = -1;
};

TEST_F(CollectLogsForAnother, ALinkThatIsSwappedInLeadsNowhere) {
  std::filesystem::create_directory(target.path("roots"));
  const Swapper swapper(target.path("mine"), target.path("aside"), target.path("roots"));
  int copied = 0;
  int links = 0;
  for (int round = 0; round < 100'000 && (copied < 20 || links < 20); ++round) {
    const std::string problem = collect("mine");
    copied += problem.empty() ? 1 : 0;
    // What is there, and no folder, is the link.
    links += problem == "the folder cannot be opened: Not a directory" ? 1 : 0;
    ASSERT_THAT(namesIn(target.path("roots")), IsEmpty());
  }
  EXPECT_GE(copied, 20);
  EXPECT_GE(links, 20) << "the link was never met";
}

}  // namespace
}  // namespace zpk
