#include "records/RLDPartition.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "records/FileSystemType.h"
#include "records/RLDArcPartition.h"
#include "tests/records/RecordSamples.h"

namespace zpk {
namespace {

std::vector<std::string> keysOf(const Record& record) {
  std::vector<std::string> keys;
  for (const auto& [key, value] : keyedForm(record)) keys.push_back(key);
  return keys;
}

void expectFull(const RLDPartition& partition) {
  EXPECT_TRUE(partition.isResizable());
  EXPECT_TRUE(partition.isSystem());
  EXPECT_EQ(partition.partNumber(), 0xf0000001);
  EXPECT_EQ(partition.diskNumber(), 0xf0000002);
  EXPECT_EQ(partition.sectorSize(), 0xf0000003);
  EXPECT_EQ(partition.partSize(), 0xf000000000000004);
  EXPECT_EQ(partition.partMinSize(), 0xf000000000000005);
  EXPECT_EQ(partition.partMaxSize(), 0xf000000000000006);
  EXPECT_EQ(partition.partUsedSize(), 0xf000000000000007);
  EXPECT_EQ(partition.partStart(), 0xf000000000000008);
  EXPECT_EQ(partition.partEnd(), 0xf000000000000009);
  EXPECT_EQ(partition.partType(), 0xf00000000000000a);
  EXPECT_EQ(gptTypeOf(partition.gptTypeGUID()), TMBGPTType::MicrosoftBasicData);
  EXPECT_EQ(partition.serialNumber(), Value("1A2B-3C4D"));
  EXPECT_EQ(partition.mountPoint(), "/Volumes/BOOTCAMP");
  EXPECT_EQ(partition.fileSystemType(), 2);
  EXPECT_EQ(partition.name(), "BOOTCAMP");
  EXPECT_EQ(partition.bsdName(), "disk0s4");
}

TEST(RLDPartition, KeepsEveryFieldOnItsWayOverTheLink) {
  const RLDPartition partition(samples::fullPartition());
  expectFull(partition);
  const auto copy = samples::copyOf(partition);
  ASSERT_NE(copy, nullptr);
  expectFull(*copy);
  EXPECT_EQ(*copy, partition);
}

TEST(RLDPartition, WritesEachFieldUnderItsKeyInItsEncoding) {
  const Dictionary keys = keyedForm(RLDPartition(samples::fullPartition()));
  const Dictionary expected{
      {"partNumber", Bytes{0x01, 0, 0, 0xf0}},
      {"diskNumber", Bytes{0x02, 0, 0, 0xf0}},
      {"sectorSize", Bytes{0x03, 0, 0, 0xf0}},
      {"partSize", Bytes{0x04, 0, 0, 0, 0, 0, 0, 0xf0}},
      {"partMinSize", Bytes{0x05, 0, 0, 0, 0, 0, 0, 0xf0}},
      {"partMaxSize", Bytes{0x06, 0, 0, 0, 0, 0, 0, 0xf0}},
      {"partUsedSize", Bytes{0x07, 0, 0, 0, 0, 0, 0, 0xf0}},
      {"partStart", Bytes{0x08, 0, 0, 0, 0, 0, 0, 0xf0}},
      {"partEnd", Bytes{0x09, 0, 0, 0, 0, 0, 0, 0xf0}},
      {"partType", Bytes{0x0a, 0, 0, 0, 0, 0, 0, 0xf0}},
      {"isResizable", true},
      {"isSystem", true},
      {"gptTypeGUID", std::make_shared<const TMBGUID>(*TMBGUID::GUIDWithGPTType(TMBGPTType::MicrosoftBasicData))},
      {"serialNumber", "1A2B-3C4D"},
      {"mountPoint", "/Volumes/BOOTCAMP"},
      {"name", "BOOTCAMP"},
      {"bsdName", "disk0s4"},
      {"fileSystemType", 2},
  };
  EXPECT_EQ(keys, expected);
  EXPECT_TRUE(keys["isSystem"].isBoolean());
  EXPECT_TRUE(keys["fileSystemType"].isSigned());
}

TEST(RLDPartition, WritesOptionalObjectsOnlyWhenTheyAreThere) {
  const RLDPartition partition({});
  EXPECT_THAT(keysOf(partition),
              testing::UnorderedElementsAre("partNumber", "diskNumber", "partSize", "partMinSize", "partMaxSize",
                                            "partUsedSize", "partStart", "partEnd", "partType", "sectorSize",
                                            "isResizable", "isSystem", "name", "bsdName", "fileSystemType"));
  const auto copy = samples::copyOf(partition);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copy->gptTypeGUID(), std::nullopt);
  EXPECT_TRUE(copy->serialNumber().isNull());
  EXPECT_EQ(copy->mountPoint(), std::nullopt);
  EXPECT_EQ(copy->name(), std::nullopt);
  EXPECT_EQ(copy->bsdName(), std::nullopt);
}

TEST(RLDPartition, TakesAnyObjectForASerialNumber) {
  for (const Value& serialNumber : {Value(7), Value(Bytes{1}), Value(Array{Value("a")})}) {
    const auto copy = samples::copyOf(RLDPartition({.serialNumber = serialNumber}));
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->serialNumber(), serialNumber);
  }
}

