// Archives that somebody made, or changed, in a way that no backup does.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "helper/archive/ImageMerge.h"
#include "helper/archive/MergeOperation.h"
#include "helper/archive/PointCheck.h"
#include "helper/archive/Qcow2Format.h"
#include "helper/archive/SmallArchive.h"

namespace zpk {
namespace {

namespace fs = std::filesystem;
using test::SmallArchive;
using testing::HasSubstr;

const CancelFlag never;

void ignoreProgress(std::uint64_t, std::uint64_t) {}

// Three points of one disk.
class HostileArchive : public testing::Test {
 protected:
  std::string path() const { return folder / "a.rldbackup"; }
  std::string pathOf(std::size_t point, const std::string& name) const {
    return path() + "/" + small.points()[point] + "/" + name;
  }
  Archive open() const {
    ArchiveResult<Archive> archive = Archive::openForWriting(path());
    EXPECT_TRUE(archive.hasValue()) << (archive ? "" : archive.error().text());
    return std::move(*archive);
  }
  OpenFile openForUpdate(std::size_t point, const std::string& name) const {
    const ArchiveResult<OpenFile> place = openFolder(path() + "/" + small.points()[point]);
    return std::move(*openForUpdateIn(*place, name));
  }
  OpenFile openToRead(std::size_t point, const std::string& name) const {
    const ArchiveResult<OpenFile> place = openFolder(path() + "/" + small.points()[point]);
    return std::move(*openIn(*place, name));
  }
  void expectRefused(std::size_t child, const char* words) const {
    Archive archive = open();
    const ArchiveResult<Done> merged = mergeIntoParent(archive, child, ignoreProgress, never);
    ASSERT_FALSE(merged.hasValue());
    EXPECT_THAT(merged.error().text(), HasSubstr(words));
    EXPECT_EQ(archive.index().merging, std::nullopt);
    EXPECT_EQ(archive.index().points, small.points());
  }

  // The image stores one of its plain clusters as a frame that is longer than a cluster.
  void storeAsLongFrame(std::size_t point) const {
    auto reader = Qcow2Reader::open(openToRead(point, "disk0.pvhd"));
    std::uint64_t cluster = 0;
    while (*reader->kindOf(cluster) != ClusterKind::Plain) ++cluster;
    ByteBuffer content(SmallArchive::clusterSize);
    ASSERT_TRUE(reader->read(cluster, content).hasValue());
    const OpenFile image = openForUpdate(point, "disk0.pvhd");
    const ByteBuffer frame = test::wholeFrameOf(content);
    ASSERT_GT(frame.size(), content.size());
    const std::uint64_t place = roundUp(*sizeOf(image), SmallArchive::clusterSize);
    ByteBuffer padded = frame;
    padded.resize(2 * SmallArchive::clusterSize);
    ByteBuffer number(8);
    ASSERT_TRUE(writeAt(image, place, padded).hasValue() && readAt(image, 40, number).hasValue());
    ASSERT_TRUE(readAt(image, bigEndianAt<std::uint64_t>(number, 0) + cluster / 2048 * 8, number).hasValue());
    const std::uint64_t table = bigEndianAt<std::uint64_t>(number, 0) & qcow2::offsetMask;
    const std::uint64_t further = (frame.size() - 1) / qcow2::sectorSize;
    putBigEndian(number, 0,
                 qcow2::compressed | place | further << qcow2::compressedOffsetBits(SmallArchive::clusterBits));
    ASSERT_TRUE(writeAt(image, table + cluster % 2048 * 8, number).hasValue());
  }

