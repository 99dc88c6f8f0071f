// The way to a restore, up to the button that writes, and beyond it.

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAction>
#include <QDialog>
#include <QLabel>
#include <QSlider>
#include <QStackedWidget>

#include "mainwindow/ModalSession.h"
#include "tools/drive/TourSteps.h"

namespace zpk::steps {
namespace {

// The foot of the chooser folds and unfolds while one looks at it.
void awaitRest(Stage& stage, const QWidget& foot) {
  stage.window.waitFor(QStringLiteral("the foot of the chooser"), kForASheet,
                       [&] { return foot.maximumHeight() == QWIDGETSIZE_MAX; });
}

// Marks one disk after the other until the foot of the chooser shows that page; gives the disk's name.
QString markDiskWith(Stage& stage, const char* page) {
  auto& list = stage.window.sheetWidget<QAbstractItemView>("disksListContentView");
  const auto& foot = stage.window.sheetWidget<QStackedWidget>("accessoryTabView");
  for (int row = 0; row < list.model()->rowCount(); ++row) {
    stage.hands.selectRow(list, row);
    awaitRest(stage, foot);
    if (foot.isVisible() && foot.currentWidget()->objectName() == QLatin1String(page)) {
      return list.model()->index(row, 0).data().toString().section(u'\n', 0, 0);
    }
  }
  throw DriveFailed(std::string("expected a disk with the ") + page);
}

void openChooser(Stage& stage, int row) {
  auto& points = stage.window.widget<QAbstractItemView>("arcItemsTable");
  // An operation that failed leaves its log in front of them.
  if (!points.isVisible()) command(stage, "showPointsAction");
  stage.window.waitFor(QStringLiteral("the backup points"), kForASheet, [&] { return points.isVisible(); });
  stage.hands.selectRow(points, row);
  command(stage, "restoreButton", "restoreAction");
  awaitSheet(stage, QStringLiteral("the chooser of a target"), modalsession::kRestoreTarget);
}

void markDisk(Stage& stage, const QString& name) {
  auto& list = stage.window.sheetWidget<QAbstractItemView>("disksListContentView");
  QStringList shown;
  for (int row = 0; row < list.model()->rowCount(); ++row) {
    shown += list.model()->index(row, 0).data().toString().section(u'\n', 0, 0);
    if (shown.back() != name) continue;
    stage.hands.selectRow(list, row);
    return awaitRest(stage, stage.window.sheetWidget<QStackedWidget>("accessoryTabView"));
  }
  throw DriveFailed(QStringLiteral("expected the disk “%1” among: %2").arg(name, shown.join(QStringLiteral(", "))));
}

bool isAnswerable(Stage& stage) {
  return stage.window.sheetWidget<QAbstractButton>("actionButton").isEnabled();
}

// Moves the slider where it is asked for; the size that the chooser then names, none where it offers no choice.
QString chooseSize(Stage& stage, RestoreSize size) {
  if (!stage.window.sheetWidget<QStackedWidget>("accessoryTabView").isVisible()) return {};
  auto& slider = stage.window.sheetWidget<QSlider>("slider");
  if (size == RestoreSize::middle) stage.hands.slideDown(slider);
  if (size == RestoreSize::least) {
    stage.hands.slideToLowest(slider);
    expect(slider.value() == slider.minimum(), QStringLiteral("the slider at its lower end"));
  }
  return stage.window.sheetWidget<QLabel>("restoreSizeLabel").text().section(u' ', 1);
}

// From the table of backup points to the button that writes.
QString beginRestore(Stage& stage, const RestoreErrand& errand) {
  openChooser(stage, errand.row);
  markDisk(stage, errand.disk);
  const QString size = chooseSize(stage, errand.size);
  expect(isAnswerable(stage), QStringLiteral("the target to be good"));
  stage.window.takePicture(QStringLiteral("restore-chosen"));
  stage.hands.accept(stage.window.shownSheet());
  return size;
}

// The last line of the running operation's log; it stays when that has ended.
QString lastLine(const Stage& stage) {
  const auto& log = stage.controller().log();
  return log && !log->empty() ? QString::fromStdString(log->back().textOr("")) : QString();
}

bool isWriting(const Stage& stage) {
  return stage.controller().inProgress() && stage.controller().progressPercents().doubleValue() > 0;
}

// Read for as long as the helper tells of it: dismissed at once, the next record would bring it back.
void dismissMessage(Stage& stage) {
  stage.window.waitThroughErrorsFor(QStringLiteral("the message to be taken as read"), kForTheHelper,
                                    [&] { return !statuskey::opError.isPresentIn(stage.status()); });
  stage.hands.cancel(stage.window.shownSheet());
  awaitNoSheet(stage, QStringLiteral("the dismissed message"));
  awaitIdle(stage);
}

}  // namespace

QString chooseRestoreSize(Stage& stage) {
  openChooser(stage, stage.window.widget<QAbstractItemView>("arcItemsTable").model()->rowCount() - 1);
  const QString disk = markDiskWith(stage, "sizePage");
  auto& slider = stage.window.sheetWidget<QSlider>("slider");
  const auto& size = stage.window.sheetWidget<QLabel>("restoreSizeLabel");
  const QString most = size.text();
  const int step = slider.value();
  stage.hands.slideDown(slider);
  expect(slider.value() < step && size.text() != most, QStringLiteral("a smaller size"));
  expect(isAnswerable(stage), QStringLiteral("the target to be good"));
  stage.window.takePicture(QStringLiteral("restore-size"));
  return QStringLiteral("chose for “%1” the size %2 instead of %3")
      .arg(disk, size.text().section(u' ', 1), most.section(u' ', 1));
}

QString meetFullDisk(Stage& stage) {
  const QString disk = markDiskWith(stage, "errorPage");
  const QString why = stage.window.sheetWidget<QLabel>("errorDescriptionLabel").text();
  expect(why.startsWith(QStringLiteral("Not enough free space")), QStringLiteral("too little space, not: ") + why);
  expect(!isAnswerable(stage), QStringLiteral("the target to be refused"));
  stage.window.takePicture(QStringLiteral("restore-too-small"));
  stage.hands.cancel(stage.window.shownSheet());
  awaitNoSheet(stage, QStringLiteral("the cancelled chooser"));
  return QStringLiteral("was kept from restoring to “%1”, cancelled").arg(disk);
}

QString restore(Stage& stage, const RestoreErrand& errand) {
  const QString size = beginRestore(stage, errand);
  bool pictured = false;
  const auto end = QStringLiteral("The restore is complete");
  stage.window.waitFor(QStringLiteral("the end of the restore"), kForABackup, [&] {
    if (!pictured && isWriting(stage)) {
      stage.window.takePicture(QStringLiteral("restoring"));
      pictured = true;
    }
    return !stage.controller().inProgress() && lastLine(stage).contains(end);
  });
  awaitIdle(stage);
  stage.window.takePicture(QStringLiteral("restored"));
  return QStringLiteral("restored onto “%1”%2")
      .arg(errand.disk, size.isEmpty() ? size : QStringLiteral(", ") + size);
}

QString stopRestore(Stage& stage, const RestoreErrand& errand) {
  beginRestore(stage, errand);
  stage.window.waitFor(QStringLiteral("bytes to be written"), kForTheHelper, [&] { return isWriting(stage); });
  command(stage, "stopButton", "stopAction");
  const QString error = awaitError(stage, QStringLiteral("what became of the disk"));
  stage.window.takePicture(QStringLiteral("restore-stopped"));
  dismissMessage(stage);
  return QStringLiteral("stopped a restore: “%1”").arg(error);
}

QString meetRefusedRestore(Stage& stage, const RestoreErrand& errand) {
  openChooser(stage, errand.row);
  markDisk(stage, errand.disk);
  stage.hands.accept(stage.window.shownSheet());
  const QString error = awaitError(stage, QStringLiteral("why it cannot be"));
  stage.window.takePicture(QStringLiteral("restore-refused"));
  dismissMessage(stage);
  return QStringLiteral("was refused a restore: “%1”").arg(error);
}

}  // namespace zpk::steps
