// The check of a whole archive, and what is said about it.

#include "helper/service/PointVerification.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include "helper/archive/SmallArchive.h"
#include "helper/service/EngineArchives.h"
#include "helper/service/VerificationWords.h"

namespace zpk {
namespace {

namespace fs = std::filesystem;
using test::SmallArchive;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;
using testing::Not;

// An archive of a full point and three increments on a drive of its own.
class Verifications : public testing::Test {
 protected:
  Verifications() {
    fs::create_directories(drive());
    EXPECT_EQ(::mount("tmpfs", drive().c_str(), "tmpfs", 0, "size=16m"), 0) << "it takes root";
    small.emplace(path(), 4, 1, 11);
  }
  ~Verifications() override { ::umount2(drive().c_str(), MNT_DETACH); }

  std::string drive() const { return folder / "drive"; }
  std::string path() const { return drive() + "/a.rldbackup"; }
  std::string imagePath(std::size_t point) const {
    return path() + "/" + small->points().at(point) + "/disk0.pvhd";
  }
  Archive open() const { return std::move(*Archive::openForWriting(path())); }
  void fillDrive() const {
    test::mustRun("/bin/sh", {"-c", "dd if=/dev/zero of=" + drive() + "/fill bs=4k 2>&1; true"});
  }
  // Where the image's first content lies, behind its header.
  void damage(std::size_t point) const {
    std::fstream image(imagePath(point), std::ios::in | std::ios::out | std::ios::binary);
    image.seekp(SmallArchive::clusterSize + 100);
    image << std::string(40'000, 'x');
  }
  VerificationReport verify(Archive& archive) {
    VerificationReport report = verifyPoints(archive, board, cancel);
    lines = board.take().lines;
    return report;
  }

  test::ScratchFolder folder;
  std::optional<SmallArchive> small;
  EngineArchives archives{folder / "export", ""};
  OperationBoard board;
  CancelFlag cancel;
  std::vector<std::string> lines;
};

TEST_F(Verifications, OfAFullDriveFindWhatTheyFindOnAnyOther) {
  Archive archive = open();
  damage(1);
  fillDrive();
  const VerificationReport report = verify(archive);
  EXPECT_TRUE(report.isComplete);
  ASSERT_EQ(report.points.size(), 4U);
  EXPECT_THAT(report.points, Each(Field(&PointVerdict::unnoted, HasSubstr("could not be saved"))))
      << "the drive was not full";
  for (const std::size_t sound : {0U, 2U, 3U}) EXPECT_TRUE(report.points[sound].isSound()) << sound;
  EXPECT_FALSE(report.points[1].damage.empty()) << "what was found is lost";
  EXPECT_THAT(lines, Contains(HasSubstr("is sound")).Times(3));
  EXPECT_THAT(lines, Contains(HasSubstr("This could not be noted")).Times(4));
  const Dictionary words = wordsOf(report);
  EXPECT_THAT((*(*words["points"].array())[0].dictionary())["unnoted"].textOr(""), HasSubstr("could not be saved"));
}

TEST_F(Verifications, AreNotedInEveryPoint) {
  Archive archive = open();
  damage(2);
  const VerificationReport report = verify(archive);
  EXPECT_THAT(report.points, Each(Field(&PointVerdict::unnoted, "")));
  for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(archive.readPoint(i)->check->isDamaged, i == 2) << i;
  EXPECT_THAT(lines, Not(Contains(HasSubstr("not be noted"))));
}

TEST_F(Verifications, TellWhatAPointWasMadeWithout) {
  Archive archive = open();
  PointIndex made = *archive.readPoint(1);
  made.disks[0].name = "Disk 1";
  made.disks[0].sectorSize = 512;
  made.disks[0].unreadable = {{512, 1536}, {4096, 4608}};
  ASSERT_TRUE(archive.savePoint(1, made).hasValue());
  fs::resize_file(archive.pointIndexPath(2), 10);
  const VerificationReport report = verify(archive);
  ASSERT_EQ(report.points.size(), 4U);
  EXPECT_TRUE(report.points[1].isSound()) << "it is as it was made";
  EXPECT_EQ(report.points[1].unreadableSectors, 3U);
  ASSERT_EQ(report.points[1].unreadable.size(), 2U);
  EXPECT_EQ(report.points[1].unreadable[1].disk, "Disk 1");
  EXPECT_EQ(report.points[1].unreadable[1].start, 4096U);
  EXPECT_EQ(report.points[1].unreadable[1].end, 4608U);
  EXPECT_EQ(report.points[2].unreadableSectors, 0U) << "of what cannot be read nothing is known";
  EXPECT_THAT(lines, Contains(HasSubstr("made with 3 unreadable sectors")).Times(1));
  EXPECT_THAT(lines, Contains(HasSubstr("Could not be read and is zeros")).Times(2));
}

TEST_F(Verifications, OfAFailedDiskNameItsFirstThousandRanges) {
  Archive archive = open();
  PointIndex made = *archive.readPoint(1);
  made.disks[0].sectorSize = 512;
  made.disks[0].unreadable.clear();
  for (std::uint64_t sector = 0; sector < 1001; ++sector)
    made.disks[0].unreadable.push_back({sector * 1024, sector * 1024 + 512});
  made.disks[0].size = std::max<std::uint64_t>(made.disks[0].size, 1001 * 1024);
  ASSERT_TRUE(archive.savePoint(1, made).hasValue());
  const VerificationReport report = verify(archive);
  EXPECT_EQ(report.points.at(1).unreadable.size(), 1000U);
  EXPECT_EQ(report.points.at(1).moreUnreadable, 1U);
  EXPECT_EQ(report.points.at(1).unreadableSectors, 1001U);
  const Dictionary words = wordsOf(report);
  const Dictionary* point = (*words["points"].array())[1].dictionary();
  EXPECT_EQ((*point)["unreadable"].array()->size(), 1000U);
  EXPECT_EQ((*point)["moreUnreadable"].unsignedIntegerValue(), 1U);
}

TEST_F(Verifications, OfAReadOnlyDriveSayThatNothingIsNoted) {
  damage(1);
  ASSERT_EQ(::mount(nullptr, drive().c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
  const VerificationReport report = archives.verify(path(), std::nullopt, board, cancel);
  EXPECT_TRUE(report.isComplete);
  ASSERT_EQ(report.points.size(), 4U);
  EXPECT_FALSE(report.points[1].isSound());
  EXPECT_THAT(report.points, Each(Field(&PointVerdict::unnoted, HasSubstr("Read-only file system"))));
  EXPECT_THAT(board.take().lines, Contains(HasSubstr("will not be noted in the archive")).Times(1));
}

// The parent's images are read by no check of a listed point, and were taken for sound.
TEST_F(Verifications, WithAMergePendingOnAReadOnlyDriveAreRefused) {
  {
    Archive archive = open();
    ASSERT_TRUE(archive.beginMerge({small->points()[1], small->points()[2], {}}).hasValue());
  }
  damage(1);
  ASSERT_EQ(::mount(nullptr, drive().c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
  const VerificationReport report = archives.verify(path(), std::nullopt, board, cancel);
  ASSERT_TRUE(std::holds_alternative<OperationFailed>(report.outcome));
  EXPECT_THAT(std::get<OperationFailed>(report.outcome).reason, HasSubstr("Read-only file system"));
  EXPECT_FALSE(report.isComplete);
  EXPECT_TRUE(report.points.empty());
}

TEST_F(Verifications, OfACopyThatIsSomebodyElsesAreMadeWithoutANote) {
  constexpr std::uint32_t nobody = 65534;
  ASSERT_EQ(::chmod((folder / "").c_str(), 0711), 0);
  test::mustRun("/bin/chmod", {"-R", "a+rX", path()});
  damage(1);
  const VerificationReport report = archives.verify(path(), nobody, board, cancel);
  EXPECT_TRUE(report.isComplete);
  ASSERT_EQ(report.points.size(), 4U);
  for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(report.points[i].isSound(), i != 1) << report.points[i].error;
  EXPECT_THAT(report.points, Each(Field(&PointVerdict::unnoted, HasSubstr("Permission denied"))));
  EXPECT_EQ(Archive::openForReading(path())->readPoint(1)->check, std::nullopt);
}

TEST_F(Verifications, OfAnArchiveThatMayNotBeReadAreRefused) {
  ASSERT_EQ(::chmod((folder / "").c_str(), 0711), 0);
  const VerificationReport report = archives.verify(path(), 65534U, board, cancel);
  EXPECT_TRUE(std::holds_alternative<OperationFailed>(report.outcome));
  EXPECT_TRUE(report.points.empty());
}

TEST_F(Verifications, OfADriveWithoutAByteLeftAreMadeAllTheSame) {
  fillDrive();
  const VerificationReport report = archives.verify(path(), std::nullopt, board, cancel);
  EXPECT_EQ(report.points.size(), 4U);
  EXPECT_TRUE(std::holds_alternative<OperationDone>(report.outcome));
  EXPECT_THAT(report.points, Each(Field(&PointVerdict::unnoted, HasSubstr("No space left"))));
}

TEST_F(Verifications, OfAnArchiveOfTheOlderKindChangeNothing) {
  ArchiveIndex index = Archive::openForReading(path())->index();
  index.isLegacy = true;
  test::writeAll(path() + "/archive.json", textOf(index));
  const VerificationReport report = archives.verify(path(), std::nullopt, board, cancel);
  EXPECT_TRUE(std::holds_alternative<OperationDone>(report.outcome));
  ASSERT_EQ(report.points.size(), 4U);
  EXPECT_THAT(report.points, Each(Field(&PointVerdict::unnoted, HasSubstr("older kind"))));
  EXPECT_EQ(Archive::openForReading(path())->readPoint(0)->check, std::nullopt);
}

TEST_F(Verifications, OfAnArchiveThatSomebodyWritesAreRefused) {
  const Archive writer = open();
  const VerificationReport report = archives.verify(path(), std::nullopt, board, cancel);
  EXPECT_TRUE(std::holds_alternative<OperationFailed>(report.outcome));
  EXPECT_TRUE(report.points.empty());
}

TEST_F(Verifications, TellWhichPointsTakeContentFromADamagedOne) {
  Archive archive = open();
  damage(1);
  const VerificationReport report = verify(archive);
  const std::uint64_t damaged = 1;
  EXPECT_THAT(
      report.points,
      ElementsAre(Field(&PointVerdict::damagedBase, std::nullopt), Field(&PointVerdict::damagedBase, std::nullopt),
                  Field(&PointVerdict::damagedBase, damaged), Field(&PointVerdict::damagedBase, damaged)));
  EXPECT_THAT(lines, Contains(HasSubstr("It takes content from backup point 2, ")).Times(2));
  EXPECT_TRUE((*(*wordsOf(report)["points"].array())[3].dictionary())["damagedBase"].isNumber());
}

// Its id was looked for in the index that is lost, and those that build on it were called whole.
TEST_F(Verifications, TellWhichPointsBuildOnOneWhoseIndexIsDamaged) {
  Archive archive = open();
  fs::resize_file(archive.pointIndexPath(1), 10);
  const VerificationReport report = verify(archive);
  ASSERT_EQ(report.points.size(), 4U);
  EXPECT_FALSE(report.points[0].damagedBase || report.points[1].damagedBase);
  EXPECT_TRUE(report.points[2].damagedBase && report.points[3].damagedBase);
  EXPECT_THAT(lines, Contains(HasSubstr("The backup point of an unknown date is damaged")).Times(1));
  EXPECT_THAT(lines, Contains(HasSubstr("from backup point 2, ")).Times(2));
}

TEST_F(Verifications, PromiseThatNothingIsBuiltOnDamageThatIsNoted) {
  Archive archive = open();
  damage(1);
  fs::resize_file(archive.pointIndexPath(2), 10);
  EXPECT_THAT(std::get<OperationFailed>(verify(archive).outcome).reason,
              HasSubstr("2 backup points are damaged, and nothing further is built on them. The drive"));
}

TEST_F(Verifications, PromiseNothingOfDamageThatCouldNotBeNoted) {
  Archive archive = open();
  damage(1);
  fs::resize_file(archive.pointIndexPath(2), 10);
  fillDrive();
  EXPECT_THAT(std::get<OperationFailed>(verify(archive).outcome).reason,
              HasSubstr("2 backup points are damaged. The drive"));
}

}  // namespace
}  // namespace zpk
