// Takes a tour of the program through its own window, and says how it went.

#include <QApplication>
#include <QDir>
#include <QFile>
#include <cstdio>

#include "app/Composition.h"
#include "tools/drive/DriveOptions.h"
#include "tools/drive/Errands.h"
#include "tools/drive/Tour.h"

namespace zpk {
namespace {

constexpr int kUsageMistake = 2;

void print(const BackupFigures& figures, const QString& archive) {
  const double megabytes = static_cast<double>(figures.bytes) / 1e6;
  std::printf("disk      %s\n", qUtf8Printable(figures.disk));
  std::printf("archive   %s\n", qUtf8Printable(archive));
  std::printf("stored    %.1f MB in %.2f s, %.0f MB/s\n", megabytes, figures.seconds, megabytes / figures.seconds);
}

// A home of its own beside the pictures, with no job launcher in it: the schedule of whoever takes the tour stays
// as it is.
InstalledPaths ownPaths(const DriveOptions& options) {
  const QString home = QDir::cleanPath(options.pictures + QStringLiteral("/../home"));
  if (!QDir().mkpath(home)) throw DriveFailed(QStringLiteral("cannot make the folder ") + home);
  qputenv("HOME", QFile::encodeName(home));
  InstalledPaths paths;
  paths.launcher = QDir(home).filePath(QStringLiteral("launchctl")).toStdString();
  // The helper tool of virtual disks is built beside this program.
  paths.virtualDisks = QApplication::applicationDirPath().toStdString();
  return paths;
}

const std::vector<TourStep>& tourOf(Journey journey) {
  switch (journey) {
    case Journey::whole:
      return wholeTour();
    case Journey::opening:
      return openingTour();
    case Journey::crash:
      return crashTour();
    case Journey::afterCrash:
      return afterCrashTour();
    case Journey::refused:
      return refusedTour();
    case Journey::errands:
      return choosingTour();
    case Journey::backup:
      break;
  }
  return backupTour();
}

int run(const DriveOptions& options) try {
  // In English whatever the desktop speaks: what is shown is compared with what is expected.
  Composition program({.which = options.systemBus ? WhichBus::system : WhichBus::session, .address = {}},
                      {QStringLiteral("en")}, ownPaths(options));
  WindowDriver window(program, options.pictures);
  const auto hands = Hands::make(options.input);
  Stage stage{program, window, *hands, options.archive, options.files};
  takeTour(tourOf(options.journey), stage);
  if (options.journey == Journey::errands) runErrands(stage);
  if (stage.figures.seconds > 0) print(stage.figures, options.archive);
  for (const QString& picture : window.pictures()) std::printf("picture   %s\n", qUtf8Printable(picture));
  return 0;
} catch (const DriveFailed& failure) {
  std::fprintf(stderr, "zpk-drive: %s\n", failure.what());
  return 1;
}

}  // namespace
}  // namespace zpk

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QString mistake;
  const auto options = zpk::driveOptions(QApplication::arguments().mid(1), mistake);
  if (!options) {
    std::fprintf(stderr, "zpk-drive: %s\n", qUtf8Printable(mistake));
    return zpk::kUsageMistake;
  }
  return zpk::run(*options);
}
