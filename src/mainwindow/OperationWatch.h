#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "base/Observable.h"
#include "base/RunLoop.h"
#include "base/Value.h"
#include "mainwindow/ZPKUIDaemonController.h"

namespace zpk {

// How long an operation may show neither another percentage nor another log line before that is said.
inline constexpr Seconds kLongestStandstill{5 * 60.0};

// What the helper's record alone does not tell of the running operation: that it was asked to stop, and since when
// it stands still.
//
// Follows the controller, which it keeps; a new operation starts anew. While none runs it costs nothing. Main
// thread. Observable keys: "stopping", "noProgressSince".
class OperationWatch final : public Observable {
 public:
  // The time of day; `runLoop` measures durations, whatever happens to the calendar meanwhile.
  using CalendarClock = std::function<Date()>;

  OperationWatch(std::shared_ptr<ZPKUIDaemonController> controller, RunLoop& runLoop, CalendarClock calendar);

  // Asks the helper to break the running operation off; nothing when none runs or it was asked already.
  void stop();

  // It was asked to stop and has neither done so yet nor told an error. A helper that went away may not have heard,
  // so it can be asked again when it is back.
  bool isStopping() const { return _stopping; }
  // When the operation last moved, once it has stood still for kLongestStandstill; nothing otherwise.
  const std::optional<Date>& noProgressSince() const { return _noProgressSince; }

 private:
  void followOperation();
  void followProgress();
  void moved();
  void setStopping(bool stopping);
  void setNoProgressSince(std::optional<Date> date);

  std::shared_ptr<ZPKUIDaemonController> _controller;
  RunLoop& _runLoop;
  CalendarClock _calendar;

  bool _stopping = false;
  std::optional<Date> _noProgressSince;
  bool _running = false;
  Value _lastPercents;
  std::shared_ptr<const Array> _lastLog;
  Date _lastMove;
  Token _standstill;
  Token _operation;
  Token _percents;
  Token _log;
  Token _presence;
  Token _status;
};

}  // namespace zpk
