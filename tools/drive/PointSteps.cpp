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
QString changeLimit(Stage& stage) {
  auto& field = stage.window.widget<QLineEdit>("maxIncCountField");
  const auto kept = [&] { return statuskey::maxIncCount.read(stage.status()); };
  const std::uint64_t limit = kept() == kLimit ? kOtherLimit : kLimit;
  stage.hands.type(field, QString::number(limit));
  stage.hands.finish(field, *table(stage).viewport());
  stage.window.waitFor(QStringLiteral("the helper to keep the limit"), kForTheHelper,
                       [&] { return kept() == limit; });
  awaitIdle(stage);
  expect(field.text() == QString::number(limit), QStringLiteral("the limit in its field"));
  return QStringLiteral("changed the limit to %1 increments").arg(limit);
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

QString pinPoint(Stage& stage) {
  tickPin(stage, 0);
  QDialog& sheet = awaitSheet(stage, QStringLiteral("the label sheet"), modalsession::kIncrementLabel);
  stage.hands.type(stage.window.sheetWidget<QLineEdit>("incrementLabelField"), kLabel);
  stage.window.takePicture(QStringLiteral("label"));
  stage.hands.accept(sheet);
  stage.window.waitFor(QStringLiteral("the pin"), kForTheHelper, [&] { return isPinned(stage, 0); });
  awaitIdle(stage);
  expect(labelOf(stage, 0) == kLabel.toStdString(), QStringLiteral("the label in the list"));
  stage.window.takePicture(QStringLiteral("pinned"));
  return QStringLiteral("pinned “%1”").arg(kLabel);
}

QString unpinPoint(Stage& stage) {
  tickPin(stage, 0);
  stage.window.waitFor(QStringLiteral("the pin to go"), kForTheHelper, [&] { return !isPinned(stage, 0); });
  awaitIdle(stage);
  return QStringLiteral("unpinned “%1”").arg(kLabel);
}

QString mergePoint(Stage& stage) {
  const std::size_t before = stage.pointCount();
  stage.hands.selectRow(table(stage), 1);
  command(stage, "mergeButton", "mergeAction");
  QDialog& question =
      awaitSheet(stage, QStringLiteral("the question before a merge"), modalsession::kMergeConfirmation);
  stage.window.takePicture(QStringLiteral("merge"));
  stage.hands.accept(question);
  stage.window.waitFor(QStringLiteral("the merge"), kForABackup,
                       [&] { return !stage.controller().inProgress() && stage.pointCount() == before - 1; });
  awaitIdle(stage);
  return QStringLiteral("merged two backup points, %1 left").arg(stage.pointCount());
}

}  // namespace zpk::steps
