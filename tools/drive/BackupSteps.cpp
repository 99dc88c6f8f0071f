// Backups: whole, stopped, again, and their log.

#include <QAbstractItemView>
#include <QAction>
#include <QDirIterator>
#include <QLabel>
#include <QMap>
#include <QTabWidget>

#include "tools/drive/TourSteps.h"

namespace zpk::steps {
namespace {

constexpr double kWorthAPicture = 30;  // percent

// Every file of the archive, with its size and the time it was written; but the lock, which holds nothing.
QMap<QString, QString> filesOf(const QString& archive) {
  QMap<QString, QString> files;
  QDirIterator each(archive, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
  while (each.hasNext()) {
    each.next();
    const QFileInfo file = each.fileInfo();
    if (file.fileName() == QStringLiteral("lock")) continue;
    files[file.filePath()] = QStringLiteral("%1 %2").arg(file.size()).arg(file.lastModified().toMSecsSinceEpoch());
  }
  return files;
}

// The file by which the newest point is known; none before the first.
std::string newestPoint(const Stage& stage) {
  return stage.pointCount() > 0 ? stage.controller().arcItems()->back()->indexFilePath().value_or("") : "";
}

// Presses the button and serves the program until there is a newer point. Gives the seconds that took.
double makePoint(Stage& stage, const QString& picture) {
  ZPKUIDaemonController& controller = stage.controller();
  const std::string before = newestPoint(stage);
  bool pictured = picture.isEmpty();
  const Seconds start = stage.program.runLoop().now();
  command(stage, "backupButton", "backUpNowAction");
  stage.window.waitFor(QStringLiteral("the end of the backup"), kForABackup, [&] {
    const bool running = controller.inProgress();
    if (running && !pictured && controller.progressPercents().doubleValue() >= kWorthAPicture) {
      stage.window.takePicture(picture);
      pictured = true;
    }
    return !running && newestPoint(stage) != before;
  });
  const Seconds took = stage.program.runLoop().now() - start;
  awaitIdle(stage);
  return took.count();
}

std::uint64_t usedBytes(const Dictionary& sourceInfo) {
  return sourceInfo["size"].unsignedIntegerValue() - sourceInfo["free"].unsignedIntegerValue();
}

}  // namespace

QString backUp(Stage& stage) {
  const Dictionary& source = stage.controller().sourceInfo();
  stage.figures.disk = QString::fromStdString(source["name"].textOr(""));
  stage.figures.bytes = usedBytes(source);
  stage.figures.seconds = makePoint(stage, QStringLiteral("backing-up"));
  stage.window.takePicture(QStringLiteral("backed-up"));
  return QStringLiteral("backed up “%1”").arg(stage.figures.disk);
}

QString backUpOnce(Stage& stage) {
  makePoint(stage, {});
  return QStringLiteral("backed up, %1 backup points").arg(stage.pointCount());
}

QString stopBackup(Stage& stage) {
  const auto before = filesOf(stage.archive);
  const auto points = stage.pointCount();
  bool saidSo = false;
  auto& stop = stage.window.widget<QAction>("stopAction");
  const auto watched = QObject::connect(&stop, &QAction::changed,
                                        [&] { saidSo = saidSo || stop.text() == QStringLiteral("Stopping…"); });
  command(stage, "backupButton", "backUpNowAction");
  stage.window.waitFor(QStringLiteral("the backup to run"), kForTheHelper,
                       [&] { return stage.controller().inProgress(); });
  command(stage, "stopButton", "stopAction");
  stage.window.waitFor(QStringLiteral("the backup to stop"), kForTheHelper,
                       [&] { return !stage.controller().inProgress(); });
  awaitIdle(stage);
  QObject::disconnect(watched);
  expect(saidSo, QStringLiteral("the window to say “Stopping…”"));
  expect(stage.pointCount() == points && filesOf(stage.archive) == before,
         QStringLiteral("the archive as it was before"));
  expect(stage.window.widget<QLabel>("lastErrorLabel").text().contains(QStringLiteral("stopped")),
         QStringLiteral("the window to tell that the backup was stopped"));
  stage.window.takePicture(QStringLiteral("stopped"));
  return QStringLiteral("stopped a backup, the archive is as it was");
}

QString backUpAgain(Stage& stage) {
  const std::size_t before = stage.pointCount();
  makePoint(stage, {});
  expect(stage.pointCount() == before + 1, QStringLiteral("one more backup point"));
  expect(!stage.window.widget<QLabel>("lastErrorLabel").isVisible(), QStringLiteral("no error from before"));
  stage.window.takePicture(QStringLiteral("two-points"));
  return QStringLiteral("backed up again, %1 backup points").arg(stage.pointCount());
}

QString readLog(Stage& stage) {
  const auto& pages = stage.window.widget<QTabWidget>("accessoryTabs");
  const auto shown = [&](const char* page) { return pages.currentWidget()->objectName() == QLatin1String(page); };
  command(stage, "showLogAction");
  stage.window.waitFor(QStringLiteral("the log"), kForASheet, [&] { return shown("logPage"); });
  const QAbstractItemModel& log = *stage.window.widget<QAbstractItemView>("logView").model();
  const int lines = log.rowCount();
  const QString last = log.index(lines - 1, log.columnCount() - 1).data().toString();
  // A point is complete once what was stored has been read back.
  expect(last.contains(QStringLiteral("is complete")),
         QStringLiteral("the log to end with the backup’s end: ") + last);
  stage.window.takePicture(QStringLiteral("log"));
  command(stage, "showPointsAction");
  stage.window.waitFor(QStringLiteral("the backup points"), kForASheet, [&] { return shown("pointsPage"); });
  return QStringLiteral("read the log of the last backup, %1 lines").arg(lines);
}

}  // namespace zpk::steps
