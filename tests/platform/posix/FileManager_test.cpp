#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <optional>
#include <thread>

#include "platform/posix/FileManager_posix.h"
#include "support/TemporaryFolder.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

Bytes bytes(std::string_view text) {
  return {text.begin(), text.end()};
}

class PosixFileManagerTest : public testing::Test {
 protected:
  TemporaryFolder folder;
  PosixFileManager files;
};

TEST_F(PosixFileManagerTest, AFileAFolderAndWhatALinkPointsToExist) {
  folder.put("a", "x");
  std::filesystem::create_symlink("a", folder.path("link"));
  std::filesystem::create_symlink("nowhere", folder.path("dangling"));
  EXPECT_TRUE(files.fileExists(folder.path("a")));
  EXPECT_TRUE(files.fileExists(folder.path()));
  EXPECT_TRUE(files.fileExists(folder.path("link")));
  EXPECT_FALSE(files.fileExists(folder.path("dangling")));
  EXPECT_FALSE(files.fileExists(folder.path("b")));
  EXPECT_FALSE(files.fileExists(""));
  EXPECT_FALSE(files.fileExists(folder.path("a") + std::string("\0b", 2)));
}

TEST_F(PosixFileManagerTest, ReadsAWholeFileUpToTheLimitAndNotOneByteMore) {
  folder.put("a", "12345");
  const auto whole = files.contentsOfFile(folder.path("a"), 5);
  ASSERT_TRUE(whole);
  EXPECT_EQ(*whole, bytes("12345"));
  const auto longer = files.contentsOfFile(folder.path("a"), 4);
  ASSERT_FALSE(longer);
  EXPECT_EQ(longer.error().path, folder.path("a"));
  EXPECT_EQ(longer.error().reason, "Longer than 4 bytes");
}

TEST_F(PosixFileManagerTest, ReadsAnEmptyFileWithTheLimitNothing) {
  folder.put("a", "");
  const auto content = files.contentsOfFile(folder.path("a"), 0);
  ASSERT_TRUE(content);
  EXPECT_THAT(*content, IsEmpty());
}

TEST_F(PosixFileManagerTest, ReadsFilesThatDoNotTellTheirLength) {
  const auto content = files.contentsOfFile("/proc/self/mountinfo", 1 << 20);
  ASSERT_TRUE(content);
  EXPECT_GT(content->size(), 0u);
  EXPECT_FALSE(files.contentsOfFile("/proc/self/mountinfo", 3));
}

TEST_F(PosixFileManagerTest, APipeADeviceAndAFolderAreNoPlainFilesAndNeverMakeItWait) {
  ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
  for (const std::string& path : {folder.path("pipe"), std::string("/dev/zero"), folder.path()}) {
    const auto content = files.contentsOfFile(path, 100);
    ASSERT_FALSE(content) << path;
    EXPECT_EQ(content.error().reason, "Not a plain file");
  }
}

TEST_F(PosixFileManagerTest, AMissingFileIsAnErrorWithTheSystemsReason) {
  const auto content = files.contentsOfFile(folder.path("b"), 100);
  ASSERT_FALSE(content);
  EXPECT_EQ(content.error().path, folder.path("b"));
  EXPECT_EQ(content.error().reason, "No such file or directory");
}

TEST_F(PosixFileManagerTest, SavesWhatItReadsBack) {
  Bytes content;
  for (int i = 0; i < 300000; ++i) content.push_back(static_cast<std::uint8_t>(i * 7));
  ASSERT_TRUE(files.saveFile(folder.path("a"), content));
  const auto read = files.contentsOfFile(folder.path("a"), 300000);
  ASSERT_TRUE(read);
  EXPECT_EQ(*read, content);
}

TEST_F(PosixFileManagerTest, ListsNamesSortedWithHiddenOnes) {
  folder.put("b", "");
  folder.put(".hidden", "");
  folder.put("a", "");
  std::filesystem::create_directory(folder.path("C"));
  const auto names = files.contentsOfDirectory(folder.path());
  ASSERT_TRUE(names);
  EXPECT_THAT(*names, ElementsAre(".hidden", "C", "a", "b"));
  EXPECT_FALSE(files.contentsOfDirectory(folder.path("a")));
  EXPECT_FALSE(files.contentsOfDirectory(folder.path("missing")));
}

