// Archives as the service uses them, on real files.

#include "helper/service/EngineArchives.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "helper/archive/Archive.h"
#include "helper/archive/TestFiles.h"
#include "helper/service/ArchiveWords.h"
#include "records/RLDArchive.h"
#include "records/RLDArchiveItem.h"
#include "records/ZPKDisk.h"

namespace zpk {
namespace {

using test::ScratchFolder;
using testing::AllOf;
using testing::HasSubstr;

// An archive with two points without disks.
class EnginePoints : public testing::Test {
 protected:
  EnginePoints() {
    ArchiveResult<Archive> archive = Archive::create(path(), {"disk-id", "Disk", 5});
    for (const char* label : {"one", "two"}) {
      ArchiveResult<PendingPoint> point = archive->beginPoint();
      PointIndex index;
      index.label = label;
      EXPECT_TRUE(archive->commitPoint(std::move(*point), index).hasValue());
    }
  }

  std::string path() const { return folder / "a.rldbackup"; }
  std::shared_ptr<const RLDArchiveItem> item(std::size_t place) {
    return std::get<PresentArchive>(archives.look(path(), std::nullopt)).archive->items().at(place);
  }
  PointReference reference(std::size_t place) { return {path(), place, *item(place)->indexFilePath()}; }

  ScratchFolder folder;
  EngineArchives archives{folder / "export", ""};
};

TEST_F(EnginePoints, APinAndItsLabelAreKeptInThePoint) {
  ASSERT_TRUE(archives.pin({reference(1), true, "before the update"}, {}).hasValue());
  EXPECT_TRUE(item(1)->isPinned());
  EXPECT_EQ(item(1)->name(), "before the update");
  EXPECT_FALSE(item(0)->isPinned());
  EXPECT_EQ(item(0)->name(), "one");
}

TEST_F(EnginePoints, ADamagedOneHidesNoOther) {
  std::filesystem::resize_file(*item(0)->indexFilePath(), 10);
  EXPECT_EQ(item(0)->name(), "Damaged");
  EXPECT_FALSE(item(0)->creationDate().has_value());
  EXPECT_TRUE(item(0)->disks().empty());
  EXPECT_EQ(item(1)->name(), "two");
  EXPECT_TRUE(archives.pin({reference(1), true, "still mine"}, {}).hasValue());
  EXPECT_FALSE(archives.pin({reference(0), true, "lost"}, {}).hasValue());
}

TEST_F(EnginePoints, ThatAreDamagedSayWhatToDo) {
  const PointReference damaged = reference(0);
  std::filesystem::resize_file(damaged.indexPath, 10);
  OperationBoard board;
  const CancelFlag cancel;
  const auto disk = ZPKDisk::diskWithDisk(RLDDisk(RLDDisk::Fields{}));
  const auto why = [](const OperationOutcome& outcome) {
    const auto* failed = std::get_if<OperationFailed>(&outcome);
    return failed ? failed->reason : "it was done";
  };
  EXPECT_THAT(
      why(archives.restore({damaged, disk, 0, {}}, board, cancel)),
      AllOf(HasSubstr(damaged.indexPath), HasSubstr("Restore another backup point"), HasSubstr("zpkctl verify")));
  EXPECT_THAT(why(archives.merge(damaged, board, cancel)),
              AllOf(HasSubstr("back up again"), HasSubstr("zpkctl verify")));
  EXPECT_THAT(archives.pin({damaged, true, "x"}, {}).error(), HasSubstr("Check it and back up again."));
  EXPECT_THAT(why(archives.verify(path(), std::nullopt, board, cancel).outcome), HasSubstr("back up again"));
  // A letter that the medium has lost: "disk-id".
  std::string index = textOf(Archive::openForReading(path())->index());
  test::writeAll(path() + "/archive.json", index.replace(index.find("disk-id"), 1, "D"));
  EXPECT_THAT(std::get<UnreadableArchive>(archives.look(path(), std::nullopt)).reason,
              HasSubstr("choose another place for the backups."));
  EXPECT_THAT(why(archives.restore({damaged, disk, 0, {}}, board, cancel)), HasSubstr("choose another place"));
}

TEST(ArchiveLoss, IsOfTheArchivesOwnFilesAlone) {
  const std::string archive = "/b/a.rldbackup";
  EXPECT_TRUE(isLossOf(archive, damagedError("x", archive + "/p1/disk0.pvhd", 65536)));
  EXPECT_TRUE(isLossOf(archive, readError("x", archive + "/p1/disk0.pvhd", 0, EIO)));
  EXPECT_FALSE(isLossOf(archive, readError("x", "/dev/sda", 0, EIO))) << "that is the source";
  EXPECT_FALSE(isLossOf(archive, damagedError("x", archive + "2/p1/disk0.pvhd")));
  for (const int passing : {EACCES, EMFILE, ENOMEM, ESTALE}) {
    EXPECT_FALSE(isLossOf(archive, readError("x", archive + "/p1/disk0.pvhd", 0, passing)))
        << passing << " says nothing of the drive";
  }
  EXPECT_FALSE(isLossOf(archive, {ArchiveFault::NewerFormat, "x", archive + "/p1/index.json", 0, 0}));
  EXPECT_FALSE(isLossOf(archive, writeError("x", archive + "/p1/disk0.pvhd", 0, ENOSPC)));
  EXPECT_EQ(sentenceOf(damagedError("It is damaged", archive), archive, "Do this."),
            "It is damaged: /b/a.rldbackup. Do this.");
  EXPECT_EQ(sentenceOf(damagedError("It is damaged", "/dev/sda"), archive, "Do this."), "It is damaged: /dev/sda.");
}

TEST_F(EnginePoints, TellHowTheyFared) {
  {
    ArchiveResult<Archive> archive = Archive::openForWriting(path());
    PointIndex point = *archive->readPoint(1);
    point.check = {1'700'000'000, true};
    StoredDisk& disk = point.disks.emplace_back();
    disk.size = 8192;
    disk.image = "disk0.pvhd";
    disk.map = "disk0.map";
    disk.unreadable = {{512, 1536}, {4096, 4608}};
    ASSERT_TRUE(archive->savePoint(1, point).hasValue());
  }
  const auto look = [&] { return std::get<PresentArchive>(archives.look(path(), std::nullopt)); };
  const std::vector<PointHealth> expected{{*item(0)->indexFilePath(), std::nullopt, 0},
                                          {*item(1)->indexFilePath(), PointHealth::Check{1'700'000'000, true}, 3}};
  EXPECT_EQ(look().health, expected);
  std::filesystem::resize_file(*item(0)->indexFilePath(), 10);
  EXPECT_EQ(look().health, std::vector{expected[1]}) << "of what cannot be read nothing is known";
}

TEST_F(EnginePoints, OfAnArchiveOfTheOlderKindAreShownAsSuchAndLeftAsTheyAre) {
  ArchiveIndex index = Archive::openForReading(path())->index();
  index.isLegacy = true;
  test::writeAll(path() + "/archive.json", textOf(index));
  EXPECT_TRUE(std::get<PresentArchive>(archives.look(path(), std::nullopt)).archive->isLegacy());
  const auto refused = archives.pin({reference(0), true, "x"}, {});
  ASSERT_FALSE(refused.hasValue());
  EXPECT_THAT(refused.error(), HasSubstr("older kind"));
}

TEST_F(EnginePoints, UnpinningKeepsTheLabel) {
  ASSERT_TRUE(archives.pin({reference(0), true, "mine"}, {}).hasValue());
  ASSERT_TRUE(archives.pin({reference(0), false, std::nullopt}, {}).hasValue());
  EXPECT_FALSE(item(0)->isPinned());
  EXPECT_EQ(item(0)->name(), "mine");
}

TEST_F(EnginePoints, APinThatCannotBeStoredIsToldAndChangesNothing) {
  const PointReference point = reference(0);
  const auto other = Archive::openForWriting(path());
  const auto result = archives.pin({point, true, "x"}, {});
  ASSERT_FALSE(result.hasValue());
  EXPECT_THAT(result.error(), HasSubstr("process"));
  EXPECT_FALSE(item(0)->isPinned());
}

TEST_F(EnginePoints, AnotherPointAtTheSamePlaceIsLeftAlone) {
  PointReference point = reference(0);
  point.indexPath = reference(1).indexPath;
  const auto result = archives.pin({point, true, "x"}, {});
  ASSERT_FALSE(result.hasValue());
  EXPECT_THAT(result.error(), HasSubstr("another backup point"));
  point.index = 7;
  EXPECT_FALSE(archives.pin({point, true, "x"}, {}).hasValue());
  EXPECT_FALSE(item(0)->isPinned() || item(1)->isPinned());
}

// The archive of root's that the test makes, and a user who may not look into it.
class SomebodyElsesArchive : public EnginePoints {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "needs root";
    ASSERT_EQ(chmod((folder / "").c_str(), 0711), 0);
    std::filesystem::create_directory(folder / "theirs");
    ASSERT_EQ(chown((folder / "theirs").c_str(), kNobody, kNobody), 0);
  }
  static constexpr std::uint32_t kNobody = 65534;
};

TEST_F(SomebodyElsesArchive, IsNotRead) {
  const ArchiveView view = archives.look(path(), kNobody);
  ASSERT_TRUE(std::holds_alternative<UnreadableArchive>(view));
  EXPECT_THAT(std::get<UnreadableArchive>(view).reason, HasSubstr("Permission denied"));
}

TEST_F(SomebodyElsesArchive, IsNotReadThroughALinkOfTheUsersOwn) {
  std::filesystem::create_directory_symlink(folder / "", folder / "theirs/there");
  std::filesystem::create_directory_symlink(path(), folder / "theirs/mine.rldbackup");
  for (const char* name : {"theirs/there/a.rldbackup", "theirs/mine.rldbackup"}) {
    EXPECT_TRUE(std::holds_alternative<UnreadableArchive>(archives.look(folder / name, kNobody))) << name;
  }
}

TEST_F(SomebodyElsesArchive, IsNotChanged) {
  PointReference point = reference(0);
  point.archiveUser = kNobody;
  OperationBoard board;
  EXPECT_FALSE(archives.pin({point, true, "theirs now"}, {}));
  PointReference second = reference(1);
  second.archiveUser = kNobody;
  EXPECT_TRUE(std::holds_alternative<OperationFailed>(archives.merge(second, board, {})));
  EXPECT_FALSE(item(0)->isPinned());
  EXPECT_EQ(item(1)->name(), "two");
}

TEST_F(SomebodyElsesArchive, OfAUserWhoIsUnknownIsNotReached) {
  const ArchiveView view = archives.look(path(), 3'999'999'999U);
  ASSERT_TRUE(std::holds_alternative<UnreadableArchive>(view));
  EXPECT_THAT(std::get<UnreadableArchive>(view).reason, HasSubstr("Choose the place again"));
}

}  // namespace
}  // namespace zpk
