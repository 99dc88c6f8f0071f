#include "tools/drive/Tour.h"

#include <cstdio>

#include "tools/drive/TourSteps.h"

namespace zpk {

const std::vector<TourStep>& wholeTour() {
  static const std::vector<TourStep> tour{
      {"open the window", steps::openWindow},
      {"choose the disk", steps::chooseDisk},
      {"name a folder that is not there", steps::meetMissingFolder},
      {"choose the location", steps::chooseLocation},
      {"back up", steps::backUp},
      {"stop a backup", steps::stopBackup},
      {"back up again", steps::backUpAgain},
      {"read the log", steps::readLog},
      {"change the limit", steps::changeLimit},
      {"toggle the check", steps::toggleCheck},
      {"pin a backup point", steps::pinPoint},
      {"unpin it", steps::unpinPoint},
      {"merge two backup points", steps::mergePoint},
      {"enable Auto-Protection", steps::enableAutoProtection},
      {"change the schedule", steps::changeSchedule},
      {"collect logs", steps::collectLogs},
      {"meet another disk's archive", steps::meetForeignArchive},
      {"choose the size of a restore", steps::chooseRestoreSize},
      {"meet a disk that is too small", steps::meetFullDisk},
  };
  return tour;
}

const std::vector<TourStep>& openingTour() {
  static const std::vector<TourStep> tour{
      {"open the window", steps::openWindow},
      {"choose the disk", steps::chooseDisk},
      {"choose the location", steps::chooseLocation},
      {"back up", steps::backUp},
      {"open the backup point", steps::openPoint},
      {"read its files", steps::readOpenFiles},
      {"close it", steps::closePoint},
      {"meet a damaged image", steps::meetDamagedImage},
      {"open a point of two disks", steps::openTwoImages},
      {"lose an open backup point", steps::losePoint},
      {"lose the volume of one", steps::loseVolume},
      {"quit with an open backup point", steps::quitWithOpenPoint},
  };
  return tour;
}

const std::vector<TourStep>& crashTour() {
  static const std::vector<TourStep> tour{
      {"open the window", steps::openWindow},
      {"crash with an open backup point", steps::crash},
  };
  return tour;
}

const std::vector<TourStep>& afterCrashTour() {
  static const std::vector<TourStep> tour{
      {"open the window", steps::openWindow},
      {"meet nothing of the crash", steps::meetNothingOfACrash},
      {"open the backup point", steps::openPoint},
      {"close it", steps::closePoint},
  };
  return tour;
}

const std::vector<TourStep>& refusedTour() {
  static const std::vector<TourStep> tour{
      {"open the window", steps::openWindow},
      {"be refused a backup", steps::meetRefusedBackup},
      {"be refused other settings", steps::meetRefusedSettings},
  };
  return tour;
}

const std::vector<TourStep>& choosingTour() {
  static const std::vector<TourStep> tour{
      {"open the window", steps::openWindow},
      {"choose the disk", steps::chooseDisk},
      {"choose the location", steps::chooseLocation},
  };
  return tour;
}

const std::vector<TourStep>& backupTour() {
  static const std::vector<TourStep> tour{
      {"open the window", steps::openWindow},
      {"choose the disk", steps::chooseDisk},
      {"choose the location", steps::chooseLocation},
      {"back up", steps::backUp},
  };
  return tour;
}

void takeTour(const std::vector<TourStep>& steps, Stage& stage) {
  for (const TourStep& step : steps) {
    try {
      std::printf("✓ %s\n", qUtf8Printable(step.take(stage)));
      std::fflush(stdout);
    } catch (const DriveFailed& failure) {
      throw DriveFailed(std::string(step.name) + ": " + failure.what());
    }
  }
}

}  // namespace zpk
