// Opening backup points, and what becomes of those that are open.

#include <signal.h>

#include <QAbstractItemView>
#include <QAction>
#include <QDialog>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <algorithm>

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

// Byte for byte, the names too; how many bytes that were.
qint64 compareFiles(const QString& expected, const QString& shown) {
  const QStringList files = filesBelow(expected);
  expect(!files.isEmpty(), QStringLiteral("files to compare in ") + expected);
  expect(filesBelow(shown) == files, QStringLiteral("the files of the volume, and no others"));
  qint64 bytes = 0;
  for (const QString& name : files) {
    const QByteArray content = contentOf(expected + u'/' + name);
    expect(contentOf(shown + u'/' + name) == content, QStringLiteral("the content of ") + name);
    bytes += content.size();
  }
  return bytes;
}

pid_t helperOf(const DriveFolder& drive) {
  const auto helper = drive.keeper();
  if (!helper) throw DriveFailed("an open backup point has no helper");
  return *helper;
}

// Those that the helper has started: what reads a volume, and what unmounts it in the end.
std::vector<pid_t> childrenOf(pid_t parent) {
  std::vector<pid_t> children;
  for (const QString& name : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
    bool isNumber = false;
    const pid_t process = name.toInt(&isNumber);
    QFile status(QStringLiteral("/proc/%1/status").arg(name));
    if (!isNumber || !status.open(QIODevice::ReadOnly)) continue;
    if (status.readAll().contains("\nPPid:\t" + QByteArray::number(parent) + "\n")) children.push_back(process);
  }
  return children;
}

bool isReader(pid_t process) {
  return QFileInfo(QStringLiteral("/proc/%1/exe").arg(process)).symLinkTarget().endsWith(u"/qrx-helper");
}

QString folderOfLastPoint(Stage& stage) {
  const auto& point = *stage.controller().arcItems()->back();
  return QFileInfo(QString::fromStdString(point.indexFilePath().value_or(""))).path();
}

void save(const QString& path, const QByteArray& content) {
  QFile file(path);
  if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
    throw DriveFailed(QStringLiteral("cannot write ") + path);
}

// The point of one disk becomes one of two, which have the same content.
QByteArray withSecondDisk(const QByteArray& index) {
  QJsonObject point = QJsonDocument::fromJson(index).object();
  QJsonArray disks = point[QStringLiteral("disks")].toArray();
  QJsonObject second = disks.first().toObject();
  second[QStringLiteral("image")] = QStringLiteral("disk1.pvhd");
  second[QStringLiteral("map")] = QStringLiteral("disk1.map");
  disks.append(second);
  point[QStringLiteral("disks")] = disks;
  // It would tell that this is not what the helper wrote.
  point.remove(QStringLiteral("digest"));
  return QJsonDocument(point).toJson();
}

QDialog& awaitTitle(Stage& stage, const QString& title, Seconds atMost) {
  stage.window.waitFor(QStringLiteral("“%1”").arg(title), atMost,
                       [&] { return stage.window.sheet() && stage.window.sheet()->windowTitle() == title; });
  return stage.window.shownSheet();
}

// Told of, dismissed, and nothing is left of it.
void awaitLoss(Stage& stage) {
  QDialog& notice = awaitTitle(stage, kLost, kForANotice);
  stage.window.takePicture(QStringLiteral("open-lost"));
  stage.hands.cancel(notice);
  awaitNoSheet(stage, QStringLiteral("the dismissed notice"));
  stage.window.waitFor(QStringLiteral("its remains to be taken away"), kForTheHelper,
                       [] { return mountPoints().isEmpty() && allDrives(drives()).empty(); });
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
  const qint64 bytes = compareFiles(stage.files, shown);
  QFile written(shown + QStringLiteral("/new"));
  expect(!written.open(QIODevice::WriteOnly), QStringLiteral("writing to be refused"));
  return QStringLiteral("read all files, %1 bytes, and could not write").arg(bytes);
}

