#pragma once

#include <string>
#include <vector>

#include "base/Expected.h"
#include "helper/disks/FoundDisk.h"
#include "helper/disks/probe/ProbeReport.h"
#include "helper/process/CancelFlag.h"

namespace zpk {

// What has been read from a disk: its table, and what lies on each entry, in the same order.
struct DiskContent {
  TableReport table;
  std::vector<VolumeReport> volumes;
  std::vector<std::string> remarks;  // What could not be read, for the log.
  bool isComplete = true;            // False when reading again may tell more.
};

// Runs the probe program on found disks, each table and each volume in a process of its own.
//
// A program that crashes, hangs or talks nonsense costs a remark and the volume it was looking at, which then looks
// unformatted; without a table there is an error instead. The whole of a disk takes at most half a minute.
class DiskProber {
 public:
  explicit DiskProber(std::string program) : _program(std::move(program)) {}

  // The error is a sentence part: "it is a pipe".
  Expected<DiskContent, std::string> read(const FoundDisk& disk, const CancelFlag& cancel) const;

 private:
  std::string _program;
};

}  // namespace zpk
