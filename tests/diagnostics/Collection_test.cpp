#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <memory>
#include <sstream>

#include "diagnostics/DiagnosticsWorld.h"
#include "diagnostics/LogTasks.h"
#include "platform/linux/diagnostics/LogTasks_linux.h"
#include "platform/posix/FileDescriptor.h"
#include "platform/posix/FileManager_posix.h"
#include "platform/posix/TaskRunner_posix.h"
#include "support/TemporaryFolder.h"

namespace zpk {
namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr uid_t kAnother = 65534;

// The real file system and real programs; only the time stands still.
class Collection : public testing::Test {
 protected:
  // A folder as /tmp is, with one inside that the collection makes its own in.
  Collection() {
    EXPECT_EQ(::chmod(temporary.path().c_str(), 01777), 0);
    environment.toolLimits = {std::chrono::seconds(20), 1'000'000, std::chrono::milliseconds(200)};
  }
  // The queue first: the last task may still be about to end.
  ~Collection() override { queue.reset(); }

  std::string base() const { return temporary.path("ZPK_Logs"); }
  std::string stamped() const { return base() + "_2026-03-05-14-07-09"; }
  std::string put(const std::string& name, const std::string& script) {
    temporary.put(name, "#!/bin/sh\n" + script + "\n");
    EXPECT_EQ(::chmod(temporary.path(name).c_str(), 0755), 0);
    return temporary.path(name);
  }
  std::vector<std::string> namesInArchive(const std::string& archive) {
    TaskDescription task;
    task.launchPath = "/usr/bin/unzip";
    task.arguments = {"-Z1", archive};
    const auto result = tasks.run(task);
    if (!result || result->status != 0) return {"(no archive)"};
    std::istringstream lines(std::string(result->standardOutput.begin(), result->standardOutput.end()));
    std::vector<std::string> names;
    for (std::string line; std::getline(lines, line);) names.push_back(line);
    return names;
  }

