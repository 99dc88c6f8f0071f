// Settings, and what is done with backup points.

#include <QAbstractItemView>
#include <QAction>
#include <QCheckBox>
#include <QDialog>
#include <QLineEdit>

#include "mainwindow/ModalSession.h"
#include "tools/drive/TourSteps.h"

namespace zpk::steps {
namespace {

constexpr std::uint64_t kLimit = 25;
constexpr std::uint64_t kOtherLimit = 30;
const QString kLabel = QStringLiteral("Before the update");

QAbstractItemView& table(Stage& stage) {
  return stage.window.widget<QAbstractItemView>("arcItemsTable");
}

bool isPinned(const Stage& stage, std::size_t point) {
  return point < stage.pointCount() && (*stage.controller().arcItems())[point]->isPinned();
}

std::string labelOf(const Stage& stage, std::size_t point) {
  return (*stage.controller().arcItems())[point]->name().value_or("");
}

void tickPin(Stage& stage, int row) {
  QAbstractItemView& points = table(stage);
  stage.hands.tick(points, points.model()->index(row, 0));
}

}  // namespace

// The field shows the number at once; that the helper has taken it is seen in its record.
QString setLimit(Stage& stage, std::uint64_t limit) {
  auto& field = stage.window.widget<QLineEdit>("maxIncCountField");
  stage.hands.type(field, QString::number(limit));
  stage.hands.finish(field, *table(stage).viewport());
  stage.window.waitFor(QStringLiteral("the helper to keep the limit"), kForTheHelper,
                       [&] { return statuskey::maxIncCount.read(stage.status()) == limit; });
  awaitIdle(stage);
  expect(field.text() == QString::number(limit), QStringLiteral("the limit in its field"));
  return QStringLiteral("changed the limit to %1 increments").arg(limit);
}

QString changeLimit(Stage& stage) {
  return setLimit(stage, statuskey::maxIncCount.read(stage.status()) == kLimit ? kOtherLimit : kLimit);
}

QString toggleCheck(Stage& stage) {
  auto& box = stage.window.widget<QCheckBox>("checkFSButton");
  const bool wanted = !box.isChecked();
  stage.hands.press(box);
  stage.window.waitFor(QStringLiteral("the helper to take the check over"), kForTheHelper, [&] {
    return statuskey::checkFS.read(stage.status()) == wanted && box.isChecked() == wanted;
  });
  awaitIdle(stage);
  return QStringLiteral("turned the file system check %1")
      .arg(wanted ? QStringLiteral("on") : QStringLiteral("off"));
}

QString pinRow(Stage& stage, int row, const QString& label) {
  tickPin(stage, row);
  awaitSheet(stage, QStringLiteral("the label sheet"), modalsession::kIncrementLabel);
  stage.hands.type(stage.window.sheetWidget<QLineEdit>("incrementLabelField"), label);
  stage.window.takePicture(QStringLiteral("label"));
  stage.hands.accept(stage.window.shownSheet());
  const auto point = static_cast<std::size_t>(row);
  stage.window.waitFor(QStringLiteral("the pin"), kForTheHelper, [&] { return isPinned(stage, point); });
  awaitIdle(stage);
  expect(labelOf(stage, point) == label.toStdString(), QStringLiteral("the label in the list"));
  stage.window.takePicture(QStringLiteral("pinned"));
  return QStringLiteral("pinned “%1”").arg(label);
}

QString pinPoint(Stage& stage) {
  return pinRow(stage, 0, kLabel);
}

QString unpinPoint(Stage& stage) {
  tickPin(stage, 0);
  stage.window.waitFor(QStringLiteral("the pin to go"), kForTheHelper, [&] { return !isPinned(stage, 0); });
  awaitIdle(stage);
  return QStringLiteral("unpinned “%1”").arg(kLabel);
}

QString mergeRow(Stage& stage, int row) {
  const std::size_t before = stage.pointCount();
  stage.hands.selectRow(table(stage), row);
  command(stage, "mergeButton", "mergeAction");
  awaitSheet(stage, QStringLiteral("the question before a merge"), modalsession::kMergeConfirmation);
  stage.window.takePicture(QStringLiteral("merge"));
  stage.hands.accept(stage.window.shownSheet());
  stage.window.waitFor(QStringLiteral("the merge"), kForABackup,
                       [&] { return !stage.controller().inProgress() && stage.pointCount() == before - 1; });
  awaitIdle(stage);
  return QStringLiteral("merged two backup points, %1 left").arg(stage.pointCount());
}

QString mergePoint(Stage& stage) {
  return mergeRow(stage, 1);
}

}  // namespace zpk::steps
