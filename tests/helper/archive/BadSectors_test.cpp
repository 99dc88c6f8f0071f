// Backups of disks that cannot be read everywhere, or not any more.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

#include "helper/archive/AlignedBuffer.h"
#include "helper/archive/BackupOperation.h"
#include "helper/archive/FaultyDisk.h"
#include "helper/archive/MergeOperation.h"
#include "helper/archive/PointCheck.h"
#include "helper/archive/Qcow2Format.h"
#include "helper/archive/Qcow2Reader.h"
#include "helper/archive/Qcow2Writer.h"
#include "helper/archive/SampleDisk.h"
#include "helper/archive/SourceReader.h"

namespace zpk {
namespace {

using test::FaultyDisk;
using test::SampleDisk;
using test::ScratchFolder;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::uint64_t sector = 512;
const CancelFlag never;

void ignoreProgress(std::uint64_t, std::uint64_t) {}

class BadSectors : public testing::Test {
 protected:
  ArchiveResult<MadePoint> backUp() {
    return makeBackup(archive, SampleDisk::requestFor(faulty.path()), ignoreProgress, never);
  }
  PointIndex mustBackUp() {
    const ArchiveResult<MadePoint> made = backUp();
    EXPECT_TRUE(made.hasValue()) << (made ? "" : made.error().text());
    return made ? made->index : PointIndex{};
  }
  std::string refusal() {
    const std::size_t before = archive.index().points.size();
    const ArchiveResult<MadePoint> made = backUp();
    EXPECT_EQ(archive.index().points.size(), before);
    EXPECT_GT(faulty.refused(), 0U) << "the fault was not there";
    return made ? "it is accepted" : made.error().text();
  }

  // Through the eyes of the field's own tool, which has to find it sound.
  std::string content(std::size_t point) const {
    const std::string image = archive.path() + "/" + archive.index().points.at(point) + "/disk0.pvhd";
    test::mustRun("/usr/bin/qemu-img", {"check", "-q", "-f", "qcow2", image});
    test::mustRun("/usr/bin/qemu-img", {"convert", "-f", "qcow2", "-O", "raw", image, folder / "back.raw"});
    return test::readAll(folder / "back.raw");
  }
  std::string expectedWithout(const std::vector<ByteRange>& ranges) const {
    std::string expected = disk.expectedContent();
    for (const ByteRange& range : ranges) expected.replace(range.start, range.size(), range.size(), '\0');
    return expected;
  }
  static bool isSame(const std::string& a, const std::string& b) { return a == b; }

  // Where on the disk these bytes of one of the volume's files lie.
  std::uint64_t placeOf(const std::vector<std::string>& file, std::size_t offset, std::size_t size) const {
    std::vector<std::string> arguments = file;
    arguments.insert(arguments.begin(), "--force");
    arguments.insert(arguments.begin() + 1, folder / "volume.img");
    const std::string bytes = test::mustRun("/usr/bin/ntfscat", arguments).substr(offset, size);
    const std::size_t place = test::readAll(disk.path()).find(bytes, SampleDisk::volumeStart);
    EXPECT_NE(place, std::string::npos);
    return place;
  }
  std::uint64_t placeOfLarge(std::size_t offset) const { return placeOf({"/Users/large"}, offset, 4096); }
  static ByteRange sectorsAt(std::uint64_t place, std::uint64_t count = 1) {
    return {place / sector * sector, place / sector * sector + count * sector};
  }

