// Where a backup point goes on a target, and why it cannot go there.

#include "helper/archive/RestorePlan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "helper/archive/GptTable.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::uint64_t mib = std::uint64_t{1} << 20U;
constexpr std::uint64_t gib = std::uint64_t{1} << 30U;
constexpr GuidBytes reservedType = {0x16, 0xE3, 0xC9, 0xE3};
constexpr GuidBytes recoveryType = {0xA4, 0xBB, 0x94, 0xDE};
constexpr GuidBytes macType = {0x00, 0x53, 0x46, 0x48};

StoredPartition storedAt(std::uint32_t number, std::uint64_t start, std::uint64_t size, const GuidBytes& type,
                         PartitionContent content) {
  StoredPartition partition;
  partition.number = number;
  partition.start = start;
  partition.size = size;
  partition.end = start + size - 1;
  partition.minSize = size;
  partition.typeGuid = type;
  partition.content = content;
  return partition;
}

// EFI, Microsoft Reserved, Windows (40 GiB, 10 of them needed), Windows' recovery.
StoredDisk storedDisk() {
  StoredDisk disk;
  disk.size = 64 * gib;
  disk.partitions = {
      storedAt(1, mib, 200 * mib, gpttype::efiSystem, PartitionContent::NotStored),
      storedAt(2, 201 * mib, 16 * mib, reservedType, PartitionContent::Whole),
      storedAt(3, 217 * mib, 40 * gib, gpttype::microsoftBasicData, PartitionContent::UsedClusters),
      storedAt(4, 41 * gib, 500 * mib + 512, recoveryType, PartitionContent::UsedClusters),
  };
  disk.partitions[2].minSize = 10 * gib;
  disk.partitions[2].isResizable = true;
  return disk;
}

TargetLayout macDisk(std::uint64_t size = 100 * gib) {
  return {size, 512, GuidBytes{1}, {{1, mib, 200 * mib, gpttype::efiSystem}, {2, 201 * mib, 20 * gib, macType}}};
}
TargetLayout bootCampDisk(std::uint64_t windowsSize) {
  TargetLayout target = macDisk();
  target.partitions.push_back({3, 30 * gib, windowsSize, gpttype::microsoftBasicData});
  return target;
}
TargetLayout blankDisk(std::uint64_t size) {
  return {size, 512, {}, {}};
}

std::string refusal(const ArchiveResult<RestorePlan>& plan) {
  if (plan) return "it is accepted";
  EXPECT_EQ(plan.error().fault, ArchiveFault::Refused);
  return plan.error().message;
}

std::vector<std::pair<std::uint64_t, std::uint64_t>> placesOf(const RestorePlan& plan) {
  std::vector<std::pair<std::uint64_t, std::uint64_t>> places;
  for (const PartitionMove& move : plan.moves) places.emplace_back(move.place.start, move.place.size());
  return places;
}

TEST(RestorePlan, OnABootCampDiskTheWindowsPartitionAloneIsReplaced) {
  const auto plan = planRestore(storedDisk(), bootCampDisk(30 * gib), TargetUse::WindowsPartition, 7);
  ASSERT_TRUE(plan.hasValue()) << plan.error().message;
  EXPECT_THAT(placesOf(*plan), ElementsAre(std::pair(30 * gib, 30 * gib)));
  EXPECT_EQ(plan->windows, 0U);
  EXPECT_EQ(plan->moves[0].stored, 2U);
  EXPECT_EQ(plan->moves[0].source.start, 217 * mib);
  EXPECT_EQ(plan->moves[0].source.size(), 40 * gib);
  EXPECT_THAT(plan->entries, IsEmpty()) << "the table stays as it is";
  EXPECT_THAT(plan->remarks, ElementsAre(HasSubstr("Partition 2"), HasSubstr("Partition 4")));
}

