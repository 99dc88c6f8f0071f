#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "base/Log.h"
#include "helper/disks/DiskProber.h"
#include "helper/disks/FoundDisk.h"
#include "helper/disks/ImageFolder.h"
#include "helper/disks/LinuxPaths.h"
#include "helper/process/CancelFlag.h"
#include "records/ZPKDisk.h"

namespace zpk {

struct DiskScannerOptions {
  std::vector<std::string> imageFolders;
  bool listsDevices = false;  // The machine's own block devices as well.
  std::string probeProgram;   // Absolute path of zpkprobe.
  std::string iconFolder;     // Holds disk-image.png, disk-internal.png and disk-external.png.
  LinuxPaths paths;
};

// Finds the disks that the program can do something with: in folders of raw images and among the block devices.
//
//   DiskScanner scanner({.imageFolders = {"/home/anna/disks"}, .probeProgram = siblingProgram("zpkprobe"), …},
//   log); for (const auto& disk : scanner.scan(cancel)) …
//
// What is left out, and what is odd about what is not, goes to the log, once until it changes. A disk is left out
// when its layout is of no interest, when its table contradicts itself, when it has content but no table, and when
// another disk has the same identifier (the one seen first stays, for a source is known by its identifier alone).
// A disk that holds the running system, or that cannot be written, is never a restore target.
//
// A disk's number is its own for the life of the scanner: it comes back with the disk and never leads to another
// one that has taken its path. Unchanged images cost a look at their status; block devices are read every time.
//
// One thread at a time. Nothing is ever written.
class DiskScanner {
 public:
  DiskScanner(DiskScannerOptions options, Log& log);

  // By number, which is the order in which disks were first seen. A raised `cancel` leaves disks out.
  std::vector<std::shared_ptr<const ZPKDisk>> scan(const CancelFlag& cancel);

  // What the disk's path led to when it was listed: whoever opens it then can tell whether it is another one. Empty
  // for a disk that no scan gave.
  std::string deviceOf(const ZPKDisk& disk) const;

 private:
  struct Known {
    std::string version;
    DiskContent content;
  };

  FoundDisks find();
  std::shared_ptr<const ZPKDisk> examine(const FoundDisk& disk, const CancelFlag& cancel);
  // Null when the disk cannot be read.
  const DiskContent* contentOf(const FoundDisk& disk, const CancelFlag& cancel);
  std::shared_ptr<const ZPKDisk> recordOf(const FoundDisk& disk, const DiskContent& content);
  std::uint32_t numberOf(const FoundDisk& disk);
  void forgetDisksThatAreGone(const std::vector<FoundDisk>& disks);
  void say(const std::string& line);

  DiskScannerOptions _options;
  Log& _log;
  DiskProber _prober;
  std::vector<ImageFolder> _folders;
  std::map<std::string, std::uint32_t> _numbers;  // By identity.
  std::map<std::uint32_t, std::string> _devices;  // By number.
  std::map<std::string, Known> _known;            // By path.
  std::set<std::string> _said, _saidBefore;       // Lines of this scan and of the one before.
};

// The absolute path of a program that lies beside the running one.
std::string siblingProgram(const std::string& name);

}  // namespace zpk
