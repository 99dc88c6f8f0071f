// What belongs to the whole program: the schedule of the backups, and the collection of logs.

#include <QAbstractButton>
#include <QComboBox>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QTimeEdit>

#include "base/PropertyList.h"
#include "tools/drive/TourSteps.h"

namespace zpk::steps {
namespace {

constexpr int kEveryWeek = 1;
constexpr int kSunday = 6;
const QString kAtHalfPastSeven = QStringLiteral("0730");
constexpr Seconds kForTheLogs{300};

QString summary(Stage& stage) {
  return stage.window.widget<QLabel>("scheduleSummary").text();
}

// The times in the job file; empty without one.
Dictionary writtenSchedule(const Stage& stage) {
  QFile file(QString::fromStdString(stage.program.scheduler().jobPath()));
  if (!file.open(QIODevice::ReadOnly)) return {};
  const QByteArray content = file.readAll();
  const auto job = readPropertyList(Bytes(content.begin(), content.end()));
  const Dictionary* keys = job ? job->dictionary() : nullptr;
  const Dictionary* times = keys ? (*keys)["StartCalendarInterval"].dictionary() : nullptr;
  return times ? *times : Dictionary();
}

QStringList archivesOfLogs() {
  return QDir(QStringLiteral("/tmp")).entryList({QStringLiteral("ZPK_Logs_*.zip")}, QDir::Files);
}

void removeLogs(const QString& archive) {
  const QString path = QStringLiteral("/tmp/") + archive;
  QFile::remove(path);
  QDir(path.chopped(QStringLiteral(".zip").size())).removeRecursively();
}

}  // namespace

QString enableAutoProtection(Stage& stage) {
  command(stage, "toggleSchedulerButton", "autoProtectionAction");
  stage.window.waitFor(QStringLiteral("the schedule to be on"), kForASheet, [&] {
    return stage.window.widget<QLabel>("autoProtectionTextField").text() ==
           QStringLiteral("Auto-Protection: Enabled");
  });
  expect(summary(stage).startsWith(QStringLiteral("Every day at ")), QStringLiteral("a schedule for every day"));
  stage.window.takePicture(QStringLiteral("auto-protection"));
  return QStringLiteral("enabled Auto-Protection: %1").arg(summary(stage));
}

QString changeSchedule(Stage& stage) {
  command(stage, "changeScheduleButton", "changeScheduleAction");
  const auto isOpen = [&] { return stage.program.scheduler().isUpdatingValue(); };
  stage.window.waitFor(QStringLiteral("the popover of the schedule"), kForASheet, isOpen);
  stage.hands.choose(stage.window.widget<QComboBox>("scheduleTypePopUpButton"), kEveryWeek);
  stage.hands.choose(stage.window.widget<QComboBox>("dayOfWeekPopUpButton"), kSunday);
  stage.hands.type(stage.window.widget<QTimeEdit>("timeOfDayPicker"), kAtHalfPastSeven);
  stage.window.takePicture(QStringLiteral("schedule"));
  stage.hands.press(stage.window.widget<QAbstractButton>("saveCalButton"));
  stage.window.waitFor(QStringLiteral("the popover to go"), kForASheet, [&] { return !isOpen(); });
  expect(writtenSchedule(stage) == Dictionary{{"Minute", 30}, {"Hour", 7}, {"Weekday", 7}},
         QStringLiteral("a job on sundays at half past seven"));
  return QStringLiteral("changed the schedule: %1").arg(summary(stage));
}

// The archive is of nobody's use afterwards.
QString collectLogs(Stage& stage) {
  const QStringList before = archivesOfLogs();
  command(stage, "collectLogsAction");
  stage.window.waitFor(QStringLiteral("the window of the logs"), kForASheet,
                       [&] { return stage.window.sheet() != nullptr; });
  stage.window.takePicture(QStringLiteral("collect-logs"));
  QDialog& window = stage.window.shownSheet();
  stage.hands.accept(window);
  stage.window.waitFor(QStringLiteral("the logs"), kForTheLogs,
                       [&] { return !stage.program.delegate().isCollectingLogs() && !stage.window.sheet(); });
  QString made;
  for (const QString& archive : archivesOfLogs()) {
    if (!before.contains(archive)) made = archive;
  }
  expect(!made.isEmpty(), QStringLiteral("an archive of the logs"));
  removeLogs(made);
  awaitIdle(stage);
  return QStringLiteral("collected the logs into %1").arg(made);
}

}  // namespace zpk::steps
