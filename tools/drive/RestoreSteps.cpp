// The way to a restore, up to the button that would write.

#include <QAbstractButton>
#include <QAbstractItemView>
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

bool isAnswerable(Stage& stage) {
  return stage.window.sheetWidget<QAbstractButton>("actionButton").isEnabled();
}

}  // namespace

QString chooseRestoreSize(Stage& stage) {
  auto& points = stage.window.widget<QAbstractItemView>("arcItemsTable");
  stage.hands.selectRow(points, points.model()->rowCount() - 1);
  command(stage, "restoreButton", "restoreAction");
  awaitSheet(stage, QStringLiteral("the chooser of a target"), modalsession::kRestoreTarget);
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

}  // namespace zpk::steps
