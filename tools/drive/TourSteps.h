#pragma once

#include "tools/drive/Stage.h"

namespace zpk::steps {

// Disk and place (PlaceSteps.cpp).
QString openWindow(Stage& stage);
QString chooseDisk(Stage& stage);
QString meetMissingFolder(Stage& stage);
QString chooseLocation(Stage& stage);
QString meetForeignArchive(Stage& stage);

// Backups (BackupSteps.cpp).
QString stopBackup(Stage& stage);
QString backUp(Stage& stage);
QString backUpAgain(Stage& stage);
QString backUpOnce(Stage& stage);
QString readLog(Stage& stage);

// Settings and backup points (PointSteps.cpp).
QString changeLimit(Stage& stage);
QString setLimit(Stage& stage, std::uint64_t limit);
QString toggleCheck(Stage& stage);
QString pinPoint(Stage& stage);
QString pinRow(Stage& stage, int row, const QString& label);
QString unpinPoint(Stage& stage);
QString mergePoint(Stage& stage);
QString mergeRow(Stage& stage, int row);

// The schedule, and the collection of logs (ApplicationSteps.cpp).
QString enableAutoProtection(Stage& stage);
QString changeSchedule(Stage& stage);
QString collectLogs(Stage& stage);

// The way to a restore, and the whole of it (RestoreSteps.cpp).
QString chooseRestoreSize(Stage& stage);
QString meetFullDisk(Stage& stage);
// The size is said with the slider: its upper end is where it stands.
enum class RestoreSize { most, middle, least };
struct RestoreErrand {
  int row = 0;   // Of the backup point.
  QString disk;  // Its name in the chooser.
  RestoreSize size = RestoreSize::most;
};
QString restore(Stage& stage, const RestoreErrand& errand);
// Stopped once bytes were written; the window has to say what is left of the disk.
QString stopRestore(Stage& stage, const RestoreErrand& errand);
// What the window says of a restore that cannot be.
QString meetRefusedRestore(Stage& stage, const RestoreErrand& errand);

// What is not allowed (RefusalSteps.cpp).
QString meetRefusedBackup(Stage& stage);
QString meetRefusedSettings(Stage& stage);

// Open backup points (OpenSteps.cpp).
QString openPoint(Stage& stage);
QString readOpenFiles(Stage& stage);
QString closePoint(Stage& stage);
QString meetDamagedImage(Stage& stage);
QString openTwoImages(Stage& stage);
QString losePoint(Stage& stage);
QString loseVolume(Stage& stage);
QString quitWithOpenPoint(Stage& stage);
// Ends the program, and what serves the open point, without a chance to clean up; does not return.
QString crash(Stage& stage);
QString meetNothingOfACrash(Stage& stage);

}  // namespace zpk::steps