TEST(RestorePlan, AWindowsPartitionThatTheContentDoesNotFitIntoIsRefused) {
  EXPECT_TRUE(planRestore(storedDisk(), bootCampDisk(10 * gib), TargetUse::WindowsPartition, 0).hasValue());
  EXPECT_THAT(refusal(planRestore(storedDisk(), bootCampDisk(10 * gib - 1), TargetUse::WindowsPartition, 0)),
              "The backup point needs 10738 MB on the disk and there are 10737 MB for it");
}

TEST(RestorePlan, AVolumeThatNoToolCanMakeSmallerNeedsAllOfItsSize) {
  StoredDisk stored = storedDisk();
  stored.partitions[2].content = PartitionContent::Whole;
  EXPECT_TRUE(planRestore(stored, bootCampDisk(40 * gib), TargetUse::WindowsPartition, 0).hasValue());
  EXPECT_THAT(refusal(planRestore(stored, bootCampDisk(40 * gib - 512), TargetUse::WindowsPartition, 0)),
              HasSubstr("needs"));
}

TEST(RestorePlan, ADiskWithoutWindowsPartitionHasNoneToReplace) {
  EXPECT_THAT(refusal(planRestore(storedDisk(), macDisk(), TargetUse::WindowsPartition, 0)),
              "The disk has no Windows partition");
}

// The Mac disk's free space begins here, and this is all of it: the last mebibyte is kept for the table's copy.
constexpr std::uint64_t freeStart = 201 * mib + 20 * gib;
constexpr std::uint64_t freeSize = 100 * gib - mib - freeStart;
constexpr std::uint64_t reservedSize = 16 * mib;
constexpr std::uint64_t recoverySize = 501 * mib;  // 500 and a sector.

TEST(RestorePlan, InFreeSpaceTheChosenSizeIsThatOfTheWindowsPartition) {
  const auto plan = planRestore(storedDisk(), macDisk(), TargetUse::FreeSpace, 30 * gib + 12345);
  ASSERT_TRUE(plan.hasValue()) << plan.error().message;
  const std::uint64_t windows = 30 * gib + mib;
  EXPECT_THAT(placesOf(*plan),
              ElementsAre(std::pair(freeStart, reservedSize), std::pair(freeStart + reservedSize, windows),
                          std::pair(freeStart + reservedSize + windows, recoverySize)));
  EXPECT_EQ(plan->windows, 1U);
  ASSERT_EQ(plan->entries.size(), 3U);
  EXPECT_EQ(plan->entries[1].type, gpttype::microsoftBasicData);
  EXPECT_EQ(plan->entries[1].stored, 2U);
  EXPECT_EQ(plan->entries[1].place.size(), windows) << "what is chosen is not cut down";
  EXPECT_THAT(plan->remarks, IsEmpty());
}

// The lower end of the slider is such a size, and was refused as too small.
TEST(RestorePlan, TheLeastSizeMayBeChosenThoughItIsNoWholeMebibytes) {
  StoredDisk stored = storedDisk();
  stored.partitions = {stored.partitions[2]};
  stored.partitions[0].minSize = 10 * gib + 4096;
  const auto plan = planRestore(stored, macDisk(), TargetUse::FreeSpace, 10 * gib + 4096);
  ASSERT_TRUE(plan.hasValue()) << plan.error().message;
  EXPECT_EQ(plan->moves[0].place.size(), 10 * gib + mib);
}

TEST(RestorePlan, TheWholeFreeStretchMayBeTakenAndTheOthersHaveTheirShareOfIt) {
  const auto plan = planRestore(storedDisk(), macDisk(), TargetUse::FreeSpace, freeSize);
  ASSERT_TRUE(plan.hasValue()) << plan.error().message;
  ASSERT_EQ(plan->moves.size(), 3U);
  EXPECT_EQ(plan->moves[1].place.size(), freeSize - reservedSize - recoverySize);
  EXPECT_EQ(plan->moves[2].place.end, freeStart + freeSize);
  EXPECT_THAT(plan->remarks, ElementsAre(HasSubstr("and not the")));
  EXPECT_THAT(refusal(planRestore(storedDisk(), macDisk(), TargetUse::FreeSpace, freeSize + 1)),
              HasSubstr("less than the chosen size"));
}

