#include "helper/disks/FolderWatcher.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <filesystem>
#include <fstream>

#include "support/TemporaryFolder.h"

namespace zpk {
namespace {

// Whether anything of meaning was reported; the kernel reports before the call that made the change returns.
bool told(FolderWatcher& watcher) {
  pollfd waiting{watcher.fd(), POLLIN, 0};
  return ::poll(&waiting, 1, 0) == 1 && watcher.drain();
}

TEST(FolderWatcher, TellsOfFilesThatComeAreWrittenAndGo) {
  const TemporaryFolder folder;
  FolderWatcher watcher({folder.path()});
  ASSERT_GE(watcher.fd(), 0);
  EXPECT_FALSE(told(watcher));
  folder.put("a.img", "x");
  EXPECT_TRUE(told(watcher));
  EXPECT_FALSE(told(watcher));
  folder.put("a.img", "y");
  EXPECT_TRUE(told(watcher));
  std::filesystem::rename(folder.path("a.img"), folder.path("b.img"));
  EXPECT_TRUE(told(watcher));
  std::filesystem::remove(folder.path("b.img"));
  EXPECT_TRUE(told(watcher));
}

TEST(FolderWatcher, ReadingAndHiddenFilesMeanNothing) {
  const TemporaryFolder folder;
  folder.put("a.img", "x");
  FolderWatcher watcher({folder.path()});
  EXPECT_EQ(folder.get("a.img"), "x");
  folder.put(".making", "x");
  EXPECT_FALSE(told(watcher));
}

TEST(FolderWatcher, FileBeingWrittenCountsWhenItIsClosed) {
  const TemporaryFolder folder;
  folder.put("a.img", "x");
  FolderWatcher watcher({folder.path()});
  std::ofstream file(folder.path("a.img"), std::ios::app);
  file << "more" << std::flush;
  EXPECT_FALSE(told(watcher));
  file.close();
  EXPECT_TRUE(told(watcher));
}

TEST(FolderWatcher, FolderThatComesLaterIsWatched) {
  const TemporaryFolder folder;
  FolderWatcher watcher({folder.path("later/")});
  EXPECT_FALSE(told(watcher));
  std::filesystem::create_directory(folder.path("later"));
  EXPECT_TRUE(told(watcher));
  folder.put("later/a.img", "x");
  EXPECT_TRUE(told(watcher));
}

TEST(FolderWatcher, FolderThatIsReplacedIsWatchedAgain) {
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder.path("disks"));
  FolderWatcher watcher({folder.path("disks")});
  std::filesystem::rename(folder.path("disks"), folder.path("old"));
  EXPECT_TRUE(told(watcher));
  std::filesystem::create_directory(folder.path("disks"));
  EXPECT_TRUE(told(watcher));
  folder.put("disks/a.img", "x");
  EXPECT_TRUE(told(watcher));
}

TEST(FolderWatcher, SeveralFoldersAreWatchedAtOnce) {
  const TemporaryFolder first;
  const TemporaryFolder second;
  FolderWatcher watcher({first.path(), second.path()});
  second.put("a.img", "x");
  EXPECT_TRUE(told(watcher));
  first.put("a.img", "x");
  EXPECT_TRUE(told(watcher));
}

}  // namespace
}  // namespace zpk
