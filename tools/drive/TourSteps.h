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
QString readLog(Stage& stage);

// Settings and backup points (PointSteps.cpp).
QString changeLimit(Stage& stage);
QString toggleCheck(Stage& stage);
QString pinPoint(Stage& stage);
QString unpinPoint(Stage& stage);
QString mergePoint(Stage& stage);

// The schedule, and the collection of logs (ApplicationSteps.cpp).
QString enableAutoProtection(Stage& stage);
QString changeSchedule(Stage& stage);
QString collectLogs(Stage& stage);

// The way to a restore (RestoreSteps.cpp).
QString chooseRestoreSize(Stage& stage);
QString meetFullDisk(Stage& stage);

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