  test::ScratchFolder folder;
  SmallArchive small{folder / "a.rldbackup", 3, 1, 7};
};

TEST_F(HostileArchive, AFrameThatIsLongerThanAClusterOverwritesNothingWhenItIsMoved) {
  storeAsLongFrame(1);
  Archive archive = open();
  small.expectExact(archive);
  const ArchiveResult<Done> merged = mergeIntoParent(archive, 1, ignoreProgress, never);
  ASSERT_TRUE(merged.hasValue()) << merged.error().text();
  small.expectExact(archive);
  test::mustRun("/usr/bin/qemu-img", {"check", "-q", "-f", "qcow2", pathOf(1, "disk0.pvhd")});
}

TEST_F(HostileArchive, WhatAReaderStillReadsIsNotGivenBackByAMergeThatIsTakenUpAgain) {
  // A point can be attached while its archive waits for a merge to be finished; what has it open knows the tables
  // as they were.
  std::optional<Qcow2Chain> reader;
  {
    Archive archive = open();
    auto merge =
        ImageMerge::open(openForUpdate(0, "disk0.pvhd"), openToRead(1, "disk0.pvhd"), openToRead(1, "disk0.map"));
    ASSERT_TRUE(merge.hasValue()) << merge.error().text();
    ASSERT_TRUE(archive.beginMerge({small.points()[0], small.points()[1], {merge->tablesPlace()}}).hasValue());
    ASSERT_TRUE(merge->fold([](std::uint64_t) {}, never).hasValue());
    reader.emplace(std::move(*Qcow2Chain::open(archive, 1, 0)));
    ASSERT_TRUE(merge->switchOver().hasValue());
  }
  const Archive archive = open();
  EXPECT_EQ(archive.index().points.size(), 2U);
  small.expectExact(archive);
  SmallArchive::expectReads(*reader, small.moments().at(small.points()[1])[0]);
}

// An archive of two disks, of whose merge the first was switched over when it was cut off.
class MergeWithoutEnd : public testing::Test {
 protected:
  MergeWithoutEnd() {
    ArchiveResult<Archive> archive = Archive::openForWriting(path());
    std::vector<ImageMerge> merges;
    PendingMerge pending{small.points()[0], small.points()[1], {}};
    for (const std::string name : {"disk0", "disk1"}) {
      auto merge = ImageMerge::open(open(0, name + ".pvhd", true), open(1, name + ".pvhd"), open(1, name + ".map"));
      EXPECT_TRUE(merge.hasValue());
      pending.tables.push_back(merge->tablesPlace());
      merges.push_back(std::move(*merge));
    }
    EXPECT_TRUE(archive->beginMerge(pending).hasValue());
    EXPECT_TRUE(merges[0].fold([](std::uint64_t) {}, never).hasValue() && merges[0].switchOver().hasValue());
  }

  std::string path() const { return folder / "a.rldbackup"; }
  std::string pathOf(std::size_t point, const std::string& name) const {
    return path() + "/" + small.points()[point] + "/" + name;
  }
  OpenFile open(std::size_t point, const std::string& name, bool forUpdate = false) const {
    const ArchiveResult<OpenFile> place = openFolder(path() + "/" + small.points()[point]);
    return std::move(*(forUpdate ? openForUpdateIn(*place, name) : openIn(*place, name)));
  }
  void expectReads(const Archive& archive, std::size_t place, std::size_t point, std::size_t disk) const {
    ArchiveResult<Qcow2Chain> chain = Qcow2Chain::open(archive, place, disk);
    ASSERT_TRUE(chain.hasValue()) << chain.error().text();
    SmallArchive::expectReads(*chain, small.moments().at(small.points()[point])[disk]);
  }
  Archive expectGivenUp() {
    ArchiveResult<Archive> archive = Archive::openForWriting(path());
    EXPECT_TRUE(archive.hasValue()) << (archive ? "" : archive.error().text());
    EXPECT_TRUE(archive->whyMergeGivenUp().has_value());
    EXPECT_EQ(archive->index().merging, std::nullopt);
    EXPECT_THAT(archive->index().points, testing::ElementsAre(small.points()[1], small.points()[2]));
    EXPECT_THAT(archive->index().kept, testing::ElementsAre(small.points()[0]));
    return std::move(*archive);
  }

