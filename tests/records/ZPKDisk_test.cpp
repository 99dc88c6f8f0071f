#include "records/ZPKDisk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "tests/records/RecordSamples.h"

namespace zpk {
namespace {

std::shared_ptr<const ZPKDisk> zpkDisk(std::string_view letters, std::int64_t schemes = 2) {
  return ZPKDisk::diskWithDisk(samples::disk(letters, schemes));
}

TEST(ZPKDisk, TakesOverAllFieldsOfTheDisk) {
  RLDDisk::Fields fields = samples::fullDisk();
  fields.partitions = samples::disk("ehrw").partitions();
  fields.partitioningSchemes = 6;
  const RLDDisk disk(fields);
  const auto copy = ZPKDisk::initWithDisk(disk);
  ASSERT_NE(copy, nullptr);
  const Dictionary copied = keyedForm(*copy);
  for (const auto& [key, value] : keyedForm(disk)) EXPECT_EQ(copied[key], value) << key;
  EXPECT_NE(copy->partitions()[0], disk.partitions()[0]);
}

TEST(ZPKDisk, IsNoneForARefusedDisk) {
  EXPECT_EQ(zpkDisk("ehwx"), nullptr);
  EXPECT_EQ(ZPKDisk::initWithDisk(samples::disk("x")), nullptr);
}

TEST(ZPKDisk, GivesThePartitionInARole) {
  const auto disk = zpkDisk("e-hrmw");
  ASSERT_NE(disk, nullptr);
  EXPECT_EQ(disk->objectForKeyedSubscript("hfsPartition"), disk->partitions()[2]);
  EXPECT_EQ(disk->objectForKeyedSubscript("recoveryPartition"), disk->partitions()[3]);
  EXPECT_EQ(disk->objectForKeyedSubscript("msrPartition"), disk->partitions()[4]);
  EXPECT_EQ(disk->objectForKeyedSubscript("winPartition"), disk->partitions()[5]);
  EXPECT_EQ(disk->objectForKeyedSubscript("winRecPartition"), nullptr);
}

TEST(ZPKDisk, HasNoPartitionForARoleThatWasNotFoundOrIsNone) {
  const auto disk = zpkDisk("ehr");
  ASSERT_NE(disk, nullptr);
  EXPECT_TRUE(disk->isRestoreTarget());
  EXPECT_EQ(disk->objectForKeyedSubscript("winPartition"), nullptr);
  EXPECT_EQ(disk->objectForKeyedSubscript("efiPartition"), nullptr);
  EXPECT_EQ(disk->objectForKeyedSubscript(""), nullptr);
}

TEST(ZPKDisk, WritesItsFindingsUnderTheirKeys) {
  const Dictionary keys = keyedForm(*zpkDisk("ehrw"));
  EXPECT_EQ(keys["partIndexes"], Value(Dictionary{{"hfsPartition", 1},
                                                  {"recoveryPartition", 2},
                                                  {"msrPartition", INT64_MAX},
                                                  {"winPartition", 3},
                                                  {"winRecPartition", INT64_MAX}}));
  EXPECT_EQ(keys["isBootCamp"], Value(true));
  EXPECT_EQ(keys["isRestoreTarget"], Value(true));
  EXPECT_EQ(keys["isEmpty"], Value(false));
}

TEST(ZPKDisk, KeepsItsFindingsOnItsWayOverTheLink) {
  for (const char* letters : {"ehrw", "ehr", "em"}) {
    const auto disk = zpkDisk(letters);
    ASSERT_NE(disk, nullptr);
    const auto copy = samples::copyOf(*disk);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(*copy, *disk);
    EXPECT_EQ(copy->isBootCamp(), disk->isBootCamp());
    EXPECT_EQ(copy->isRestoreTarget(), disk->isRestoreTarget());
    EXPECT_EQ(copy->isEmpty(), disk->isEmpty());
  }
}

TEST(ZPKDisk, IsNotAnalysedAgainWhenDecoded) {
  Dictionary keys = keyedForm(*zpkDisk("ehrw"));
  keys.set("isBootCamp", false);
  keys.set("isEmpty", true);
  keys.remove("isRestoreTarget");
  keys.set("partIndexes", Dictionary{{"winPartition", 0}, {"myOwn", 1}});
  const ZPKDisk disk{KeyedDecoder(keys)};
  EXPECT_FALSE(disk.isBootCamp());
  EXPECT_TRUE(disk.isEmpty());
  EXPECT_FALSE(disk.isRestoreTarget());
  EXPECT_EQ(disk.objectForKeyedSubscript("winPartition"), disk.partitions()[0]);
  EXPECT_EQ(disk.objectForKeyedSubscript("myOwn"), disk.partitions()[1]);
  EXPECT_EQ(disk.objectForKeyedSubscript("hfsPartition"), nullptr);
}

TEST(ZPKDisk, WithoutIndexesHasNoPartitionInAnyRoleAndWritesNoneAgain) {
  Dictionary keys = keyedForm(*zpkDisk("ehrw"));
  keys.remove("partIndexes");
  const ZPKDisk disk{KeyedDecoder(keys)};
  EXPECT_EQ(disk.objectForKeyedSubscript("winPartition"), nullptr);
  EXPECT_TRUE(keyedForm(disk)["partIndexes"].isNull());
}

TEST(ZPKDisk, AnIndexThatIsNoPartitionOfTheDiskGivesNone) {
  for (const Value& index : {Value(4), Value(-1), Value(UINT64_MAX), Value("1"), Value()}) {
    Dictionary keys = keyedForm(*zpkDisk("ehrw"));
    keys.set("partIndexes", Dictionary{{"winPartition", index}});
    EXPECT_EQ(ZPKDisk{KeyedDecoder(keys)}.objectForKeyedSubscript("winPartition"), nullptr);
  }
}

TEST(ZPKDisk, AnalysesACopyOfItselfAfresh) {
  Dictionary keys = keyedForm(*zpkDisk("ehrw"));
  keys.set("isBootCamp", false);
  keys.set("partIndexes", nullptr);
  const ZPKDisk altered{KeyedDecoder(keys)};
  EXPECT_EQ(*ZPKDisk::diskWithDisk(altered), *zpkDisk("ehrw"));
}

TEST(ZPKDisk, CountsTheTableEntriesLeftForWindows) {
  const std::map<std::string, std::uint64_t> counts = {
      {"", 4}, {"e", 3}, {"eh", 2}, {"ehr", 1}, {"ehrw", 1}, {"ehrmwo", 1}, {"em", 3}, {"-e--h-", 2}, {"ew", 3},
  };
  for (const auto& [letters, count] : counts) {
    const auto disk = zpkDisk(letters);
    ASSERT_NE(disk, nullptr) << letters;
    EXPECT_EQ(disk->countOfLegacyRestoreSlots(), count) << letters;
  }
}

TEST(ZPKDisk, LeavesNoSlotsBelowZero) {
  for (const char* letters : {"ehrx", "ehrxx", "xnehrcw", "xxxxxxxxx"}) {
    const Dictionary keys = keyedForm(samples::disk(letters));
    EXPECT_EQ(ZPKDisk{KeyedDecoder(keys)}.countOfLegacyRestoreSlots(), 0u) << letters;
  }
}

class OneImage final : public Image {};

// Loads the one picture that there is.
class OneImageLoader final : public ImageLoader {
 public:
  std::shared_ptr<const Image> imageFromFile(std::string_view path) const override {
    return path == "/disk.icns" ? image : nullptr;
  }
  std::shared_ptr<const Image> image = std::make_shared<const OneImage>();
};

TEST(ZPKDisk, LoadsItsIcon) {
  const OneImageLoader images;
  const auto diskWithIcon = [](std::optional<std::string> path) {
    return ZPKDisk::diskWithDisk(RLDDisk({.iconPath = std::move(path)}));
  };
  EXPECT_EQ(diskWithIcon("/disk.icns")->icon(images), images.image);
  EXPECT_EQ(diskWithIcon("/missing.icns")->icon(images), nullptr);
  EXPECT_EQ(diskWithIcon(std::nullopt)->icon(images), nullptr);
}

TEST(ZPKDisk, DescribesItsFindingsAndTheDisk) {
  const EnglishLocalization english;
  EXPECT_EQ(zpkDisk("ew")->description(english),
            "(ZPK: isBC: 1 isR:1 isE:0 " + samples::disk("ew").description(english) + ")");
  const Dictionary unclassified = keyedForm(RLDDisk(RLDDisk::Fields{}));
  EXPECT_EQ(ZPKDisk(KeyedDecoder(unclassified)).description(english),
            "(ZPK: isBC: 0 isR:0 isE:0 { Disk/\"(null)\"/0 B(0b)/parts:(\n ) })");
  EXPECT_EQ(zpkDisk("")->description(english),
            "(ZPK: isBC: 0 isR:1 isE:1 { Disk/\"(null)\"/0 B(0b)/parts:(\n ) })");
}

}  // namespace
}  // namespace zpk
