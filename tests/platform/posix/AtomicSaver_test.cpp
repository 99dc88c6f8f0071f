#include "platform/posix/AtomicSaver.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include "platform/posix/FileDescriptor.h"
#include "support/TemporaryFolder.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

Bytes bytes(std::string_view text) {
  return {text.begin(), text.end()};
}

mode_t permissions(const std::string& path) {
  struct stat facts {};
  EXPECT_EQ(::lstat(path.c_str(), &facts), 0);
  return facts.st_mode & 07777;
}

// The superuser writes into read-only folders too; where the tests run as that, they step down to another user.
class AsOrdinaryUser {
 public:
  AsOrdinaryUser() : _before(::geteuid()) { EXPECT_EQ(::seteuid(_before == 0 ? 65534 : _before), 0); }
  AsOrdinaryUser(const AsOrdinaryUser&) = delete;
  AsOrdinaryUser& operator=(const AsOrdinaryUser&) = delete;
  ~AsOrdinaryUser() { EXPECT_EQ(::seteuid(_before), 0); }

 private:
  uid_t _before;
};

TEST(AtomicSaver, MakesAFileThatOnlyItsOwnerReads) {
  const TemporaryFolder folder;
  ASSERT_TRUE(AtomicSaver::save(folder.path("settings"), bytes("new")));
  EXPECT_EQ(folder.get("settings"), "new");
  EXPECT_EQ(permissions(folder.path("settings")), 0600u);
  EXPECT_THAT(folder.names(), ElementsAre("settings"));
}

TEST(AtomicSaver, GivesExactlyThePermissionsAskedForWhateverTheUmask) {
  const TemporaryFolder folder;
  const mode_t before = ::umask(0077);
  const auto saved = AtomicSaver::save(folder.path("settings"), bytes("new"), 0644);
  ::umask(before);
  ASSERT_TRUE(saved);
  EXPECT_EQ(permissions(folder.path("settings")), 0644u);
}

TEST(AtomicSaver, ReplacesTheOldContentAlsoByAnEmptyOne) {
  const TemporaryFolder folder;
  folder.put("settings", "old and longer");
  ASSERT_TRUE(AtomicSaver::save(folder.path("settings"), bytes("new")));
  EXPECT_EQ(folder.get("settings"), "new");
  ASSERT_TRUE(AtomicSaver::save(folder.path("settings"), {}));
  EXPECT_EQ(folder.get("settings"), "");
}

TEST(AtomicSaver, WhoHoldsTheOldFileOpenStillReadsTheOldContent) {
  const TemporaryFolder folder;
  folder.put("settings", "old");
  const FileDescriptor held(::open(folder.path("settings").c_str(), O_RDONLY | O_CLOEXEC));
  ASSERT_TRUE(AtomicSaver::save(folder.path("settings"), bytes("new")));
  char content[4] = {};
  EXPECT_EQ(::read(held.get(), content, 3), 3);
  EXPECT_STREQ(content, "old");
}

TEST(AtomicSaver, ReplacesASymbolicLinkAndLeavesItsTargetAlone) {
  const TemporaryFolder folder;
  folder.put("elsewhere", "precious");
  std::filesystem::create_symlink("elsewhere", folder.path("settings"));
  ASSERT_TRUE(AtomicSaver::save(folder.path("settings"), bytes("new")));
  EXPECT_FALSE(std::filesystem::is_symlink(folder.path("settings")));
  EXPECT_EQ(folder.get("settings"), "new");
  EXPECT_EQ(folder.get("elsewhere"), "precious");
}

TEST(AtomicSaver, AMissingFolderIsAnErrorThatNamesThePath) {
  const TemporaryFolder folder;
  const auto saved = AtomicSaver::save(folder.path("missing/settings"), bytes("new"));
  ASSERT_FALSE(saved);
  EXPECT_EQ(saved.error().path, folder.path("missing/settings"));
  EXPECT_EQ(saved.error().reason, "No such file or directory");
}

