#include "helper/archive/Archive.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "helper/archive/TestFiles.h"

namespace zpk {
namespace {

using test::ScratchFolder;
using testing::ElementsAre;
using testing::HasSubstr;
namespace fs = std::filesystem;

class ArchiveFolder : public testing::Test {
 protected:
  std::string path() const { return folder / "a.rldbackup"; }
  std::string indexPath() const { return path() + "/archive.json"; }

  Archive create() const {
    ArchiveResult<Archive> archive = Archive::create(path(), {"disk-id", "Disk", 5});
    EXPECT_TRUE(archive.hasValue()) << (archive ? "" : archive.error().text());
    return std::move(*archive);
  }

  // A committed point without disks.
  static void addPoint(Archive& archive, const std::string& label) {
    ArchiveResult<PendingPoint> point = archive.beginPoint();
    ASSERT_TRUE(point.hasValue());
    PointIndex index;
    index.label = label;
    ASSERT_TRUE(archive.commitPoint(std::move(*point), index).hasValue());
  }

  ArchiveFault faultOfReading() const {
    const ArchiveResult<Archive> archive = Archive::openForReading(path());
    EXPECT_FALSE(archive.hasValue());
    EXPECT_FALSE(archive.error().message.empty());
    return archive.error().fault;
  }

  std::vector<std::string> names() const {
    std::vector<std::string> result;
    for (const auto& entry : fs::directory_iterator(path())) result.push_back(entry.path().filename().string());
    std::sort(result.begin(), result.end());
    return result;
  }

