// What a restore would do to a disk, from its record alone.

#include "choosers/RestoreEffect.h"

#include <gtest/gtest.h>

#include "support/StatusBuilder.h"

namespace zpk {
namespace {

constexpr std::uint64_t kGB = 1'000'000'000;

std::shared_ptr<const ZPKDisk> with(const ZPKDisk& disk, const std::function<void(RLDDisk::Fields&)>& change) {
  RLDDisk::Fields fields = disk.fields();
  change(fields);
  return ZPKDisk::diskWithDisk(RLDDisk(std::move(fields)));
}

std::shared_ptr<const ZPKDisk> onDevice(const ZPKDisk& disk, const char* device) {
  return with(disk, [device](RLDDisk::Fields& fields) { fields.bsdName = device; });
}

TEST(RestoreEffectOf, ABootCampDiskIsTheReplacementOfItsWindowsPartition) {
  const auto disk = bootCampDisk(1, "Internal");
  EXPECT_EQ(restoreEffect(*disk, {disk}), (RestoreEffect{"Internal", "", ReplacesWindows{"BOOTCAMP", 128 * kGB}}));
}

TEST(RestoreEffectOf, AMacDiskIsANewPartitionInItsFreeSpace) {
  const auto disk = macDisk(2, "Mac", 500 * kGB, 300 * kGB);
  EXPECT_EQ(restoreEffect(*disk, {disk}), (RestoreEffect{"Mac", "", FillsFreeSpace{}}));
}

TEST(RestoreEffectOf, AnEmptyDiskIsTheLossOfEverythingOnIt) {
  const auto blank = emptyDisk(3, "Stick", 64 * kGB);
  EXPECT_EQ(restoreEffect(*blank, {blank}), (RestoreEffect{"Stick", "", ErasesDisk{}}));
  // It counts as empty, and yet there is something on it.
  const auto auxiliary = with(*macDisk(2, "Aux", 500 * kGB, 300 * kGB), [](RLDDisk::Fields& fields) {
    fields.partitions->erase(fields.partitions->begin() + 1);
  });
  ASSERT_TRUE(auxiliary && auxiliary->isEmpty());
  ASSERT_FALSE(auxiliary->partitions().empty());
  EXPECT_EQ(restoreEffect(*auxiliary, {auxiliary}), (RestoreEffect{"Aux", "", ErasesDisk{}}));
}

TEST(RestoreEffectOf, ADiskIsToldFromAnotherOfItsNameByTheSystemsNameForIt) {
  const auto one = onDevice(*emptyDisk(1, "SSD 870", kGB), "sda");
  const auto other = onDevice(*emptyDisk(2, "SSD 870", kGB), "sdb");
  const auto third = onDevice(*emptyDisk(3, "Stick", kGB), "sdc");
  EXPECT_EQ(restoreEffect(*other, {one, other, third})->device, "sdb");
  EXPECT_EQ(restoreEffect(*third, {one, other, third})->device, "");
  const auto nameless = onDevice(*emptyDisk(3, "", kGB), "sdd");
  EXPECT_EQ(restoreEffect(*nameless, {one, nameless})->device, "sdd");
}

// Records as a helper of another kind might send them: analysed there, and contradicting themselves.
TEST(RestoreEffectOf, ADiskThatIsNoTargetOrLacksItsWindowsPartitionIsNotGuessed) {
  const auto disk = bootCampDisk(1, "Internal");
  const auto decoded = [&](const char* key, Value value) {
    Dictionary keys = keyedForm(*disk);
    keys.set(key, std::move(value));
    return std::make_shared<const ZPKDisk>(KeyedDecoder(keys));
  };
  const auto noTarget = decoded("isRestoreTarget", Value(false));
  EXPECT_EQ(restoreEffect(*noTarget, {noTarget}), std::nullopt);
  const auto noWindows = decoded("partIndexes", Value(Dictionary{}));
  EXPECT_EQ(restoreEffect(*noWindows, {noWindows}), std::nullopt);
}

}  // namespace
}  // namespace zpk
