// The parts of the service that touch the system: settings, log, log collection, command line, loop and worker.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include "helper/service/CommandLine.h"
#include "helper/service/EventLoop.h"
#include "helper/service/HelperLog.h"
#include "helper/service/LogCollection.h"
#include "helper/service/SettingsFile.h"
#include "helper/service/StateFolder.h"
#include "helper/service/WorkerThread.h"
#include "platform/posix/FileManager_posix.h"
#include "support/TemporaryFolder.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

HelperSettings someSettings() {
  HelperSettings settings;
  settings.source = "11111111-2222-3333-4444-555555555555";
  settings.archiveUser = 4'000'000'000U;
  settings.archivePath = "/b/\"quoted\" \xc3\xa4.rldbackup";
  settings.maxIncrements = 42;
  settings.checkFileSystem = false;
  settings.lastBackupError = "line one\nline two";
  settings.backupRunning = true;
  settings.restoringOnto = "Disk 1";
  settings.stateTimeLimit = (std::int64_t{1} << 55) + 1;
  return settings;
}

TEST(SettingsText, ComesBackAsItWas) {
  for (const HelperSettings& settings : {someSettings(), HelperSettings{}}) {
    const auto back = settingsFromText(settingsText(settings));
    ASSERT_TRUE(back);
    EXPECT_EQ(*back, settings);
  }
}

TEST(SettingsText, TextThatIsNotValidIsKeptReadable) {
  HelperSettings settings;
  settings.lastBackupError = "a path \xff here";
  EXPECT_TRUE(settingsFromText(settingsText(settings)));
}

