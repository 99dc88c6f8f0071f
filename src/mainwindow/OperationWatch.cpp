#include "mainwindow/OperationWatch.h"

#include <utility>

#include "helperlink/StatusRecord.h"

namespace zpk {
namespace {

// Every status brings the whole log; only other lines are news. The ends tell, whatever the length: a log grows at
// its end, and one that is at its limit loses its beginning for it.
bool isSameLog(const std::shared_ptr<const Array>& a, const std::shared_ptr<const Array>& b) {
  if (a == b) return true;
  if (!a || !b || a->size() != b->size()) return false;
  return a->empty() || (a->front() == b->front() && a->back() == b->back());
}

// The one thing that can fail and leave the operation running is to stop it.
bool isErrorWhileItRuns(const ZPKUIDaemonController& controller) {
  const auto status = controller.currentStatus();
  return status && statuskey::opError.isPresentIn(*status) &&
         statuskey::state.read(*status) == HelperState::inProgress;
}

}  // namespace

OperationWatch::OperationWatch(std::shared_ptr<ZPKUIDaemonController> controller, RunLoop& runLoop,
                               CalendarClock calendar)
    : _controller(std::move(controller)), _runLoop(runLoop), _calendar(std::move(calendar)) {
  _operation = _controller->observe("inProgress", [this] { followOperation(); });
  _percents = _controller->observe("progressPercents", [this] { followProgress(); });
  _log = _controller->observe("log", [this] { followProgress(); });
  _presence = _controller->observe("helperReachable", [this] {
    if (!_controller->isHelperReachable()) setStopping(false);
  });
  _status = _controller->observe("currentStatus", [this] {
    if (isErrorWhileItRuns(*_controller)) setStopping(false);
  });
  followOperation();
}

void OperationWatch::stop() {
  if (!_running || _stopping) return;
  // Before it is sent: the record that ends the operation, or tells that nobody may, may come before the reply
  // does.
  setStopping(true);
  _controller->breakProgress();
}

void OperationWatch::followOperation() {
  if (_running == _controller->inProgress()) return;
  _running = _controller->inProgress();
  setStopping(false);
  if (_running) return moved();
  _standstill.reset();
  _lastLog = nullptr;
  setNoProgressSince(std::nullopt);
}

void OperationWatch::followProgress() {
  if (!_running) return;
  const bool same = _lastPercents == _controller->progressPercents() && isSameLog(_lastLog, _controller->log());
  if (!same) moved();
}

void OperationWatch::moved() {
  _lastPercents = _controller->progressPercents();
  _lastLog = _controller->log();
  _lastMove = _calendar();
  // Counted from here again; ends itself, since a standstill is said once.
  _standstill = _runLoop.scheduledTimer(kLongestStandstill, [this] {
    setNoProgressSince(_lastMove);
    _standstill.reset();
  });
  setNoProgressSince(std::nullopt);
}

void OperationWatch::setStopping(bool stopping) {
  if (_stopping == stopping) return;
  willChangeValueForKey("stopping");
  _stopping = stopping;
  didChangeValueForKey("stopping");
}

void OperationWatch::setNoProgressSince(std::optional<Date> date) {
  if (_noProgressSince == date) return;
  willChangeValueForKey("noProgressSince");
  _noProgressSince = date;
  didChangeValueForKey("noProgressSince");
}

}  // namespace zpk