// The free stretch is just what Windows needs, and the chooser offers it.
TEST(RestorePlan, WhatHasNoRoomBesideWindowsIsLeftOutLargestFirst) {
  const auto planWith = [](std::uint64_t room) {
    return planRestore(storedDisk(), macDisk(freeStart + room + mib), TargetUse::FreeSpace, 10 * gib);
  };
  const auto alone = planWith(10 * gib);
  ASSERT_TRUE(alone.hasValue()) << alone.error().message;
  EXPECT_THAT(placesOf(*alone), ElementsAre(std::pair(freeStart, 10 * gib)));
  EXPECT_EQ(alone->windows, 0U);
  EXPECT_THAT(alone->remarks,
              ElementsAre("Partition 2 of the backup point is not restored: there is no room for it "
                          "beside Windows",
                          HasSubstr("Partition 4")));
  const auto both = planWith(10 * gib + reservedSize);
  ASSERT_TRUE(both.hasValue()) << both.error().message;
  EXPECT_THAT(placesOf(*both),
              ElementsAre(std::pair(freeStart, reservedSize), std::pair(freeStart + reservedSize, 10 * gib)));
  EXPECT_EQ(planWith(10 * gib + reservedSize + recoverySize)->moves.size(), 3U);
  EXPECT_EQ(refusal(planWith(10 * gib - mib)),
            "The backup point needs 10738 MB on the disk and there are 10736 MB for it");
}

TEST(RestorePlan, TheLargestStretchIsTakenWhereverItLies) {
  TargetLayout target = macDisk();
  target.partitions = {{2, 70 * gib, 20 * gib, macType}, {1, mib, 200 * mib, gpttype::efiSystem}};
  const auto plan = planRestore(storedDisk(), target, TargetUse::FreeSpace, 20 * gib);
  ASSERT_TRUE(plan.hasValue()) << plan.error().message;
  EXPECT_EQ(plan->moves[0].place.start, 201 * mib);
}

TEST(RestorePlan, AChosenSizeThatIsTooSmallIsRefusedWithTheSmallestThatWorks) {
  EXPECT_TRUE(planRestore(storedDisk(), macDisk(), TargetUse::FreeSpace, 10 * gib).hasValue());
  EXPECT_EQ(refusal(planRestore(storedDisk(), macDisk(), TargetUse::FreeSpace, 10 * gib - 1)),
            "The Windows partition of this backup point needs 10738 MB, and 10737 MB were chosen for it");
  EXPECT_THAT(refusal(planRestore(storedDisk(), macDisk(), TargetUse::FreeSpace, 0)), HasSubstr("needs"));
  EXPECT_THAT(refusal(planRestore(storedDisk(), macDisk(), TargetUse::FreeSpace, UINT64_MAX)), HasSubstr("less"));
}

TEST(RestorePlan, APartitionOfAKindThatTheDiskHasIsNotRestoredTwice) {
  TargetLayout target = macDisk();
  target.partitions.push_back({3, 21 * gib, 16 * mib, reservedType});
  const auto plan = planRestore(storedDisk(), target, TargetUse::FreeSpace, 20 * gib);
  ASSERT_TRUE(plan.hasValue()) << plan.error().message;
  ASSERT_EQ(plan->moves.size(), 2U);
  EXPECT_EQ(plan->moves[0].stored, 2U);
  EXPECT_EQ(plan->moves[1].stored, 3U);
  EXPECT_THAT(plan->remarks, ElementsAre(HasSubstr("Partition 2")));
}