  TemporaryFolder temporary;
  PosixFileManager files;
  PosixTaskRunner tasks;
  std::unique_ptr<ThreadQueue> queue = std::make_unique<ThreadQueue>();
  RecordingLog log;
  std::atomic<int> uuids = 0;
  LogCollectionEnvironment environment{files,
                                       tasks,
                                       *queue,
                                       log,
                                       [] { return std::string("2026-03-05-14-07-09"); },
                                       [] { return std::string("2026-03-05 14:07:09 +0000"); },
                                       [this] { return DiagnosticsWorld::uuid(++uuids % 9); },
                                       [](Seconds) { std::this_thread::yield(); }};
};

TEST_F(Collection, OfEverythingIsAnArchiveWithTheFolderAsItsTopEntry) {
  const auto folder = makeLogFolder(base(), environment);
  ASSERT_EQ(folder, stamped());
  std::vector<LogTask> all = makeLogTasks(kEveryCategory);
  for (const LogTask& task : platformLogTasks()) all.push_back(task);
  runLogTasks(all, *folder, environment);
  const auto archive = zipLogFolder(*folder, environment);
  ASSERT_EQ(archive, stamped() + ".zip");

  const std::vector<std::string> names = namesInArchive(*archive);
  const std::string top = "ZPK_Logs_2026-03-05-14-07-09/";
  EXPECT_THAT(names, Contains(top));
  EXPECT_THAT(names, Each(StartsWith(top)));
  for (const char* name :
       {"ioreg.log", "mount.log", "diskutil.log", "system_profiler.log", "lsblk.log", "uname.log"})
    EXPECT_THAT(names, Contains(top + name));
  EXPECT_EQ(temporary.get(top + "ioreg.log"),
            "2026-03-05 14:07:09 +0000 Launching /usr/sbin/ioreg \"-l\"\n\n"
            "/usr/sbin/ioreg: No such file or directory\n");
  EXPECT_THAT(temporary.get(top + "uname.log"), HasSubstr("Launching /usr/bin/uname \"-a\"\n\nLinux "));
  EXPECT_THAT(log.lines(), ElementsAre("Run " + std::to_string(all.size()) + " tasks...",
                                       "launched = 1, reason = 1, status = 0"));
}

TEST_F(Collection, FolderAndArchiveAreTheirOwnersAlone) {
  const auto folder = makeLogFolder(base(), environment);
  const auto archive = zipLogFolder(*folder, environment);
  ASSERT_TRUE(archive);
  struct stat facts {};
  ASSERT_EQ(::lstat(folder->c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mode, S_IFDIR | 0700U);
  ASSERT_EQ(::lstat(archive->c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mode, S_IFREG | 0600U);
}

TEST_F(Collection, TwoOfTheSameSecondHaveFoldersAndArchivesOfTheirOwn) {
  const auto first = makeLogFolder(base(), environment);
  const auto second = makeLogFolder(base(), environment);
  EXPECT_EQ(first, stamped());
  EXPECT_EQ(second, stamped() + "-" + DiagnosticsWorld::uuid(1));
  const auto archive = zipLogFolder(*second, environment);
  ASSERT_TRUE(archive);
  EXPECT_THAT(namesInArchive(*archive),
              ElementsAre("ZPK_Logs_2026-03-05-14-07-09-" + DiagnosticsWorld::uuid(1) + "/"));
}

TEST_F(Collection, CopiesPlainFilesAndWhatLinksLeadToAndNothingElse) {
  std::filesystem::create_directories(temporary.path("logs/dravi_folder.txt"));
  std::filesystem::create_directory(temporary.path("out"));
  temporary.put("logs/ankor.txt", "plain");
  temporary.put("elsewhere", "linked");
  std::filesystem::create_symlink(temporary.path("elsewhere"), temporary.path("logs/ankor_link.txt"));
  std::filesystem::create_symlink("/dev/zero", temporary.path("logs/bexil_zero.txt"));
  std::filesystem::create_symlink("ankor_loop.txt", temporary.path("logs/ankor_loop.txt"));
  std::filesystem::create_symlink(temporary.path("logs/cordo_pipe.txt"), temporary.path("logs/cordo_link.txt"));
  ASSERT_EQ(::mkfifo(temporary.path("logs/cordo_pipe.txt").c_str(), 0600), 0);
  EXPECT_EQ(copyMatchingFiles(temporary.path("logs/"), "\\.txt$", temporary.path("out"), environment), 2U);
  EXPECT_EQ(temporary.get("out/ankor.txt"), "plain");
  EXPECT_EQ(temporary.get("out/ankor_link.txt"), "linked");
  EXPECT_THAT(*files.contentsOfDirectory(temporary.path("out")), ElementsAre("ankor.txt", "ankor_link.txt"));
}

// Reading a pipe that nobody writes to would take for ever, and taking what is in it would rob its reader.
TEST_F(Collection, ALogThatIsAPipeIsLeftAlone) {
  const std::string pipe = temporary.path("system.log");
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  const FileDescriptor reader(::open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  const FileDescriptor writer(::open(pipe.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
  ASSERT_EQ(::write(writer.get(), "kept", 4), 4);
  const auto folder = makeLogFolder(base(), environment);
  ASSERT_TRUE(folder);
  runLogTasks({{{"type", 1U}, {"path", pipe}}}, *folder, environment);
  EXPECT_THAT(*files.contentsOfDirectory(*folder), IsEmpty());
  char left[8] = {};
  EXPECT_EQ(::read(reader.get(), left, sizeof left), 4) << "what was in the pipe still is";
}

TEST_F(Collection, APipeInTheFolderIsNotPackedAndDoesNotKeepIt) {
  const auto folder = makeLogFolder(base(), environment);
  ASSERT_TRUE(folder);
  ASSERT_EQ(::mkfifo((*folder + "/pipe").c_str(), 0600), 0);
  ASSERT_TRUE(files.saveFile(*folder + "/plain.log", {'x'}));
  const auto archive = zipLogFolder(*folder, environment);
  ASSERT_TRUE(archive);
  EXPECT_THAT(namesInArchive(*archive),
              ElementsAre("ZPK_Logs_2026-03-05-14-07-09/", "ZPK_Logs_2026-03-05-14-07-09/plain.log"));
}

TEST_F(Collection, ToolsThatHangFloodDieAndLeaveAChildBehindDoNotKeepIt) {
  const auto folder = makeLogFolder(base(), environment);
  ASSERT_TRUE(folder);
  environment.toolLimits.time = std::chrono::seconds(1);
  environment.toolLimits.outputBytes = 100;
  runLogTasks({toolTask(put("hangs", "echo waiting; exec sleep 1000")), toolTask(put("floods", "exec yes")),
               toolTask(put("dies", "echo dying; kill -SEGV $$")),
               toolTask(put("forks", "(sleep 3; echo late) & echo early")), toolTask(temporary.path("missing"))},
              *folder, environment);
  const auto said = [&](const std::string& tool) {
    const std::string text = temporary.get("ZPK_Logs_2026-03-05-14-07-09/" + tool + ".log");
    const std::string header = "2026-03-05 14:07:09 +0000 Launching " + temporary.path(tool) + "\n\n";
    EXPECT_THAT(text, StartsWith(header));
    return text.substr(std::min(header.size(), text.size()));
  };
  EXPECT_EQ(said("hangs"), "waiting\n\nEnded: it took longer than 1 seconds.\n");
  EXPECT_THAT(said("floods"), StartsWith("y\ny\n"));
  EXPECT_THAT(said("floods"), EndsWith("\nEnded: it wrote more than 100 bytes.\n"));
  EXPECT_EQ(said("dies"), "dying\n\n");
  EXPECT_EQ(said("forks"), "early\n\n");
  EXPECT_EQ(said("missing"), temporary.path("missing") + ": No such file or directory\n");
}

TEST_F(Collection, ATwiceRunToolHasBothRunsInItsLog) {
  const auto folder = makeLogFolder(base(), environment);
  const std::string tool = put("tool", "echo said");
  runLogTasks({toolTask(tool), toolTask(tool)}, *folder, environment);
  const std::string once = "2026-03-05 14:07:09 +0000 Launching " + tool + "\n\nsaid\n\n";
  EXPECT_EQ(temporary.get("ZPK_Logs_2026-03-05-14-07-09/tool.log"), once + once);
}

TEST_F(Collection, AnUnreadableFileLeavesAnArchiveOfTheRest) {
  ASSERT_EQ(::geteuid(), 0U) << "only root can be another";
  const auto folder = makeLogFolder(base(), environment);
  ASSERT_TRUE(folder);
  temporary.put("ZPK_Logs_2026-03-05-14-07-09/readable", "x");
  temporary.put("ZPK_Logs_2026-03-05-14-07-09/secret", "x");
  ASSERT_EQ(::chmod((*folder + "/secret").c_str(), 0), 0);
  ASSERT_EQ(::chown(folder->c_str(), kAnother, kAnother), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    // Root reads everything; another user does not.
    const bool another = ::setgid(kAnother) == 0 && ::setuid(kAnother) == 0;
    ::_exit(another && zipLogFolder(*folder, environment) ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  const std::string top = "ZPK_Logs_2026-03-05-14-07-09/";
  EXPECT_THAT(namesInArchive(stamped() + ".zip"), testing::UnorderedElementsAre(top, top + "readable"));
}

// Another user who keeps putting folders and links of his own where the collection is to be. Runs until it is gone.
class Rival {
 public:
  Rival(std::vector<std::string> names, const std::string& target) {
    _process = ::fork();
    if (_process != 0) return;
    if (::setgid(kAnother) != 0 || ::setuid(kAnother) != 0) ::_exit(1);
    for (std::size_t i = 0;; ++i) {
      const char* name = names[i % names.size()].c_str();
      if (i % 2 == 0) {
        ::mkdir(name, 0777);
      } else {
        static_cast<void>(::symlink(target.c_str(), name));
      }
      if (i % 3 == 0) continue;
      ::rmdir(name);
      ::unlink(name);
    }
  }
  Rival(const Rival&) = delete;
  Rival& operator=(const Rival&) = delete;
  ~Rival() {
    ::kill(_process, SIGKILL);
    ::waitpid(_process, nullptr, 0);
  }

 private:
  pid_t _process = -1;
};

TEST_F(Collection, NeverTakesAFolderOfAnotherUserForItsOwn) {
  ASSERT_EQ(::geteuid(), 0U) << "only root can be another";
  std::filesystem::create_directory(temporary.path("his"));
  ASSERT_EQ(::chmod(temporary.path("his").c_str(), 0777), 0);
  std::vector<std::string> names{stamped()};
  for (int i = 0; i < 9; ++i) names.push_back(stamped() + "-" + DiagnosticsWorld::uuid(i));
  const Rival rival(names, temporary.path("his"));

  int races = 0;
  for (int round = 0; round < 20'000 && races < 200; ++round) {
    const auto folder = makeLogFolder(base(), environment);
    if (!folder) continue;
    races += *folder == stamped() ? 0 : 1;
    struct stat facts {};
    ASSERT_EQ(::lstat(folder->c_str(), &facts), 0);
    ASSERT_TRUE(S_ISDIR(facts.st_mode));
    ASSERT_EQ(facts.st_uid, 0U);
    ASSERT_EQ(facts.st_mode & 07777, 0700U);
    ASSERT_THAT(*files.contentsOfDirectory(*folder), IsEmpty());
    ASSERT_EQ(::rmdir(folder->c_str()), 0);
  }
  EXPECT_EQ(races, 200) << "the other user hardly ever had a name first";
  EXPECT_THAT(*files.contentsOfDirectory(temporary.path("his")), IsEmpty());
}

TEST_F(Collection, ALinkThatWaitsInTheArchivesPlaceIsNotFollowed) {
  const auto folder = makeLogFolder(base(), environment);
  ASSERT_TRUE(folder);
  std::filesystem::create_symlink(temporary.path("victim"), stamped() + ".zip");
  ASSERT_EQ(::lchown((stamped() + ".zip").c_str(), kAnother, kAnother), 0);
  EXPECT_TRUE(zipLogFolder(*folder, environment));
  EXPECT_FALSE(files.fileExists(temporary.path("victim")));
  EXPECT_TRUE(std::filesystem::is_regular_file(std::filesystem::symlink_status(stamped() + ".zip")));
}

TEST_F(Collection, AnotherUsersFileInTheArchivesPlaceIsNeverFilled) {
  ASSERT_EQ(::geteuid(), 0U) << "only root can be another";
  const auto folder = makeLogFolder(base(), environment);
  ASSERT_TRUE(folder);
  temporary.put("ZPK_Logs_2026-03-05-14-07-09.zip", "his");
  ASSERT_EQ(::chmod((stamped() + ".zip").c_str(), 0666), 0);
  ASSERT_EQ(::chown(folder->c_str(), kAnother, kAnother), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    // Root may replace everybody's files even where /tmp's rule holds; other users may not.
    const bool another = ::setgid(kAnother) == 0 && ::setuid(kAnother) == 0;
    ::_exit(another && !zipLogFolder(*folder, environment) ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(temporary.get("ZPK_Logs_2026-03-05-14-07-09.zip"), "his");
}

}  // namespace
}  // namespace zpk
