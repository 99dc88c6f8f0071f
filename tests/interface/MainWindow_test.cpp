#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QScrollBar>
#include <QSlider>
#include <QStackedWidget>
#include <QStyle>
#include <cmath>

#include "interface/PlaceCard.h"
#include "interface/UsageBar.h"
#include "interface/WindowFixture.h"
#include "interface/WindowTexts.h"

namespace zpk {
namespace {

TEST_F(Window, SaysWhatToDoFirst) {
  EXPECT_EQ(text("readinessLabel"), "Waiting for the helper…");
  world.show(idleStatus({bootCampDisk(1, "Disk")}));
  EXPECT_EQ(text("readinessLabel"), "Choose the Windows disk to protect");
  EXPECT_FALSE(isEnabled("backupButton"));
  Dictionary status = readyStatus();
  statuskey::targetArchive.set(status, std::nullopt);
  world.show(status);
  EXPECT_EQ(text("readinessLabel"), "Choose where to keep the backups");
  world.show(readyStatus());
  EXPECT_EQ(text("readinessLabel"), "Ready to back up");
  EXPECT_TRUE(isEnabled("backupButton"));
}

TEST_F(Window, ShowsBothEndsAndSinceWhen) {
  world.show(readyStatus());
  EXPECT_TRUE(words("sourceCard").contains("BOOTCAMP, NTFS · 128 GB, 47 GB used, 81 GB free"));
  EXPECT_TRUE(words("destinationCard").contains("Office PC, /backups"));
  EXPECT_TRUE(text("historyLabel").contains("day 19689"));
  EXPECT_EQ(world.find<QAbstractItemView>("arcItemsTable")->model()->rowCount(), 3);
}

TEST_F(Window, BackupButtonSendsBackupAndStopBreaksIt) {
  world.show(readyStatus());
  world.click("backupButton");
  EXPECT_EQ(helper().count("backup"), 1U);
  world.show(backupStatus(34, {"one"}));
  EXPECT_FALSE(isShown("backupButton"));
  EXPECT_EQ(text("percentLabel"), "34%");
  EXPECT_EQ(text("routeLabel"), "Backing up Flash Disk FD0256G → Office PC");
  EXPECT_TRUE(text("timesLabel").contains("00:05:10"));
  EXPECT_FALSE(isEnabled("selectSourceButton"));
  world.click("stopButton");
  EXPECT_EQ(helper().count("breakProgress"), 1U);
}

TEST_F(Window, BackupButtonIsPressedByItsMnemonicToo) {
  world.show(readyStatus());
  world.window->activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(world.window.get()));
  QTest::keyClick(world.window.get(), Qt::Key_B, Qt::AltModifier);
  // The button first shows itself pressed.
  EXPECT_TRUE(QTest::qWaitFor([this] { return helper().count("backup") == 1; }));
}

TEST_F(Window, SourceIsChosenByMouse) {
  const auto second = bootCampDisk(5, "Second");
  world.show(idleStatus({bootCampDisk(1, "First"), second}));
  world.click("selectSourceButton");
  ASSERT_NE(world.sheet(), nullptr);
  auto* list = world.find<QAbstractItemView>("disksListContentView");
  ASSERT_EQ(list->model()->rowCount(), 2);
  QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualRect(list->model()->index(1, 0)).center());
  world.click("actionButton");
  EXPECT_EQ(helper().lastCall("setBackupSource").arguments, Array{identifierOf(*second)});
  EXPECT_NE(world.sheet(), nullptr);
  world.show(readyStatus());
  EXPECT_EQ(world.sheet(), nullptr);
}

