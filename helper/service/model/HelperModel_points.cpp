// What is done to a single backup point.

#include "helper/service/model/HelperModel.h"
#include "helper/service/model/HelperModel_private.h"
#include "helper/service/model/PointLabel.h"
#include "records/RLDArchive.h"
#include "records/RLDArchiveItem.h"

namespace zpk {

PointReference HelperModel::pointAt(std::uint64_t arcItem) const {
  const auto& items = std::get<PresentArchive>(_facts.archive).archive->items();
  return {*_facts.settings.archivePath, arcItem, items[arcItem]->indexFilePath().value_or(""),
          _facts.settings.archiveUser};
}

void HelperModel::pin(bool flag, std::uint64_t arcItem, const std::string& withLabel, Answer answer) {
  if (!takesCommands()) return answer(ResultCode::serviceIsBusy);
  if (const auto code = missingForArchive(arcItem)) return answer(*code);
  if (auto reason = whyNoLabel(withLabel)) {
    fail(std::move(*reason));
    changed(Weight::milestone);
    return answer(ResultCode::success);
  }
  commandBegins();
  struct Pinned {
    Expected<Done, std::string> result;
    ArchiveView archive;
  };
  // Unpinning sends no label, and what somebody once wrote is not to be lost by it.
  _commandCancel = std::make_shared<CancelFlag>();
  const bool keepsLabel = !flag && withLabel.empty();
  PinOrder order{pointAt(arcItem), flag, keepsLabel ? std::nullopt : std::optional(withLabel)};
  onWorker<Pinned>(
      [&archives = _parts.archives, order = std::move(order), cancel = _commandCancel] {
        Expected<Done, std::string> result = archives.pin(order, *cancel);
        return Pinned{std::move(result), archives.look(order.point.archivePath, order.point.archiveUser)};
      },
      [this, answer = std::move(answer)](Pinned pinned) {
        _commandCancel.reset();
        commandEnds();
        if (!pinned.result) fail(pinned.result.error());
        setArchive(std::move(pinned.archive));
        changed(pinned.result ? Weight::ordinary : Weight::milestone);
        answer(ResultCode::success);
      });
}

ResultCode HelperModel::mergeArchiveWithParent(std::uint64_t arcItem) {
  if (!takesCommands()) return ResultCode::serviceIsBusy;
  if (const auto code = missingForArchive(arcItem)) return *code;
  if (arcItem == 0) return ResultCode::badIndex;
  const auto& items = std::get<PresentArchive>(_facts.archive).archive->items();
  if (items[arcItem - 1]->isPinned()) {
    fail("The backup point before this one is pinned. Unpin it to merge the two.");
    changed(Weight::milestone);
    return ResultCode::success;
  }
  _facts.operationError.reset();
  onWorker<OperationEnd>(
      [&archives = _parts.archives, point = pointAt(arcItem), shared = beginOperation(MergeKind{arcItem})] {
        OperationOutcome outcome = archives.merge(point, shared->board, shared->cancel);
        return OperationEnd{std::move(outcome), archives.look(point.archivePath, point.archiveUser)};
      },
      [this](const OperationEnd& end) { operationEnded(end, [] {}); });
  return ResultCode::success;
}

ResultCode HelperModel::verify() {
  if (!takesCommands()) return ResultCode::serviceIsBusy;
  if (!_facts.settings.archivePath) return ResultCode::archivePathNotSet;
  if (!std::holds_alternative<PresentArchive>(_facts.archive)) return ResultCode::noArchiveTargetDirectory;
  _facts.operationError.reset();
  _verification = {};
  struct Verified {
    VerificationReport report;
    ArchiveView archive;
  };
  onWorker<Verified>(
      [&archives = _parts.archives, path = *_facts.settings.archivePath, user = _facts.settings.archiveUser,
       shared = beginOperation(VerifyKind{})] {
        VerificationReport report = archives.verify(path, user, shared->board, shared->cancel);
        return Verified{std::move(report), archives.look(path, user)};
      },
      [this](Verified verified) {
        _verification = std::move(verified.report);
        operationEnded({_verification.outcome, std::move(verified.archive)}, [] {});
      });
  return ResultCode::success;
}

}  // namespace zpk