TEST(AtomicSaver, AFolderInTheFilesPlaceStaysAndNoTemporaryFileDoes) {
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder.path("settings"));
  EXPECT_FALSE(AtomicSaver::save(folder.path("settings"), bytes("new")));
  EXPECT_TRUE(std::filesystem::is_directory(folder.path("settings")));
  EXPECT_THAT(folder.names(), ElementsAre("settings"));
}

TEST(AtomicSaver, AReadOnlyFolderKeepsTheOldFile) {
  const TemporaryFolder folder;
  folder.put("settings", "old");
  ASSERT_EQ(::chmod(folder.path().c_str(), 0555), 0);
  {
    const AsOrdinaryUser ordinary;
    const auto saved = AtomicSaver::save(folder.path("settings"), bytes("new"));
    ASSERT_FALSE(saved);
    EXPECT_EQ(saved.error().reason, "Permission denied");
  }
  EXPECT_EQ(folder.get("settings"), "old");
  EXPECT_THAT(folder.names(), ElementsAre("settings"));
}

TEST(AtomicSaver, TakesPlainNamesOnly) {
  const TemporaryFolder folder;
  const FileDescriptor opened(::open(folder.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  for (const std::string_view name : {"", ".", "..", "a/b", "../a"}) {
    EXPECT_FALSE(AtomicSaver::saveAt(opened.get(), name, bytes("new"))) << name;
  }
  EXPECT_FALSE(AtomicSaver::saveAt(opened.get(), std::string_view("a\0b", 3), bytes("new")));
  EXPECT_FALSE(AtomicSaver::save(folder.path("a") + std::string("\0b", 2), bytes("new")));
  EXPECT_FALSE(AtomicSaver::save(folder.path(""), bytes("new")));
  EXPECT_THAT(folder.names(), ElementsAre());
  EXPECT_TRUE(AtomicSaver::saveAt(opened.get(), "a", bytes("new")));
}

TEST(AtomicSaver, TakesTheLongestNameThatTheFileSystemTakes) {
  const TemporaryFolder folder;
  const std::string name(255, 'n');
  ASSERT_TRUE(AtomicSaver::save(folder.path(name), bytes("new")));
  EXPECT_EQ(folder.get(name), "new");
  EXPECT_FALSE(AtomicSaver::save(folder.path(name + "n"), bytes("new")));
  EXPECT_THAT(folder.names(), ElementsAre(name));
}

TEST(AtomicSaver, RemovesWhatAKilledSaveLeftAndNothingElse) {
  const TemporaryFolder folder;
  folder.put(".zpk-save-0123456789abcdef", "half");
  folder.put(".zpk-other", "kept");
  ASSERT_TRUE(AtomicSaver::save(folder.path("settings"), bytes("new")));
  EXPECT_THAT(folder.names(), UnorderedElementsAre("settings", ".zpk-other"));
}

TEST(AtomicSaver, SavesInThreadsAtOnceNeverShowAMixtureAndNeverFail) {
  const TemporaryFolder folder;
  const std::string path = folder.path("settings");
  ASSERT_TRUE(AtomicSaver::save(path, Bytes(20000, 'a')));
  std::atomic<int> failures{0};
  std::atomic<bool> done{false};
  const auto saver = [&](std::uint8_t character) {
    for (int i = 0; i < 100; ++i) failures += AtomicSaver::save(path, Bytes(20000, character)) ? 0 : 1;
  };
  int torn = 0;
  std::thread reader([&] {
    while (!done) {
      const std::string seen = folder.get("settings");
      torn += seen == std::string(20000, seen[0]) ? 0 : 1;
    }
  });
  std::thread first(saver, 'a');
  std::thread second(saver, 'b');
  first.join();
  second.join();
  done = true;
  reader.join();
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(torn, 0);
  EXPECT_THAT(folder.names(), ElementsAre("settings"));
}

}  // namespace
}  // namespace zpk
