#include "tools/zpkstatusbar/StatusBarController.h"

#include <utility>

#include "helperlink/ResultCode.h"
#include "helperlink/StatusRecord.h"

namespace zpk {

StatusBarController::StatusBarController(ZPKDaemonControllerEnvironment environment, Surroundings surroundings)
    : ZPKDaemonController(std::move(environment)), _surroundings(std::move(surroundings)) {
  _presence = observe("helperReachable", [this] {
    // One that went away may not have heard, so it can be asked again when it is back.
    _stopping = false;
    project();
  });
  project();
}

void StatusBarController::backUp() {
  if (!_state.canBackUp || !daemon()) return;
  const std::uint32_t code = resultCodeOf(daemon()->backup());
  if (code == static_cast<std::uint32_t>(ResultCode::success)) return;
  _surroundings.refused(resultCodeMessage(code, _surroundings.localization),
                        resultCodeAdvice(code, _surroundings.localization));
}

void StatusBarController::stop() {
  if (!_state.canStop || !daemon()) return;
  // Before it is sent: the record that ends the operation may come before the reply does.
  _stopping = true;
  project();
  if (!daemon()->breakProgress().isNull()) return;
  // It was not heard: it can be asked again.
  _stopping = false;
  project();
}

void StatusBarController::stateChangedWithStatus(const Dictionary& status) {
  ZPKDaemonController::stateChangedWithStatus(status);
  if (statuskey::state.read(status) != HelperState::inProgress) _stopping = false;
  project();
}

void StatusBarController::project() {
  StatusBarState next = statusBarState({currentStatus().get(), isHelperReachable(), _stopping},
                                       _surroundings.localization, _surroundings.dates);
  if (next == _state) return;
  willChangeValueForKey("state");
  _state = std::move(next);
  didChangeValueForKey("state");
}

}  // namespace zpk
