#include "interface/DisksListSheet.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAccessible>
#include <QLabel>
#include <QListView>
#include <QProxyStyle>
#include <QPushButton>
#include <QSlider>
#include <QStackedWidget>
#include <QtTest/QTest>
#include <limits>
#include <memory>
#include <utility>

#include "mainwindow/ControllerWorld.h"
#include "support/StatusBuilder.h"

namespace zpk {
namespace {

constexpr std::uint64_t kGB = 1'000'000'000;
constexpr std::uint64_t kTB = 1000 * kGB;

std::shared_ptr<const ZPKDisk> with(const ZPKDisk& disk, const std::function<void(RLDDisk::Fields&)>& change) {
  RLDDisk::Fields fields = disk.fields();
  change(fields);
  return ZPKDisk::diskWithDisk(RLDDisk(std::move(fields)));
}

struct AnimatedStyle final : QProxyStyle {
  AnimatedStyle() : QProxyStyle(QStringLiteral("Fusion")) {}
  int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                QStyleHintReturn* data) const override {
    return hint == SH_Widget_Animation_Duration ? 200 : QProxyStyle::styleHint(hint, option, widget, data);
  }
};

class DisksSheet : public testing::Test {
 protected:
  DisksSheet() {
    chooser->setOkAction([this] { ++oks; });
    chooser->setCancelAction([this] { ++cancels; });
  }

  void open(std::uint64_t type, ZPKDisksListWindow::Disks disks, std::uint64_t least = 0) {
    chooser->setType(type);
    chooser->setDisksList(std::move(disks));
    chooser->setMinRestoreSize(least);
    window.show();
    sheet = std::make_unique<DisksListSheet>(window, chooser, english, images);
    sheet->open();
    sheet->shown();
    QCoreApplication::processEvents();
  }
  void openRestore(ZPKDisksListWindow::Disks disks, std::uint64_t least) {
    open(ZPKDisksListWindow::kRestoreType, std::move(disks), least);
  }
  template <class W>
  W& find(const char* name) const {
    return *sheet->findChild<W*>(QString::fromLatin1(name));
  }
  QListView& list() const { return find<QListView>("disksListContentView"); }
  QSlider& slider() const { return find<QSlider>("slider"); }
  QStackedWidget& accessory() const { return find<QStackedWidget>("accessoryTabView"); }
  std::string text(const char* label) const { return find<QLabel>(label).text().toStdString(); }
  std::string rowText(int row) const { return list().model()->index(row, 0).data().toString().toStdString(); }
  void clickRow(int row, Qt::KeyboardModifiers modifiers = {}) const {
    QTest::mouseClick(list().viewport(), Qt::LeftButton, modifiers,
                      list().visualRect(list().model()->index(row, 0)).center());
  }

