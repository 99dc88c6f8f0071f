#include <gtest/gtest.h>

#include <QAbstractItemView>
#include <QDir>
#include <QImage>
#include <QPainter>
#include <QPixmap>
#include <QStyle>

#include "interface/InterfaceWorld.h"

namespace zpk {
namespace {

// Renders the main states as files to look at, and checks of each that it is a picture of something.
class Pictures : public testing::TestWithParam<bool> {
 protected:
  void SetUp() override {
    QApplication::setPalette(GetParam() ? darkPalette() : QApplication::style()->standardPalette());
    world.files.spaces["/backups"] = {4096, 180'000'000};
    world.dates.calendar = true;
  }
  void TearDown() override { QApplication::setPalette(QApplication::style()->standardPalette()); }

  void open() {
    world.openWindow();
    world.window->resize(940, 680);
  }

  // The window with its sheet, if one is over it.
  void save(const std::string& state) {
    InterfaceWorld::settle();
    QPixmap picture = world.window->grab();
    if (QDialog* sheet = world.sheet()) {
      QPainter painter(&picture);
      painter.fillRect(QRect(QPoint(), world.window->size()), QColor(0, 0, 0, 70));
      const QPixmap over = sheet->grab();
      const QPoint corner((world.window->width() - sheet->width()) / 2,
                          (world.window->height() - sheet->height()) / 3);
      painter.drawPixmap(corner, over);
      painter.setPen(QColor(0, 0, 0, 120));
      painter.drawRect(QRect(corner, sheet->size()));
    }
    const QString folder = QStringLiteral(ZPK_PICTURES);
    QDir().mkpath(folder);
    const int percent = qRound(world.window->devicePixelRatioF() * 100);
    const QString name =
        QStringLiteral("%1/%2-%3-%4.png")
            .arg(folder, QString::fromStdString(state), GetParam() ? "dark" : "light", QString::number(percent));
    ASSERT_TRUE(picture.save(name)) << name.toStdString();
    const QImage image = picture.toImage();
    const QRgb corner = image.pixel(0, 0);
    bool varied = false;
    for (int y = 0; y < image.height() && !varied; y += 7) {
      for (int x = 0; x < image.width() && !varied; x += 7) varied = image.pixel(x, y) != corner;
    }
    EXPECT_TRUE(varied) << name.toStdString() << " is blank";
  }

  static Array someLog() {
    Array log;
    for (const char* line :
         {"Backup of “APPLE SSD SM0256G” to /backups/Office PC.rldbackup", "Checking BOOTCAMP (NTFS)",
          "The file system is clean; 47 GB of 128 GB are in use", "Storing partition 4, BOOTCAMP",
          "10 percent, 212 MB/s", "20 percent, 208 MB/s", "30 percent, 215 MB/s"}) {
      log.emplace_back(line);
    }
    return log;
  }

  InterfaceWorld world;
};

TEST_P(Pictures, NothingChosen) {
  open();
  world.show(idleStatus({bootCampDisk(1, "APPLE SSD SM0256G")}));
  save("nothing-chosen");
}

TEST_P(Pictures, Ready) {
  open();
  world.show(readyStatus());
  save("ready");
}

TEST_P(Pictures, BackingUp) {
  open();
  world.show(readyStatus());
  world.show(backupStatus(34, someLog()));
  save("backing-up");
}

TEST_P(Pictures, LastBackupFailed) {
  open();
  Dictionary status = readyStatus();
  statuskey::lastBackupError.set(
      status, "Windows is hibernated on BOOTCAMP. Start Windows, shut it down, and back up again.");
  world.show(status);
  save("last-backup-failed");
}

TEST_P(Pictures, ErrorSheet) {
  open();
  Dictionary status = readyStatus();
  statuskey::opError.set(status, "The archive’s disk is full: 12 GB more are needed on /backups.");
  world.show(status);
  save("error");
}

TEST_P(Pictures, SourceChooser) {
  open();
  world.show(idleStatus({bootCampDisk(1, "APPLE SSD SM0256G"), bootCampDisk(2, "Samsung T7 external")}));
  world.controller->selectSourceAction();
  save("choose-source");
}

TEST_P(Pictures, ArchivePanel) {
  open();
  world.show(readyStatus());
  world.controller->selectBackupPath();
  save("choose-location");
}

TEST_P(Pictures, ForeignArchive) {
  open();
  Dictionary status = readyStatus();
  statuskey::arcState.set(status, ArcState::foreign);
  world.show(status);
  world.controller->backup();
  save("foreign-archive");
}

TEST_P(Pictures, RestoreTarget) {
  open();
  Dictionary status = readyStatus();
  statuskey::disks.set(status, {bootCampDisk(1, "APPLE SSD SM0256G"),
                                macDisk(2, "External Disk", 500'000'000'000, 300'000'000'000)});
  world.show(status);
  world.controller->setSelectedArcItemsIndexes({1});
  world.controller->restore();
  world.find<QAbstractItemView>("disksListContentView")
      ->setCurrentIndex(world.find<QAbstractItemView>("disksListContentView")->model()->index(1, 0));
  save("restore-target");
}

TEST_P(Pictures, RestoreTargetWithoutRoom) {
  open();
  Dictionary status = readyStatus();
  statuskey::disks.set(status, {emptyDisk(4, "Small Stick", 10'000'000'000), bootCampDisk(1, "APPLE SSD")});
  world.show(status);
  world.controller->setSelectedArcItemsIndexes({1});
  world.controller->restore();
  save("restore-target-too-small");
}

TEST_P(Pictures, NoDiskToChoose) {
  open();
  world.show(idleStatus({}));
  world.controller->selectSourceAction();
  save("choose-source-none");
}

TEST_P(Pictures, MergeConfirmation) {
  open();
  world.show(readyStatus());
  world.controller->mergeArvhiveAction();
  save("merge");
}

TEST_P(Pictures, PinLabel) {
  open();
  world.show(readyStatus());
  world.controller->pin(true, *(*world.controller->arcItems())[1]);
  save("pin-label");
}

TEST_P(Pictures, SettingIsOn) {
  open();
  Dictionary status = readyStatus();
  statuskey::checkFS.set(status, true);
  world.show(status);
  world.find<QAbstractItemView>("arcItemsTable")
      ->setCurrentIndex(world.find<QAbstractItemView>("arcItemsTable")->model()->index(1, 0));
  save("setting-on");
}

TEST_P(Pictures, HelperBusy) {
  open();
  Dictionary status = readyStatus();
  statuskey::state.set(status, HelperState::busy);
  world.show(status);
  save("helper-busy");
}

TEST_P(Pictures, HelperGone) {
  open();
  world.show(readyStatus());
  world.transport.helperDies();
  save("helper-gone");
}

INSTANTIATE_TEST_SUITE_P(Looks, Pictures, testing::Bool(),
                         [](const auto& look) { return look.param ? "Dark" : "Light"; });

}  // namespace
}  // namespace zpk
