// What every operation has in common: its beginning, its course, its end.

#include <chrono>
#include <future>

#include "helper/service/model/HelperModel.h"
#include "helper/service/model/HelperModel_private.h"
#include "records/ZPKDisk.h"

namespace zpk {
namespace {

constexpr Seconds kTick{0.25};

std::string nameOf(const OperationKind& kind) {
  if (std::holds_alternative<BackupKind>(kind)) return "Backup";
  if (std::holds_alternative<VerifyKind>(kind)) return "Check";
  return std::holds_alternative<RestoreKind>(kind) ? "Restore" : "Merge";
}

}  // namespace

bool doneOnLoop(DispatchQueue& loop, const CancelFlag& cancel, std::function<void()> work) {
  constexpr auto kPause = std::chrono::milliseconds(10);
  const auto done = std::make_shared<std::promise<void>>();
  std::future<void> waiting = done->get_future();
  loop.async([done, work = std::move(work)] {
    work();
    done->set_value();
  });
  while (waiting.wait_for(kPause) != std::future_status::ready) {
    if (cancel.isRequested()) return false;
  }
  return true;
}

std::shared_ptr<HelperModel::Shared> HelperModel::beginOperation(const OperationKind& kind) {
  _operation = std::make_unique<Operation>();
  _operation->name = nameOf(kind);
  RunningOperation running;
  running.kind = kind;
  running.began = running.now = _parts.clock.now();
  _facts.activity = std::move(running);
  _parts.log.line("ZPKH::" + _operation->name + " begins: " + *_facts.settings.archivePath);
  changed();
  _operation->tick = _parts.clock.after(kTick, [this] { tick(); });
  return _operation->shared;
}

void HelperModel::tick() {
  if (takeNews()) changed();
  _operation->tick = _parts.clock.after(kTick, [this] { tick(); });
}

// Whether there is anything that a front end would show differently.
bool HelperModel::takeNews() {
  OperationBoard::News news = _operation->shared->board.take();
  for (const std::string& line : news.lines) _parts.log.line("ZPKH::" + _operation->name + ": " + line);
  auto* running = std::get_if<RunningOperation>(&_facts.activity);
  if (!running) return false;  // Told to stop: it shows nothing any more.
  const Seconds now = _parts.clock.now();
  const auto shownSecond = [&](Seconds time) { return static_cast<std::int64_t>((time - running->began).count()); };
  const bool differs = news.done != running->bytesDone || news.total != running->bytesTotal ||
                       !news.lines.empty() || shownSecond(now) != shownSecond(running->now);
  for (std::string& line : news.lines) running->log.append(_parts.clock.timeOfDay() + "  " + line);
  running->bytesDone = news.done;
  running->bytesTotal = news.total;
  running->now = now;
  running->remaining.update(now, news.done, news.total);
  return differs;
}

ResultCode HelperModel::breakProgress() {
  if (_operation && !_operation->shared->cancel.isRequested()) {
    _parts.log.line("ZPKH::" + _operation->name + " is told to stop");
    _operation->shared->cancel.request();
  }
  return ResultCode::success;
}

void HelperModel::stopForExit() {
  _ending = true;
  if (_operation) _operation->shared->cancel.request();
  if (_commandCancel) _commandCancel->request();
}

void HelperModel::operationEnded(const OperationEnd& end, const std::function<void()>& settle) {
  // The last of the log and of the figures is shown before the operation is gone.
  if (takeNews()) changed(Weight::milestone);
  const std::string name = _operation->name;
  _operation.reset();
  setArchive(end.archive);
  _readAgain = _readAgain || end.disksDiffer;
  if (const auto* failed = std::get_if<OperationFailed>(&end.outcome)) fail(failed->reason);
  settle();
  refreshActivity();
  _parts.log.line("ZPKH::" + name + " ended");
  changed(_facts.operationError ? Weight::milestone : Weight::ordinary);
  if (_readAgain) read(false);
}

}  // namespace zpk
