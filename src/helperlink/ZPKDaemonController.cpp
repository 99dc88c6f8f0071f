#include "helperlink/ZPKDaemonController.h"

#include <utility>

#include "helperlink/StatusRecord.h"

namespace zpk {

namespace {
constexpr Seconds kCheckInPeriod{2.0};
constexpr Seconds kNextTurn{0.0};
}  // namespace

ZPKDaemonController::ZPKDaemonController(ZPKDaemonControllerEnvironment environment)
    : _environment(std::move(environment)),
      _self(std::make_shared<ZPKDaemonController*>(this)),
      _recievePort(_environment.transport.port()) {
  _reconnectedRegistration = _environment.notificationCenter.addObserver(kZPKDaemonReconnectedNotification,
                                                                         [this] { daemonReconnected(); });
  _recieveConnection = _environment.transport.serve(_recievePort, *this);
  _presence = _environment.transport.observePresence(kZPKHelperPortName,
                                                     [this](bool present) { setHelperReachable(present); });
  _answering = _environment.transport.observeAnswering([this](bool answering) { setHelperAnswering(answering); });
}

ZPKDaemonController::~ZPKDaemonController() = default;

void ZPKDaemonController::awakeFromNib() {
  _launchRegistration = _environment.notificationCenter.addObserver(kApplicationDidFinishLaunchingNotification,
                                                                    [this] { applicationDidFinishLaunching(); });
}

void ZPKDaemonController::applicationDidFinishLaunching() {
  _daemon = &_environment.daemon();
  setHelperReachable(_daemon->isHelperReachable());
  checkIn();
  if (_checkInTimer.isActive()) return;
  _checkInTimer = _environment.runLoop.scheduledTimer(kCheckInPeriod, [this] { checkIn(); });
}

void ZPKDaemonController::checkIn() {
  if (_daemon) _daemon->checkInWithPort(_recievePort, _lastStateTime);
}

// On the next turn, not at once: the notification comes from inside the daemon's reconnection.
void ZPKDaemonController::daemonReconnected() {
  setHelperReachable(true);
  _environment.runLoop.performAfterDelay(kNextTurn, [self = std::weak_ptr<ZPKDaemonController*>(_self)] {
    if (const auto controller = self.lock()) (*controller)->checkIn();
  });
}

void ZPKDaemonController::addRequestMode(std::string_view mode) {
  _recieveConnection->addRequestMode(mode);
}

void ZPKDaemonController::stateChangedWithStatus(const Dictionary& status) {
  // Without "statetime" the next check-in asks for everything again.
  _lastStateTime = statuskey::stateTime.read(status);
  willChangeValueForKey("currentStatus");
  _currentStatus = std::make_shared<const Dictionary>(status);
  didChangeValueForKey("currentStatus");
}

Value ZPKDaemonController::needReload() {
  return false;
}

void ZPKDaemonController::setHelperReachable(bool reachable) {
  if (reachable == _helperReachable) return;
  willChangeValueForKey("helperReachable");
  _helperReachable = reachable;
  didChangeValueForKey("helperReachable");
}

void ZPKDaemonController::setHelperAnswering(bool answering) {
  if (answering == _helperAnswering) return;
  willChangeValueForKey("helperAnswering");
  _helperAnswering = answering;
  didChangeValueForKey("helperAnswering");
}

}  // namespace zpk