TEST_F(Window, SourceIsChosenByKeyboardAndEscapeCancels) {
  const auto second = bootCampDisk(5, "Second");
  world.show(idleStatus({bootCampDisk(1, "First"), second}));
  world.click("selectSourceButton");
  QTest::keyClick(world.sheet(), Qt::Key_Escape);
  EXPECT_EQ(world.controller->modalSession(), 0);
  InterfaceWorld::settle();
  EXPECT_EQ(world.sheet(), nullptr);
  world.click("selectSourceButton");
  QTest::keyClick(world.find<QWidget>("disksListContentView"), Qt::Key_Down);
  QTest::keyClick(world.sheet(), Qt::Key_Return);
  EXPECT_EQ(helper().lastCall("setBackupSource").arguments, Array{identifierOf(*second)});
}

TEST_F(Window, SizeToRestoreFollowsTheSliderInBytes) {
  constexpr std::uint64_t kTB = 1'000'000'000'000;
  Dictionary status = readyStatus();
  statuskey::disks.set(status, {macDisk(2, "Large", 8 * kTB, 2 * kTB)});
  world.show(status);
  world.controller->setSelectedArcItemsIndexes({1});
  world.controller->restore();
  auto* slider = world.find<QSlider>("slider");
  EXPECT_TRUE(slider->isVisible());
  EXPECT_EQ(text("restoreSizeLabel"), "Size: 6 TB");
  slider->setValue(slider->minimum());
  EXPECT_EQ(text("restoreSizeLabel"), "Size: 20 GB");
  QTest::keyClick(slider, Qt::Key_End);
  world.click("actionButton");
  EXPECT_EQ(helper().lastCall("restore_toDisk_withNumber_withTargetSize").arguments.at(3), Value(6 * kTB));
}