TEST_F(PosixFileManagerTest, MakesAPrivateFolderOnlyWhereNothingIs) {
  ASSERT_TRUE(files.createDirectory(folder.path("made")));
  struct stat facts {};
  ASSERT_EQ(::stat(folder.path("made").c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mode & 07777, 0700u);

  std::filesystem::create_symlink("made", folder.path("link"));
  for (const std::string_view name : {"made", "link", "missing/made"}) {
    EXPECT_FALSE(files.createDirectory(folder.path(name))) << name;
  }
}

TEST_F(PosixFileManagerTest, MakesAFolderAndAllOnTheWayAsTheUmaskWants) {
  const mode_t before = ::umask(027);
  const auto made = files.createDirectories(folder.path("a//b/c/"));
  ::umask(before);
  ASSERT_TRUE(made);
  for (const std::string_view name : {"a", "a/b", "a/b/c"}) {
    struct stat facts {};
    ASSERT_EQ(::stat(folder.path(name).c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 07777, 0750u) << name;
  }
}

TEST_F(PosixFileManagerTest, MakesFoldersBehindALinkAndNoneWhereALinkLeadsNowhere) {
  std::filesystem::create_directory(folder.path("real"));
  std::filesystem::create_symlink("real", folder.path("link"));
  std::filesystem::create_symlink("nowhere", folder.path("dangling"));
  EXPECT_TRUE(files.createDirectories(folder.path("link")));
  EXPECT_TRUE(files.createDirectories(folder.path("link/a/b")));
  EXPECT_TRUE(files.fileExists(folder.path("real/a/b")));
  EXPECT_EQ(files.createDirectories(folder.path("dangling/a")).error().reason, "File exists");
  EXPECT_FALSE(files.fileExists(folder.path("nowhere")));
  EXPECT_FALSE(files.createDirectories(""));
  EXPECT_FALSE(files.createDirectories(folder.path("a") + std::string("\0b", 2)));
  EXPECT_FALSE(files.createDirectories("/proc/a/b"));
}

// HOME as a test wants it, and back.
class HomeOf {
 public:
  explicit HomeOf(const char* home) {
    if (const char* before = ::getenv("HOME")) _before = before;
    home != nullptr ? ::setenv("HOME", home, 1) : ::unsetenv("HOME");
  }
  HomeOf(const HomeOf&) = delete;
  HomeOf& operator=(const HomeOf&) = delete;
  ~HomeOf() { _before ? ::setenv("HOME", _before->c_str(), 1) : ::unsetenv("HOME"); }

 private:
  std::optional<std::string> _before;
};

TEST_F(PosixFileManagerTest, TheHomeFolderIsWhatTheEnvironmentSaysAtTheTime) {
  const HomeOf first("/home/ann");
  EXPECT_EQ(files.homeDirectory(), "/home/ann");
  const HomeOf second("/home/ben//");
  EXPECT_EQ(files.homeDirectory(), "/home/ben");
  const HomeOf root("/");
  EXPECT_EQ(files.homeDirectory(), "/");
}

TEST_F(PosixFileManagerTest, TheHomeFolderIsThatOfTheAccountWhenTheEnvironmentSaysNone) {
  const passwd* account = ::getpwuid(::getuid());
  ASSERT_NE(account, nullptr);
  const std::string home = account->pw_dir;
  for (const char* told : {"", "relative/path", "~", static_cast<const char*>(nullptr)}) {
    const HomeOf environment(told);
    EXPECT_EQ(files.homeDirectory(), home);
  }
}

TEST_F(PosixFileManagerTest, CopiesAFileWithItsPermissions) {
  const std::string content(400000, 'c');
  folder.put("a", content);
  ASSERT_EQ(::chmod(folder.path("a").c_str(), 0640), 0);
  ASSERT_TRUE(files.copyFile(folder.path("a"), folder.path("b")));
  EXPECT_EQ(folder.get("b"), content);
  struct stat facts {};
  ASSERT_EQ(::stat(folder.path("b").c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mode & 0777, 0640u);
}

TEST_F(PosixFileManagerTest, NeverCopiesOverAnythingNotEvenThroughADanglingLink) {
  folder.put("a", "new");
  folder.put("b", "old");
  std::filesystem::create_symlink("c", folder.path("dangling"));
  const auto copied = files.copyFile(folder.path("a"), folder.path("b"));
  ASSERT_FALSE(copied);
  EXPECT_EQ(copied.error().reason, "File exists");
  EXPECT_EQ(folder.get("b"), "old");
  EXPECT_FALSE(files.copyFile(folder.path("a"), folder.path("dangling")));
  EXPECT_FALSE(files.fileExists(folder.path("c")));
}

TEST_F(PosixFileManagerTest, ACopyThatFailsHalfwayLeavesNothing) {
  // The first page of a process is never there to read.
  ASSERT_FALSE(files.copyFile("/proc/self/mem", folder.path("b")));
  EXPECT_FALSE(files.fileExists(folder.path("b")));
}

TEST_F(PosixFileManagerTest, CopiesNothingButPlainFiles) {
  ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
  std::filesystem::create_symlink("/dev/zero", folder.path("device"));
  for (const std::string& source :
       {folder.path(), folder.path("missing"), folder.path("pipe"), folder.path("device")}) {
    EXPECT_FALSE(files.copyFile(source, folder.path("b"))) << source;
  }
  EXPECT_FALSE(files.fileExists(folder.path("b")));
}

TEST_F(PosixFileManagerTest, CopiesTheFileThatALinkLeadsTo) {
  folder.put("a", "content");
  std::filesystem::create_symlink("a", folder.path("link"));
  ASSERT_TRUE(files.copyFile(folder.path("link"), folder.path("b")));
  EXPECT_EQ(folder.get("b"), "content");
}

TEST_F(PosixFileManagerTest, CopiesAFileThatDoesNotAnnounceItsLength) {
  ASSERT_TRUE(files.copyFile("/proc/self/status", folder.path("b")));
  EXPECT_NE(folder.get("b").find("Pid:"), std::string::npos);
}

TEST_F(PosixFileManagerTest, ALogThatGrowsWhileItIsCopiedIsCopiedAsItWas) {
  const std::string before(std::size_t{16} << 20, 'a');
  bool grewMeanwhile = false;
  for (int round = 0; round < 100 && !grewMeanwhile; ++round) {
    folder.put("log", before);
    std::filesystem::remove(folder.path("copy"));
    std::atomic<bool> grown = false;
    std::thread writer([&] {
      // The copy is made after the log's length is known.
      while (!files.fileExists(folder.path("copy"))) std::this_thread::yield();
      std::ofstream(folder.path("log"), std::ios::app) << "more" << std::flush;
      grown = true;
    });
    const bool copied = static_cast<bool>(files.copyFile(folder.path("log"), folder.path("copy")));
    grewMeanwhile = grown;
    writer.join();
    ASSERT_TRUE(copied);
    EXPECT_EQ(std::filesystem::file_size(folder.path("copy")), before.size());
  }
  EXPECT_TRUE(grewMeanwhile);
}

TEST_F(PosixFileManagerTest, TellsTheSpaceOfTheFileSystemAndNothingForAMissingPath) {
  struct statvfs facts {};
  ASSERT_EQ(::statvfs("/proc", &facts), 0);
  const auto space = files.fileSystemSpace("/proc");
  ASSERT_TRUE(space);
  EXPECT_EQ(space->blockSize, facts.f_frsize);
  EXPECT_EQ(space->availableBlocks, facts.f_bavail);
  EXPECT_EQ(space->totalBlocks, facts.f_blocks);

  const auto real = files.fileSystemSpace(folder.path());
  ASSERT_TRUE(real);
  EXPECT_GT(real->blockSize, 0u);
  EXPECT_GT(real->total(), 0u);
  EXPECT_LE(real->available(), real->total());
  EXPECT_FALSE(files.fileSystemSpace(folder.path("missing")));
}

}  // namespace
}  // namespace zpk
