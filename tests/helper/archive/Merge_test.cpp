// Merging a backup point into the one before it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>

#include <filesystem>

#include "helper/archive/ChunkMap.h"
#include "helper/archive/MergeWorld.h"
#include "helper/archive/Qcow2Chain.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class MergePoints : public test::MergeWorld {
 protected:
  ArchiveResult<Done> merge(std::size_t child) { return mergeIntoParent(archive, child, ignoreProgress, cancel); }
  void mustMerge(std::size_t child) {
    const ArchiveResult<Done> done = merge(child);
    ASSERT_TRUE(done.hasValue()) << done.error().text();
    moments.erase(moments.begin() + static_cast<std::ptrdiff_t>(child) - 1);
  }
  // In this archive and in the index as a reader finds it.
  void expectMoments() {
    MergeWorld::expectMoments(archive);
    EXPECT_EQ(Archive::openForReading(archive.path())->index(), archive.index());
  }
  void expectUntouched(const ArchiveResult<Done>& refusal, ArchiveFault fault, const char* words) {
    ASSERT_FALSE(refusal.hasValue());
    EXPECT_EQ(refusal.error().fault, fault);
    EXPECT_THAT(refusal.error().text(), HasSubstr(words));
    EXPECT_EQ(archive.index().merging, std::nullopt);
    expectMoments();
  }
  std::vector<PointKind> kinds() const {
    std::vector<PointKind> result;
    for (std::size_t i = 0; i < archive.index().points.size(); ++i) result.push_back(archive.readPoint(i)->kind);
    return result;
  }

  std::string imagePath(std::size_t point) const { return MergeWorld::imagePath(archive, point); }

  Archive archive = open();
  CancelFlag cancel;
};

TEST_F(MergePoints, AnIncrementMergedIntoTheFullPointIsTheFullPoint) {
  const PointIndex child = *archive.readPoint(1);
  mustMerge(1);
  expectMoments();
  EXPECT_THAT(kinds(), ElementsAre(PointKind::Full, PointKind::Increment, PointKind::Increment));
  PointIndex expected = child;
  expected.kind = PointKind::Full;
  expected.parent.clear();
  EXPECT_EQ(*archive.readPoint(0), expected) << "everything but what it builds on is the child's";
}

TEST_F(MergePoints, AnIncrementMergedIntoAnIncrementBuildsOnWhatThatBuiltOn) {
  const PointIndex parent = *archive.readPoint(1);
  mustMerge(2);
  expectMoments();
  EXPECT_EQ(archive.readPoint(1)->parent, parent.parent);
  EXPECT_EQ(Qcow2Chain::open(archive, 2, 0)->length(), 3U);
}

TEST_F(MergePoints, AllIncrementsCanBeMergedOneByOneAndTheSpaceIsGivenBack) {
  Archive other = std::move(*Archive::create(folder / "b.rldbackup", {"disk-id", "Sample", 1}));
  ASSERT_TRUE(makeFullBackup(other, request(), ignoreProgress, cancel).hasValue());
  const auto full = std::filesystem::file_size(MergeWorld::imagePath(other, 0));
  while (archive.index().points.size() > 1) {
    mustMerge(1);
    expectMoments();
  }
  EXPECT_LT(std::filesystem::file_size(imagePath(0)), full + full / 10) << "clusters are not used again";
  std::size_t folders = 0;
  for (const auto& entry : std::filesystem::directory_iterator(archive.path())) folders += entry.is_directory();
  EXPECT_EQ(folders, 1U) << "the parents' folders are still there";
  // And the next point builds on it.
  const auto next = makeBackup(archive, request(), ignoreProgress, cancel);
  ASSERT_TRUE(next.hasValue());
  EXPECT_EQ(next->index.kind, PointKind::Increment);
  EXPECT_EQ(next->storedBytes, 0U);
  moments.push_back(newestMoment());
  expectMoments();
}

TEST_F(MergePoints, TheMapOfTheMergedPointStillNamesItsContent) {
  mustMerge(2);
  auto chain = Qcow2Chain::open(archive, 1, 0);
  auto map = ChunkMapReader::open(std::move(*archive.openPointFile(1, "disk0.map")));
  ASSERT_TRUE(chain.hasValue() && map.hasValue());
  ByteBuffer content(chain->clusterSize());
  for (std::uint64_t i = 0; i < chain->clusterCount(); ++i) {
    ASSERT_TRUE(chain->read(i, content).hasValue());
    ASSERT_EQ(map->hashOf(i)->has_value(), !isAllZero(content)) << i;
    if (!isAllZero(content)) {
      ASSERT_EQ(**map->hashOf(i), hashOfChunk(content, map->seed())) << i;
    }
  }
}

