#include "records/RLDArchive.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "records/ArchiveItemPinning.h"
#include "records/ZPKArchive.h"
#include "tests/records/RecordSamples.h"

namespace zpk {
namespace {

void expectFull(const RLDArchiveItem& item) {
  EXPECT_TRUE(item.isPinned());
  EXPECT_EQ(item.arcIndex(), 0xf0000001);
  EXPECT_EQ(item.creationDate(), Date{1234.5});
  ASSERT_EQ(item.disks().size(), 1u);
  EXPECT_EQ(*item.disks()[0], RLDArcDisk(samples::fullDisk(), "/d"));
  EXPECT_EQ(item.indexFilePath(), "/point.idx");
  EXPECT_EQ(item.name(), "Before the update");
}

TEST(RLDArchiveItem, KeepsEveryFieldOnItsWayOverTheLink) {
  const RLDArchiveItem item(samples::fullArchiveItem());
  expectFull(item);
  const auto copy = samples::copyOf(item);
  ASSERT_NE(copy, nullptr);
  expectFull(*copy);
  EXPECT_EQ(*copy, item);
}

TEST(RLDArchiveItem, AlwaysWritesEveryKey) {
  const Dictionary full = keyedForm(RLDArchiveItem(samples::fullArchiveItem()));
  EXPECT_EQ(full["creationDate"], Value(Date{1234.5}));
  EXPECT_EQ(full["disks"].array()->size(), 1u);
  EXPECT_EQ(full["indexFilePath"], Value("/point.idx"));
  EXPECT_EQ(full["arcIndex"], Value(Bytes{0x01, 0, 0, 0xf0}));
  EXPECT_EQ(full["name"], Value("Before the update"));
  EXPECT_EQ(full["pinned"], Value(true));
  const Dictionary empty = keyedForm(RLDArchiveItem(RLDArchiveItem::Fields{}));
  for (const auto& [key, value] : full) EXPECT_TRUE(empty.contains(key)) << key;
  EXPECT_EQ(full.size(), 6u);
}

TEST(RLDArchiveItem, ReadsAbsentObjectsAsNothingAndAbsentPinnedAsFalse) {
  const Dictionary keys{{"arcIndex", Bytes{5, 0, 0, 0}}};
  const RLDArchiveItem item{KeyedDecoder(keys)};
  EXPECT_EQ(item.arcIndex(), 5u);
  EXPECT_FALSE(item.isPinned());
  EXPECT_EQ(item.creationDate(), std::nullopt);
  EXPECT_TRUE(item.disks().empty());
  EXPECT_EQ(item.indexFilePath(), std::nullopt);
  EXPECT_EQ(item.name(), std::nullopt);
}

TEST(RLDArchiveItem, DescribesItselfAndItsDisks) {
  const auto first = std::make_shared<const RLDArcDisk>(RLDDisk::Fields{.name = "a"}, "/a");
  const auto second = std::make_shared<const RLDArcDisk>(RLDDisk::Fields{.name = "b"}, "/b");
  const RLDArchiveItem item({.disks = RecordList<RLDArcDisk>{first, second}, .indexFilePath = "/point.idx"});
  EXPECT_EQ(item.description(EnglishLocalization()),
            "{ ArcItem/\"/point.idx\"/disks:(\n"
            "{ Disk/\"a\"/0 B(0b)/parts:(\n ) }\n"
            "{ Disk/\"b\"/0 B(0b)/parts:(\n ) } ) }");
}

TEST(RLDArchive, KeepsEveryFieldOnItsWayOverTheLink) {
  const RLDArchive archive(samples::fullArchive());
  const auto copy = samples::copyOf(archive);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(*copy, archive);
  EXPECT_TRUE(copy->isLegacy());
  ASSERT_EQ(copy->items().size(), 2u);
  expectFull(*copy->items()[0]);
  EXPECT_EQ(copy->items()[1]->arcIndex(), 2u);
  EXPECT_EQ(copy->indexFilePath(), "/archive.idx");
}

TEST(RLDArchive, AlwaysWritesEveryKey) {
  EXPECT_EQ(keyedForm(RLDArchive(RLDArchive::Fields{})),
            (Dictionary{{"items", nullptr}, {"indexFilePath", nullptr}, {"legacy", false}}));
  const Dictionary full = keyedForm(RLDArchive(samples::fullArchive()));
  EXPECT_EQ(full.size(), 3u);
  EXPECT_EQ(full["items"].array()->size(), 2u);
  EXPECT_EQ(full["indexFilePath"], Value("/archive.idx"));
  EXPECT_EQ(full["legacy"], Value(true));
}

TEST(RLDArchive, RequiresNoKey) {
  const Dictionary keys;
  const RLDArchive archive{KeyedDecoder(keys)};
  EXPECT_FALSE(archive.isLegacy());
  EXPECT_TRUE(archive.items().empty());
  EXPECT_EQ(archive.fields().items, std::nullopt);
  EXPECT_EQ(archive.indexFilePath(), std::nullopt);
}

TEST(RLDArchive, WithoutItemsDescribesItselfAsItsPathAndAnEmptyList) {
  EXPECT_EQ(RLDArchive({.indexFilePath = "/a"}).description(EnglishLocalization()), "{ Arc/\"/a\"/items:(\n ) }");
  EXPECT_EQ(
      RLDArchive({.items = RecordList<RLDArchiveItem>{}, .indexFilePath = "/a"}).description(EnglishLocalization()),
      "{ Arc/\"/a\"/items:(\n ) }");
}

TEST(RLDArchive, DescribesEachItemOnItsOwnLine) {
  const auto point = [](const char* path) {
    return std::make_shared<const RLDArchiveItem>(RLDArchiveItem::Fields{.indexFilePath = path});
  };
  const RLDArchive archive({.items = RecordList<RLDArchiveItem>{point("/1"), point("/2")}, .indexFilePath = "/a"});
  EXPECT_EQ(archive.description(EnglishLocalization()),
            "{ Arc/\"/a\"/items:(\n"
            "{ ArcItem/\"/1\"/disks:(\n ) }\n"
            "{ ArcItem/\"/2\"/disks:(\n ) } ) }");
}

TEST(ZPKArchive, IsADeepCopyOfItsOwnClass) {
  const RLDArchive archive(samples::fullArchive());
  const auto copy = ZPKArchive::archiveWithRLDArchive(archive);
  EXPECT_EQ(copy->className(), "ZPKArchive");
  EXPECT_EQ(keyedForm(*copy), keyedForm(archive));
  ASSERT_EQ(copy->items().size(), 2u);
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_EQ(*copy->items()[i], *archive.items()[i]);
    EXPECT_NE(copy->items()[i], archive.items()[i]);
  }
  EXPECT_EQ(*samples::copyOf(*copy), *copy);
}

// The main controller, as far as a backup point knows it.
class PinningRecorder final : public ArchiveItemPinning {
 public:
  void pin(bool flag, const RLDArchiveItem& archiveItem) override { pins.emplace_back(flag, &archiveItem); }
  std::vector<std::pair<bool, const RLDArchiveItem*>> pins;
};

class SetIsPinned : public testing::Test {
 protected:
  ~SetIsPinned() override { setMainController({}); }
};

TEST_F(SetIsPinned, AsksTheMainControllerAndLeavesTheRecordAsItIs) {
  const auto controller = std::make_shared<PinningRecorder>();
  setMainController(controller);
  const RLDArchiveItem item({.arcIndex = 4});
  item.setIsPinned(true);
  EXPECT_FALSE(item.isPinned());
  item.setIsPinned(false);
  EXPECT_THAT(controller->pins, testing::ElementsAre(std::pair(true, &item), std::pair(false, &item)));
}

TEST_F(SetIsPinned, DoesNothingWithoutAMainController) {
  const RLDArchiveItem item({.isPinned = true});
  item.setIsPinned(false);
  EXPECT_TRUE(item.isPinned());
}

TEST_F(SetIsPinned, KeepsNoControllerAlive) {
  auto controller = std::make_shared<PinningRecorder>();
  setMainController(controller);
  EXPECT_EQ(mainController(), controller);
  controller.reset();
  EXPECT_EQ(mainController(), nullptr);
  RLDArchiveItem(RLDArchiveItem::Fields{}).setIsPinned(true);
}

}  // namespace
}  // namespace zpk