  test::ScratchFolder folder;
  SmallArchive small{folder / "a.rldbackup", 3, 2, 1};
};

TEST_F(MergeWithoutEnd, EndsWithinTheChildsDamageAndEverythingWholeStaysReadable) {
  // The table that says where the second disk's clusters lie.
  const auto image = open(1, "disk1.pvhd", true);
  ByteBuffer header(512);
  ASSERT_TRUE(readAt(image, 0, header).hasValue());
  const auto l1 = bigEndianAt<std::uint64_t>(header, 40);
  ASSERT_TRUE(writeAt(image, l1, ByteBuffer(8, std::byte{0x7F})).hasValue());
  const Archive archive = expectGivenUp();
  EXPECT_TRUE(archive.readPoint(0)->check->isDamaged);
  expectReads(archive, 0, 1, 0);
  expectReads(archive, 1, 2, 0);
}

// What the point holds itself is whole; what it builds on is no point that could be checked.
TEST_F(MergeWithoutEnd, LeavesAMarkThatNoLaterCheckTakesBack) {
  const auto image = open(1, "disk1.pvhd", true);
  ByteBuffer header(512);
  ByteBuffer entry(8);
  ASSERT_TRUE(readAt(image, 0, header).hasValue());
  const auto l1 = bigEndianAt<std::uint64_t>(header, 40);
  ASSERT_TRUE(readAt(image, l1, entry).hasValue());
  ASSERT_TRUE(writeAt(image, l1, ByteBuffer(8, std::byte{0x7F})).hasValue());
  Archive archive = expectGivenUp();
  ASSERT_TRUE(writeAt(image, l1, entry).hasValue());
  for (const std::size_t point : {0U, 1U}) {
    const NotedCheck noted = checkAndNote(
        archive, point, 5, [](std::uint64_t) {}, never);
    ASSERT_TRUE(noted.check.hasValue()) << noted.check.error().text();
    EXPECT_TRUE(noted.check->damaged.empty());
  }
  EXPECT_EQ(archive.readPoint(0)->check, (LastCheck{5, true}));
  EXPECT_EQ(archive.readPoint(1)->check, (LastCheck{5, false}));
}

TEST_F(MergeWithoutEnd, EndsWhenTheChildsIndexIsDamaged) {
  fs::resize_file(pathOf(1, "index.json"), 10);
  const Archive archive = expectGivenUp();
  expectReads(archive, 1, 2, 0);
  expectReads(archive, 1, 2, 1);
}

TEST_F(MergeWithoutEnd, EndsWhenTheParentsImageIsLost) {
  fs::remove(pathOf(0, "disk1.pvhd"));
  const Archive archive = expectGivenUp();
  expectReads(archive, 0, 1, 0);
}

TEST_F(MergeWithoutEnd, IsGivenUpOnceAndWritingGoesOn) {
  fs::resize_file(pathOf(1, "index.json"), 10);
  { const Archive archive = expectGivenUp(); }
  ArchiveResult<Archive> again = Archive::openForWriting(path());
  ASSERT_TRUE(again.hasValue()) << again.error().text();
  EXPECT_EQ(again->whyMergeGivenUp(), std::nullopt);
  EXPECT_THAT(again->index().kept, testing::ElementsAre(small.points()[0])) << "its images are needed";
  ArchiveResult<PendingPoint> point = again->beginPoint();
  ASSERT_TRUE(point.hasValue());
  EXPECT_TRUE(again->commitPoint(std::move(*point), {}).hasValue());
}

TEST_F(MergeWithoutEnd, IsFinishedWhenNothingIsDamaged) {
  const ArchiveResult<Archive> archive = Archive::openForWriting(path());
  ASSERT_TRUE(archive.hasValue()) << archive.error().text();
  EXPECT_EQ(archive->whyMergeGivenUp(), std::nullopt);
  small.expectExact(*archive);
}

TEST(MergeNotBegun, OfAChildWithADamagedIndexIsTakenBack) {
  const test::ScratchFolder folder;
  const SmallArchive small(folder / "a.rldbackup", 3, 1, 2);
  {
    ArchiveResult<Archive> archive = Archive::openForWriting(folder / "a.rldbackup");
    auto image = Qcow2Rewriter::open(std::move(*openForUpdateIn(*archive->openPointFolder(0), "disk0.pvhd")));
    ASSERT_TRUE(archive->beginMerge({small.points()[0], small.points()[1], {image->tablesPlace()}}).hasValue());
  }
  fs::resize_file(folder / "a.rldbackup/" + small.points()[1] + "/index.json", 10);
  const ArchiveResult<Archive> archive = Archive::openForWriting(folder / "a.rldbackup");
  ASSERT_TRUE(archive.hasValue()) << archive.error().text();
  EXPECT_EQ(archive->index().points, small.points()) << "the parent is whole";
}

TEST_F(HostileArchive, AnImageWithAnotherNameElsewhereIsNotRewritten) {
  fs::create_hard_link(pathOf(0, "disk0.pvhd"), folder / "copy.pvhd");
  const std::string before = test::readAll(folder / "copy.pvhd");
  expectRefused(1, "another name");
  EXPECT_TRUE(test::readAll(folder / "copy.pvhd") == before);
}

TEST_F(HostileArchive, ALockThatIsAnotherFileIsNotEmptied) {
  test::writeAll(folder / "precious", "precious");
  fs::remove(path() + "/lock");
  fs::create_hard_link(folder / "precious", path() + "/lock");
  EXPECT_FALSE(Archive::openForWriting(path()).hasValue());
  EXPECT_EQ(test::readAll(folder / "precious"), "precious");
}

TEST_F(HostileArchive, APointThatSaysItIsFullButIsNotKeepsWhatItBuildsOn) {
  Archive archive = open();
  PointIndex point = *archive.readPoint(1);
  point.kind = PointKind::Full;
  point.parent.clear();
  ASSERT_TRUE(archive.savePoint(1, point).hasValue());
  { const Archive closed = std::move(archive); }
  expectRefused(1, "does not build on the one before it");
  small.expectExact(open());
}

TEST_F(HostileArchive, APointThatAnotherOneBuildsOnAsWellIsNotGivenUp) {
  Archive archive = open();
  PointIndex point = *archive.readPoint(2);
  point.parent = archive.readPoint(0)->id;
  ASSERT_TRUE(archive.savePoint(2, point).hasValue());
  { const Archive closed = std::move(archive); }
  expectRefused(1, "Another backup point");
}

TEST_F(HostileArchive, ATableLargerThanAnyImageNeedsIsRefusedBeforeItIsRead) {
  // The file has the size that it says, and takes no room: it is a hole.
  const OpenFile image = openForUpdate(0, "disk0.pvhd");
  ByteBuffer sector(512);
  ASSERT_TRUE(readAt(image, 0, sector).hasValue());
  const auto expectDamaged = [&](ByteSpan header) {
    ASSERT_TRUE(writeAt(image, 0, header).hasValue());
    fs::resize_file(pathOf(0, "disk0.pvhd"), std::uintmax_t{1} << 31U);
    const auto rewritten = Qcow2Rewriter::open(openForUpdate(0, "disk0.pvhd"));
    ASSERT_FALSE(rewritten.hasValue());
    EXPECT_EQ(rewritten.error().fault, ArchiveFault::Damaged);
  };
  ByteBuffer wide = sector;
  putBigEndian(wide, 24, std::uint64_t{1} << 50U);
  putBigEndian(wide, 36, std::uint32_t{1} << 25U);
  expectDamaged(wide);
  ByteBuffer manyCounts = sector;
  putBigEndian(manyCounts, 48, std::uint64_t{1} << 24U);
  putBigEndian(manyCounts, 56, std::uint32_t{1} << 16U);
  expectDamaged(manyCounts);
}

TEST_F(HostileArchive, AMapWithMoreRunsThanItCanHaveIsRefusedBeforeTheyAreRead) {
  const OpenFile map = openForUpdate(0, "disk0.map");
  ByteBuffer numbers(16);
  putLittleEndian(numbers, 8, std::uint64_t{1} << 34U);
  ASSERT_TRUE(writeAt(map, 24, numbers).hasValue());
  fs::resize_file(pathOf(0, "disk0.map"), std::uintmax_t{1} << 40U);
  const auto opened = ChunkMapReader::open(openToRead(0, "disk0.map"));
  ASSERT_FALSE(opened.hasValue());
  EXPECT_EQ(opened.error().fault, ArchiveFault::Damaged);
}

TEST_F(HostileArchive, ThereIsNoPointBehindTheLastNumber) {
  const std::string last = "p999999999-00000000";
  fs::rename(path() + "/" + small.points()[2], path() + "/" + last);
  ArchiveIndex index = Archive::openForReading(path())->index();
  index.points[2] = last;
  test::writeAll(path() + "/archive.json", textOf(index));
  Archive archive = open();
  EXPECT_FALSE(archive.beginPoint().hasValue());
}

}  // namespace
}  // namespace zpk
