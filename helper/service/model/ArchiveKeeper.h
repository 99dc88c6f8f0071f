#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "base/Expected.h"
#include "helper/process/CancelFlag.h"
#include "helper/service/model/OperationBoard.h"

namespace zpk {

class RLDArchive;
class ZPKDisk;

// What is found at an archive path.
struct NoArchiveFolder {  // The folder that would hold the archive is not there.
  friend bool operator==(const NoArchiveFolder&, const NoArchiveFolder&) = default;
};
struct NoArchiveYet {
  friend bool operator==(const NoArchiveYet&, const NoArchiveYet&) = default;
};
struct UnreadableArchive {
  std::string reason;  // A sentence for a person.
  friend bool operator==(const UnreadableArchive&, const UnreadableArchive&) = default;
};

// How a backup point fared: what its index notes and no record of the link tells.
struct PointHealth {
  struct Check {
    std::int64_t time = 0;  // Seconds since 1970.
    bool foundDamage = false;
    friend bool operator==(const Check&, const Check&) = default;
  };

  std::string indexPath;                // The point's, as its record has it.
  std::optional<Check> lastCheck{};     // Nothing when it was never checked.
  std::uint64_t unreadableSectors = 0;  // Of the disk, when it was made.
  friend bool operator==(const PointHealth&, const PointHealth&) = default;
};

struct PresentArchive {
  std::shared_ptr<const RLDArchive> archive;  // Never null.
  std::string sourceDisk;                     // Text form of the GPT identifier of the disk that it was made from.
  std::vector<PointHealth> health{};          // Of the points whose index can be read.
};
using ArchiveView = std::variant<NoArchiveFolder, NoArchiveYet, UnreadableArchive, PresentArchive>;

bool sameView(const ArchiveView& a, const ArchiveView& b);

// The user who chose where the archive lies, and with whose rights it is reached: a helper that is root must not go
// where a path leads that its user could not follow. Nothing: with the helper's own.
using ArchiveUser = std::optional<std::uint32_t>;

struct BackupOrder {
  std::shared_ptr<const ZPKDisk> disk;  // A disk with a Windows side.
  std::string archivePath;
  std::uint64_t maxIncrements = 10;  // Merge the oldest ones until there are no more.
  bool checkFileSystem = true;       // Refuse a file system that was not closed cleanly or contradicts itself.
  ArchiveUser archiveUser = std::nullopt;
  std::string device{};  // As DiskCatalog has it: nothing else may be read.
  // Called on the worker once the point exists, whatever becomes of the rest, with a remark as OperationDone has
  // it.
  std::function<void(const std::optional<std::string>& remark)> pointExists{};
};

// How an operation ended. Only `OperationDone` means that it was done; otherwise the backup points are what they
// were.
struct OperationDone {
  // Of a backup: a sentence about what its point does not hold, although it is complete.
  std::optional<std::string> remark{};
};
struct OperationStopped {};
struct OperationFailed {
  std::string reason;  // What happened and what to do about it, for a person.
};
using OperationOutcome = std::variant<OperationDone, OperationStopped, OperationFailed>;

// A backup point as somebody saw it: its place in the archive, and its index file, which tells whether it is still
// the same one that lies there.
struct PointReference {
  std::string archivePath;
  std::uint64_t index = 0;
  std::string indexPath;
  ArchiveUser archiveUser = std::nullopt;
};

// A stretch of a stored disk that cannot be read back as it was written.
struct PointDamage {
  std::string file;
  std::uint64_t start = 0;  // Bytes on the disk.
  std::uint64_t end = 0;
};

// A stretch of a disk that could not be read when the point was made, and is zeros in it.
struct UnreadableStretch {
  std::string disk;         // Its name.
  std::uint64_t start = 0;  // Bytes on the disk.
  std::uint64_t end = 0;
};

// What a check of one point found.
struct PointVerdict {
  std::uint64_t index = 0;
  std::optional<std::int64_t> pointTime;  // When it was made, seconds since 1970; none when its index is lost.
  std::int64_t time = 0;                  // When it was checked.
  std::uint64_t bytes = 0;                // That were read.
  std::string error;                      // What kept it from being read; empty when nothing did.
  std::vector<PointDamage> damage;
  std::uint64_t moreDamage = 0;  // Ranges that are not in the list.
  std::string unnoted;           // Why the archive does not say so; empty when it does.
  // The index of the damaged point that this one takes content from, so that it is not whole although what it
  // holds itself may be sound.
  std::optional<std::uint64_t> damagedBase;
  // No damage: it is the point as it was made.
  std::uint64_t unreadableSectors = 0;
  std::vector<UnreadableStretch> unreadable;
  std::uint64_t moreUnreadable = 0;

  bool isSound() const { return error.empty() && damage.empty(); }
};

struct VerificationReport {
  OperationOutcome outcome = OperationDone{};  // Failed when a point is damaged, too.
  std::vector<PointVerdict> points;            // Those that were read to their end.
  bool isComplete = false;                     // All of them were.
};

struct PinOrder {
  PointReference point;
  bool isPinned = false;
  std::optional<std::string> label;  // None: the point keeps the one that it has.
};

struct RestoreOrder {
  PointReference point;
  std::shared_ptr<const ZPKDisk> disk;  // As it is now; a restore target.
  std::uint64_t size = 0;               // For the Windows side, where the disk leaves a choice.
  // Text forms of the identifiers of all other disks that are attached: nothing else may bear one of them.
  std::vector<std::string> otherDisks;
  std::string device{};  // As DiskCatalog has it: nothing else may be written.
  // Called on the worker right before the disk is written for the first time; false when it may not be.
  std::function<bool()> mayWrite{};
};

// Everything that is done to archives. All calls take their time and are made on the worker, one at a time.
class ArchiveKeeper {
 public:
  virtual ~ArchiveKeeper() = default;

  virtual ArchiveView look(const std::string& archivePath, ArchiveUser user) = 0;

  // Makes a backup point; makes the archive where there is none yet. Tells its progress to `board`. Ends within a
  // second of a request to stop.
  virtual OperationOutcome backup(const BackupOrder& request, OperationBoard& board, const CancelFlag& cancel) = 0;

  // Writes a point onto a disk; the archive is only read. Tells its progress to `board`; ends within a second of a
  // request to stop. A disk that has been written in part is always a failure, whose reason says so.
  virtual OperationOutcome restore(const RestoreOrder& order, OperationBoard& board, const CancelFlag& cancel) = 0;

  // Merges a point into the one before it. Tells its progress to `board`; ends within a second of a request to
  // stop.
  virtual OperationOutcome merge(const PointReference& point, OperationBoard& board, const CancelFlag& cancel) = 0;

  // Reads all points back and notes in each that it was checked, unless the archive cannot be written. Tells its
  // progress to `board`; ends within a second of a request to stop.
  virtual VerificationReport verify(const std::string& archivePath, ArchiveUser user, OperationBoard& board,
                                    const CancelFlag& cancel) = 0;

  // Marks a point, or takes the mark away. What went wrong is a sentence for a person; the point is as it was then.
  // A merge that was interrupted is finished first, which a request to stop leaves to the next time.
  virtual Expected<Done, std::string> pin(const PinOrder& order, const CancelFlag& cancel) = 0;
};

}  // namespace zpk
