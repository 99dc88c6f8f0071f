// Makes one backup through the program's own window, and says how it went.

#include <QApplication>
#include <QLineEdit>
#include <cstdio>

#include "app/Composition.h"
#include "tools/drive/DriveOptions.h"
#include "tools/drive/WindowDriver.h"

namespace zpk {
namespace {

constexpr int kUsageMistake = 2;
constexpr Seconds kForTheHelper{20};
constexpr Seconds kForASheet{10};
constexpr Seconds kForABackup{3600};
constexpr double kWorthAPicture = 30;  // percent

struct Account {
  QString disk;
  std::uint64_t bytes = 0;
  double seconds = 0;
};

void chooseSource(WindowDriver& driver, ZPKUIDaemonController& controller) {
  driver.press("selectSourceButton");
  driver.waitFor(QStringLiteral("the disk chooser"), kForASheet, [&] { return driver.sheet() != nullptr; });
  driver.takePicture(QStringLiteral("choose-disk"));
  driver.press("actionButton");
  driver.waitFor(QStringLiteral("the chosen disk"), kForASheet,
                 [&] { return controller.sourceFound() && !driver.sheet(); });
}

void chooseLocation(WindowDriver& driver, ZPKUIDaemonController& controller, const QString& archive) {
  driver.press("selectBackupPathButton");
  driver.waitFor(QStringLiteral("the location panel"), kForASheet, [&] { return driver.sheet() != nullptr; });
  driver.type(driver.widget<QLineEdit>("fileNameEdit"), archive);
  driver.takePicture(QStringLiteral("choose-location"));
  driver.pressTitled(QStringLiteral("Choose"));
  driver.waitFor(QStringLiteral("the chosen location"), kForASheet,
                 [&] { return controller.arcSet() && !driver.sheet(); });
}

std::uint64_t usedBytes(const Dictionary& sourceInfo) {
  return sourceInfo["size"].unsignedIntegerValue() - sourceInfo["free"].unsignedIntegerValue();
}

std::size_t pointCount(const ZPKUIDaemonController& controller) {
  return controller.arcItems() ? controller.arcItems()->size() : 0;
}

Account backUp(WindowDriver& driver, Composition& program) {
  ZPKUIDaemonController& controller = program.controller();
  Account account{QString::fromStdString(controller.sourceInfo()["name"].textOr("")),
                  usedBytes(controller.sourceInfo()), 0};
  const std::size_t before = pointCount(controller);
  bool pictured = false;
  const Seconds start = program.runLoop().now();
  driver.press("backupButton");
  driver.waitFor(QStringLiteral("the end of the backup"), kForABackup, [&] {
    const bool running = controller.inProgress();
    if (running && !pictured && controller.progressPercents().doubleValue() >= kWorthAPicture) {
      driver.takePicture(QStringLiteral("backing-up"));
      pictured = true;
    }
    return !running && pointCount(controller) > before;
  });
  account.seconds = (program.runLoop().now() - start).count();
  return account;
}

Account drive(Composition& program, WindowDriver& driver, const QString& archive) {
  ZPKUIDaemonController& controller = program.controller();
  program.show();
  driver.waitFor(QStringLiteral("the helper"), kForTheHelper,
                 [&] { return controller.currentStatus() && controller.modalSession() == 0; });
  driver.takePicture(QStringLiteral("start"));
  chooseSource(driver, controller);
  chooseLocation(driver, controller, archive);
  driver.takePicture(QStringLiteral("ready"));
  const Account account = backUp(driver, program);
  driver.takePicture(QStringLiteral("done"));
  return account;
}

void print(const Account& account, const QString& archive, const QStringList& pictures) {
  const double megabytes = static_cast<double>(account.bytes) / 1e6;
  std::printf("disk      %s\n", qUtf8Printable(account.disk));
  std::printf("archive   %s\n", qUtf8Printable(archive));
  std::printf("stored    %.1f MB in %.2f s, %.0f MB/s\n", megabytes, account.seconds, megabytes / account.seconds);
  for (const QString& picture : pictures) std::printf("picture   %s\n", qUtf8Printable(picture));
}

int run(const DriveOptions& options) {
  // In English whatever the desktop speaks: buttons are pressed by their titles.
  Composition program({.which = options.systemBus ? WhichBus::system : WhichBus::session, .address = {}},
                      {QStringLiteral("en")});
  try {
    WindowDriver driver(program, options.pictures);
    const Account account = drive(program, driver, options.archive);
    print(account, options.archive, driver.pictures());
    return 0;
  } catch (const DriveFailed& failure) {
    std::fprintf(stderr, "zpk-drive: %s\n", failure.what());
    return 1;
  }
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
