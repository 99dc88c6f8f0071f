#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "records/ZPKArchive.h"
#include "records/ZPKDisk.h"
#include "tests/records/RecordSamples.h"

namespace zpk {
namespace {

using testing::HasSubstr;

// Why `keys` make no record of that class, or "".
std::string malformation(std::string_view className, const Dictionary& keys) {
  try {
    recordClasses().make(className, KeyedDecoder(keys));
  } catch (const MalformedRecord& malformed) {
    return malformed.what();
  }
  return "";
}

struct Sample {
  std::shared_ptr<const Record> record;
  std::vector<std::string_view> rawKeys;
  std::vector<std::string_view> textKeys;
  std::vector<std::string_view> guidKeys;
  std::vector<std::string_view> listKeys;
};

std::vector<Sample> allClasses() {
  const std::vector<std::string_view> partitionRawKeys = {"partNumber",  "diskNumber",  "sectorSize",   "partSize",
                                                          "partMinSize", "partMaxSize", "partUsedSize", "partStart",
                                                          "partEnd",     "partType"};
  const std::vector<std::string_view> diskRawKeys = {"diskNumber", "sectorSize", "diskSize", "diskMinSize"};
  const std::vector<std::string_view> diskTexts = {"name", "iconPath", "bsdName", "filePath"};
  return {
      {std::make_shared<const TMBGUID>(), {kUnkeyedBytesKey}, {}, {}, {}},
      {std::make_shared<const RLDPartition>(samples::fullPartition()),
       partitionRawKeys,
       {"mountPoint", "name", "bsdName"},
       {"gptTypeGUID"},
       {}},
      {std::make_shared<const RLDArcPartition>(samples::fullPartition(), "/p"),
       partitionRawKeys,
       {"mountPoint", "name", "bsdName", "indexFilePath"},
       {"gptTypeGUID"},
       {}},
      {std::make_shared<const RLDDisk>(samples::fullDisk()), diskRawKeys, diskTexts, {"gptID"}, {"partitions"}},
      {std::make_shared<const RLDArcDisk>(samples::fullDisk(), "/d"),
       diskRawKeys,
       {"name", "iconPath", "bsdName", "filePath", "indexFilePath"},
       {"gptID"},
       {"partitions"}},
      {std::make_shared<const RLDArchiveItem>(samples::fullArchiveItem()),
       {"arcIndex"},
       {"indexFilePath", "name"},
       {},
       {"disks"}},
      {std::make_shared<const RLDArchive>(samples::fullArchive()), {}, {"indexFilePath"}, {}, {"items"}},
      {std::make_shared<const ZPKArchive>(samples::fullArchive()), {}, {"indexFilePath"}, {}, {"items"}},
      {ZPKDisk::diskWithDisk(samples::disk("ehrw")), diskRawKeys, diskTexts, {"gptID"}, {"partitions"}},
  };
}

const Value kGUID(std::make_shared<const TMBGUID>());

class MalformedRecords : public testing::Test {
 protected:
  // Expects that `value` under `key` makes the record malformed, and that the reason names the key.
  void expectMalformed(const Record& record, std::string_view key, const Value& value) {
    Dictionary keys = keyedForm(record);
    keys.set(key, value);
    EXPECT_THAT(malformation(record.className(), keys), HasSubstr("\"" + std::string(key) + "\""))
        << record.className() << " " << key;
  }
  // Expects that the record can do with nothing under `key`, be it absent or null.
  void expectOptional(const Record& record, std::string_view key) {
    Dictionary keys = keyedForm(record);
    keys.set(key, nullptr);
    EXPECT_EQ(malformation(record.className(), keys), "") << record.className() << " " << key;
    keys.remove(key);
    EXPECT_EQ(malformation(record.className(), keys), "") << record.className() << " " << key;
  }
};

TEST_F(MalformedRecords, AllNineClassesAreRegisteredUnderTheirNames) {
  const std::vector<Sample> samples = allClasses();
  EXPECT_EQ(samples.size(), 9u);
  for (const Sample& sample : samples) {
    const Dictionary keys = keyedForm(*sample.record);
    EXPECT_EQ(*recordClasses().make(sample.record->className(), KeyedDecoder(keys)), *sample.record);
  }
}

TEST_F(MalformedRecords, AnUnknownClassIsNeverMade) {
  EXPECT_EQ(malformation("NSTask", {}), "unknown class \"NSTask\"");
  EXPECT_EQ(malformation("", {}), "unknown class \"\"");
  EXPECT_EQ(malformation("rlddisk", {}), "unknown class \"rlddisk\"");
}

TEST_F(MalformedRecords, EveryRawKeyIsRequiredInFull) {
  for (const Sample& sample : allClasses()) {
    const Dictionary keys = keyedForm(*sample.record);
    std::size_t blocks = 0;
    for (const auto& [key, value] : keys) blocks += value.isBytes() ? 1u : 0u;
    EXPECT_EQ(blocks, sample.rawKeys.size()) << sample.record->className();
    for (const std::string_view key : sample.rawKeys) {
      Dictionary without = keys;
      without.remove(key);
      EXPECT_THAT(malformation(sample.record->className(), without), HasSubstr(std::string(key)));
      Bytes shortBlock = keys[key].bytes()->toBytes();
      shortBlock.pop_back();
      expectMalformed(*sample.record, key, shortBlock);
      expectMalformed(*sample.record, key, Bytes{});
      expectMalformed(*sample.record, key, 5);
      expectMalformed(*sample.record, key, "12345678901234567890");
      expectMalformed(*sample.record, key, nullptr);
    }
  }
}

TEST_F(MalformedRecords, OfALongRawBlockTheFirstBytesAreTaken) {
  for (const Sample& sample : allClasses()) {
    for (const std::string_view key : sample.rawKeys) {
      Dictionary keys = keyedForm(*sample.record);
      Bytes longer = keys[key].bytes()->toBytes();
      longer.push_back(0xee);
      keys.set(key, longer);
      EXPECT_EQ(*recordClasses().make(sample.record->className(), KeyedDecoder(keys)), *sample.record) << key;
    }
  }
}

TEST_F(MalformedRecords, ATextMayBeAbsentButNothingElse) {
  for (const Sample& sample : allClasses()) {
    for (const std::string_view key : sample.textKeys) {
      expectOptional(*sample.record, key);
      expectMalformed(*sample.record, key, 1);
      expectMalformed(*sample.record, key, Bytes{65});
      expectMalformed(*sample.record, key, Array{"text"});
    }
  }
}

TEST_F(MalformedRecords, AnIdentifierMayBeAbsentButNothingElse) {
  for (const Sample& sample : allClasses()) {
    for (const std::string_view key : sample.guidKeys) {
      expectOptional(*sample.record, key);
      expectMalformed(*sample.record, key, "c12a7328-f81f-11d2-ba4b-00a0c93ec93b");
      expectMalformed(*sample.record, key, Bytes(16));
      expectMalformed(*sample.record, key, std::make_shared<const RLDArchive>(RLDArchive::Fields{}));
    }
  }
}

TEST_F(MalformedRecords, AListMayBeAbsentButHoldsItsClassAlone) {
  for (const Sample& sample : allClasses()) {
    for (const std::string_view key : sample.listKeys) {
      expectOptional(*sample.record, key);
      expectMalformed(*sample.record, key, Dictionary());
      expectMalformed(*sample.record, key, "list");
      expectMalformed(*sample.record, key, Array{"partition"});
      expectMalformed(*sample.record, key, Array{nullptr});
      Array elements = *keyedForm(*sample.record)[key].array();
      elements.push_back(kGUID);
      expectMalformed(*sample.record, key, elements);
    }
  }
}

TEST_F(MalformedRecords, APlainDiskIsNoDiskOfABackupPoint) {
  const RLDArchiveItem item(samples::fullArchiveItem());
  expectMalformed(item, "disks", Array{std::make_shared<const RLDDisk>(samples::fullDisk())});
}

TEST_F(MalformedRecords, ACreationDateIsADate) {
  const RLDArchiveItem item(samples::fullArchiveItem());
  expectOptional(item, "creationDate");
  expectMalformed(item, "creationDate", 1234.5);
  expectMalformed(item, "creationDate", "2015-01-01");
}

TEST_F(MalformedRecords, PartIndexesAreADictionary) {
  const auto disk = ZPKDisk::diskWithDisk(samples::disk("ehrw"));
  expectOptional(*disk, "partIndexes");
  expectMalformed(*disk, "partIndexes", Array{1, 2});
  expectMalformed(*disk, "partIndexes", 3);
}

TEST_F(MalformedRecords, FlagsAndIntegersMayBeAbsent) {
  const RLDPartition partition(samples::fullPartition());
  for (const char* key : {"isResizable", "isSystem", "fileSystemType"}) expectOptional(partition, key);
  expectOptional(RLDDisk(samples::fullDisk()), "partitioningSchemes");
  expectOptional(RLDArchiveItem(samples::fullArchiveItem()), "pinned");
  expectOptional(RLDArchive(samples::fullArchive()), "legacy");
  for (const char* key : {"isBootCamp", "isRestoreTarget", "isEmpty"}) {
    expectOptional(*ZPKDisk::diskWithDisk(samples::disk("ehrw")), key);
  }
}

TEST_F(MalformedRecords, KeysThatNobodyKnowsAreLeftAlone) {
  for (const Sample& sample : allClasses()) {
    Dictionary keys = keyedForm(*sample.record);
    keys.set("aKeyOfALaterVersion", Array{1, "a"});
    EXPECT_EQ(*recordClasses().make(sample.record->className(), KeyedDecoder(keys)), *sample.record);
  }
}

TEST_F(MalformedRecords, OneInAStatusMakesTheWholeStatusUnreadable) {
  const auto good = std::make_shared<const RLDDisk>(samples::fullDisk());
  Bytes data = archivedData(Dictionary{{"disks", Array{good}}});
  // The class name of the identifier inside the disk.
  const std::string_view name = "TMBGUID";
  const auto found = std::search(data.begin(), data.end(), name.begin(), name.end());
  ASSERT_NE(found, data.end());
  *found = 'X';
  const auto value = unarchivedValue(data, recordClasses());
  ASSERT_FALSE(value);
  EXPECT_EQ(value.error().reason, "unknown class \"XMBGUID\"");
}

}  // namespace
}  // namespace zpk
