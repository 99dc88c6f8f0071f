#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "base/RunLoop.h"
#include "helper/service/model/ArchiveKeeper.h"
#include "helper/service/model/DiskCatalog.h"
#include "helper/service/model/HelperSettings.h"
#include "helper/service/model/OperationLog.h"
#include "helper/service/model/RemainingTime.h"
#include "helperlink/StatusRecord.h"

namespace zpk {

// Ready for commands.
struct Idle {};

// Takes no command for the moment: it reads disks and archive, or puts away what was stopped.
struct Busy {};

// What an operation that runs does.
struct BackupKind {};
struct RestoreKind {
  std::shared_ptr<const ZPKDisk> target;  // As it was chosen; never null.
};
struct MergeKind {
  std::uint64_t point = 0;  // Its place in the archive as the facts have it; its parent is the one before.
};
struct VerifyKind {};
using OperationKind = std::variant<BackupKind, RestoreKind, MergeKind, VerifyKind>;

struct RunningOperation {
  OperationKind kind;
  Seconds began{};  // On the loop's clock.
  Seconds now{};    // When the figures were taken.
  std::uint64_t bytesDone = 0;
  std::uint64_t bytesTotal = 0;  // 0 until it is known.
  RemainingTime remaining;
  OperationLog log;
};

using Activity = std::variant<Idle, Busy, RunningOperation>;

// All that the helper knows and says: what a status is made from.
struct HelperFacts {
  std::int64_t stateTime = 0;  // Grows with every change, also from one start of the helper to the next.
  Activity activity = Busy{};
  HelperSettings settings;
  Disks disks;
  ArchiveView archive = NoArchiveFolder{};
  std::optional<std::string> operationError;  // Until somebody was shown it.
};

// The disk with that identifier, as the front end finds it: the first one. Null when there is none.
std::shared_ptr<const ZPKDisk> diskWithIdentifier(const Disks& disks, const std::string& identifier);

// The archive as the source disk sees it.
ArcState arcStateOf(const HelperFacts& facts);

// The status record: every key that has a value, and no other.
Dictionary statusOf(const HelperFacts& facts);

}  // namespace zpk