  ScratchFolder folder;
};

TEST_F(ArchiveFolder, ANewArchiveIsEmptyAndRemembersItsSource) {
  { create(); }
  const ArchiveResult<Archive> archive = Archive::openForReading(path());
  ASSERT_TRUE(archive.hasValue());
  EXPECT_TRUE(archive->index().points.empty());
  EXPECT_EQ(archive->index().sourceDisk, "disk-id");
  EXPECT_EQ(archive->index().creationTime, 5);
  EXPECT_EQ(archive->index().id.size(), 32U);
}

TEST_F(ArchiveFolder, PointsAreListedOldestFirst) {
  {
    Archive archive = create();
    addPoint(archive, "one");
    addPoint(archive, "two");
  }
  const ArchiveResult<Archive> archive = Archive::openForReading(path());
  ASSERT_TRUE(archive.hasValue());
  ASSERT_EQ(archive->index().points.size(), 2U);
  EXPECT_EQ(archive->readPoint(0)->label, "one");
  EXPECT_EQ(archive->readPoint(1)->label, "two");
  EXPECT_THAT(archive->pointIndexPath(1), testing::MatchesRegex(".*/p0002-[0-9a-f]*/index.json"));
}

TEST_F(ArchiveFolder, AFolderWithOtherFilesIsNeverTurnedIntoAnArchive) {
  fs::create_directory(path());
  test::writeAll(path() + "/photo.jpg", "x");
  EXPECT_EQ(Archive::create(path(), {}).error().fault, ArchiveFault::NotAnArchive);
  EXPECT_EQ(names(), std::vector<std::string>{"photo.jpg"});
}

TEST_F(ArchiveFolder, AnArchiveIsNotMadeOverAnotherOne) {
  {
    Archive archive = create();
    addPoint(archive, "one");
  }
  EXPECT_FALSE(Archive::create(path(), {}).hasValue());
  EXPECT_EQ(Archive::openForReading(path())->index().points.size(), 1U);
}

TEST_F(ArchiveFolder, APointThatIsNotCommittedLeavesNothing) {
  Archive archive = create();
  const std::vector<std::string> before = names();
  {
    ArchiveResult<PendingPoint> point = archive.beginPoint();
    ASSERT_TRUE(point.hasValue());
    ASSERT_TRUE(createIn(point->folder(), "disk0.pvhd.part").hasValue());
    EXPECT_EQ(names().size(), before.size() + 1);
  }
  EXPECT_EQ(names(), before);
}

TEST_F(ArchiveFolder, LeftoversOfAStoppedRunGoWhenItIsOpenedForWritingAndForeignFilesStay) {
  {
    Archive archive = create();
    addPoint(archive, "one");
  }
  const std::vector<std::string> before = names();
  fs::create_directory(path() + "/p0002-0123abcd");
  test::writeAll(path() + "/p0002-0123abcd/disk0.pvhd.part", "x");
  test::writeAll(path() + "/notes.txt", "mine");
  ASSERT_TRUE(Archive::openForReading(path()).hasValue());
  EXPECT_TRUE(fs::exists(path() + "/p0002-0123abcd"));
  ASSERT_TRUE(Archive::openForWriting(path()).hasValue());
  EXPECT_FALSE(fs::exists(path() + "/p0002-0123abcd"));
  EXPECT_TRUE(fs::exists(path() + "/notes.txt"));
  EXPECT_EQ(names().size(), before.size() + 1);
}

TEST_F(ArchiveFolder, ALeftoverThatIsALinkIsNotFollowed) {
  { create(); }
  fs::create_directory(folder / "precious");
  test::writeAll(folder / "precious/file", "x");
  fs::create_directory_symlink(folder / "precious", path() + "/p0001-0123abcd");
  ASSERT_TRUE(Archive::openForWriting(path()).hasValue());
  EXPECT_TRUE(fs::exists(folder / "precious/file"));
}

// As docs/recovery.md tells whoever has a damaged index.
TEST_F(ArchiveFolder, AnIndexThatWasWrittenAnewByHandOpensTheArchiveWithAllOfItsPoints) {
  std::vector<std::string> points;
  {
    Archive archive = create();
    addPoint(archive, "one");
    addPoint(archive, "two");
    points = archive.index().points;
  }
  const std::string index = path() + "/" + Archive::indexName;
  std::string damaged = test::readAll(index);
  damaged[damaged.find("Disk")] ^= 1;
  test::writeAll(index, damaged);
  EXPECT_EQ(faultOfReading(), ArchiveFault::Damaged);
  test::writeAll(index, R"({"format": "rldbackup", "version": 1, "id": "0123456789abcdef0123456789abcdef",
 "sourceDisk": "c12a7328-f81f-11d2-ba4b-00a0c93ec93b", "sourceName": "Windows", "creationTime": 1700000000,
 "hashSeed": "0f1e2d3c4b5a6978", "points": [")" +
                            points.at(0) + R"(", ")" + points.at(1) + R"("]})");
  Archive archive = std::move(*Archive::openForWriting(path()));
  EXPECT_EQ(archive.index().points, points);
  EXPECT_EQ(archive.readPoint(1)->label, "two");
  addPoint(archive, "three");
  EXPECT_EQ(Archive::openForReading(path())->index().points.size(), 3U);
}

TEST_F(ArchiveFolder, NobodyElseWritesAnArchiveThatIsOpenForWriting) {
  Archive archive = create();
  const ArchiveResult<Archive> second = Archive::openForWriting(path());
  ASSERT_FALSE(second.hasValue());
  EXPECT_EQ(second.error().fault, ArchiveFault::Locked);
  EXPECT_THAT(second.error().message, testing::HasSubstr("process " + std::to_string(::getpid())));
  EXPECT_TRUE(Archive::openForReading(path()).hasValue());
}

TEST_F(ArchiveFolder, TheLockOfAKilledProcessIsStale) {
  { create(); }
  int ready[2];
  ASSERT_EQ(::pipe(ready), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    const ArchiveResult<Archive> archive = Archive::openForWriting(path());
    (void)::write(ready[1], archive ? "y" : "n", 1);
    for (;;) ::pause();
  }
  char answer = 0;
  ASSERT_EQ(::read(ready[0], &answer, 1), 1);
  EXPECT_EQ(answer, 'y');
  EXPECT_EQ(Archive::openForWriting(path()).error().fault, ArchiveFault::Locked);
  ::kill(child, SIGKILL);
  ::waitpid(child, nullptr, 0);
  ::close(ready[0]);
  ::close(ready[1]);
  EXPECT_GT(fs::file_size(path() + "/lock"), 0U) << "the killed process left no record";
  EXPECT_TRUE(Archive::openForWriting(path()).hasValue());
}

TEST_F(ArchiveFolder, WhatIsNoArchiveIsToldApart) {
  EXPECT_EQ(faultOfReading(), ArchiveFault::NotFound);
  fs::create_directory(path());
  EXPECT_EQ(faultOfReading(), ArchiveFault::NotAnArchive);
  EXPECT_FALSE(Archive::openForWriting(path()).hasValue());
  EXPECT_TRUE(names().empty()) << "a lock was left in somebody's folder";
  test::writeAll(indexPath(), R"({"format": "something", "version": 1})");
  EXPECT_EQ(faultOfReading(), ArchiveFault::NotAnArchive);
  test::writeAll(indexPath(), R"({"format": "rldbackup", "version": 2})");
  EXPECT_EQ(faultOfReading(), ArchiveFault::NewerFormat);
  test::writeAll(indexPath(), R"({"format": "rldbackup", "version": 1})");
  EXPECT_EQ(faultOfReading(), ArchiveFault::Damaged);
  test::writeAll(indexPath(), "");
  EXPECT_EQ(faultOfReading(), ArchiveFault::Damaged);
  test::writeAll(indexPath(), std::string(1'000'000, '['));
  EXPECT_EQ(faultOfReading(), ArchiveFault::Damaged);
  fs::resize_file(indexPath(), 100'000'000);
  EXPECT_EQ(faultOfReading(), ArchiveFault::Damaged);
  fs::remove(indexPath());
  fs::create_directory(indexPath());
  EXPECT_EQ(faultOfReading(), ArchiveFault::Damaged);
}

TEST_F(ArchiveFolder, OneOfTheOlderKindIsReadAndNeverWritten) {
  {
    Archive archive = create();
    addPoint(archive, "one");
  }
  ArchiveIndex index = Archive::openForReading(path())->index();
  index.isLegacy = true;
  test::writeAll(indexPath(), textOf(index));
  const auto before = names();
  const ArchiveResult<Archive> reader = Archive::openForReading(path());
  ASSERT_TRUE(reader.hasValue()) << reader.error().text();
  EXPECT_TRUE(reader->index().isLegacy);
  EXPECT_EQ(reader->readPoint(0)->label, "one");
  const ArchiveResult<Archive> writer = Archive::openForWriting(path());
  ASSERT_FALSE(writer.hasValue());
  EXPECT_EQ(writer.error().fault, ArchiveFault::Refused);
  EXPECT_EQ(names(), before);
}

TEST_F(ArchiveFolder, AFolderThatIsKeptGoesOnceNothingBuildsOnIt) {
  {
    Archive archive = create();
    addPoint(archive, "one");
  }
  ArchiveIndex index = Archive::openForReading(path())->index();
  index.kept = {"p0001-0123abcd"};
  fs::create_directory(path() + "/p0001-0123abcd");
  test::writeAll(indexPath(), textOf(index));
  const ArchiveResult<Archive> writer = Archive::openForWriting(path());
  ASSERT_TRUE(writer.hasValue()) << writer.error().text();
  EXPECT_TRUE(writer->index().kept.empty());
  EXPECT_FALSE(fs::exists(path() + "/p0001-0123abcd"));
  EXPECT_EQ(Archive::openForReading(path())->index(), writer->index());
}

TEST_F(ArchiveFolder, AnEmptyOneIsRemovedWithAllThatIsItsOwn) {
  Archive::removeEmpty(create());
  EXPECT_FALSE(fs::exists(path()));
  Archive again = create();
  test::writeAll(path() + "/mine.txt", "mine");
  Archive::removeEmpty(std::move(again));
  EXPECT_THAT(names(), ElementsAre("mine.txt"));
}

TEST_F(ArchiveFolder, OneWithAPointIsNotRemoved) {
  Archive archive = create();
  addPoint(archive, "one");
  Archive::removeEmpty(std::move(archive));
  EXPECT_EQ(Archive::openForReading(path())->index().points.size(), 1U);
}

TEST_F(ArchiveFolder, APointIsNotMadeInAnArchiveThatWasMovedAway) {
  Archive archive = create();
  addPoint(archive, "one");
  ArchiveResult<PendingPoint> point = archive.beginPoint();
  fs::rename(path(), path() + ".elsewhere");
  const ArchiveResult<Done> made = archive.commitPoint(std::move(*point), {});
  ASSERT_FALSE(made.hasValue());
  EXPECT_THAT(made.error().text(), HasSubstr("not at its place any more"));
  EXPECT_EQ(Archive::openForReading(path() + ".elsewhere")->index().points.size(), 1U);
}

TEST_F(ArchiveFolder, AnIndexThatPointsOutOfTheArchiveIsDamage) {
  {
    Archive archive = create();
    addPoint(archive, "one");
  }
  const std::string sound = test::readAll(indexPath());
  const std::string name = Archive::openForReading(path())->index().points[0];
  for (const std::string& bad : {std::string("../../etc"), std::string("p0001-../../x"), std::string("p1-0123abcd"),
                                 std::string(), name + "/.."}) {
    std::string text = sound;
    text.replace(text.find(name), name.size(), bad);
    text.replace(text.find("\"digest\""), 8, "\"by hand\"");
    test::writeAll(indexPath(), text);
    EXPECT_EQ(faultOfReading(), ArchiveFault::Damaged) << bad;
  }
}

PointIndex richPoint() {
  PointIndex index;
  index.id = "0123456789abcdef0123456789abcdef";
  index.parent = "fedcba9876543210fedcba9876543210";
  index.kind = PointKind::Increment;
  index.creationTime = -3;
  index.label = "before \"the\" update \xc3\xa4";
  index.isPinned = true;
  StoredDisk disk{3, 4096, UINT64_MAX, 7, 8, -2, {}, "Disk", "disk3", "disk0.pvhd", "disk0.map", {}, {}};
  disk.gptId.fill(0xA5);
  StoredPartition partition;
  partition.number = 4;
  partition.start = 1;
  partition.end = 2;
  partition.size = 3;
  partition.minSize = 4;
  partition.maxSize = 5;
  partition.usedSize = 6;
  partition.type = 7;
  partition.typeGuid[15] = 0xFE;
  partition.fileSystemType = 2;
  partition.name = "BOOTCAMP";
  partition.bsdName = "disk3s4";
  partition.serialNumber = "1234-ABCD";
  partition.isResizable = true;
  partition.content = PartitionContent::UsedClusters;
  disk.partitions = {partition, StoredPartition{}};
  index.disks = {disk};
  return index;
}

TEST(PointIndexFile, EveryFieldComesBack) {
  const ArchiveResult<PointIndex> back = parsePointIndex(textOf(richPoint()), "index.json");
  ASSERT_TRUE(back.hasValue()) << back.error().text();
  EXPECT_EQ(*back, richPoint());
}

TEST(PointIndexFile, TextThatIsNotUtf8IsMadeValid) {
  PointIndex index = richPoint();
  index.label = "a\xff";
  EXPECT_TRUE(parsePointIndex(textOf(index), "index.json").hasValue());
}

TEST(PointIndexFile, TwoDisksInOneFileAreDamage) {
  PointIndex index = richPoint();
  index.disks.push_back(index.disks[0]);
  index.disks[1].image = "disk1.pvhd";
  EXPECT_FALSE(parsePointIndex(textOf(index), "index.json").hasValue()) << "the same map";
  index.disks[1].map = "disk1.map";
  EXPECT_TRUE(parsePointIndex(textOf(index), "index.json").hasValue());
  index.disks[1].image = "disk0.pvhd";
  EXPECT_FALSE(parsePointIndex(textOf(index), "index.json").hasValue()) << "the same image";
}

TEST(PointIndexFile, UnreadableRangesAreInOrderAndWithinTheDisk) {
  using Ranges = std::vector<ByteRange>;
  for (const Ranges& ranges : {Ranges{{512, 1024}, {4096, 8192}}, Ranges{}}) {
    PointIndex index = richPoint();
    index.disks[0].unreadable = ranges;
    EXPECT_EQ(parsePointIndex(textOf(index), "index.json")->disks[0].unreadable, ranges);
  }
  for (const Ranges& ranges : {Ranges{{4096, 8192}, {512, 1024}}, Ranges{{512, 512}}, Ranges{{0, 1'000'001}}}) {
    PointIndex index = richPoint();
    index.disks[0].size = 1'000'000;
    index.disks[0].unreadable = ranges;
    EXPECT_FALSE(parsePointIndex(textOf(index), "index.json").hasValue());
  }
}

TEST(PointIndexFile, AChangedDigitIsNoticedThoughItIsAnother) {
  const std::string from = R"("diskMinSize": 7)";
  std::string text = textOf(richPoint());
  text.replace(text.find(from), from.size(), R"("diskMinSize": 3)");
  const ArchiveResult<PointIndex> changed = parsePointIndex(text, "index.json");
  ASSERT_FALSE(changed.hasValue());
  EXPECT_THAT(changed.error().text(), HasSubstr("has been damaged"));
  const std::string key = "\"digest\"";
  text.replace(text.find(key), key.size(), "\"by hand\"");
  EXPECT_EQ(parsePointIndex(text, "index.json")->disks[0].minSize, 3U);
}

TEST(PointIndexFile, AWrongFieldIsNamed) {
  const std::pair<std::string, std::string> changes[] = {
      {R"("diskSize": 18446744073709551615)", R"("diskSize": -1)"},
      {R"("sectorSize": 4096)", R"("sectorSize": 99999999999)"},
      {R"("image": "disk0.pvhd")", R"("image": "../disk0.pvhd")"},
      {R"("map": "disk0.map")", R"("map": "disk/0.map")"},
      {R"("content": "usedClusters")", R"("content": "some")"},
      {R"("pinned": true)", R"("pinned": 1)"},
      {R"("kind": "increment")", R"("kind": "full")"},
      {R"("gptTypeGUID": "000)", R"("gptTypeGUID": "x00)"},
  };
  const std::string sound = textOf(richPoint());
  for (const auto& [from, to] : changes) {
    std::string text = sound;
    ASSERT_NE(text.find(from), std::string::npos) << from;
    text.replace(text.find(from), from.size(), to);
    text.replace(text.find("\"digest\""), 8, "\"by hand\"");
    const ArchiveResult<PointIndex> result = parsePointIndex(text, "index.json");
    ASSERT_FALSE(result.hasValue()) << to;
    EXPECT_EQ(result.error().fault, ArchiveFault::Damaged);
    EXPECT_THAT(result.error().text(), HasSubstr("has no usable"));
  }
}

TEST(PointIndexFile, DamagedTextNeverDoesMoreThanFail) {
  std::string sound = textOf(richPoint());
  sound.replace(sound.find("\"digest\""), 8, "\"by hand\"");
  std::mt19937_64 random(1);
  unsigned refused = 0;
  for (int round = 0; round < 3000; ++round) {
    std::string text = sound;
    for (int i = 0; i < 3; ++i) text[random() % text.size()] = static_cast<char>(random());
    if (!parsePointIndex(text, "index.json")) ++refused;
  }
  EXPECT_GT(refused, 1000U);
}

}  // namespace
}  // namespace zpk