TEST(RestorePlan, AnEmptyDiskGetsAWholeNewLayout) {
  TargetLayout target = blankDisk(20 * gib);
  target.partitions = {{1, mib, 300 * mib, gpttype::efiSystem}};
  const auto plan = planRestore(storedDisk(), target, TargetUse::WholeDisk, 7);
  ASSERT_TRUE(plan.hasValue()) << plan.error().message;
  ASSERT_EQ(plan->entries.size(), 4U);
  EXPECT_EQ(plan->entries[0].type, gpttype::efiSystem);
  EXPECT_EQ(plan->entries[0].place.start, mib) << "what was there does not count";
  EXPECT_EQ(plan->entries[0].place.size(), 200 * mib);
  EXPECT_FALSE(plan->entries[0].stored.has_value());
  EXPECT_EQ(plan->entries[1].place.start, 201 * mib);
  EXPECT_EQ(plan->entries[3].place.end, 20 * gib - mib);
  EXPECT_EQ(plan->moves[plan->windows].place.size(), 20 * gib - 2 * mib - 200 * mib - 16 * mib - 501 * mib);
}

// An EFI partition, Windows as small as it can be, and the table's two copies.
TEST(RestorePlan, AnEmptyDiskHasToTakeWindowsAndWhatItStartsFrom) {
  const std::uint64_t least = 2 * mib + 200 * mib + 10 * gib;
  const auto plan = planRestore(storedDisk(), blankDisk(least), TargetUse::WholeDisk, 0);
  ASSERT_TRUE(plan.hasValue()) << plan.error().message;
  EXPECT_THAT(placesOf(*plan), ElementsAre(std::pair(201 * mib, 10 * gib)));
  EXPECT_EQ(plan->entries.size(), 2U);
  EXPECT_EQ(refusal(planRestore(storedDisk(), blankDisk(least - mib), TargetUse::WholeDisk, 0)),
            "The backup point needs 10950 MB on the disk and there are 10948 MB for it");
  for (const std::uint64_t size : {std::uint64_t{0}, std::uint64_t{4096}, 2 * mib, 100 * mib, 10 * gib}) {
    EXPECT_THAT(refusal(planRestore(storedDisk(), blankDisk(size), TargetUse::WholeDisk, 0)), HasSubstr("needs"));
  }
}

TEST(RestorePlan, AVolumeThatWasNotPutDownInOrderNeedsAllOfItsSize) {
  StoredDisk stored = storedDisk();
  stored.partitions[2].isResizable = false;
  EXPECT_EQ(leastRoomFor(stored.partitions[2]), 40 * gib);
  EXPECT_THAT(refusal(planRestore(stored, macDisk(), TargetUse::FreeSpace, 39 * gib)), HasSubstr("needs 42950 MB"));
  EXPECT_TRUE(planRestore(stored, macDisk(), TargetUse::FreeSpace, 40 * gib).hasValue());
}

TEST(RestorePlan, SizesThatNoDiskHasAreRefused) {
  for (const std::size_t place : {1U, 2U, 3U}) {
    for (const std::uint64_t size : {UINT64_MAX, UINT64_MAX - mib + 2, 64 * gib}) {
      StoredDisk stored = storedDisk();
      stored.partitions[place].size = size;
      const auto plan = planRestore(stored, macDisk(), TargetUse::FreeSpace, 20 * gib);
      ASSERT_FALSE(plan.hasValue());
      EXPECT_EQ(plan.error().fault, ArchiveFault::Damaged);
    }
  }
}

TEST(RestorePlan, SectorsOfAnotherSizeAreRefused) {
  TargetLayout target = bootCampDisk(40 * gib);
  target.sectorSize = 4096;
  EXPECT_THAT(refusal(planRestore(storedDisk(), target, TargetUse::WindowsPartition, 0)), HasSubstr("sectors"));
}

TEST(RestorePlan, APointWithoutWindowsIsRefused) {
  StoredDisk stored = storedDisk();
  stored.partitions[2].content = PartitionContent::NotStored;
  EXPECT_THAT(refusal(planRestore(stored, bootCampDisk(40 * gib), TargetUse::WindowsPartition, 0)),
              "The backup point holds no Windows partition");
}

}  // namespace
}  // namespace zpk