  ScratchFolder folder;
  SampleDisk disk{folder};
  FaultyDisk faulty{folder, disk.path()};
  Archive archive = std::move(*Archive::create(folder / "a.rldbackup", {"disk-id", "Sample", 1}));
};

TEST_F(BadSectors, AreZerosInTheBackupPointWhichNamesThemToTheSector) {
  const ByteRange lone = sectorsAt(SampleDisk::reservedStart + SampleDisk::mib + 1000);
  const ByteRange several = sectorsAt(placeOfLarge(1'048'576) + sector, 3);
  faulty.setBad({lone, several});
  const PointIndex point = mustBackUp();
  EXPECT_THAT(point.disks.at(0).unreadable, ElementsAre(lone, several));
  EXPECT_EQ(unreadableSectors(point), 4U);
  EXPECT_EQ(*archive.readPoint(0), point) << "the archive says the same";
  EXPECT_TRUE(isSame(content(0), expectedWithout({lone, several})));
  EXPECT_FALSE(isSame(content(0), disk.expectedContent()));
  EXPECT_THAT(checkOwnImages(
                  archive, 0, [](std::uint64_t) {}, never)
                  ->damaged,
              IsEmpty())
      << "not damage";
}

TEST_F(BadSectors, InFreeSpaceAreNobodysLoss) {
  const std::string whole = test::readAll(disk.path());
  const std::size_t place = whole.find(SampleDisk::deletedText, SampleDisk::volumeStart);
  ASSERT_NE(place, std::string::npos);
  // As far as one read may go over what is free.
  faulty.setBad({sectorsAt(place, 64)});
  EXPECT_THAT(mustBackUp().disks.at(0).unreadable, IsEmpty());
  EXPECT_TRUE(isSame(content(0), disk.expectedContent()));
}

TEST_F(BadSectors, ThatStayAreNotStoredAgainAndThoseThatCanBeReadAgainAre) {
  const ByteRange bad = sectorsAt(placeOfLarge(1'048'576), 2);
  faulty.setBad({bad});
  mustBackUp();
  ArchiveResult<MadePoint> still = backUp();
  ASSERT_TRUE(still.hasValue());
  EXPECT_EQ(still->index.kind, PointKind::Increment);
  EXPECT_EQ(still->storedBytes, 0U) << "nothing has changed";
  EXPECT_THAT(still->index.disks.at(0).unreadable, ElementsAre(bad));

  faulty.setBad({});
  const ArchiveResult<MadePoint> healed = backUp();
  ASSERT_TRUE(healed.hasValue());
  EXPECT_THAT(healed->index.disks.at(0).unreadable, IsEmpty());
  EXPECT_GT(healed->storedBytes, 0U);
  EXPECT_TRUE(isSame(content(2), disk.expectedContent()));
  EXPECT_TRUE(isSame(content(1), expectedWithout({bad}))) << "older points are as they were";
}

TEST_F(BadSectors, OfAPointGoWithItInAMerge) {
  const ByteRange first = sectorsAt(placeOfLarge(1'048'576));
  const ByteRange second = sectorsAt(placeOfLarge(4'194'304));
  faulty.setBad({first});
  mustBackUp();
  faulty.setBad({second});
  mustBackUp();
  ASSERT_TRUE(mergeIntoParent(archive, 1, ignoreProgress, never).hasValue());
  EXPECT_THAT(archive.readPoint(0)->disks.at(0).unreadable, ElementsAre(second));
  EXPECT_TRUE(isSame(content(0), expectedWithout({second})));
}

TEST_F(BadSectors, InThePartitionTableEndTheBackupPlainly) {
  faulty.setBad({sectorsAt(1 * sector)});
  EXPECT_THAT(refusal(), HasSubstr("The partition table of the disk cannot be read: the disk has bad sectors"));
}

TEST_F(BadSectors, InTheEntriesOfThePartitionTableEndTheBackupPlainly) {
  // Not in the page of the header: it comes to light when the table is imaged.
  faulty.setBad({sectorsAt(20 * sector)});
  EXPECT_THAT(refusal(), HasSubstr("The partition table of the disk cannot be read: the disk has bad sectors"));
}

TEST_F(BadSectors, InTheBootSectorEndTheBackupPlainly) {
  faulty.setBad({sectorsAt(SampleDisk::volumeStart)});
  EXPECT_THAT(refusal(), HasSubstr("The boot sector of the Windows volume cannot be read"));
}

TEST_F(BadSectors, InTheClusterBitmapEndTheBackupPlainly) {
  faulty.setBad({sectorsAt(placeOf({"-i", "6"}, 0, 2048))});
  EXPECT_THAT(refusal(),
              HasSubstr("The file system of the Windows volume cannot be read: the disk has bad sectors"));
}

TEST_F(BadSectors, InTheFileTableEndTheBackupPlainly) {
  const std::string volume = test::readAll(folder / "volume.img").substr(0, sector);
  const auto table = littleEndianAt<std::uint64_t>(std::as_bytes(std::span(volume)), 48) * 4096;
  // Of a file; of a record that was never used the tools think nothing.
  faulty.setBad({sectorsAt(SampleDisk::volumeStart + table + std::uint64_t{80} * 1024)});
  EXPECT_THAT(refusal(),
              HasSubstr("The file system of the Windows volume cannot be read: the disk has bad sectors"));
}

TEST_F(BadSectors, InTheFirstRecordsOfTheFileTableEndTheBackupPlainly) {
  const std::string volume = test::readAll(folder / "volume.img").substr(0, sector);
  const auto table = littleEndianAt<std::uint64_t>(std::as_bytes(std::span(volume)), 48) * 4096;
  // Record 9 holds what no tool asks for.
  faulty.setBad({sectorsAt(SampleDisk::volumeStart + table + std::uint64_t{9} * 1024)});
  EXPECT_THAT(refusal(), HasSubstr("cannot be read: the disk has bad sectors"));
}

TEST_F(BadSectors, InACopyOfTheBootSectorAreToldAndCostNothing) {
  const ByteRange copy = sectorsAt(SampleDisk::volumeStart + SampleDisk::volumeSize - sector);
  faulty.setBad({copy});
  EXPECT_THAT(mustBackUp().disks.at(0).unreadable, ElementsAre(copy));
}

// Reads of a disk without any file system.
class BadPlaces : public testing::Test {
 protected:
  static constexpr std::uint64_t size = std::uint64_t{40} << 20U;
  static constexpr std::uint32_t largeSector = 4096;

