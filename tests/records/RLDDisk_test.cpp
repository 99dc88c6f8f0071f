#include "records/RLDDisk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "records/RLDArcDisk.h"
#include "records/ZPKDisk.h"
#include "tests/records/RecordSamples.h"

namespace zpk {
namespace {

std::vector<std::string> keysOf(const Record& record) {
  std::vector<std::string> keys;
  for (const auto& [key, value] : keyedForm(record)) keys.push_back(key);
  return keys;
}

void expectFull(const RLDDisk& disk) {
  EXPECT_EQ(disk.diskNumber(), 0xf0000001);
  EXPECT_EQ(disk.sectorSize(), 0xf0000002);
  EXPECT_EQ(disk.diskSize(), 0xf000000000000003);
  EXPECT_EQ(disk.diskMinSize(), 0xf000000000000004);
  EXPECT_EQ(disk.name(), "Internal");
  EXPECT_EQ(gptTypeOf(disk.gptID()), TMBGPTType::AppleRAID);
  ASSERT_EQ(disk.partitions().size(), 2u);
  EXPECT_EQ(*disk.partitions()[0], RLDPartition(samples::fullPartition()));
  EXPECT_EQ(*disk.partitions()[1], RLDArcPartition(samples::fullPartition(), "/p"));
  EXPECT_EQ(disk.iconPath(), "/disk.icns");
  EXPECT_EQ(disk.partitioningSchemes(), -7);
  EXPECT_EQ(disk.bsdName(), "disk0");
  EXPECT_EQ(disk.filePath(), "/disk.img");
}

TEST(RLDDisk, KeepsEveryFieldOnItsWayOverTheLink) {
  const RLDDisk disk(samples::fullDisk());
  expectFull(disk);
  const auto copy = samples::copyOf(disk);
  ASSERT_NE(copy, nullptr);
  expectFull(*copy);
  EXPECT_EQ(*copy, disk);
}

TEST(RLDDisk, WritesEachFieldUnderItsKeyInItsEncoding) {
  const RLDDisk disk(samples::fullDisk());
  const Dictionary keys = keyedForm(disk);
  const Dictionary expected{
      {"diskNumber", Bytes{0x01, 0, 0, 0xf0}},
      {"sectorSize", Bytes{0x02, 0, 0, 0xf0}},
      {"diskSize", Bytes{0x03, 0, 0, 0, 0, 0, 0, 0xf0}},
      {"diskMinSize", Bytes{0x04, 0, 0, 0, 0, 0, 0, 0xf0}},
      {"name", "Internal"},
      {"gptID", std::make_shared<const TMBGUID>(*TMBGUID::GUIDWithGPTType(TMBGPTType::AppleRAID))},
      {"partitions", Array{disk.partitions()[0], disk.partitions()[1]}},
      {"iconPath", "/disk.icns"},
      {"partitioningSchemes", -7},
      {"bsdName", "disk0"},
      {"filePath", "/disk.img"},
  };
  EXPECT_EQ(keys, expected);
  EXPECT_TRUE(keys["partitioningSchemes"].isSigned());
}

TEST(RLDDisk, WritesOptionalObjectsOnlyWhenTheyAreThere) {
  const RLDDisk disk(RLDDisk::Fields{});
  EXPECT_THAT(keysOf(disk), testing::UnorderedElementsAre("diskNumber", "diskSize", "diskMinSize", "sectorSize",
                                                          "name", "partitioningSchemes", "filePath"));
  const auto copy = samples::copyOf(disk);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copy->gptID(), std::nullopt);
  EXPECT_EQ(copy->fields().partitions, std::nullopt);
  EXPECT_TRUE(copy->partitions().empty());
  EXPECT_EQ(copy->iconPath(), std::nullopt);
  EXPECT_EQ(copy->bsdName(), std::nullopt);
  EXPECT_EQ(copy->filePath(), std::nullopt);
}

TEST(RLDDisk, TellsAnEmptyListFromNone) {
  const auto copy = samples::copyOf(RLDDisk({.partitions = RecordList<RLDPartition>{}}));
  ASSERT_NE(copy, nullptr);
  ASSERT_TRUE(copy->fields().partitions);
  EXPECT_TRUE(copy->fields().partitions->empty());
}

TEST(RLDDisk, DescribesEachPartitionOnItsOwnLineInOrder) {
  const RLDDisk disk({.diskSize = 1001, .name = "Internal", .partitions = samples::disk("eh").partitions()});
  EXPECT_EQ(disk.description(EnglishLocalization()),
            "{ Disk/\"Internal\"/1 KB(1001b)/parts:(\n"
            "{ Part/\"e\"/0 B(0b)/Unformatted/(null) }\n"
            "{ Part/\"h\"/0 B(0b)/Unformatted/(null) } ) }");
}

TEST(RLDDisk, DescribesNoPartitionsAsNothing) {
  EXPECT_EQ(RLDDisk({.name = "a"}).description(EnglishLocalization()), "{ Disk/\"a\"/0 B(0b)/parts:(\n ) }");
}

TEST(RLDArcDisk, AddsThePathOfItsIndexFile) {
  const RLDArcDisk disk(samples::fullDisk(), "/archive/index");
  EXPECT_EQ(keyedForm(disk)["indexFilePath"], Value("/archive/index"));
  const auto copy = samples::copyOf(disk);
  ASSERT_NE(copy, nullptr);
  expectFull(*copy);
  EXPECT_EQ(copy->indexFilePath(), "/archive/index");
  EXPECT_EQ(disk.description(EnglishLocalization()),
            RLDDisk(samples::fullDisk()).description(EnglishLocalization()));
}

TEST(RLDArcDisk, WritesAMissingPathToo) {
  const RLDArcDisk disk({}, std::nullopt);
  EXPECT_TRUE(keyedForm(disk).contains("indexFilePath"));
  EXPECT_EQ(samples::copyOf(disk)->indexFilePath(), std::nullopt);
}

TEST(InitWithDisk, GivesAnEqualRecordThatSharesNothing) {
  const RLDDisk disk(samples::fullDisk());
  const auto copy = RLDDisk::initWithDisk<RLDDisk>(disk);
  EXPECT_EQ(*copy, disk);
  EXPECT_NE(copy->partitions()[0], disk.partitions()[0]);
}

TEST(InitWithDisk, OfAnArchivedDiskIntoAPlainOneLeavesTheIndexPathUnread) {
  const auto copy = RLDDisk::initWithDisk<RLDDisk>(RLDArcDisk(samples::fullDisk(), "/archive/index"));
  EXPECT_EQ(*copy, RLDDisk(samples::fullDisk()));
  EXPECT_FALSE(keyedForm(*copy).contains("indexFilePath"));
}

TEST(InitWithDisk, OfAPlainDiskIntoASubclassLeavesItsOwnKeysAbsent) {
  const auto archived = RLDDisk::initWithDisk<RLDArcDisk>(RLDDisk(samples::fullDisk()));
  expectFull(*archived);
  EXPECT_EQ(archived->indexFilePath(), std::nullopt);
  const auto unclassified = RLDDisk::initWithDisk<ZPKDisk>(samples::disk("ehw"));
  EXPECT_FALSE(unclassified->isBootCamp());
  EXPECT_EQ(unclassified->objectForKeyedSubscript("winPartition"), nullptr);
}

}  // namespace
}  // namespace zpk
