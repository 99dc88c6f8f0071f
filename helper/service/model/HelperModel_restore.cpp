// A restore, from the command to its end.

#include <algorithm>
#include <tuple>

#include "helper/service/model/HelperModel.h"
#include "helper/service/model/HelperModel_private.h"
#include "records/RLDArchive.h"
#include "records/RLDPartition.h"
#include "records/ZPKDisk.h"

namespace zpk {
namespace {

bool hasIdentifier(const ZPKDisk& disk, const std::string& identifier) {
  return disk.gptID() && disk.gptID()->stringValue() == identifier;
}

// Copies of one disk share their identifier, and blank ones have none of their own; the number tells which one is
// meant.
bool isChosen(const ZPKDisk& disk, const RestoreChoice& choice) {
  return hasIdentifier(disk, choice.identifier) && disk.diskNumber() == choice.number;
}

// Whether these are two looks at one disk with one division. What is mounted and how full it is may have changed.
bool isSameDisk(const ZPKDisk& a, const ZPKDisk& b) {
  const auto what = [](const ZPKDisk& disk) {
    return std::tuple(disk.filePath(), disk.bsdName(), disk.name(), disk.diskNumber(), disk.diskSize(),
                      disk.sectorSize(), disk.gptID() ? disk.gptID()->stringValue() : std::string());
  };
  const auto samePlace = [](const auto& one, const auto& other) {
    return one->partStart() == other->partStart() && one->partSize() == other->partSize() &&
           one->partType() == other->partType();
  };
  return what(a) == what(b) && std::ranges::equal(a.partitions(), b.partitions(), samePlace);
}

std::string quoted(const ZPKDisk& disk) {
  return "\"" + disk.name().value_or("the disk") + "\"";
}

// What keeps the disk from being overwritten; nothing when it may be.
std::optional<std::string> whyInUse(const ZPKDisk& disk, const std::string& archivePath) {
  for (const auto& partition : disk.partitions()) {
    const auto& mount = partition->mountPoint();
    if (!mount || mount->empty()) continue;
    if (archivePath.starts_with(*mount + "/")) {
      return "The archive lies on " + quoted(disk) + ", which is to be restored onto. Choose another disk.";
    }
    return "A volume of " + quoted(disk) + " is in use at " + *mount + ". Eject it and try again.";
  }
  return std::nullopt;
}

}  // namespace

std::string interruptedRestoreText(const std::string& diskName) {
  return "The restore onto \"" + diskName +
         "\" did not finish: the backup service ended while it ran. What it has written there is incomplete. "
         "Restore "
         "the backup point again.";
}

Expected<std::shared_ptr<const ZPKDisk>, ResultCode> HelperModel::restoreTarget(std::uint64_t arcItem,
                                                                                const RestoreChoice& choice) const {
  if (!takesCommands()) return ResultCode::serviceIsBusy;
  if (const auto code = missingForArchive(arcItem)) return *code;
  const Disks& disks = _facts.disks;
  if (std::ranges::none_of(disks, [&](const auto& disk) { return hasIdentifier(*disk, choice.identifier); })) {
    return ResultCode::diskNotFound;
  }
  const auto chosen = std::ranges::find_if(disks, [&](const auto& disk) { return isChosen(*disk, choice); });
  if (chosen == disks.end() || !(*chosen)->isRestoreTarget()) return ResultCode::badTargetDisk;
  return *chosen;
}

ResultCode HelperModel::restore(std::uint64_t arcItem, const RestoreChoice& choice, const ZPKDisk* agreed) {
  const auto target = restoreTarget(arcItem, choice);
  if (!target) return target.error();
  const std::shared_ptr<const ZPKDisk>& chosen = *target;
  if (agreed && !isSameDisk(*chosen, *agreed)) return ResultCode::badTargetDisk;
  _facts.operationError.reset();
  if (auto reason = whyInUse(*chosen, *_facts.settings.archivePath)) {
    fail(std::move(*reason));
    changed(Weight::milestone);
    return ResultCode::success;
  }
  startRestore(pointAt(arcItem), chosen, choice);
  return ResultCode::success;
}

void HelperModel::startRestore(const PointReference& point, const std::shared_ptr<const ZPKDisk>& disk,
                               const RestoreChoice& choice) {
  onWorker<OperationEnd>(
      [this, &parts = _parts, point, choice, disk, shared = beginOperation(RestoreKind{disk})] {
        // The mark is in place before the first byte is, and not before it is sure that there will be one.
        const auto mayWrite = [this, &parts, &disk, &shared] {
          return doneOnLoop(parts.loop, shared->cancel, [this, name = disk->name().value_or("the disk")] {
            _facts.settings.restoringOnto = name;
            save();
          });
        };
        OperationOutcome outcome = restoreNow(parts, point, *disk, choice, mayWrite, *shared);
        return OperationEnd{std::move(outcome), parts.archives.look(point.archivePath, point.archiveUser)};
      },
      [this](const OperationEnd& end) {
        // The disk is another one now, whatever came of it.
        _readAgain = true;
        operationEnded(end, [&] {
          // Nobody is there any more to be shown what is left of the disk: the next start tells.
          if (_ending && std::holds_alternative<OperationFailed>(end.outcome)) return;
          _facts.settings.restoringOnto.reset();
          save();
        });
      });
}

// On the worker. Disks are looked at once more: what the chooser showed may be minutes old.
OperationOutcome HelperModel::restoreNow(const HelperParts& parts, const PointReference& point,
                                         const ZPKDisk& chosen, const RestoreChoice& choice,
                                         const std::function<bool()>& mayWrite, Shared& shared) {
  RestoreOrder order{point, nullptr, choice.size, {}};
  for (const auto& disk : parts.disks.scan()) {
    if (isChosen(*disk, choice)) {
      order.disk = disk;
    } else if (disk->gptID()) {
      order.otherDisks.push_back(disk->gptID()->stringValue());
    }
  }
  if (shared.cancel.isRequested()) return OperationStopped{};
  if (!order.disk || !order.disk->isRestoreTarget() || !isSameDisk(*order.disk, chosen)) {
    return OperationFailed{"The disk " + quoted(chosen) + " cannot be restored onto any more. Choose it again."};
  }
  if (auto reason = whyInUse(*order.disk, point.archivePath)) return OperationFailed{std::move(*reason)};
  order.device = parts.disks.deviceOf(*order.disk);
  order.mayWrite = mayWrite;
  return parts.archives.restore(order, shared.board, shared.cancel);
}

}  // namespace zpk
