// The disk to protect, and the place for its backups.

#include <QAbstractItemView>
#include <QDialog>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>

#include "mainwindow/ModalSession.h"
#include "tools/drive/TourSteps.h"

namespace zpk::steps {
namespace {

QString nameIn(const Dictionary& info) {
  return QString::fromStdString(info["name"].textOr(""));
}

// Opens the chooser, marks the row and gives the disk's name as it is shown.
QString markDisk(Stage& stage, int row) {
  command(stage, "selectSourceButton", "chooseDiskAction");
  awaitSheet(stage, QStringLiteral("the disk chooser"), modalsession::kSource);
  auto& list = stage.window.sheetWidget<QAbstractItemView>("disksListContentView");
  expect(row < list.model()->rowCount(), QStringLiteral("another disk with a Windows side"));
  stage.hands.selectRow(list, row);
  return list.model()->index(row, 0).data().toString().section(u'\n', 0, 0);
}

void takeMarkedDisk(Stage& stage) {
  const auto before = statuskey::stateTime.read(stage.status());
  stage.hands.accept(stage.window.shownSheet());
  stage.window.waitFor(QStringLiteral("the chosen disk"), kForTheHelper, [&] {
    return stage.controller().sourceFound() && !stage.window.sheet() &&
           statuskey::stateTime.read(stage.status()) != before;
  });
  awaitIdle(stage);
}

void nameArchive(Stage& stage, const QString& path) {
  command(stage, "selectBackupPathButton", "chooseLocationAction");
  awaitSheet(stage, QStringLiteral("the location panel"), modalsession::kArchiveLocation);
  stage.hands.type(stage.window.sheetWidget<QLineEdit>("fileNameEdit"), path);
}

}  // namespace

QString openWindow(Stage& stage) {
  stage.program.show();
  stage.window.waitFor(QStringLiteral("the helper"), kForTheHelper,
                       [&] { return stage.controller().currentStatus() != nullptr; });
  awaitIdle(stage);
  stage.window.takePicture(QStringLiteral("start"));
  return QStringLiteral("opened the window, the helper answers");
}

QString chooseDisk(Stage& stage) {
  const QString disk = markDisk(stage, 0);
  stage.window.takePicture(QStringLiteral("choose-disk"));
  takeMarkedDisk(stage);
  return QStringLiteral("chose the disk “%1”").arg(disk);
}

// The helper's answer is explained, and the panel can be opened again.
QString meetMissingFolder(Stage& stage) {
  nameArchive(stage, QFileInfo(stage.archive).path() + QStringLiteral("/no such folder/Windows.rldbackup"));
  stage.hands.accept(stage.window.shownSheet());
  const QString error = awaitError(stage, QStringLiteral("the error"));
  expect(error == QStringLiteral("No archive target directory"), QStringLiteral("another error than ") + error);
  expect(
      stage.window.sheetWidget<QLabel>("messageAdvice").text().contains(QStringLiteral("choose another location")),
      QStringLiteral("the error's advice"));
  stage.window.takePicture(QStringLiteral("error"));
  stage.hands.cancel(stage.window.shownSheet());
  awaitNoSheet(stage, QStringLiteral("the dismissed error"));
  return QStringLiteral("dismissed “%1”").arg(error);
}

QString chooseLocation(Stage& stage) {
  nameArchive(stage, stage.archive);
  stage.window.takePicture(QStringLiteral("choose-location"));
  stage.hands.accept(stage.window.shownSheet());
  stage.window.waitFor(QStringLiteral("the chosen location"), kForTheHelper,
                       [&] { return stage.controller().arcSet() && !stage.window.sheet(); });
  awaitIdle(stage);
  stage.window.takePicture(QStringLiteral("ready"));
  return QStringLiteral("chose the location “%1”").arg(nameIn(stage.controller().destinationInfo()));
}

// Nothing is sent without the question, and Cancel leaves all as it was.
QString meetForeignArchive(Stage& stage) {
  const QString other = markDisk(stage, 1);
  takeMarkedDisk(stage);
  expect(statuskey::arcState.read(stage.status()) == ArcState::foreign, QStringLiteral("another disk's archive"));
  command(stage, "backupButton", "backUpNowAction");
  QDialog& question =
      awaitSheet(stage, QStringLiteral("the question about the archive"), modalsession::kArcNotFromSource);
  stage.window.takePicture(QStringLiteral("foreign-archive"));
  const std::size_t points = stage.pointCount();
  stage.hands.cancel(question);
  awaitNoSheet(stage, QStringLiteral("the cancelled question"));
  expect(!stage.controller().inProgress() && stage.pointCount() == points, QStringLiteral("no backup"));
  markDisk(stage, 0);
  takeMarkedDisk(stage);
  expect(statuskey::arcState.read(stage.status()) == ArcState::ready, QStringLiteral("the disk's own archive"));
  return QStringLiteral("asked before backing “%1” up onto another disk’s archive, and cancelled").arg(other);
}

}  // namespace zpk::steps
