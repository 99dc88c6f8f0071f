// What every file manager keeps, the one in memory that the logic is tested with and the real one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/posix/FileManager_posix.h"
#include "support/MemoryFileManager.h"
#include "support/TemporaryFolder.h"

namespace zpk {
namespace {

using testing::ElementsAre;

Bytes bytes(std::string_view text) {
  return {text.begin(), text.end()};
}

// What the contract calls a world: a file manager, and a folder in it to work in.
struct RealFiles {
  TemporaryFolder folder;
  PosixFileManager files;
  std::string root = folder.path();
};

struct FilesInMemory {
  FilesInMemory() { files.addFolder(root); }
  MemoryFileManager files;
  std::string root = "/folder";
};

template <class World>
class FileManagerContract : public testing::Test {
 protected:
  std::string path(std::string_view name) const { return world.root + "/" + std::string(name); }
  std::string reason(const Expected<Done, FileError>& result) const { return result ? "" : result.error().reason; }

  World world;
  FileManager& files = world.files;
};

using Worlds = testing::Types<FilesInMemory, RealFiles>;
TYPED_TEST_SUITE(FileManagerContract, Worlds);

TYPED_TEST(FileManagerContract, WhatWasSavedIsThereAndReadsBack) {
  EXPECT_FALSE(this->files.fileExists(this->path("a")));
  ASSERT_TRUE(this->files.saveFile(this->path("a"), bytes("old")));
  ASSERT_TRUE(this->files.saveFile(this->path("a"), bytes("new")));
  EXPECT_TRUE(this->files.fileExists(this->path("a")));
  const auto content = this->files.contentsOfFile(this->path("a"), 3);
  ASSERT_TRUE(content);
  EXPECT_EQ(*content, bytes("new"));
}

TYPED_TEST(FileManagerContract, ReadingTellsWhyItFailed) {
  ASSERT_TRUE(this->files.saveFile(this->path("a"), bytes("12345")));
  const auto reason = [&](const std::string& path, std::uint64_t limit) {
    const auto content = this->files.contentsOfFile(path, limit);
    EXPECT_FALSE(content);
    return content ? "" : content.error().path + ": " + content.error().reason;
  };
  EXPECT_EQ(reason(this->path("a"), 4), this->path("a") + ": Longer than 4 bytes");
  EXPECT_EQ(reason(this->path("b"), 4), this->path("b") + ": No such file or directory");
  EXPECT_EQ(reason(this->world.root, 4), this->world.root + ": Not a plain file");
}

TYPED_TEST(FileManagerContract, SavesIntoFoldersThatAreThereAndNeverOverAFolder) {
  ASSERT_TRUE(this->files.createDirectory(this->path("folder")));
  EXPECT_EQ(this->reason(this->files.saveFile(this->path("missing/a"), {})), "No such file or directory");
  EXPECT_EQ(this->reason(this->files.saveFile(this->path("folder"), {})), "Is a directory");
  EXPECT_TRUE(this->files.saveFile(this->path("folder/a"), {}));
}

TYPED_TEST(FileManagerContract, AFolderIsMadeOnce) {
  EXPECT_TRUE(this->files.createDirectory(this->path("folder")));
  EXPECT_TRUE(this->files.fileExists(this->path("folder")));
  EXPECT_EQ(this->reason(this->files.createDirectory(this->path("folder"))), "File exists");
  EXPECT_EQ(this->reason(this->files.createDirectory(this->path("missing/folder"))), "No such file or directory");
}

TYPED_TEST(FileManagerContract, MakesAFolderWithAllOnTheWayToIt) {
  EXPECT_TRUE(this->files.createDirectories(this->path("a/b/c")));
  EXPECT_TRUE(this->files.fileExists(this->path("a/b")));
  EXPECT_TRUE(this->files.saveFile(this->path("a/b/c/file"), {}));
  EXPECT_TRUE(this->files.createDirectories(this->path("a/b/c"))) << "it is there already";
  EXPECT_TRUE(this->files.createDirectories(this->path("a/b/d")));
  EXPECT_TRUE(this->files.fileExists(this->path("a/b/c/file")));
}

TYPED_TEST(FileManagerContract, MakesNoFolderWhereSomethingElseIs) {
  ASSERT_TRUE(this->files.saveFile(this->path("file"), {}));
  for (const char* name : {"file", "file/a"}) {
    const auto made = this->files.createDirectories(this->path(name));
    ASSERT_FALSE(made) << name;
    EXPECT_EQ(made.error().path, this->path("file"));
    EXPECT_EQ(made.error().reason, "File exists");
  }
}

TYPED_TEST(FileManagerContract, TheHomeFolderIsAnAbsolutePathWithoutASlashAtItsEnd) {
  const std::string home = this->files.homeDirectory();
  EXPECT_TRUE(home.starts_with('/'));
  EXPECT_TRUE(home == "/" || !home.ends_with('/')) << home;
}

TYPED_TEST(FileManagerContract, ListsWhatIsDirectlyInAFolderByName) {
  ASSERT_TRUE(this->files.createDirectory(this->path("m")));
  ASSERT_TRUE(this->files.saveFile(this->path("m/inner"), {}));
  ASSERT_TRUE(this->files.saveFile(this->path("z"), {}));
  ASSERT_TRUE(this->files.saveFile(this->path(".a"), {}));
  const auto names = this->files.contentsOfDirectory(this->world.root);
  ASSERT_TRUE(names);
  EXPECT_THAT(*names, ElementsAre(".a", "m", "z"));
  EXPECT_EQ(this->files.contentsOfDirectory(this->path("z")).error().reason, "Not a directory");
  EXPECT_EQ(this->files.contentsOfDirectory(this->path("n")).error().reason, "No such file or directory");
}

TYPED_TEST(FileManagerContract, CopiesPlainFilesToWhereNothingIs) {
  ASSERT_TRUE(this->files.saveFile(this->path("a"), bytes("content")));
  ASSERT_TRUE(this->files.copyFile(this->path("a"), this->path("b")));
  const auto content = this->files.contentsOfFile(this->path("b"), 100);
  ASSERT_TRUE(content);
  EXPECT_EQ(*content, bytes("content"));
  EXPECT_EQ(this->reason(this->files.copyFile(this->path("a"), this->path("b"))), "File exists");
  EXPECT_EQ(this->reason(this->files.copyFile(this->path("c"), this->path("d"))), "No such file or directory");
  EXPECT_EQ(this->reason(this->files.copyFile(this->world.root, this->path("d"))), "Not a plain file");
  EXPECT_FALSE(this->files.fileExists(this->path("d")));
}

TYPED_TEST(FileManagerContract, AFileIsTakenAwayOnceAndAFolderNever) {
  ASSERT_TRUE(this->files.saveFile(this->path("a"), {}));
  ASSERT_TRUE(this->files.createDirectory(this->path("folder")));
  EXPECT_TRUE(this->files.removeFile(this->path("a")));
  EXPECT_FALSE(this->files.fileExists(this->path("a")));
  EXPECT_EQ(this->reason(this->files.removeFile(this->path("a"))), "No such file or directory");
  EXPECT_EQ(this->reason(this->files.removeFile(this->path("folder"))), "Is a directory");
  EXPECT_TRUE(this->files.fileExists(this->path("folder")));
}

TYPED_TEST(FileManagerContract, TellsNoSpaceOfWhatIsNotThere) {
  EXPECT_FALSE(this->files.fileSystemSpace(this->path("missing")));
}

}  // namespace
}  // namespace zpk