TEST_F(Window, RestoreTargetWithoutRoomSaysSoAndCannotBeTaken) {
  Dictionary status = readyStatus();
  statuskey::disks.set(status, {emptyDisk(4, "Small", 10'000'000'000)});
  world.show(status);
  world.controller->setSelectedArcItemsIndexes({1});
  world.controller->restore();
  EXPECT_FALSE(isShown("slider"));
  EXPECT_EQ(text("errorDescriptionLabel"), "Not enough free space. Need: 20 GB, have: 10 GB.");
  EXPECT_TRUE(isShown("errorDescriptionLabel"));
  EXPECT_FALSE(isEnabled("actionButton"));
}

TEST_F(Window, MergeIsSentByTheButtonOfItsSheet) {
  world.show(readyStatus());
  world.controller->setSelectedArcItemsIndexes({2});
  world.controller->mergeArvhiveAction();
  world.click("actionButton");
  EXPECT_EQ(helper().lastCall("mergeArchiveWithParent").arguments, Array{2});
}

TEST_F(Window, BusyHelperThatHasToldNothingYetIsWaitedFor) {
  Dictionary status;
  statuskey::state.set(status, HelperState::busy);
  world.show(status);
  EXPECT_EQ(text("readinessLabel"), "Waiting for the helper…");
  world.show(readyStatus());
  world.show(status);
  EXPECT_EQ(text("readinessLabel"), "Ready to back up");
}

TEST_F(Window, FileSystemThatUsesMoreThanItsPartitionIsFull) {
  const auto disk = bootCampDisk(1, "Disk");
  auto fields = disk->fields();
  auto windows = fields.partitions->back()->fields();
  windows.partUsedSize = windows.partSize + 1;
  fields.partitions->back() = std::make_shared<const RLDPartition>(windows);
  Dictionary status = idleStatus({ZPKDisk::diskWithDisk(RLDDisk(fields))});
  statuskey::sourceDisk.set(status, identifierOf(*disk));
  world.show(status);
  EXPECT_TRUE(words("sourceCard").contains("128 GB used, 0 B free")) << words("sourceCard").toStdString();
}

// Contrast of two colours as accessibility guidelines count it: 1 for none, 21 for black on white.
double contrast(const QColor& a, const QColor& b) {
  const auto luminance = [](const QColor& colour) {
    const auto linear = [](double part) {
      return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
  };
  const double first = luminance(a) + 0.05;
  const double second = luminance(b) + 0.05;
  return std::max(first / second, second / first);
}

TEST_F(Window, MainButtonCanBeReadInLightAndDark) {
  world.show(readyStatus());
  auto* button = world.find<QWidget>("backupButton");
  for (const QPalette& palette : {QApplication::style()->standardPalette(), darkPalette()}) {
    QApplication::setPalette(palette);
    InterfaceWorld::settle();
    const QImage picture = button->grab().toImage();
    const QColor text = palette.color(QPalette::HighlightedText);
    // A column beside the title, within the edge.
    for (int y = 4; y < picture.height() - 4; ++y) {
      EXPECT_GE(contrast(text, picture.pixelColor(12, y)), 4.5)
          << y << " " << picture.pixelColor(12, y).name().toStdString();
    }
  }
  QApplication::setPalette(QApplication::style()->standardPalette());
}

TEST_F(Window, CheckBoxHasAnEdgeOnADarkWindow) {
  world.show(readyStatus());
  QApplication::setPalette(darkPalette());
  InterfaceWorld::settle();
  auto* box = world.find<QWidget>("checkFSButton");
  const QImage picture = box->grab().toImage();
  double strongest = 0;
  for (int x = 0; x < 20; ++x) {
    strongest = std::max(
        strongest, contrast(picture.pixelColor(x, picture.height() / 2), darkPalette().color(QPalette::Window)));
  }
  EXPECT_GE(strongest, 3.0);
  QApplication::setPalette(QApplication::style()->standardPalette());
}

TEST_F(Window, LocationIsTypedIntoThePanel) {
  world.show(readyStatus());
  world.click("selectBackupPathButton");
  auto* name = world.find<QLineEdit>("fileNameEdit");
  name->setText("/nowhere/Mine");
  QTest::keyClick(name, Qt::Key_Return);
  EXPECT_EQ(helper().lastCall("setTargetPath").arguments, Array{"/nowhere/Mine.rldbackup"});
}

TEST_F(Window, RefusedCommandShowsTheErrorUntilItIsDismissed) {
  helper().answer("backup", 3);
  world.show(readyStatus());
  world.click("backupButton");
  ASSERT_NE(world.sheet(), nullptr);
  EXPECT_EQ(world.sheet()->findChild<QLabel*>("messageText")->text(), "Source disk not set");
  world.click("cancelButton");
  EXPECT_EQ(world.sheet(), nullptr);
}

TEST_F(Window, ForeignArchiveIsBackedUpToOnlyAfterItsOwnButton) {
  Dictionary status = readyStatus();
  statuskey::arcState.set(status, ArcState::foreign);
  world.show(status);
  world.click("backupButton");
  EXPECT_EQ(helper().count("backup"), 0U);
  world.click("actionButton");
  EXPECT_EQ(helper().count("backup"), 1U);
}

TEST_F(Window, PinLabelIsTyped) {
  world.show(readyStatus());
  world.controller->pin(true, *(*world.controller->arcItems())[1]);
  QTest::keyClicks(world.find<QWidget>("incrementLabelField"), "Keep me");
  world.click("actionButton");
  EXPECT_EQ(helper().lastCall("pin_arcItem_withLabel").arguments, (Array{true, 1, "Keep me"}));
}

TEST_F(Window, CheckBoxShowsTheHelpersSettingAlone) {
  world.show(readyStatus());
  auto* box = world.find<QCheckBox>("checkFSButton");
  QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2));
  EXPECT_FALSE(box->isChecked());
  EXPECT_EQ(helper().lastCall("setCheckFS").arguments, Array{true});
  Dictionary status = readyStatus();
  statuskey::checkFS.set(status, true);
  world.show(status);
  EXPECT_TRUE(box->isChecked());
}

TEST_F(Window, SelectionReachesTheControllerAndOutlivesARecord) {
  world.show(readyStatus());
  auto* table = world.find<QAbstractItemView>("arcItemsTable");
  table->setCurrentIndex(table->model()->index(2, 0));
  EXPECT_EQ(world.controller->selectedArcItemsIndexes(), IndexSet{2});
  world.show(readyStatus());
  EXPECT_EQ(world.controller->selectedArcItemsIndexes(), IndexSet{2});
  Dictionary status = readyStatus();
  statuskey::archiveDescription.set(status, archiveOf({backupPoint(9, "", 1)}));
  world.show(status);
  EXPECT_EQ(world.controller->selectedArcItemsIndexes(), IndexSet{});
}

TEST_F(Window, LogIsAtItsEndAfterEveryRecord) {
  Array log;
  for (int i = 0; i < 500; ++i) log.emplace_back("line " + std::to_string(i));
  world.show(backupStatus(1, log));
  log.emplace_back("the newest");
  world.show(backupStatus(2, log));
  const QScrollBar* bar = world.find<QAbstractItemView>("logView")->verticalScrollBar();
  EXPECT_GT(bar->maximum(), 0);
  EXPECT_EQ(bar->value(), bar->maximum());
}

TEST_F(Window, HelperThatIsGoneIsSaidWithoutLosingTheLastState) {
  world.show(readyStatus());
  EXPECT_FALSE(isShown("linkBanner"));
  world.transport.helperDies();
  EXPECT_TRUE(isShown("linkBanner"));
  EXPECT_TRUE(words("sourceCard").contains("BOOTCAMP"));
  world.transport.helperAppears();
  EXPECT_FALSE(isShown("linkBanner"));
}

TEST_F(Window, HelperThatIsGoneIsWaitedForAndNothingIsReady) {
  world.show(readyStatus());
  EXPECT_EQ(text("readinessLabel"), "Ready to back up");
  world.transport.helperDies();
  EXPECT_EQ(text("readinessLabel"), "Waiting for the helper…");
  world.transport.helperAppears();
  EXPECT_EQ(text("readinessLabel"), "Ready to back up");
}

TEST_F(Window, LastBackupErrorStaysUntilAGoodBackup) {
  Dictionary status = readyStatus();
  statuskey::lastBackupError.set(status, "Windows is hibernated");
  world.show(status);
  EXPECT_TRUE(isShown("lastErrorRow"));
  EXPECT_TRUE(world.find<QWidget>("lastErrorLabel")->accessibleDescription().contains("Windows is hibernated"));
  EXPECT_TRUE(text("lastErrorLabel").contains("Windows is hibernated"));
  world.show(readyStatus());
  EXPECT_FALSE(isShown("lastErrorRow"));
}

TEST_F(Window, MarkupFromOutsideIsText) {
  Dictionary status = readyStatus();
  statuskey::lastBackupError.set(status, "<b>bold</b>\n<img src=x>");
  world.show(status);
  EXPECT_EQ(world.find<QLabel>("lastErrorLabel")->textFormat(), Qt::PlainText);
  EXPECT_TRUE(text("lastErrorLabel").contains("<b>bold</b>\u240A<img src=x>"));
}

TEST_F(Window, EndlessNamesAndErrorsDoNotWidenIt) {
  world.show(readyStatus());
  const int width = world.window->minimumSizeHint().width();
  const std::string endless(100'000, 'W');
  Dictionary status = readyStatus();
  const auto disk = bootCampDisk(1, endless);
  auto fields = disk->fields();
  auto windows = fields.partitions->back()->fields();
  windows.name = endless;
  fields.partitions->back() = std::make_shared<const RLDPartition>(windows);
  statuskey::disks.set(status, {ZPKDisk::diskWithDisk(RLDDisk(fields))});
  statuskey::targetArchive.set(status, "/" + endless + "/" + endless + ".rldbackup");
  statuskey::lastBackupError.set(status, endless);
  statuskey::opError.set(status, endless);
  world.show(status);
  EXPECT_EQ(world.window->minimumSizeHint().width(), width);
  ASSERT_NE(world.sheet(), nullptr);
  EXPECT_LT(world.sheet()->width(), 800);
}

TEST_F(Window, EveryControlThatTakesInputHasANameForAssistiveTechnology) {
  world.show(readyStatus());
  for (std::int32_t sheet = 0; sheet <= 8; ++sheet) {
    world.controller->setModalSession(sheet);
    InterfaceWorld::settle();
    if (sheet > 0) {
      ASSERT_NE(world.sheet(), nullptr) << sheet;
    }
    for (const QWidget* widget : world.window->findChildren<QWidget*>()) {
      const auto* button = qobject_cast<const QAbstractButton*>(widget);
      const bool input = button || qobject_cast<const QAbstractItemView*>(widget) ||
                         qobject_cast<const QSlider*>(widget) || qobject_cast<const QLineEdit*>(widget);
      const bool own = !widget->objectName().isEmpty() && !widget->objectName().startsWith("qt_");
      if (!input || !own || widget->focusPolicy() == Qt::NoFocus) continue;
      const bool named = !widget->accessibleName().isEmpty() || (button && !button->text().isEmpty());
      EXPECT_TRUE(named) << widget->objectName().toStdString() << " in " << sheet;
    }
  }
}

TEST_F(Window, EveryTextGoesThroughTheTranslation) {
  struct Bracketed final : Localization {
    std::string localizedString(std::string_view key) const override { return "[" + std::string(key) + "]"; }
  } bracketed;
  const MainWindow::Surroundings known = world.surroundings();
  MainWindow window(world.controller,
                    {bracketed, known.dates, known.times, known.images, known.watch, known.delegate, known.drives,
                     known.timeZone, known.installed, known.terminate});
  world.show(idleStatus({}));
  for (const QLabel* label : window.findChildren<QLabel*>()) {
    if (!label->text().isEmpty() && label->text() != "0%") {
      // Words around a control within a sentence are one text.
      EXPECT_TRUE(label->text().startsWith(u'[') || label->text().endsWith(u']')) << label->text().toStdString();
    }
  }
  for (const QAbstractButton* button : window.findChildren<QAbstractButton*>()) {
    if (!button->text().isEmpty()) {
      EXPECT_TRUE(button->text().startsWith(u'[')) << button->text().toStdString();
    }
  }
}

TEST(WindowLife, ControllerLivesOnWithoutItsWindow) {
  InterfaceWorld world;
  world.openWindow();
  world.show(readyStatus());
  world.controller->selectSourceAction();
  world.window.reset();
  world.push(backupStatus(3, {"line"}));
  EXPECT_TRUE(world.controller->inProgress());
}

UsageBar* barOf(const InterfaceWorld& world, const char* card) {
  for (QWidget* child : world.find<QWidget>(card)->findChildren<QWidget*>()) {
    if (auto* bar = dynamic_cast<UsageBar*>(child)) return bar;
  }
  return nullptr;
}

TEST_F(Window, DestinationShowsHowFullItsFileSystemIs) {
  world.files.setSpace("/backups", FileSystemSpace{4096, 1'000'000, 3'000'000});
  world.show(readyStatus());
  EXPECT_TRUE(barOf(world, "destinationCard")->isVisible());
  EXPECT_EQ(barOf(world, "destinationCard")->accessibleName(), "Available: 4 GB");
  EXPECT_EQ(destinationUsage(*world.controller), (UsageBar::Usage{12'288'000'000, 4'096'000'000}));
  world.show(backupStatus(10, {}));
  EXPECT_FALSE(barOf(world, "destinationCard")->isVisible()) << "only the name is told while something runs";
}

TEST_F(Window, DestinationOfUnknownSizeHasNoBar) {
  world.files.setSpace("/backups", FileSystemSpace{4096, 1'000'000, 0});
  world.show(readyStatus());
  EXPECT_FALSE(barOf(world, "destinationCard")->isVisible());
}

}  // namespace
}  // namespace zpk
