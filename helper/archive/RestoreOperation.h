#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "helper/archive/Archive.h"
#include "helper/archive/RestorePlan.h"

namespace zpk {

struct RestoreRequest {
  std::size_t point = 0;  // Its first disk is restored.
  std::string path;       // Of the target: a block device or a raw image file.
  TargetLayout target;    // As it was when somebody chose it.
  TargetUse use = TargetUse::WindowsPartition;
  std::uint64_t wantedSize = 0;  // As planRestore() has it.
  // New entries, and a new table, get the identifiers of the stored ones, so that what Windows notes of its disk is
  // still right. Not while the disk that they are from is attached as well.
  bool takesIdentity = false;
  std::string exportFolder;  // As FuseExport has it.
  std::string tableProgram;  // Absolute path of zpktable.
  // Asked right before the first write; false ends it as a raised `cancel` does. Nobody: it may write.
  std::function<bool()> mayWrite{};
  // Told what is done, a line for the log each.
  std::function<void(const std::string& line)> say = [](const std::string&) {};
};

struct RestoredPoint {
  std::uint64_t copiedBytes = 0;
  bool isResized = false;
};

// Why there is no restored disk, and what has become of the target.
struct RestoreFailure {
  ArchiveError error;
  bool isTargetIncomplete = false;  // Else not a byte of it was written.
};

// Called on the calling thread; never goes back, and `done` reaches `total` only once everything is on the target
// and durable.
using RestoreProgress = std::function<void(std::uint64_t done, std::uint64_t total)>;

// Writes a backup point onto a disk; the archive is only read, and every byte compared with its hash on the way.
//
//   1  plan; open the target for nobody else; it has to be what it was when it was chosen
//   2  look into the stored volumes: what is in use, and whether they can be made as small as they must be; find
//      out whether the table would take the new entries. Until here nothing is written
//   3  zeros where boot sectors and their copies go, and over a table that is replaced; sync
//   4  copy what is in use, resize the Windows volume where it has got another size, boot sectors for the new
//   place,
//      check
//   5  sync; boot sectors; sync; then the table; sync
//
// So whoever is stopped in between, also by a power cut, leaves no file system at all and not a damaged one, and
// the table is never changed before what it names is complete. A raised `cancel` is answered within a second.
Expected<RestoredPoint, RestoreFailure> restorePoint(const Archive& archive, const RestoreRequest& request,
                                                     const RestoreProgress& progress, const CancelFlag& cancel);

}  // namespace zpk
