// Backup points that build on the one before.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "helper/archive/ChunkMap.h"
#include "helper/archive/PointsWorld.h"
#include "helper/archive/Qcow2Chain.h"

namespace zpk {
namespace {

using testing::HasSubstr;

void ignoreProgress(std::uint64_t, std::uint64_t) {}

class Increment : public test::PointsWorld {};

TEST_F(Increment, ReadsLikeAFullPointMadeAtTheSameMomentAndHoldsOnlyWhatChanged) {
  changeSomeFiles();
  const MadePoint increment = makePoint();
  EXPECT_EQ(whyFull, "");
  EXPECT_EQ(increment.index.kind, PointKind::Increment);
  EXPECT_EQ(increment.index.parent, archive.readPoint(0)->id);
  EXPECT_EQ(*archive.readPoint(1), increment.index);

  Archive other = create(folder / "b.rldbackup");
  ASSERT_TRUE(makeFullBackup(other, disk.request(), ignoreProgress, cancel).hasValue());
  const std::string full = other.path() + "/" + other.index().points[0] + "/disk0.pvhd";
  EXPECT_THAT(test::mustRun(qemuImg, {"compare", "-f", "qcow2", "-F", "qcow2", imagePath(1), full}),
              HasSubstr("Images are identical"));
  EXPECT_TRUE(contentOf(1) == disk.expectedContent());
  // The files that changed, and what the file system writes along with them.
  EXPECT_GE(increment.storedBytes, 700'000U);
  EXPECT_LT(increment.storedBytes, 5'000'000U);
  EXPECT_LT(std::filesystem::file_size(imagePath(1)), std::filesystem::file_size(imagePath(0)) / 2);
}

TEST_F(Increment, WithoutAChangeStoresNothing) {
  const MadePoint increment = makePoint();
  EXPECT_EQ(increment.index.kind, PointKind::Increment);
  EXPECT_EQ(increment.storedBytes, 0U);
  EXPECT_TRUE(contentOf(1) == disk.expectedContent());
}

TEST_F(Increment, WhatIsNotInUseAnyMoreReadsAsZeros) {
  disk.change([](const std::string& root) { std::filesystem::remove(root + "/Users/large"); });
  const std::string before = contentOf(0);
  const MadePoint increment = makePoint();
  EXPECT_LT(increment.storedBytes, 1'000'000U) << "what is gone was stored";
  const std::string after = contentOf(1);
  EXPECT_TRUE(after == disk.expectedContent());
  EXPECT_LT(std::count(before.begin(), before.end(), '\0') + 7'000'000,
            std::count(after.begin(), after.end(), '\0'));
}

TEST_F(Increment, OfAnIncrementLeavesEveryEarlierPointAsItWas) {
  std::vector<std::string> moments = {disk.expectedContent()};
  for (unsigned round = 1; round <= 3; ++round) {
    changeSomeFiles(round);
    EXPECT_EQ(makePoint().index.kind, PointKind::Increment);
    moments.push_back(disk.expectedContent());
  }
  for (std::size_t i = 0; i < moments.size(); ++i) {
    EXPECT_TRUE(contentOf(i) == moments[i]) << "point " << i;
    EXPECT_EQ(Qcow2Chain::open(archive, i, 0)->length(), i + 1);
  }
}

TEST_F(Increment, ItsMapNamesTheWholeContent) {
  changeSomeFiles();
  makePoint();
  auto chain = Qcow2Chain::open(archive, 1, 0);
  auto map = ChunkMapReader::open(std::move(*archive.openPointFile(1, "disk0.map")));
  ASSERT_TRUE(chain.hasValue() && map.hasValue());
  ByteBuffer content(chain->clusterSize());
  for (std::uint64_t i = 0; i < chain->clusterCount(); ++i) {
    ASSERT_TRUE(chain->read(i, content).hasValue());
    const auto hash = map->hashOf(i);
    ASSERT_TRUE(hash.hasValue());
    ASSERT_EQ(hash->has_value(), !isAllZero(content)) << i;
    if (hash->has_value()) {
      ASSERT_EQ(**hash, hashOfChunk(content, map->seed())) << i;
    }
  }
}

TEST_F(Increment, AMovedArchiveStillReads) {
  changeSomeFiles();
  makePoint();
  const std::string expected = disk.expectedContent();
  const std::string inside = imagePath(1).substr(archive.path().size());
  std::filesystem::rename(archive.path(), folder / "moved.rldbackup");
  test::mustRun(
      qemuImg, {"convert", "-f", "qcow2", "-O", "raw", folder / ("moved.rldbackup" + inside), folder / "back.raw"});
  EXPECT_TRUE(test::readAll(folder / "back.raw") == expected);
}

// As if the first point had been made of a disk that was different in that.
void changePoint(Archive& archive, const std::function<void(StoredDisk& disk)>& change) {
  PointIndex point = *archive.readPoint(0);
  change(point.disks[0]);
  EXPECT_TRUE(archive.savePoint(0, point).hasValue());
}

// What keeps a point from being an increment, and the words for it.
struct Obstacle {
  const char* name;
  const char* words;
  std::function<void(Archive& archive, const std::string& pointFolder, BackupRequest& request)> lay;
};

class NoIncrement : public Increment, public testing::WithParamInterface<Obstacle> {};

INSTANTIATE_TEST_SUITE_P(
    After, NoIncrement,
    testing::Values(
        Obstacle{"AnotherDisk", "another disk",
                 [](auto& a, auto&, auto&) { changePoint(a, [](StoredDisk& d) { d.gptId[0] ^= 1; }); }},
        Obstacle{
            "OtherPartitions", "partitions of the disk have changed",
            [](auto& a, auto&, auto&) { changePoint(a, [](StoredDisk& d) { d.partitions[0].typeGuid[0] ^= 1; }); }},
        Obstacle{"AnotherSectorSize", "size of the disk has changed",
                 [](auto& a, auto&, auto&) { changePoint(a, [](StoredDisk& d) { d.sectorSize = 4096; }); }},
        Obstacle{"ADamagedMap", "disk0.map",
                 [](auto&, auto& folder, auto&) { std::filesystem::resize_file(folder + "/disk0.map", 5000); }},
        Obstacle{"ALostMap", "disk0.map",
                 [](auto&, auto& folder, auto&) { std::filesystem::remove(folder + "/disk0.map"); }},
        Obstacle{"ALostImage", "disk0.pvhd",
                 [](auto&, auto& folder, auto&) { std::filesystem::remove(folder + "/disk0.pvhd"); }},
        Obstacle{"ADamagedImage", "disk0.pvhd",
                 [](auto&, auto& folder, auto&) { std::filesystem::resize_file(folder + "/disk0.pvhd", 1000); }},
        Obstacle{"ADamagedIndex", "index.json",
                 [](auto&, auto& folder, auto&) { test::writeAll(folder + "/index.json", "{}"); }}),
    [](const auto& obstacle) { return obstacle.param.name; });

TEST_P(NoIncrement, AFullPointIsMadeInstead) {
  BackupRequest request = disk.request();
  GetParam().lay(archive, archive.path() + "/" + archive.index().points[0], request);
  const ArchiveResult<MadePoint> point = backUp(request);
  ASSERT_TRUE(point.hasValue()) << point.error().text();
  EXPECT_EQ(point->index.kind, PointKind::Full);
  EXPECT_THAT(whyFull, HasSubstr(GetParam().words));
  EXPECT_TRUE(contentOf(1) == disk.expectedContent());
  // And the next one builds on it.
  const ArchiveResult<MadePoint> next = backUp(request);
  ASSERT_TRUE(next.hasValue()) << next.error().text();
  EXPECT_EQ(next->index.kind, PointKind::Increment);
}

TEST_F(Increment, TheArchiveBelongsToTheDiskOfItsNewestPoint) {
  BackupRequest request = disk.request();
  request.source = ArchiveSource{"other-id", "Other"};
  ASSERT_TRUE(backUp(request).hasValue());
  EXPECT_EQ(archive.index().sourceDisk, "other-id");
  EXPECT_EQ(Archive::openForReading(archive.path())->index().sourceName, "Other");
}

TEST_F(Increment, AStoppedOneLeavesTheArchiveToItsDisk) {
  BackupRequest request = disk.request();
  request.source = ArchiveSource{"other-id", "Other"};
  cancel.request();
  ASSERT_FALSE(backUp(request).hasValue());
  EXPECT_EQ(Archive::openForReading(archive.path())->index().sourceDisk, "disk-id");
}

TEST_F(Increment, ABackingFileOutsideOfTheArchiveIsNotOpened) {
  for (const char* name : {"/etc/passwd", "../../x/disk0.pvhd", "../p0001-0123abcd/../disk0.pvhd", "disk0.pvhd",
                           "../lock/disk0.pvhd", "../p0001-0123abcd/", ""}) {
    const auto file = archive.openBackingFile(name);
    ASSERT_FALSE(file.hasValue()) << name;
    EXPECT_EQ(file.error().fault, ArchiveFault::Damaged) << name;
  }
}

TEST_F(Increment, ImagesThatBuildOnEachOtherInACircleAreDamage) {
  makePoint();
  // The full image is replaced by the increment, whose backing file is now itself.
  std::filesystem::copy_file(imagePath(1), imagePath(0), std::filesystem::copy_options::overwrite_existing);
  const auto chain = Qcow2Chain::open(archive, 1, 0);
  ASSERT_FALSE(chain.hasValue());
  EXPECT_EQ(chain.error().fault, ArchiveFault::Damaged);
}

}  // namespace
}  // namespace zpk
