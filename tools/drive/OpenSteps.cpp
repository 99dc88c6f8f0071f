// Opening backup points, and what becomes of those that are open.

#include <signal.h>

#include <QAbstractItemView>
#include <QAction>
#include <QDialog>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QLabel>

#include "platform/linux/MountTable_linux.h"
#include "platform/linux/virtualdisk/DriveFolder.h"
#include "tools/drive/TourSteps.h"

namespace zpk::steps {
namespace {

// Within which a loss is to be told of.
constexpr Seconds kForANotice{5};
const QString kLost = QStringLiteral("An opened backup point is no longer there.");
const QString kQuestion = QStringLiteral("Backup points are open. Close them and quit?");

std::string drives() {
  const auto folder = drivesFolder(qEnvironmentVariable("XDG_RUNTIME_DIR").toStdString());
  if (!folder) throw DriveFailed("the runtime folder cannot be used");
  return *folder;
}

QStringList mountPoints() {
  QStringList points;
  for (const Mount& mount : LinuxMountTable().mounts()) {
    if (mount.mountPoint.starts_with(drives() + "/")) points += QString::fromStdString(mount.mountPoint);
  }
  return points;
}

std::size_t openCount(const Stage& stage) {
  return stage.program.attachedDrives().drives().size();
}

void awaitOpen(Stage& stage, std::size_t count) {
  stage.window.waitFor(QStringLiteral("%1 open images").arg(count), kForTheHelper,
                       [&] { return openCount(stage) == count; });
}

void open(Stage& stage) {
  auto& table = stage.window.widget<QAbstractItemView>("arcItemsTable");
  stage.hands.selectRow(table, table.model()->rowCount() - 1);
  command(stage, "openButton", "openAction");
}

// As the menu does it; nothing is left then.
void close(Stage& stage) {
  command(stage, "closePointsAction");
  awaitOpen(stage, 0);
  expect(mountPoints().isEmpty() && allDrives(drives()).empty(), QStringLiteral("nothing to be left of it"));
}

QStringList filesBelow(const QString& root) {
  QStringList files;
  QDirIterator each(root, QDir::Files | QDir::Hidden | QDir::NoSymLinks, QDirIterator::Subdirectories);
  while (each.hasNext()) files += QDir(root).relativeFilePath(each.next());
  files.sort();
  return files;
}

QByteArray contentOf(const QString& path) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) throw DriveFailed(QStringLiteral("cannot read ") + path);
  return file.readAll();
}

QDialog& awaitTitle(Stage& stage, const QString& title, Seconds atMost) {
  stage.window.waitFor(QStringLiteral("“%1”").arg(title), atMost,
                       [&] { return stage.window.sheet() && stage.window.sheet()->windowTitle() == title; });
  return stage.window.shownSheet();
}

}  // namespace

QString openPoint(Stage& stage) {
  open(stage);
  awaitOpen(stage, 1);
  expect(!mountPoints().isEmpty(), QStringLiteral("a volume"));
  stage.window.takePicture(QStringLiteral("open"));
  return QStringLiteral("opened “%1”").arg(QFileInfo(mountPoints().front()).fileName());
}

// Every byte of every file, against the volume that was backed up.
QString readOpenFiles(Stage& stage) {
  const QString shown = mountPoints().front();
  const QStringList files = filesBelow(stage.files);
  expect(!files.isEmpty(), QStringLiteral("files to compare in ") + stage.files);
  expect(filesBelow(shown) == files, QStringLiteral("the files of the volume, and no others"));
  qint64 bytes = 0;
  for (const QString& name : files) {
    const QByteArray content = contentOf(stage.files + u'/' + name);
    expect(contentOf(shown + u'/' + name) == content, QStringLiteral("the content of ") + name);
    bytes += content.size();
  }
  QFile written(shown + QStringLiteral("/new"));
  expect(!written.open(QIODevice::WriteOnly), QStringLiteral("writing to be refused"));
  return QStringLiteral("read %1 files with %2 bytes, and could not write").arg(files.size()).arg(bytes);
}

QString closePoint(Stage& stage) {
  close(stage);
  return QStringLiteral("closed what was open");
}

// Beside a sound image lies one that is none: the one is opened, the other is told of.
QString meetDamagedImage(Stage& stage) {
  const auto& point = *stage.controller().arcItems()->back();
  const QString folder = QFileInfo(QString::fromStdString(point.indexFilePath().value_or(""))).path();
  QFile damaged(folder + QStringLiteral("/disk9.pvhd"));
  expect(damaged.open(QIODevice::WriteOnly) && damaged.write(QByteArray(4096, 'x')) == 4096,
         QStringLiteral("to make the damaged image"));
  damaged.close();
  open(stage);
  const QString error = awaitError(stage, QStringLiteral("the error"));
  stage.window.takePicture(QStringLiteral("open-damaged"));
  stage.hands.cancel(stage.window.shownSheet());
  awaitNoSheet(stage, QStringLiteral("the dismissed error"));
  expect(damaged.remove(), QStringLiteral("to remove the damaged image"));
  awaitOpen(stage, 1);
  close(stage);
  return QStringLiteral("opened the sound one of two images; of the other: “%1”").arg(error);
}

QString losePoint(Stage& stage) {
  open(stage);
  awaitOpen(stage, 1);
  const auto helper = allDrives(drives()).front().keeper();
  expect(helper.has_value(), QStringLiteral("the helper of the open backup point"));
  ::kill(*helper, SIGKILL);
  QDialog& notice = awaitTitle(stage, kLost, kForANotice);
  stage.window.takePicture(QStringLiteral("open-lost"));
  stage.hands.cancel(notice);
  awaitNoSheet(stage, QStringLiteral("the dismissed notice"));
  stage.window.waitFor(QStringLiteral("its remains to be taken away"), kForTheHelper,
                       [] { return mountPoints().isEmpty() && allDrives(drives()).empty(); });
  return QStringLiteral("was told of one whose program was killed");
}

QString quitWithOpenPoint(Stage& stage) {
  open(stage);
  awaitOpen(stage, 1);
  command(stage, "quitAction");
  stage.hands.cancel(awaitTitle(stage, kQuestion, kForASheet));
  awaitNoSheet(stage, QStringLiteral("the cancelled question"));
  expect(openCount(stage) == 1, QStringLiteral("the backup point to stay open"));
  command(stage, "quitAction");
  QDialog& question = awaitTitle(stage, kQuestion, kForASheet);
  stage.window.takePicture(QStringLiteral("open-quit"));
  stage.hands.accept(question);
  stage.window.waitFor(QStringLiteral("nothing to be left"), kForTheHelper,
                       [] { return mountPoints().isEmpty() && allDrives(drives()).empty(); });
  return QStringLiteral("was asked before quitting, cancelled, and then closed it and quit");
}

}  // namespace zpk::steps