TEST(RLDPartition, DescribesItself) {
  RLDPartition::Fields fields = samples::fullPartition();
  fields.partSize = 2500;
  EXPECT_EQ(RLDPartition(fields).description(EnglishLocalization()),
            "{ Part/\"BOOTCAMP\"/2 KB(2500b)/NTFS/disk0s4 }");
  EXPECT_EQ(RLDArcPartition(fields, "/i").description(samples::MarkingLocalization()),
            "{ Part/\"BOOTCAMP\"/2 KB(2500b)/<NTFS>/disk0s4 }");
}

TEST(RLDPartition, DescribesAnUnknownFileSystemAsNothing) {
  EXPECT_EQ(RLDPartition({.fileSystemType = 13, .name = "a", .bsdName = "b"}).description(EnglishLocalization()),
            "{ Part/\"a\"/0 B(0b)//b }");
  EXPECT_EQ(RLDPartition({.fileSystemType = 10, .name = "a", .bsdName = "b"}).description(EnglishLocalization()),
            "{ Part/\"a\"/0 B(0b)/exFAT/b }");
}

TEST(RLDPartition, DescribesMissingTextsAsNull) {
  EXPECT_EQ(RLDPartition({}).description(EnglishLocalization()), "{ Part/\"(null)\"/0 B(0b)/Unformatted/(null) }");
}

TEST(RLDArcPartition, AddsThePathOfItsIndexFile) {
  const RLDArcPartition partition(samples::fullPartition(), "/archive/index");
  EXPECT_EQ(keyedForm(partition)["indexFilePath"], Value("/archive/index"));
  EXPECT_EQ(keyedForm(partition).size(), keyedForm(RLDPartition(samples::fullPartition())).size() + 1);
  const auto copy = samples::copyOf(partition);
  ASSERT_NE(copy, nullptr);
  expectFull(*copy);
  EXPECT_EQ(copy->indexFilePath(), "/archive/index");
}

TEST(RLDArcPartition, WritesAMissingPathToo) {
  const RLDArcPartition partition({}, std::nullopt);
  EXPECT_TRUE(keyedForm(partition).contains("indexFilePath"));
  EXPECT_EQ(samples::copyOf(partition)->indexFilePath(), std::nullopt);
}

TEST(FileSystemTypeName, NamesEveryType) {
  const std::vector<std::string> names = {"Unformatted", "HFS+",    "NTFS", "FAT12", "FAT16", "FAT32", "ExtFS 2",
                                          "ExtFS 3",     "ExtFS 4", "HPFS", "exFAT", "ReFS",  "XFS"};
  for (std::size_t i = 0; i < names.size(); ++i) {
    const auto index = static_cast<std::int64_t>(i);
    EXPECT_EQ(fileSystemTypeName(index, EnglishLocalization()), names[i]);
    EXPECT_EQ(fileSystemTypeName(index, samples::MarkingLocalization()), "<" + names[i] + ">");
  }
}

TEST(FileSystemTypeName, IsEmptyForAnIndexThatStandsForNone) {
  for (const std::int64_t index : {std::int64_t{13}, std::int64_t{-1}, INT64_MIN, INT64_MAX}) {
    EXPECT_EQ(fileSystemTypeName(index, samples::MarkingLocalization()), "");
  }
}

}  // namespace
}  // namespace zpk
