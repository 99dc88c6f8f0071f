// What the window shows to a user whom the helper does not allow what he asks for.

#include <QLineEdit>

#include "mainwindow/ModalSession.h"
#include "tools/drive/TourSteps.h"

namespace zpk::steps {
namespace {

// The sentence in its sheet, which goes and stays away.
void meetRefusal(Stage& stage, const QString& what, const QString& picture) {
  const QString error = awaitError(stage, QStringLiteral("why it is not allowed"));
  expect(error.contains(QStringLiteral("You are not allowed to ") + what),
         QStringLiteral("another error than ") + error);
  stage.window.takePicture(picture);
  stage.hands.cancel(stage.window.shownSheet());
  awaitIdle(stage);
  expect(!stage.window.widget<QWidget>("linkBanner").isVisible(), QStringLiteral("no word of the link"));
}

}  // namespace

QString meetRefusedBackup(Stage& stage) {
  command(stage, "backupButton", "backUpNowAction");
  meetRefusal(stage, QStringLiteral("start a backup"), QStringLiteral("refused-backup"));
  expect(stage.pointCount() == 0, QStringLiteral("no backup point"));
  return QStringLiteral("was refused a backup");
}

QString meetRefusedSettings(Stage& stage) {
  const QString settings = QStringLiteral("change the backup settings");
  auto& field = stage.window.widget<QLineEdit>("maxIncCountField");
  const QString limit = field.text();
  const Dictionary source = stage.controller().sourceInfo();
  stage.hands.type(field, limit + u'1');
  stage.hands.finish(field, stage.window.widget<QWidget>("arcItemsTable"));
  meetRefusal(stage, settings, QStringLiteral("refused-limit"));
  expect(field.text() == limit, QStringLiteral("the helper's limit in its field"));

  command(stage, "selectSourceButton", "chooseDiskAction");
  awaitSheet(stage, QStringLiteral("the disks"), modalsession::kSource);
  stage.hands.accept(stage.window.shownSheet());
  meetRefusal(stage, settings, QStringLiteral("refused-source"));
  expect(stage.controller().sourceInfo() == source, QStringLiteral("the same disk as before"));
  return QStringLiteral("was refused other settings, and sees those that there are");
}

}  // namespace zpk::steps
