#include "choosers/ZPKDisksListWindow.h"

#include <gtest/gtest.h>

#include "support/StatusBuilder.h"

namespace zpk {
namespace {

constexpr std::uint64_t kGB = 1'000'000'000;

class DisksListWindow : public testing::Test {
 protected:
  void show(std::uint64_t type, ZPKDisksListWindow::Disks disks, std::uint64_t minSize = 0) {
    window.setType(type);
    window.setMinRestoreSize(minSize);
    window.setDisksList(std::move(disks));
    window.orderWindow(ZPKDisksListWindow::Ordering::in);
  }

  EnglishLocalization english;
  ZPKDisksListWindow window{english};
  std::shared_ptr<const ZPKDisk> bootCamp = bootCampDisk(1, "Boot Camp");  // Windows partition of 128 GB
  std::shared_ptr<const ZPKDisk> mac = macDisk(2, "Mac", 500 * kGB, 300 * kGB);
};

TEST_F(DisksListWindow, SelectingNeedsADiskAndNoAccessory) {
  show(ZPKDisksListWindow::kSelectType, {bootCamp, mac});
  EXPECT_EQ(window.actionTitle(), "Select");
  EXPECT_TRUE(window.actionEnabled());
  EXPECT_FALSE(window.accessoryPresent());
  EXPECT_EQ(window.selectedDisk(), bootCamp);
  show(ZPKDisksListWindow::kSelectType, {});
  EXPECT_FALSE(window.actionEnabled());
}

TEST_F(DisksListWindow, AnyOtherTypeReadsRestoreButOnlyOneChecks) {
  show(2, {mac}, 900 * kGB);
  EXPECT_EQ(window.actionTitle(), "Restore");
  EXPECT_TRUE(window.actionEnabled());
  EXPECT_FALSE(window.accessoryPresent());
}

TEST_F(DisksListWindow, RestoreWithoutDisksHasNoAccessoryAndCannotGoOn) {
  show(ZPKDisksListWindow::kRestoreType, {}, kGB);
  EXPECT_FALSE(window.accessoryPresent());
  EXPECT_FALSE(window.noFreeSpace());
  EXPECT_FALSE(window.actionEnabled());
}

TEST_F(DisksListWindow, BootCampDiskWithRoomNeedsNoSize) {
  window.setSliderValue(7);
  show(ZPKDisksListWindow::kRestoreType, {bootCamp}, 128 * kGB);
  EXPECT_FALSE(window.accessoryPresent());
  EXPECT_TRUE(window.actionEnabled());
  EXPECT_EQ(window.restoreSize(), 7U);
}

TEST_F(DisksListWindow, ErrorPageIsShownEvenForABootCampDisk) {
  show(ZPKDisksListWindow::kRestoreType, {bootCamp}, 200 * kGB);
  EXPECT_TRUE(window.noFreeSpace());
  EXPECT_TRUE(window.accessoryPresent());
  EXPECT_FALSE(window.actionEnabled());
  EXPECT_EQ(window.errorDescription(), "Not enough free space. Need: 200 GB, have: 128 GB.");
}

TEST_F(DisksListWindow, MacDiskOffersSizesFromTheLeastToAllItCanGive) {
  show(ZPKDisksListWindow::kRestoreType, {mac}, 50 * kGB);
  EXPECT_TRUE(window.accessoryPresent());
  EXPECT_FALSE(window.noFreeSpace());
  EXPECT_EQ(window.sliderMinimum(), 50 * kGB);
  EXPECT_EQ(window.sliderMaximum(), 200 * kGB);
  EXPECT_EQ(window.restoreSize(), 200 * kGB);
  EXPECT_EQ(window.restoreSizeText(), "Size: 200 GB");
}

TEST_F(DisksListWindow, RoomThatJustSufficesLeavesOkEnabled) {
  show(ZPKDisksListWindow::kRestoreType, {mac}, 200 * kGB);
  EXPECT_EQ(window.sliderMinimum(), window.sliderMaximum());
  EXPECT_TRUE(window.actionEnabled());
}

TEST_F(DisksListWindow, EmptyDiskIsTakenAsAWhole) {
  show(ZPKDisksListWindow::kRestoreType, {emptyDisk(4, "Empty", 100 * kGB)}, 50 * kGB);
  EXPECT_FALSE(window.accessoryPresent());
  EXPECT_TRUE(window.actionEnabled());
}

TEST_F(DisksListWindow, ChangingTheRowChecksAgainOrderingOutDoesNot) {
  show(ZPKDisksListWindow::kRestoreType, {mac, bootCamp}, 150 * kGB);
  EXPECT_FALSE(window.noFreeSpace());
  window.setSelectedDisksIndexes({1});
  EXPECT_TRUE(window.noFreeSpace());
  window.setMinRestoreSize(1);
  window.orderWindow(ZPKDisksListWindow::Ordering::out);
  EXPECT_TRUE(window.noFreeSpace());
  window.orderWindow(ZPKDisksListWindow::Ordering::in);
  EXPECT_FALSE(window.noFreeSpace());
}

TEST_F(DisksListWindow, RefusalIsAnnouncedBeforeItsReason) {
  Array announced;
  const Token flag = window.observe("noFreeSpace", [&] { announced.emplace_back("noFreeSpace"); });
  const Token reason = window.observe("errorDescription", [&] { announced.emplace_back("errorDescription"); });
  show(ZPKDisksListWindow::kRestoreType, {bootCamp}, 200 * kGB);
  EXPECT_EQ(announced, (Array{"noFreeSpace", "errorDescription"}));
}

TEST_F(DisksListWindow, SelectionIsAnnouncedBeforeTheAccessoryFollows) {
  show(ZPKDisksListWindow::kRestoreType, {bootCamp, mac}, 50 * kGB);
  Array announced;
  std::vector<Token> tokens;
  for (const char* key : {"selectedDisksIndexes", "sliderRange", "sliderValue", "accessory", "noFreeSpace"})
    tokens.push_back(window.observe(key, [&announced, key] { announced.emplace_back(key); }));
  window.setSelectedDisksIndexes({1});
  EXPECT_EQ(announced, (Array{"selectedDisksIndexes", "sliderRange", "sliderValue", "accessory"}));
}

// The difference is one of unsigned numbers, as the system takes it.
TEST_F(DisksListWindow, DiskWhoseLeastSizeExceedsItsSizeReadsAsAVeryLargeOne) {
  show(ZPKDisksListWindow::kRestoreType, {macDisk(2, "Odd", 100 * kGB, 100 * kGB + 1)}, 50 * kGB);
  EXPECT_FALSE(window.noFreeSpace());
  EXPECT_EQ(window.sliderMaximum(), ~std::uint64_t{0});
}

TEST_F(DisksListWindow, NoFreeSpaceIsAnnouncedOnlyWhenItChanges) {
  int announced = 0;
  const Token token = window.observe("noFreeSpace", [&] { ++announced; });
  show(ZPKDisksListWindow::kRestoreType, {bootCamp}, 200 * kGB);
  window.orderWindow(ZPKDisksListWindow::Ordering::in);
  EXPECT_EQ(announced, 1);
}

TEST_F(DisksListWindow, RowZeroIsSelectedBeforeTheNewListIsObserved) {
  IndexSet seen;
  window.setDisksList({bootCamp, mac});
  window.setSelectedDisksIndexes({1});
  const Token token = window.observe("disksList", [&] { seen = window.selectedDisksIndexes(); });
  window.setDisksList({mac});
  EXPECT_EQ(seen, IndexSet{0});
}

TEST_F(DisksListWindow, EmptyDiskThatIsTooSmallShowsTheErrorPageUntilARowWithRoomIsChosen) {
  show(ZPKDisksListWindow::kRestoreType, {emptyDisk(4, "Empty", 10 * kGB), mac}, 50 * kGB);
  EXPECT_TRUE(window.accessoryPresent());
  EXPECT_TRUE(window.noFreeSpace());
  EXPECT_EQ(window.errorDescription(), "Not enough free space. Need: 50 GB, have: 10 GB.");
  window.setSelectedDisksIndexes({1});
  EXPECT_TRUE(window.accessoryPresent());
  EXPECT_FALSE(window.noFreeSpace());
  window.setType(ZPKDisksListWindow::kSelectType);
  window.orderWindow(ZPKDisksListWindow::Ordering::in);
  EXPECT_FALSE(window.accessoryPresent());
}

TEST_F(DisksListWindow, SliderIsKeptUntilItIsOfferedAgain) {
  show(ZPKDisksListWindow::kRestoreType, {mac}, 50 * kGB);
  int texts = 0;
  const Token token = window.observe("restoreSizeText", [&] { ++texts; });
  window.setSliderValue(60 * kGB);
  EXPECT_EQ(texts, 1);
  EXPECT_EQ(window.restoreSize(), 60 * kGB);
  EXPECT_EQ(window.restoreSizeText(), "Size: 60 GB");
  window.setSelectedDisksIndexes({0});
  EXPECT_EQ(window.restoreSize(), 200 * kGB);
}

TEST_F(DisksListWindow, TitleAndOkFollowWhatTheyDependOn) {
  int titles = 0;
  int enabled = 0;
  const Token title = window.observe("actionTitle", [&] { ++titles; });
  const Token ok = window.observe("actionEnabled", [&] { ++enabled; });
  window.setType(ZPKDisksListWindow::kRestoreType);
  EXPECT_EQ(titles, 1);
  window.setMinRestoreSize(900 * kGB);
  window.setDisksList({mac});
  EXPECT_EQ(enabled, 1);
  window.orderWindow(ZPKDisksListWindow::Ordering::in);
  EXPECT_EQ(enabled, 2);
  EXPECT_FALSE(window.actionEnabled());
}

TEST_F(DisksListWindow, ButtonsSendTheCallersActionsAndEndNothing) {
  Array sent;
  window.performOk();
  window.setOkAction([&] { sent.emplace_back("ok"); });
  window.setCancelAction([&] { sent.emplace_back("cancel"); });
  window.performOk();
  window.performCancel();
  EXPECT_EQ(sent, (Array{"ok", "cancel"}));
}

TEST(DisksListWindowTexts, AreTranslatedWithBothSizesWhereverTheyStand) {
  struct German final : Localization {
    std::string localizedString(std::string_view key) const override {
      if (key == "Size:") return "Größe:";
      if (key == "Restore") return "Wiederherstellen";
      if (key == "Select") return "Wählen";
      if (key == "Not enough free space. Need: NEED, have: HAVE.") return "HAVE da, NEED nötig; nur HAVE.";
      return std::string(key);
    }
  } german;
  ZPKDisksListWindow window(german);
  EXPECT_EQ(window.actionTitle(), "Wählen");
  window.setType(ZPKDisksListWindow::kRestoreType);
  EXPECT_EQ(window.actionTitle(), "Wiederherstellen");
  window.setSliderValue(3 * kGB);
  EXPECT_EQ(window.restoreSizeText(), "Größe: 3 GB");
  window.setMinRestoreSize(5 * kGB);
  window.setDisksList({emptyDisk(1, "Small", 3 * kGB)});
  window.orderWindow(ZPKDisksListWindow::Ordering::in);
  EXPECT_EQ(window.errorDescription(), "3 GB da, 5 GB nötig; nur 3 GB.");
}

TEST_F(DisksListWindow, OnlyADiskThatWouldBeWrittenHasAnEffectOfARestore) {
  show(ZPKDisksListWindow::kSelectType, {bootCamp, mac});
  EXPECT_FALSE(window.restoreEffect());
  show(ZPKDisksListWindow::kRestoreType, {bootCamp, mac}, 150 * kGB);
  EXPECT_FALSE(window.restoreEffect()) << "there is no room on it";
  window.setSelectedDisksIndexes({1});
  EXPECT_EQ(window.restoreEffect(), restoreEffect(*mac, window.disksList()));
  show(ZPKDisksListWindow::kRestoreType, {}, kGB);
  EXPECT_FALSE(window.restoreEffect());
}

TEST_F(DisksListWindow, EffectIsAnnouncedOnceForEachDiskAndOnlyForTheOneThatIsMarked) {
  show(ZPKDisksListWindow::kRestoreType, {mac, bootCamp, emptyDisk(4, "Small", 10 * kGB)}, 50 * kGB);
  std::vector<std::optional<RestoreEffect>> announced;
  const Token token = window.observe("restoreEffect", [&] { announced.push_back(window.restoreEffect()); });
  window.setSelectedDisksIndexes({0});
  EXPECT_TRUE(announced.empty()) << "nothing is new";
  window.setSelectedDisksIndexes({1});
  window.setSelectedDisksIndexes({2});
  window.setSliderValue(60 * kGB);
  EXPECT_EQ(announced, (std::vector{restoreEffect(*bootCamp, window.disksList()), std::optional<RestoreEffect>()}));
}

TEST_F(DisksListWindow, SelectionBeyondTheListIsNoDisk) {
  show(ZPKDisksListWindow::kRestoreType, {mac}, 1);
  window.setSelectedDisksIndexes({8});
  EXPECT_FALSE(window.selectedDisk());
  EXPECT_FALSE(window.accessoryPresent());
}

}  // namespace
}  // namespace zpk
