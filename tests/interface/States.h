#pragma once

#include <QAbstractItemView>

#include "interface/InterfaceWorld.h"

namespace zpk {

// A state of the window that is worth looking at, by the name of its picture.
struct WindowState {
  const char* name;
  void (*enter)(InterfaceWorld& world);
};

inline Array someLog() {
  Array log;
  for (const char* line :
       {"Backup of “Flash Disk FD0256G” to /backups/Office PC.rldbackup", "Checking BOOTCAMP (NTFS)",
        "The file system is clean; 47 GB of 128 GB are in use", "Storing partition 4, BOOTCAMP",
        "10 percent, 212 MB/s", "20 percent, 208 MB/s", "30 percent, 215 MB/s"}) {
    log.emplace_back(line);
  }
  return log;
}

// What comes after `status` was shown: a click, a selection.
inline void selectRow(InterfaceWorld& world, const char* list, int row) {
  auto* view = world.find<QAbstractItemView>(list);
  view->setCurrentIndex(view->model()->index(row, 0));
}

inline Dictionary readyStatusWith(void (*change)(Dictionary&)) {
  Dictionary status = readyStatus();
  change(status);
  return status;
}

inline constexpr WindowState kWindowStates[] = {
    {"waiting", [](InterfaceWorld&) {}},
    {"nothing-chosen",
     [](InterfaceWorld& world) { world.show(idleStatus({bootCampDisk(1, "Flash Disk FD0256G")})); }},
    {"no-location",
     [](InterfaceWorld& world) {
       world.show(readyStatusWith([](Dictionary& status) { statuskey::targetArchive.set(status, std::nullopt); }));
     }},
    {"ready", [](InterfaceWorld& world) { world.show(readyStatus()); }},
    {"new-archive",
     [](InterfaceWorld& world) {
       world.show(readyStatusWith([](Dictionary& status) {
         statuskey::arcState.set(status, ArcState::empty);
         statuskey::archiveDescription.set(status, nullptr);
       }));
     }},
    {"archive-away",
     [](InterfaceWorld& world) {
       world.show(
           readyStatusWith([](Dictionary& status) { statuskey::arcState.set(status, ArcState::unavailable); }));
     }},
    {"backing-up",
     [](InterfaceWorld& world) {
       world.show(readyStatus());
       world.show(backupStatus(34, someLog()));
     }},
    {"restoring",
     [](InterfaceWorld& world) {
       world.show(readyStatus());
       Dictionary status = backupStatus(72, someLog());
       statuskey::progressType.set(status, ProgressType::restore);
       statuskey::restoreTarget.set(status, bootCampDisk(3, "Pocket T7"));
       world.show(status);
     }},
    {"merging",
     [](InterfaceWorld& world) {
       world.show(readyStatus());
       Dictionary status = backupStatus(8, someLog());
       statuskey::progressType.set(status, ProgressType::merge);
       statuskey::mergeIndex.set(status, 1);
       world.show(status);
     }},
    {"last-backup-failed",
     [](InterfaceWorld& world) {
       world.show(readyStatusWith([](Dictionary& status) {
         statuskey::lastBackupError.set(
             status, "Windows is hibernated on BOOTCAMP. Start Windows, shut it down, and back up again.");
       }));
     }},
    {"setting-on",
     [](InterfaceWorld& world) {
       world.show(readyStatusWith([](Dictionary& status) { statuskey::checkFS.set(status, true); }));
       selectRow(world, "arcItemsTable", 1);
     }},
    {"helper-gone",
     [](InterfaceWorld& world) {
       world.show(readyStatus());
       world.transport.helperDies();
     }},
    {"helper-busy",
     [](InterfaceWorld& world) {
       world.show(readyStatusWith([](Dictionary& status) { statuskey::state.set(status, HelperState::busy); }));
     }},
    {"busy-helper-gone",
     [](InterfaceWorld& world) {
       world.show(readyStatusWith([](Dictionary& status) { statuskey::state.set(status, HelperState::busy); }));
       world.transport.helperDies();
     }},
    {"error",
     [](InterfaceWorld& world) {
       world.show(readyStatusWith([](Dictionary& status) {
         statuskey::opError.set(status, "The archive’s disk is full: 12 GB more are needed on /backups.");
       }));
     }},
    {"error-long",
     [](InterfaceWorld& world) {
       std::string text;
       for (int i = 1; i < 40; ++i) text += "Cluster " + std::to_string(i) + " cannot be read.\n";
       Dictionary status = readyStatus();
       statuskey::opError.set(status, text);
       world.show(status);
     }},
    {"command-refused",
     [](InterfaceWorld& world) {
       world.show(readyStatus());
       world.helper().answerOnce("backup", 5);
       world.controller->backup();
     }},
    {"not-allowed",
     [](InterfaceWorld& world) {
       world.show(readyStatusWith([](Dictionary& status) {
         statuskey::opError.set(status,
                                "You are not allowed to restore a backup. Ask an administrator of this computer.");
       }));
     }},
    {"choose-source",
     [](InterfaceWorld& world) {
       world.show(idleStatus({bootCampDisk(1, "Flash Disk FD0256G"), bootCampDisk(2, "Pocket T7 external")}));
       world.controller->selectSourceAction();
     }},
    {"choose-source-none",
     [](InterfaceWorld& world) {
       world.show(idleStatus({}));
       world.controller->selectSourceAction();
     }},
    {"choose-location",
     [](InterfaceWorld& world) {
       world.show(readyStatus());
       world.controller->selectBackupPath();
     }},
    {"restore-target",
     [](InterfaceWorld& world) {
       Dictionary status = readyStatus();
       statuskey::disks.set(status, {bootCampDisk(1, "Flash Disk FD0256G"),
                                     macDisk(2, "External Disk", 500'000'000'000, 300'000'000'000)});
       world.show(status);
       world.controller->setSelectedArcItemsIndexes({1});
       world.controller->restore();
       selectRow(world, "disksListContentView", 1);
     }},
    {"restore-target-replaced",
     [](InterfaceWorld& world) {
       Dictionary status = readyStatus();
       statuskey::disks.set(status, {bootCampDisk(1, "APPLE SSD SM0256G"),
                                     macDisk(2, "External Disk", 500'000'000'000, 300'000'000'000)});
       world.show(status);
       world.controller->setSelectedArcItemsIndexes({1});
       world.controller->restore();
     }},
    {"restore-target-erased",
     [](InterfaceWorld& world) {
       Dictionary status = readyStatus();
       const std::string longName = "Portable Drive of the Workshop on the Second Floor, for Films and Backups";
       statuskey::disks.set(status,
                            {bootCampDisk(1, "APPLE SSD SM0256G"), emptyDisk(4, longName, 500'000'000'000)});
       world.show(status);
       world.controller->setSelectedArcItemsIndexes({1});
       world.controller->restore();
       selectRow(world, "disksListContentView", 1);
     }},
    {"restore-target-too-small",
     [](InterfaceWorld& world) {
       Dictionary status = readyStatus();
       statuskey::disks.set(status, {emptyDisk(4, "Small Stick", 10'000'000'000), bootCampDisk(1, "Flash Disk")});
       world.show(status);
       world.controller->setSelectedArcItemsIndexes({1});
       world.controller->restore();
     }},
    {"foreign-archive",
     [](InterfaceWorld& world) {
       world.show(readyStatusWith([](Dictionary& status) { statuskey::arcState.set(status, ArcState::foreign); }));
       world.controller->backup();
     }},
    {"merge",
     [](InterfaceWorld& world) {
       world.show(readyStatus());
       world.controller->setSelectedArcItemsIndexes({1});
       world.controller->mergeArvhiveAction();
     }},
    {"pin-label",
     [](InterfaceWorld& world) {
       world.show(readyStatus());
       world.controller->pin(true, *(*world.controller->arcItems())[1]);
     }},
    {"auto-protection",
     [](InterfaceWorld& world) {
       world.show(readyStatus());
       world.click("toggleSchedulerButton");
     }},
    {"schedule-every-day",
     [](InterfaceWorld& world) {
       world.show(readyStatus());
       world.openSchedule();
     }},
    {"schedule-every-week",
     [](InterfaceWorld& world) {
       world.show(readyStatus());
       world.openSchedule();
       world.scheduler->setScheduleType(Value(ZPKSchedulerViewController::kEveryWeek));
       world.scheduler->setDayOfWeek(2);
     }},
    {"schedule-every-month",
     [](InterfaceWorld& world) {
       world.show(readyStatus());
       world.openSchedule();
       world.scheduler->setScheduleType(Value(ZPKSchedulerViewController::kEveryMonth));
       world.scheduler->setDayOfMonth(30);
     }},
    {"collect-logs",
     [](InterfaceWorld& world) {
       world.show(readyStatus());
       world.delegate->openCollectLogsWindow();
     }},
    {"collecting-logs",
     [](InterfaceWorld& world) {
       world.show(readyStatus());
       world.delegate->openCollectLogsWindow();
       world.delegate->collectLogs();
     }},
    {"quit-pending",
     [](InterfaceWorld& world) {
       world.show(readyStatus());
       world.delegate->openCollectLogsWindow();
       world.delegate->collectLogs();
       world.window->close();
     }},
    {"quit-with-open-points",
     [](InterfaceWorld& world) {
       world.show(readyStatus());
       world.driveControl.attach("A", "/backups/Office PC.rldbackup/p0002/disk0.pvhd");
       world.terminate();
     }},
    {"open-point-lost",
     [](InterfaceWorld& world) {
       world.show(readyStatus());
       world.driveControl.attach("A", "/backups/Office PC.rldbackup/p0002/disk0.pvhd");
       world.driveControl.lose("A");
     }},
    {"open-point-partial",
     [](InterfaceWorld& world) {
       world.show(readyStatus());
       world.driveControl.attach(
           "A", "/backups/Office PC.rldbackup/p0002/disk0.pvhd",
           "Partition 3: Its file system (FAT32) cannot be shown; the backup holds it all the same");
     }},
};

}  // namespace zpk