  BadPlaces() { EXPECT_TRUE(layout.addWhole({0, size}).hasValue()); }

  ArchiveResult<Done> readAll() {
    AlignedBuffer buffer(std::size_t{1} << 20U);
    for (std::uint64_t place = 0; place < size; place += buffer.bytes().size()) {
      const ArchiveResult<Done> read = reader.read(place, buffer.bytes());
      if (!read) return read;
    }
    return Done{};
  }

  ScratchFolder folder;
  DiskLayout layout{size};
  FaultyDisk faulty{folder, imageOf(folder / "image")};
  const DiskSource disk = std::move(*DiskSource::open(faulty.path()));
  const std::vector<VitalPlace> vital;
  CancelFlag cancel;
  SourceReader reader{disk, layout, largeSector, vital, cancel};

 private:
  static std::string imageOf(const std::string& path) {
    test::writeAll(path, "");
    std::filesystem::resize_file(path, size);
    return path;
  }
};

TEST_F(BadPlaces, AreJoinedAndInOrder) {
  faulty.setBad({{5 * 4096, 7 * 4096},
                 {7 * 4096 + 1, 7 * 4096 + 2},
                 {std::uint64_t{30} << 20U, (std::uint64_t{30} << 20U) + 10}});
  ASSERT_TRUE(readAll().hasValue());
  EXPECT_THAT(reader.unreadable(),
              ElementsAre(ByteRange{5 * 4096, 8 * 4096},
                          ByteRange{std::uint64_t{30} << 20U, (std::uint64_t{30} << 20U) + 4096}));
}

TEST_F(BadPlaces, OfMoreThanTheLimitAreNoDiskToBackUp) {
  const std::uint64_t start = std::uint64_t{2} << 20U;
  faulty.setBad({{start, start + SourceReader::mostUnreadable + 1}});
  const ArchiveResult<Done> read = readAll();
  ASSERT_FALSE(read.hasValue());
  EXPECT_THAT(read.error().text(), HasSubstr("Too much of the disk cannot be read"));
}

TEST_F(BadPlaces, UpToTheLimitAreBorne) {
  const std::uint64_t start = std::uint64_t{2} << 20U;
  faulty.setBad({{start, start + SourceReader::mostUnreadable}});
  const ArchiveResult<Done> read = readAll();
  ASSERT_TRUE(read.hasValue()) << read.error().text();
  EXPECT_THAT(reader.unreadable(), ElementsAre(ByteRange{start, start + SourceReader::mostUnreadable}));
}

// A failing disk takes seconds over each refusal.
TEST(ImageOnABadDisk, IsAskedOnceForATableThatCannotBeRead) {
  const ScratchFolder folder;
  constexpr std::uint64_t clusterSize = std::uint64_t{1} << qcow2::smallClusterBits;
  constexpr std::uint64_t tableSize = clusterSize / 8;  // Clusters in one table.
  {
    Qcow2Writer image(test::createFile(folder, "image"),
                      {2 * tableSize * clusterSize, qcow2::smallClusterBits, ""});
    for (std::uint64_t i = 0; i < 2 * tableSize; i += 7) {
      ASSERT_TRUE(image.addPlain(i, test::randomBytes(clusterSize, 1)).hasValue());
    }
    ASSERT_TRUE(image.finish(never).hasValue());
  }
  const std::string bytes = test::readAll(folder / "image");
  const ByteSpan header = std::as_bytes(std::span(bytes));
  const std::uint64_t first = bigEndianAt<std::uint64_t>(header, bigEndianAt<std::uint64_t>(header, 40));
  const FaultyDisk faulty(folder, folder / "image");
  const std::uint64_t place = first & qcow2::offsetMask;
  faulty.setBad({{place, place + clusterSize}});
  ArchiveResult<Qcow2Reader> reader =
      Qcow2Reader::open({FileDescriptor(::open(faulty.path().c_str(), O_RDONLY | O_CLOEXEC)), faulty.path()});
  ASSERT_TRUE(reader.hasValue()) << reader.error().text();
  ASSERT_FALSE(reader->kindOf(0).hasValue());
  const std::uint64_t refused = faulty.refused();
  EXPECT_GT(refused, 0U) << "the fault was not there";
  for (std::uint64_t i = 0; i < tableSize; ++i) ASSERT_FALSE(reader->kindOf(i).hasValue());
  EXPECT_EQ(faulty.refused(), refused);
  EXPECT_TRUE(reader->kindOf(tableSize).hasValue()) << "the next table is sound";
}

TEST_F(BadPlaces, AStopIsHeardBetweenThem) {
  faulty.setBad({{std::uint64_t{1} << 20U, std::uint64_t{2} << 20U}});
  cancel.request();
  const ArchiveResult<Done> read = readAll();
  ASSERT_FALSE(read.hasValue());
  EXPECT_EQ(read.error().fault, ArchiveFault::Cancelled);
  EXPECT_LT(faulty.refused(), 20U);
}

class UnpluggedDisk : public BadSectors, public testing::WithParamInterface<int> {};
INSTANTIATE_TEST_SUITE_P(Answers, UnpluggedDisk, testing::Values(EIO, ENXIO, ENODEV));

TEST_P(UnpluggedDisk, VoidsThePointAtAnyMoment) {
  mustBackUp();
  const std::string before = content(0);
  // The tools read some hundred pieces before the first of the image.
  std::size_t voided = 0;
  for (std::uint64_t reads = 0; reads < 2000 && voided < 40; reads += reads < 20 ? 5 : 60) {
    disk.overwrite(SampleDisk::reservedStart, "reads " + std::to_string(reads));
    faulty.setBad({});
    faulty.goAfter(reads, GetParam());
    const ArchiveResult<MadePoint> made = backUp();
    if (made) {
      EXPECT_THAT(made->index.disks.at(0).unreadable, IsEmpty()) << reads;
      break;
    }
    ++voided;
    EXPECT_EQ(archive.index().points.size(), 1U);
  }
  faulty.setBad({});
  EXPECT_GE(voided, 5U) << "the disk was never gone";
  EXPECT_TRUE(isSame(content(0), before));
}

}  // namespace
}  // namespace zpk