TEST_F(MergePoints, PinLabelAndDateOfTheYoungerPointStay) {
  PointIndex child = *archive.readPoint(1);
  child.isPinned = true;
  child.label = "keep";
  ASSERT_TRUE(archive.savePoint(1, child).hasValue());
  mustMerge(1);
  EXPECT_TRUE(archive.readPoint(0)->isPinned);
  EXPECT_EQ(archive.readPoint(0)->label, "keep");
  EXPECT_EQ(archive.readPoint(0)->creationTime, child.creationTime);
}

TEST_F(MergePoints, ProgressNeverGoesBackAndReachesItsTotalOnceItIsDone) {
  std::uint64_t last = 0;
  bool complete = false;
  const auto done = mergeIntoParent(
      archive, 1,
      [&](std::uint64_t bytes, std::uint64_t total) {
        EXPECT_GE(bytes, last);
        EXPECT_FALSE(complete);
        complete = bytes == total;
        EXPECT_EQ(complete, archive.index().points.size() == 3);
        last = bytes;
      },
      cancel);
  ASSERT_TRUE(done.hasValue());
  EXPECT_TRUE(complete);
}

TEST_F(MergePoints, AStopLeavesBothPointsAsTheyWere) {
  const auto size = std::filesystem::file_size(imagePath(0));
  const auto stopped = mergeIntoParent(
      archive, 1,
      [&](std::uint64_t bytes, std::uint64_t) {
        if (bytes > 0) cancel.request();
      },
      cancel);
  expectUntouched(stopped, ArchiveFault::Cancelled, "stopped");
  EXPECT_EQ(std::filesystem::file_size(imagePath(0)), size);
}

TEST_F(MergePoints, APinnedParentIsNotGivenUp) {
  PointIndex parent = *archive.readPoint(1);
  parent.isPinned = true;
  ASSERT_TRUE(archive.savePoint(1, parent).hasValue());
  expectUntouched(merge(2), ArchiveFault::Refused, "pinned");
}

TEST_F(MergePoints, TheOldestPointHasNoParent) {
  expectUntouched(merge(0), ArchiveFault::Refused, "no backup point before");
  expectUntouched(merge(4), ArchiveFault::Refused, "no backup point before");
}

TEST_F(MergePoints, AnImageThatSomebodyReadsIsNotRewritten) {
  for (const std::size_t used : {0U, 1U}) {
    const auto open = archive.openPointFile(used, "disk0.pvhd");
    expectUntouched(merge(1), ArchiveFault::Refused, "in use");
  }
}

TEST_F(MergePoints, NorIsOneTakenAwayForAFullPoint) {
  ASSERT_TRUE(makeFullBackup(archive, request(), ignoreProgress, cancel).hasValue());
  moments.push_back(newestMoment());
  const auto open = archive.openPointFile(3, "disk0.pvhd");
  expectUntouched(merge(4), ArchiveFault::Refused, "in use");
}

// The images that such an index leaves out would go with the parent's folder.
TEST_F(MergePoints, AnInterruptedOneThatNamesNotEveryImageIsTakenBack) {
  ASSERT_TRUE(archive.beginMerge({archive.index().points[0], archive.index().points[1], {}}).hasValue());
  { const Archive closed = std::move(archive); }
  const Archive again = open();
  EXPECT_EQ(again.index().merging, std::nullopt);
  MergeWorld::expectMoments(again);
}

TEST_F(MergePoints, ALabelPassesToAPointThatHasNone) {
  PointIndex parent = *archive.readPoint(1);
  parent.label = "before the update";
  ASSERT_TRUE(archive.savePoint(1, parent).hasValue());
  PointIndex child = *archive.readPoint(2);
  child.label.clear();
  ASSERT_TRUE(archive.savePoint(2, child).hasValue());
  mustMerge(2);
  EXPECT_EQ(archive.readPoint(1)->label, "before the update");
}

TEST_F(MergePoints, WhatIsKnownOfBothIsKnownOfTheMergedOne) {
  const auto note = [&](std::size_t place, std::optional<LastCheck> check) {
    PointIndex point = *archive.readPoint(place);
    point.check = check;
    ASSERT_TRUE(archive.savePoint(place, point).hasValue());
  };
  note(1, LastCheck{70, false});
  note(2, LastCheck{60, false});
  note(3, LastCheck{90, false});
  mustMerge(2);
  EXPECT_EQ(archive.readPoint(1)->check, (LastCheck{60, false}));
  note(0, std::nullopt);
  mustMerge(1);
  EXPECT_EQ(archive.readPoint(0)->check, std::nullopt) << "what it took over was never read back";
  note(0, LastCheck{80, true});
  mustMerge(1);
  EXPECT_EQ(archive.readPoint(0)->check, (LastCheck{80, true}));
}