  EnglishLocalization english;
  NamedImages images;
  QWidget window;
  std::shared_ptr<ZPKDisksListWindow> chooser = std::make_shared<ZPKDisksListWindow>(english);
  std::unique_ptr<DisksListSheet> sheet;
  std::shared_ptr<const ZPKDisk> bootCamp = bootCampDisk(1, "Internal");
  std::shared_ptr<const ZPKDisk> mac = macDisk(2, "Mac", 500 * kGB, 300 * kGB);
  std::shared_ptr<const ZPKDisk> small = emptyDisk(4, "Stick", 10 * kGB);
  int oks = 0;
  int cancels = 0;
};

TEST_F(DisksSheet, SelectingHasNoAccessoryAndReadsSelect) {
  open(ZPKDisksListWindow::kSelectType, {bootCamp, mac});
  EXPECT_FALSE(accessory().isVisible());
  EXPECT_EQ(find<QPushButton>("actionButton").text(), "Select");
  EXPECT_TRUE(find<QPushButton>("actionButton").isEnabled());
  EXPECT_EQ(list().currentIndex().row(), 0);
}

TEST_F(DisksSheet, WithoutDisksNothingCanBeChosen) {
  openRestore({}, kGB);
  EXPECT_FALSE(accessory().isVisible());
  EXPECT_EQ(find<QPushButton>("actionButton").text(), "Restore");
  EXPECT_FALSE(find<QPushButton>("actionButton").isEnabled());
  QTest::keyClick(sheet.get(), Qt::Key_Return);
  EXPECT_EQ(oks, 0);
}

TEST_F(DisksSheet, RowsSayWhatADiskCarries) {
  const auto named = with(*small, [](RLDDisk::Fields& fields) { fields.bsdName = "sdb"; });
  open(ZPKDisksListWindow::kSelectType, {bootCamp, mac, named});
  EXPECT_EQ(rowText(0), "Internal\n250 GB · Windows on BOOTCAMP (128 GB)");
  EXPECT_EQ(rowText(1), "Mac\n500 GB");
  EXPECT_EQ(rowText(2), "Stick\n10 GB · empty · sdb");
}

TEST_F(DisksSheet, NamesFromOutsideAreShownAsPlainTextOnOneLine) {
  const auto odd = [this](const std::string& name) {
    return with(*mac, [&](RLDDisk::Fields& fields) { fields.name = name; });
  };
  open(ZPKDisksListWindow::kSelectType, {odd(std::string(100'000, 'W')), odd("<b>bold</b>"), odd("a\nb\x01"),
                                         odd("a\u202Eb"), odd(""), odd("\xff")});
  EXPECT_LT(list().model()->index(0, 0).data().toString().size(), 300);
  EXPECT_EQ(rowText(1), "<b>bold</b>\n500 GB");
  EXPECT_EQ(rowText(2), "a\u240Ab\u2401\n500 GB");
  EXPECT_EQ(rowText(3).find("\u202E"), std::string::npos);
  EXPECT_EQ(rowText(4), "Disk without a name\n500 GB");
  EXPECT_LE(list().visualRect(list().model()->index(0, 0)).width(), list().viewport()->width());
  EXPECT_FALSE(sheet->grab().isNull());
}

TEST_F(DisksSheet, SliderRunsFromTheLeastSizeToAllTheDiskCanGive) {
  openRestore({mac}, 50 * kGB);
  EXPECT_TRUE(accessory().isVisible());
  EXPECT_EQ(accessory().currentIndex(), 0);
  EXPECT_EQ(slider().value(), slider().maximum());
  EXPECT_EQ(text("restoreSizeLabel"), "Size: 200 GB");
  QTest::keyClick(&slider(), Qt::Key_Home);
  EXPECT_EQ(chooser->restoreSize(), 50 * kGB);
  EXPECT_EQ(text("restoreSizeLabel"), "Size: 50 GB");
  QTest::keyClick(&slider(), Qt::Key_End);
  EXPECT_EQ(chooser->restoreSize(), 200 * kGB);
}

TEST_F(DisksSheet, SliderReachesOddSizesToTheByteBeyondItsOwnNumbers) {
  const std::uint64_t least = 20 * kGB + 1;
  const std::uint64_t most = 8000 * kTB - 3;
  openRestore({macDisk(2, "Large", most + 5 * kGB, 5 * kGB)}, least);
  EXPECT_EQ(chooser->restoreSize(), most);
  QTest::keyClick(&slider(), Qt::Key_Home);
  EXPECT_EQ(chooser->restoreSize(), least);
  QTest::keyClick(&slider(), Qt::Key_End);
  EXPECT_EQ(chooser->restoreSize(), most);
}

TEST_F(DisksSheet, ArrowKeysGoFromOneRoundSizeToTheNext) {
  openRestore({mac}, 50 * kGB + 7);
  QTest::keyClick(&slider(), Qt::Key_Left);
  EXPECT_EQ(chooser->restoreSize(), 200 * kGB - kGB / 2);
  QTest::keyClick(&slider(), Qt::Key_Left);
  EXPECT_EQ(chooser->restoreSize(), 199 * kGB);
  QTest::keyClick(&slider(), Qt::Key_PageUp);
  EXPECT_EQ(chooser->restoreSize(), 200 * kGB);
  QTest::keyClick(&slider(), Qt::Key_PageDown);
  EXPECT_LE(*chooser->restoreSize(), 190 * kGB);
  EXPECT_EQ(*chooser->restoreSize() % (kGB / 2), 0U);
}

TEST_F(DisksSheet, SizeIsSaidToAssistiveTechnology) {
  openRestore({mac}, 50 * kGB);
  QTest::keyClick(&slider(), Qt::Key_Home);
  EXPECT_EQ(slider().accessibleDescription(), "Size: 50 GB");
  QAccessibleInterface* spoken = QAccessible::queryAccessibleInterface(&slider());
  EXPECT_EQ(spoken->role(), QAccessible::Slider);
  EXPECT_EQ(spoken->text(QAccessible::Value), "50 GB");
  QAccessibleValueInterface* value = spoken->valueInterface();
  ASSERT_NE(value, nullptr);
  EXPECT_EQ(value->currentValue(), QVariant(50.0));
  EXPECT_EQ(value->minimumValue(), QVariant(50.0));
  EXPECT_EQ(value->maximumValue(), QVariant(200.0));
  EXPECT_EQ(value->minimumStepSize(), QVariant(0.5));
}

TEST_F(DisksSheet, SizeIsSetByAssistiveTechnology) {
  openRestore({mac}, 50 * kGB);
  QAccessibleValueInterface* value = QAccessible::queryAccessibleInterface(&slider())->valueInterface();
  for (const auto& [wanted, size] : {std::pair{120.6, 120 * kGB + kGB / 2}, std::pair{-3.0, 50 * kGB},
                                     std::pair{1e30, 200 * kGB}, std::pair{99.0, 99 * kGB}}) {
    value->setCurrentValue(wanted);
    EXPECT_EQ(chooser->restoreSize(), size) << wanted;
  }
  value->setCurrentValue(std::numeric_limits<double>::quiet_NaN());
  EXPECT_GE(*chooser->restoreSize(), 50 * kGB);
}

TEST_F(DisksSheet, ListSaysWhyTheMarkedDiskWillNotDo) {
  openRestore({small, mac}, 50 * kGB);
  EXPECT_EQ(list().accessibleDescription(), "Not enough free space. Need: 50 GB, have: 10 GB.");
  clickRow(1);
  EXPECT_EQ(list().accessibleDescription().toStdString(), text("restoreEffectLabel"));
  EXPECT_THAT(text("restoreEffectLabel"), testing::StartsWith("A new Windows partition"));
  clickRow(0);
  EXPECT_EQ(list().accessibleDescription(), "Not enough free space. Need: 50 GB, have: 10 GB.");
}

TEST_F(DisksSheet, SaysBelowTheListWhatTheMarkedDiskIsInFor) {
  openRestore({bootCamp, mac, emptyDisk(4, "Stick", 100 * kGB)}, 50 * kGB);
  EXPECT_EQ(text("restoreEffectLabel"),
            "“BOOTCAMP” (128 GB) on “Internal” will be replaced. The rest of the disk stays.");
  EXPECT_TRUE(find<QLabel>("restoreEffectSymbol").isVisible());
  clickRow(1);
  EXPECT_EQ(text("restoreEffectLabel"),
            "A new Windows partition is made in the free space of “Mac”. Nothing on it is erased.");
  EXPECT_FALSE(find<QLabel>("restoreEffectSymbol").isVisible()) << "there is nothing to warn of";
  clickRow(2);
  EXPECT_EQ(text("restoreEffectLabel"), "Everything on “Stick” will be erased.");
  EXPECT_TRUE(find<QLabel>("restoreEffectSymbol").isVisible());
  EXPECT_EQ(find<QPushButton>("actionButton").accessibleDescription().toStdString(), text("restoreEffectLabel"));
}

TEST_F(DisksSheet, SaysNothingOfADiskThatIsNotWritten) {
  openRestore({small, mac}, 50 * kGB);
  EXPECT_FALSE(find<QWidget>("restoreEffectView").isVisible());
  clickRow(1);
  EXPECT_TRUE(find<QWidget>("restoreEffectView").isVisible());
  chooser->setType(ZPKDisksListWindow::kSelectType);
  chooser->setDisksList({bootCamp});
  EXPECT_FALSE(find<QWidget>("restoreEffectView").isVisible());
  EXPECT_EQ(list().accessibleDescription(), "");
  EXPECT_EQ(find<QPushButton>("actionButton").accessibleDescription(), "");
}

TEST_F(DisksSheet, EffectStandsBetweenTheListAndTheSizeAndTakesNoFocus) {
  openRestore({mac}, 50 * kGB);
  const QWidget& effect = find<QWidget>("restoreEffectView");
  EXPECT_GE(effect.geometry().top(), list().geometry().bottom());
  EXPECT_LE(effect.geometry().bottom(), accessory().geometry().top());
  list().setFocus();
  QTest::keyClick(&list(), Qt::Key_Tab);
  EXPECT_TRUE(slider().hasFocus());
}

// A name of hundreds of letters, and one that is made to look like the sentence.
TEST_F(DisksSheet, EffectOfADiskWithAnOddNameCanStillBeRead) {
  const auto named = [](const std::string& name) { return emptyDisk(4, name, 100 * kGB); };
  openRestore({named(std::string(100'000, 'W')), named("DISK\n<b>NAME</b>\u202E"), named(""),
               with(*named(""), [](RLDDisk::Fields& fields) { fields.bsdName = "sdb"; })},
              50 * kGB);
  const QLabel& label = find<QLabel>("restoreEffectLabel");
  EXPECT_LE(label.text().size(), 110);
  EXPECT_THAT(text("restoreEffectLabel"), testing::EndsWith("…” will be erased.")) << "the end is what matters";
  EXPECT_LE(label.geometry().right(), sheet->width());
  EXPECT_GE(label.height(), label.heightForWidth(label.width()));
  clickRow(1);
  EXPECT_EQ(text("restoreEffectLabel"), "Everything on “DISK␊<b>NAME</b>␦” will be erased.");
  clickRow(2);
  EXPECT_EQ(text("restoreEffectLabel"), "Everything on “Disk without a name” will be erased.");
  QTest::keyClick(&list(), Qt::Key_Down);
  EXPECT_EQ(text("restoreEffectLabel"), "Everything on “sdb” will be erased.");
}

TEST_F(DisksSheet, TwoDisksOfOneNameAreToldApart) {
  const auto device = [](const char* name) {
    return with(*bootCampDisk(1, "SSD 870"), [name](RLDDisk::Fields& fields) { fields.bsdName = name; });
  };
  openRestore({device("sda"), device("sdb")}, 50 * kGB);
  clickRow(1);
  EXPECT_EQ(text("restoreEffectLabel"),
            "“BOOTCAMP” (128 GB) on “SSD 870” (sdb) will be replaced. The rest of the disk stays.");
}

TEST_F(DisksSheet, WindowsPartitionWithoutANameIsCalledThat) {
  openRestore({with(*bootCamp,
                    [](RLDDisk::Fields& fields) {
                      RLDPartition::Fields windows = fields.partitions->back()->fields();
                      windows.name.reset();
                      fields.partitions->back() = std::make_shared<const RLDPartition>(std::move(windows));
                    })},
              50 * kGB);
  EXPECT_EQ(text("restoreEffectLabel"),
            "The Windows partition (128 GB) on “Internal” will be replaced. The rest of the disk stays.");
}

TEST_F(DisksSheet, OnlyAnEmptyListSaysThatItIs) {
  open(ZPKDisksListWindow::kSelectType, {});
  EXPECT_EQ(list().accessibleDescription(), "No disk with a Windows installation was found.");
  chooser->setDisksList({bootCamp});
  EXPECT_EQ(list().accessibleDescription(), "");
}

TEST_F(DisksSheet, OneDiskIsAlwaysMarked) {
  open(ZPKDisksListWindow::kSelectType, {bootCamp, mac});
  clickRow(1);
  clickRow(1, Qt::ControlModifier);
  EXPECT_TRUE(list().selectionModel()->isRowSelected(1));
  EXPECT_EQ(chooser->selectedDisk(), mac);
  QTest::keyClick(&list(), Qt::Key_Space, Qt::ControlModifier);
  EXPECT_TRUE(list().selectionModel()->isRowSelected(1));
}

TEST_F(DisksSheet, WordsBelowTheListStandOnTheSideOfTheLanguage) {
  QGuiApplication::setLayoutDirection(Qt::RightToLeft);
  openRestore({mac, small}, 50 * kGB);
  EXPECT_TRUE(find<QLabel>("restoreSizeLabel").text().isRightToLeft());
  EXPECT_TRUE(find<QLabel>("restoreEffectLabel").text().isRightToLeft());
  clickRow(1);
  EXPECT_TRUE(find<QLabel>("errorDescriptionLabel").text().isRightToLeft());
  sheet.reset();
  QGuiApplication::setLayoutDirection(Qt::LeftToRight);
}

TEST_F(DisksSheet, RoomThatJustSufficesIsOneSizeAndCanGoOn) {
  openRestore({mac}, 200 * kGB);
  EXPECT_TRUE(accessory().isVisible());
  EXPECT_EQ(slider().minimum(), slider().maximum());
  EXPECT_EQ(text("restoreSizeLabel"), "Size: 200 GB");
  QTest::keyClick(&slider(), Qt::Key_Left);
  EXPECT_EQ(chooser->restoreSize(), 200 * kGB);
  EXPECT_TRUE(find<QPushButton>("actionButton").isEnabled());
}

TEST_F(DisksSheet, DiskThatIsTooSmallShowsWhyInPlaceOfTheSlider) {
  openRestore({small, mac, bootCamp}, 150 * kGB);
  EXPECT_TRUE(accessory().isVisible());
  EXPECT_EQ(accessory().currentIndex(), 1);
  EXPECT_EQ(text("errorDescriptionLabel"), "Not enough free space. Need: 150 GB, have: 10 GB.");
  EXPECT_FALSE(find<QPushButton>("actionButton").isEnabled());
  clickRow(1);
  EXPECT_EQ(accessory().currentIndex(), 0);
  EXPECT_TRUE(find<QPushButton>("actionButton").isEnabled());
  clickRow(2);
  EXPECT_EQ(accessory().currentIndex(), 1);
  EXPECT_EQ(text("errorDescriptionLabel"), "Not enough free space. Need: 150 GB, have: 128 GB.");
}

TEST_F(DisksSheet, AccessoryGoesWhenThereIsNoSizeToChoose) {
  openRestore({mac, bootCamp}, 50 * kGB);
  EXPECT_TRUE(accessory().isVisible());
  clickRow(1);
  EXPECT_FALSE(accessory().isVisible());
  EXPECT_TRUE(find<QPushButton>("actionButton").isEnabled());
}

TEST_F(DisksSheet, ChoosingAgainStartsFromTheLargestSize) {
  openRestore({mac, bootCamp}, 50 * kGB);
  QTest::keyClick(&slider(), Qt::Key_Home);
  clickRow(1);
  EXPECT_EQ(chooser->restoreSize(), 50 * kGB);
  clickRow(0);
  EXPECT_EQ(chooser->restoreSize(), 200 * kGB);
  EXPECT_EQ(slider().value(), slider().maximum());
}

TEST_F(DisksSheet, AccessoryUnfoldsAndFoldsWhereTheStyleAnimates) {
  openRestore({bootCamp, mac}, 50 * kGB);
  AnimatedStyle animated;
  accessory().setStyle(&animated);
  clickRow(1);
  EXPECT_TRUE(accessory().isVisible());
  EXPECT_LT(accessory().maximumHeight(), accessory().sizeHint().height());
  EXPECT_TRUE(QTest::qWaitFor([this] { return accessory().height() >= accessory().sizeHint().height(); }));
  clickRow(0);
  EXPECT_TRUE(accessory().isVisible());
  EXPECT_TRUE(QTest::qWaitFor([this] { return !accessory().isVisible(); }));
  clickRow(1);
  clickRow(0);
  clickRow(1);
  EXPECT_TRUE(QTest::qWaitFor([this] { return accessory().maximumHeight() == QWIDGETSIZE_MAX; }));
  EXPECT_TRUE(accessory().isVisible());
}

TEST_F(DisksSheet, ButtonsKeysAndDoubleClickSendTheActionsAndEndNothing) {
  open(ZPKDisksListWindow::kSelectType, {bootCamp, mac});
  QTest::mouseClick(&find<QPushButton>("actionButton"), Qt::LeftButton);
  QTest::keyClick(&list(), Qt::Key_Return);
  clickRow(1);
  QTest::mouseDClick(list().viewport(), Qt::LeftButton, {},
                     list().visualRect(list().model()->index(1, 0)).center());
  EXPECT_EQ(oks, 3);
  EXPECT_EQ(chooser->selectedDisk(), mac);
  QTest::mouseClick(&find<QPushButton>("cancelButton"), Qt::LeftButton);
  QTest::keyClick(sheet.get(), Qt::Key_Escape);
  EXPECT_EQ(cancels, 2);
  EXPECT_TRUE(sheet->isVisible());
}

TEST_F(DisksSheet, ThousandsOfDisksCostOnlyTheRowsThatAreSeen) {
  ZPKDisksListWindow::Disks disks;
  for (int i = 0; i < 10'000; ++i) {
    const std::string icon = "/icons/" + std::to_string(i % 100);
    disks.push_back(i < 100 ? with(*mac, [&](RLDDisk::Fields& fields) { fields.iconPath = icon; })
                            : disks[static_cast<std::size_t>(i % 100)]);
  }
  open(ZPKDisksListWindow::kSelectType, disks);
  sheet->grab();
  EXPECT_EQ(list().model()->rowCount(), 10'000);
  EXPECT_GT(images.loads, 0U);
  EXPECT_LT(images.loads, 30U);
  const std::size_t before = images.loads;
  sheet->grab();
  EXPECT_EQ(images.loads, before);
  QTest::keyClick(&list(), Qt::Key_End);
  EXPECT_EQ(chooser->selectedDisk(), disks.back());
}

TEST_F(DisksSheet, NewListIsShownWithItsFirstRowSelected) {
  open(ZPKDisksListWindow::kSelectType, {bootCamp, mac});
  clickRow(1);
  chooser->setDisksList({mac, small, bootCamp});
  EXPECT_EQ(list().model()->rowCount(), 3);
  EXPECT_EQ(list().currentIndex().row(), 0);
  EXPECT_TRUE(list().selectionModel()->isRowSelected(0));
  EXPECT_EQ(chooser->selectedDisk(), mac);
}

}  // namespace
}  // namespace zpk
