#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/linux/virtualdisk/DriveFolder.h"
#include "platform/posix/FileDescriptor.h"
#include "tools/qrx-helper/VolumeProcess.h"

namespace zpk {

// Brings a drive up and keeps it: mounts the volumes of the image that its request names, says so in the drive's
// folder, and takes everything down once the last volume is unmounted or the process is asked to end. When a
// volume's process is killed or brought down, the drive is lost: the volumes go, the folder stays as the sign of
// it.
//
// One a process, whose children and signals are its own.
class DriveKeeper {
 public:
  // `log` is told what of the backup point turns out to be damaged while its files are read.
  DriveKeeper(std::string drives, const std::string& driveId, VolumeProcess::DamageLog log)
      : _drives(std::move(drives)), _drive(_drives, driveId), _log(std::move(log)) {}
  ~DriveKeeper();

  // Returns when the drive is gone. False when it never came up; the completion says why.
  bool run();

 private:
  bool take();
  bool bringUp(const std::string& imagePath);
  // In words, why there is no such volume.
  std::optional<std::string> addVolume(const std::string& imagePath, const StoredPartition& partition,
                                       const std::string& medium, VolumeProcess::Deadline deadline);
  std::optional<std::string> mountVolume(VolumeProcess& volume, const std::string& label, const std::string& medium,
                                         VolumeProcess::Deadline deadline);
  bool complete(int result, const std::string& message);
  bool fail(int result, const std::string& message);
  int reserveNumber();
  void waitForVolumes();
  // Until a child has ended; false when this process is to end.
  bool waitForSignal(const FileDescriptor& signals);
  void reap(pid_t ended, int status);
  void endVolumes();
  void takeDown();

  std::string _drives;
  DriveFolder _drive;
  VolumeProcess::DamageLog _log;
  FileDescriptor _lock;  // of the request, for as long as the drive is there
  std::vector<VolumeProcess> _volumes;
  std::set<pid_t> _unmounters;  // Each ends once its volume is unmounted.
  bool _lost = false;           // a volume's process did not end as it should
};

}  // namespace zpk