TEST_F(MergePoints, ADamagedClusterIsNotMovedAndSaysWhere) {
  std::string image = test::readAll(imagePath(1));
  // Behind the header, where the first data lies.
  for (std::size_t i = 20'000; i < 40'000; i += 500) image[i] = static_cast<char>(image[i] ^ 0x55);
  const std::string sound = test::readAll(imagePath(1));
  test::writeAll(imagePath(1), image);
  const auto result = merge(1);
  test::writeAll(imagePath(1), sound);
  ASSERT_FALSE(result.hasValue());
  EXPECT_EQ(result.error().path, imagePath(1));
  expectUntouched(result, ArchiveFault::Damaged, "disk0.pvhd");
}

TEST_F(MergePoints, AFullPointTakesTheParentsPlaceWithoutMovingAnything) {
  const auto full = makeFullBackup(archive, request(), ignoreProgress, cancel);
  ASSERT_TRUE(full.hasValue());
  moments.push_back(newestMoment());
  mustMerge(4);
  expectMoments();
  EXPECT_EQ(archive.readPoint(3)->kind, PointKind::Full);
}

TEST_F(MergePoints, PointsOfDifferentDisksAreNotMerged) {
  ASSERT_TRUE(makeFullBackup(archive, request(), ignoreProgress, cancel).hasValue());
  PointIndex other = *archive.readPoint(4);
  other.disks[0].gptId[0] ^= 1;
  ASSERT_TRUE(archive.savePoint(4, other).hasValue());
  moments.push_back(newestMoment());
  expectUntouched(merge(4), ArchiveFault::Refused, "different disks");
}

TEST_F(MergePoints, WithoutRoomItIsToldBeforeAnythingIsWritten) {
  const std::string small = folder / "small";
  std::filesystem::create_directory(small);
  ASSERT_EQ(::mount("tmpfs", small.c_str(), "tmpfs", 0, "size=40m"), 0) << "needs the right to mount";
  test::mustRun("/bin/cp", {"-a", archive.path(), small});
  test::mustRun("/bin/sh", {"-c", "dd if=/dev/zero of=" + small + "/fill bs=64k 2>&1; true"});
  {
    ArchiveResult<Archive> full = Archive::openForWriting(small + "/a.rldbackup");
    ASSERT_TRUE(full.hasValue()) << full.error().text();
    const auto result = mergeIntoParent(*full, 1, ignoreProgress, cancel);
    ASSERT_FALSE(result.hasValue());
    EXPECT_EQ(result.error().fault, ArchiveFault::NoSpace);
    EXPECT_THAT(result.error().text(), HasSubstr("Merging needs"));
    EXPECT_EQ(full->index().points.size(), 4U);
  }
  EXPECT_EQ(::umount(small.c_str()), 0);
}

TEST_F(MergePoints, APointThatIsBeingGivenUpIsNotListedForReaders) {
  ASSERT_TRUE(archive.beginMerge({archive.index().points[1], archive.index().points[2], {1}}).hasValue());
  const auto reader = Archive::openForReading(archive.path());
  ASSERT_TRUE(reader.hasValue()) << reader.error().text();
  EXPECT_THAT(reader->index().points,
              ElementsAre(archive.index().points[0], archive.index().points[2], archive.index().points[3]));
}

TEST_F(MergePoints, TheIndexOfAMergeIsAsTheSchemaSays) {
  ASSERT_TRUE(archive.beginMerge({archive.index().points[1], archive.index().points[2], {UINT64_MAX}}).hasValue());
  EXPECT_EQ(test::mustRun(ZPK_CHECK_SCHEMA, {ZPK_ARCHIVE_SCHEMA, "archive=" + archive.path() + "/archive.json"}),
            "");
}

TEST_F(MergePoints, AMergeOfPointsThatAreNoNeighboursIsADamagedIndex) {
  ASSERT_TRUE(archive.beginMerge({archive.index().points[0], archive.index().points[2], {1}}).hasValue());
  const auto reader = Archive::openForReading(archive.path());
  ASSERT_FALSE(reader.hasValue());
  EXPECT_EQ(reader.error().fault, ArchiveFault::Damaged);
}

}  // namespace
}  // namespace zpk