TEST(SettingsText, RefusesWhatIsNoSettings) {
  const std::string nested(60'000, '[');
  for (const std::string& text :
       {std::string(), std::string("[]"), std::string("{}"), std::string("{\"version\": 2}"),
        std::string("{\"version\": 1"), nested, std::string("\0\xff\x01", 3),
        std::string("{\"version\": 1, \"source\": 7}"), std::string("{\"version\": 1, \"maxIncrements\": 0}"),
        std::string("{\"version\": 1, \"maxIncrements\": 101}"),
        std::string("{\"version\": 1, \"maxIncrements\": -1}"),
        std::string("{\"version\": 1, \"stateTimeLimit\": 9223372036854775807}"),
        std::string("{\"version\": 1, \"checkFileSystem\": \"yes\"}")}) {
    EXPECT_FALSE(settingsFromText(text)) << text.substr(0, 60);
  }
}

TEST(SettingsText, TruncatedAtAnyByteItIsRefusedOrWhole) {
  const std::string text = settingsText(someSettings());
  for (std::size_t length = 0; length + 2 < text.size(); ++length) {
    EXPECT_FALSE(settingsFromText(text.substr(0, length))) << length;
  }
}

TEST(SettingsFile, WithoutAFileItGivesTheDefaults) {
  const TemporaryFolder folder;
  PosixFileManager files;
  const auto loaded = SettingsFile(files, folder.path("settings.json")).load();
  ASSERT_TRUE(loaded);
  EXPECT_EQ(loaded->settings, HelperSettings());
  EXPECT_EQ(loaded->complaint, "");
}

TEST(SettingsFile, GivesBackWhatItSavedAndKeepsItToItsOwner) {
  const TemporaryFolder folder;
  PosixFileManager files;
  SettingsFile file(files, folder.path("settings.json"));
  ASSERT_TRUE(file.save(someSettings()));
  EXPECT_EQ(file.load()->settings, someSettings());
  struct stat status {};
  ASSERT_EQ(stat(folder.path("settings.json").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST(SettingsFile, AFileThatCannotBeReadIsAnErrorAndStays) {
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder.path("settings.json"));
  PosixFileManager files;
  EXPECT_FALSE(SettingsFile(files, folder.path("settings.json")).load());
}

TEST(StateFolder, IsMadeForItsOwnerAloneAndLocked) {
  const TemporaryFolder folder;
  const std::string path = folder.path("a/b/zpk");
  {
    const auto state = StateFolder::open(path);
    ASSERT_TRUE(state) << state.error();
    EXPECT_EQ(state->fileAt("x"), path + "/x");
    struct stat status {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U);
    EXPECT_THAT(StateFolder::open(path).error(), HasSubstr("another helper"));
  }
  EXPECT_TRUE(StateFolder::open(path));
}

TEST(HelperLog, BeginsANewFileWhenTheOldOneIsFull) {
  const TemporaryFolder folder;
  HelperLog log(folder.path("zpkhelper.log"), 1000);
  for (int i = 0; i < 30; ++i) log.line("line " + std::to_string(i));
  EXPECT_THAT(folder.get("zpkhelper.log"), HasSubstr("line 29\n"));
  EXPECT_THAT(folder.get("zpkhelper.log.1"), Not(HasSubstr("line 29")));
  EXPECT_LE(folder.get("zpkhelper.log").size(), 1000U);
  EXPECT_LE(folder.get("zpkhelper.log.1").size(), 1000U);
}

TEST(HelperLog, APeersTextCannotForgeALine) {
  const TemporaryFolder folder;
  HelperLog log(folder.path("zpkhelper.log"));
  log.line("path\n2026-01-01 forged");
  const std::string text = folder.get("zpkhelper.log");
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1);
}

class CollectLogs : public testing::Test {
 protected:
  CollectLogs() {
    source.put("zpkhelper.log", "the log");
    std::filesystem::create_directory(target.path("mine"));
  }
  std::string collect(const std::string& folder, uid_t user = geteuid()) {
    return collectLogs({source.path("zpkhelper.log.1"), source.path("zpkhelper.log")}, folder, user);
  }
  TemporaryFolder source;
  TemporaryFolder target;
};

TEST_F(CollectLogs, CopiesWhatThereIs) {
  EXPECT_EQ(collect(target.path("mine")), "");
  EXPECT_EQ(target.get("mine/zpkhelper.log"), "the log");
  EXPECT_FALSE(std::filesystem::exists(target.path("mine/zpkhelper.log.1")));
}

TEST_F(CollectLogs, TheCopyBelongsToTheUser) {
  ASSERT_EQ(geteuid(), 0U) << "only root can give files away";
  ASSERT_EQ(chown(target.path("mine").c_str(), 65534, 65534), 0);
  EXPECT_EQ(collect(target.path("mine"), 65534), "");
  struct stat status {};
  ASSERT_EQ(stat(target.path("mine/zpkhelper.log").c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, 65534U);
}

TEST_F(CollectLogs, AFolderOfSomebodyElsesIsRefused) {
  EXPECT_THAT(collect(target.path("mine"), geteuid() + 1), HasSubstr("not the caller's"));
  EXPECT_TRUE(std::filesystem::is_empty(target.path("mine")));
}

TEST_F(CollectLogs, AFolderThatEverybodyMayWriteToIsRefused) {
  std::filesystem::permissions(target.path("mine"), std::filesystem::perms(0777));
  EXPECT_THAT(collect(target.path("mine")), HasSubstr("everybody"));
}

TEST_F(CollectLogs, ALinkInTheFoldersPlaceIsRefused) {
  std::filesystem::create_directory_symlink(target.path("mine"), target.path("link"));
  EXPECT_NE(collect(target.path("link")), "");
  EXPECT_TRUE(std::filesystem::is_empty(target.path("mine")));
}

TEST_F(CollectLogs, ALinkThatWaitsUnderTheFilesNameIsNotFollowed) {
  target.put("precious", "do not touch");
  std::filesystem::create_symlink(target.path("precious"), target.path("mine/zpkhelper.log"));
  EXPECT_NE(collect(target.path("mine")), "");
  EXPECT_EQ(target.get("precious"), "do not touch");
}

TEST_F(CollectLogs, AFileThatIsThereIsLeftAlone) {
  target.put("mine/zpkhelper.log", "older");
  EXPECT_NE(collect(target.path("mine")), "");
  EXPECT_EQ(target.get("mine/zpkhelper.log"), "older");
}

TEST_F(CollectLogs, APipeOrARelativePathIsRefused) {
  ASSERT_EQ(mkfifo(target.path("pipe").c_str(), 0600), 0);
  EXPECT_NE(collect(target.path("pipe")), "");
  EXPECT_NE(collect("mine"), "");
  EXPECT_NE(collect(""), "");
}

TEST(CommandLine, TakesItsOptions) {
  const auto parsed =
      parseCommandLine({"--disks", "/a", "--disks=/b", "--devices", "--state", "/s", "--icons", "/i"});
  const auto* options = std::get_if<HelperOptions>(&parsed);
  ASSERT_NE(options, nullptr);
  EXPECT_FALSE(options->session);
  EXPECT_TRUE(options->devices);
  EXPECT_THAT(options->disks, ElementsAre("/a", "/b"));
  EXPECT_EQ(options->state, "/s");
  EXPECT_EQ(options->icons, "/i");
}

// Nobody asks for leave on a session bus; so nothing there may reach a disk of the machine.
TEST(CommandLine, RefusesTheMachinesDisksOnTheSessionBus) {
  const auto parsed = parseCommandLine({"--session", "--devices"});
  ASSERT_NE(std::get_if<CommandLineMistake>(&parsed), nullptr);
  EXPECT_THAT(std::get<CommandLineMistake>(parsed).text, HasSubstr("do not go together"));
  EXPECT_TRUE(std::get<HelperOptions>(parseCommandLine({"--session", "--disks", "/a"})).session);
}

TEST(WorkerThread, DoesItsWorkInOrderAndFinishesItBeforeItGoes) {
  std::vector<int> done;
  {
    WorkerThread worker;
    for (int i = 0; i < 1000; ++i) worker.async([&done, i] { done.push_back(i); });
  }
  ASSERT_EQ(done.size(), 1000U);
  EXPECT_TRUE(std::is_sorted(done.begin(), done.end()));
}

TEST(EventLoop, RunsWhatOtherThreadsHandIn) {
  auto made = EventLoop::make();
  ASSERT_TRUE(made);
  EventLoop& loop = **made;
  int count = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 250; ++i) {
        loop.async([&] {
          if (++count == 1000) loop.stop(7);
        });
      }
    });
  }
  EXPECT_EQ(loop.run(), 7);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(count, 1000);
}

TEST(EventLoop, AnAlarmComesNotBeforeItsTimeAndNotAfterItsToken) {
  auto made = EventLoop::make();
  ASSERT_TRUE(made);
  EventLoop& loop = **made;
  const Seconds before = loop.now();
  Seconds rang{};
  bool cancelledRang = false;
  Token cancelled = loop.after(Seconds(0.001), [&] { cancelledRang = true; });
  cancelled.reset();
  // An alarm may end itself.
  Token alarm;
  alarm = loop.after(Seconds(0.02), [&] {
    alarm.reset();
    rang = loop.now();
    loop.stop(0);
  });
  loop.run();
  EXPECT_GE((rang - before).count(), 0.02);
  EXPECT_FALSE(cancelledRang);
}

TEST(EventLoop, ASignalIsServedOnTheLoop) {
  auto made = EventLoop::make();
  ASSERT_TRUE(made);
  EventLoop& loop = **made;
  const Token token = loop.onSignal(SIGUSR1, [&] { loop.stop(3); });
  kill(getpid(), SIGUSR1);
  EXPECT_EQ(loop.run(), 3);
}

}  // namespace
}  // namespace zpk
