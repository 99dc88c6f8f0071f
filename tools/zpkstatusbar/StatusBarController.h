#pragma once

#include <functional>
#include <string>

#include "base/Localization.h"
#include "helperlink/ZPKDaemonController.h"
#include "tools/zpkstatusbar/StatusBarState.h"

namespace zpk {

// Follows the helper for the status bar and sends what is chosen from its menu. Main thread. Observable key:
// "state".
class StatusBarController final : public ZPKDaemonController {
 public:
  // What it works with; all of it outlives the controller.
  struct Surroundings {
    const Localization& localization;
    const DateFormatter& dates;
    // Tells the user why a command was refused: a short message and what to do about it.
    std::function<void(const std::string& message, const std::string& advice)> refused;
  };

  StatusBarController(ZPKDaemonControllerEnvironment environment, Surroundings surroundings);

  const StatusBarState& state() const { return _state; }

  // Actions; each does nothing unless the state offers it.
  void backUp();
  void stop();

  void stateChangedWithStatus(const Dictionary& status) override;

 private:
  void project();

  Surroundings _surroundings;
  StatusBarState _state;
  bool _stopping = false;
  Token _presence;
};

}  // namespace zpk