QString closePoint(Stage& stage) {
  close(stage);
  return QStringLiteral("closed what was open");
}

// Beside a sound image lies one that is none: the one is opened, the other is told of.
QString meetDamagedImage(Stage& stage) {
  const QString damaged = folderOfLastPoint(stage) + QStringLiteral("/disk9.pvhd");
  save(damaged, QByteArray(4096, 'x'));
  open(stage);
  const QString error = awaitError(stage, QStringLiteral("the error"));
  stage.window.takePicture(QStringLiteral("open-damaged"));
  stage.hands.cancel(stage.window.shownSheet());
  awaitNoSheet(stage, QStringLiteral("the dismissed error"));
  expect(QFile::remove(damaged), QStringLiteral("to remove the damaged image"));
  awaitOpen(stage, 1);
  close(stage);
  return QStringLiteral("opened the sound one of two images; of the other: “%1”").arg(error);
}

// A point of two disks: both are opened, and both hold all of the files.
QString openTwoImages(Stage& stage) {
  const QString folder = folderOfLastPoint(stage);
  const QString index = folder + QStringLiteral("/index.json");
  const QByteArray before = contentOf(index);
  for (const char* kind : {"pvhd", "map"}) {
    const auto name = folder + QStringLiteral("/disk%1.") + QLatin1String(kind);
    expect(QFile::copy(name.arg(0), name.arg(1)), QStringLiteral("to make the second image"));
  }
  save(index, withSecondDisk(before));
  open(stage);
  awaitOpen(stage, 2);
  // Of each disk's volumes the one that the files are known of.
  const QString name = QFileInfo(mountPoints().front()).fileName();
  int compared = 0;
  for (const QString& volume : mountPoints()) {
    if (QFileInfo(volume).fileName() != name) continue;
    compareFiles(stage.files, volume);
    ++compared;
  }
  expect(compared == 2, QStringLiteral("two volumes of one name"));
  close(stage);
  save(index, before);
  for (const char* kind : {"pvhd", "map"})
    expect(QFile::remove(folder + QStringLiteral("/disk1.") + QLatin1String(kind)),
           QStringLiteral("to remove the second image"));
  return QStringLiteral("opened both images of a point of two disks");
}

QString losePoint(Stage& stage) {
  open(stage);
  awaitOpen(stage, 1);
  ::kill(helperOf(allDrives(drives()).front()), SIGKILL);
  awaitLoss(stage);
  return QStringLiteral("was told of one whose program was killed");
}

QString loseVolume(Stage& stage) {
  open(stage);
  awaitOpen(stage, 1);
  const std::vector<pid_t> children = childrenOf(helperOf(allDrives(drives()).front()));
  const auto reader = std::find_if(children.begin(), children.end(), isReader);
  expect(reader != children.end(), QStringLiteral("a process that reads a volume"));
  ::kill(*reader, SIGKILL);
  awaitLoss(stage);
  return QStringLiteral("was told of one whose volume's process was killed");
}

QString crash(Stage& stage) {
  open(stage);
  awaitOpen(stage, 1);
  const pid_t helper = helperOf(allDrives(drives()).front());
  std::vector<pid_t> all = childrenOf(helper);
  all.push_back(helper);
  // Stopped first, so that none cleans up behind another.
  for (const pid_t process : all) ::kill(process, SIGSTOP);
  for (const pid_t process : all) ::kill(process, SIGKILL);
  ::raise(SIGKILL);
  throw DriveFailed("the program survived its crash");
}

QString meetNothingOfACrash(Stage& stage) {
  stage.window.waitFor(QStringLiteral("what the crash left to be taken away"), kForTheHelper,
                       [] { return mountPoints().isEmpty() && allDrives(drives()).empty(); });
  expect(openCount(stage) == 0 && !stage.window.sheet(), QStringLiteral("nothing to be said of it"));
  return QStringLiteral("found nothing of the crash");
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
