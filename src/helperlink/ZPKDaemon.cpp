#include "helperlink/ZPKDaemon.h"

#include <stdexcept>
#include <utility>

#include "helperlink/ResultCode.h"
#include "helperlink/StatusRecord.h"

namespace zpk {

namespace {

constexpr Seconds kReconnectDelay{1.0};
constexpr int kBusyWaitAttempts = 6;
constexpr Seconds kBusyWaitPause{5.0};

std::optional<ZPKDaemonEnvironment>& sharedEnvironment() {
  static std::optional<ZPKDaemonEnvironment> environment;
  return environment;
}

const ZPKDaemonEnvironment& requiredSharedEnvironment() {
  if (!sharedEnvironment()) throw std::logic_error("ZPKDaemon::sharedDaemon before setSharedEnvironment");
  return *sharedEnvironment();
}

bool meansBusy(const Value& result) {
  if (result.isNull()) return false;
  // "state" is compared with all its 64 bits here, unlike where a status is shown.
  if (const Dictionary* status = result.dictionary()) {
    return statuskey::state.valueIn(*status).unsignedIntegerValue() ==
           static_cast<std::uint64_t>(HelperState::busy);
  }
  if (result.isNumber()) {
    return result.unsignedIntegerValue() == static_cast<std::uint64_t>(ResultCode::serviceIsBusy);
  }
  // Only dictionaries and numbers are final answers of a helper.
  return true;
}

}  // namespace

void ZPKDaemon::setSharedEnvironment(const ZPKDaemonEnvironment& environment) {
  sharedEnvironment().emplace(environment);
}

ZPKDaemon& ZPKDaemon::sharedDaemon() {
  // Left to the end of the process on purpose: background work may still send a command while it exits.
  static ZPKDaemon* const shared = new ZPKDaemon(requiredSharedEnvironment());
  return *shared;
}

ZPKDaemon::ZPKDaemon(const ZPKDaemonEnvironment& environment)
    : _environment(environment), _self(std::make_shared<ZPKDaemon*>(this)) {
  // Before the first look-up, so that a helper that starts between the two is not missed.
  _presence = _environment.transport.observePresence(kZPKHelperPortName,
                                                     [this](bool present) { helperPresenceChanged(present); });
  reconnect();
}

ZPKDaemon::~ZPKDaemon() = default;

void ZPKDaemon::reconnect() {
  _environment.log.line("ZPKD::Reconnect");
  std::shared_ptr<Port> sendPort = _environment.transport.portForName(kZPKHelperPortName);
  std::shared_ptr<Port> receivePort = _environment.transport.port();
  _helperReachable = sendPort != nullptr;
  if (!sendPort) return;
  setHelper(_environment.transport.rootProxy(std::move(receivePort), std::move(sendPort)));
  _environment.notificationCenter.postNotificationName(kZPKDaemonReconnectedNotification);
}

// The reconnections that failed commands have scheduled stay as they are: this one comes on top, and costs no more
// than one look-up.
void ZPKDaemon::helperPresenceChanged(bool present) {
  _helperReachable = present;
  if (present) reconnect();
}

Value ZPKDaemon::doAsyncAction(Action action) {
  // Kept here for as long as it takes: the pauses may run the very code that lets go of the caller's.
  const Action retained = std::move(action);
  Value result;
  for (int attempt = 0; attempt < kBusyWaitAttempts; ++attempt) {
    result = retained(*this);
    if (!meansBusy(result)) return result;
    _environment.log.line("busywait: " + std::to_string(attempt));
    reload();
    _environment.runLoop.runFor(kBusyWaitPause);
  }
  return result;
}

template <class... Parameters, class... Arguments>
Value ZPKDaemon::forward(Value (ZPKDaemonProtocol::*command)(Parameters...), Arguments&&... arguments) {
  // Held for the whole call: while it waits, a returning helper may put another proxy in this one's place.
  if (const std::shared_ptr<ZPKDaemonProtocol> proxy = helper()) {
    try {
      return ((*proxy).*command)(std::forward<Arguments>(arguments)...);
    } catch (const LinkException& exception) {
      _environment.log.line(std::string("ZPKD::Exc: ") + exception.what());
    }
  }
  scheduleReconnect();
  return {};
}

std::shared_ptr<ZPKDaemonProtocol> ZPKDaemon::helper() const {
  const std::lock_guard lock(_helperMutex);
  return _helper;
}

void ZPKDaemon::setHelper(std::shared_ptr<ZPKDaemonProtocol> helper) {
  // The previous proxy is let go after the lock.
  const std::lock_guard lock(_helperMutex);
  _helper.swap(helper);
}

// One for every failed command, never merged: the number of attempts follows the number of failures.
void ZPKDaemon::scheduleReconnect() {
  _environment.runLoop.performAfterDelay(kReconnectDelay, [self = std::weak_ptr<ZPKDaemon*>(_self)] {
    if (const auto daemon = self.lock()) (*daemon)->reconnect();
  });
}

Value ZPKDaemon::status() {
  return forward(&ZPKDaemonProtocol::status);
}

Value ZPKDaemon::setBackupSource(const std::string& source) {
  return forward(&ZPKDaemonProtocol::setBackupSource, source);
}

Value ZPKDaemon::setTargetPath(const std::string& targetPath) {
  return forward(&ZPKDaemonProtocol::setTargetPath, targetPath);
}

Value ZPKDaemon::backup() {
  return forward(&ZPKDaemonProtocol::backup);
}

Value ZPKDaemon::restore(std::uint64_t arcItem, const std::string& toDisk, std::uint64_t withNumber,
                         std::uint64_t withTargetSize) {
  return forward(&ZPKDaemonProtocol::restore, arcItem, toDisk, withNumber, withTargetSize);
}

Value ZPKDaemon::checkInWithPort(const std::shared_ptr<Port>& port, std::int64_t lastStateTime) {
  return forward(&ZPKDaemonProtocol::checkInWithPort, port, lastStateTime);
}

Value ZPKDaemon::breakProgress() {
  return forward(&ZPKDaemonProtocol::breakProgress);
}

Value ZPKDaemon::collectLogsToPath(const std::string& path) {
  return forward(&ZPKDaemonProtocol::collectLogsToPath, path);
}

Value ZPKDaemon::mergeArchiveWithParent(std::uint64_t arcItem) {
  return forward(&ZPKDaemonProtocol::mergeArchiveWithParent, arcItem);
}

Value ZPKDaemon::setMaxIncrementsCount(std::uint64_t count) {
  return forward(&ZPKDaemonProtocol::setMaxIncrementsCount, count);
}

Value ZPKDaemon::reload() {
  return forward(&ZPKDaemonProtocol::reload);
}

Value ZPKDaemon::setCheckFS(bool flag) {
  return forward(&ZPKDaemonProtocol::setCheckFS, flag);
}

Value ZPKDaemon::pin(bool flag, std::uint64_t arcItem, const std::optional<std::string>& withLabel) {
  return forward(&ZPKDaemonProtocol::pin, flag, arcItem, withLabel);
}

}  // namespace zpk
