#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

#include "base/NotificationCenter.h"
#include "base/Observable.h"
#include "base/RunLoop.h"
#include "base/Value.h"
#include "helperlink/LinkTransport.h"
#include "helperlink/ZPKDaemon.h"

namespace zpk {

// What a controller works with. All of it outlives the controller.
struct ZPKDaemonControllerEnvironment {
  LinkTransport& transport;
  NotificationCenter& notificationCenter;
  RunLoop& runLoop;
  // Asked at launch and not before, since asking makes the first contact with the helper.
  std::function<ZPKDaemon&()> daemon = &ZPKDaemon::sharedDaemon;
};

// Keeps the program subscribed to the helper and holds its newest status; base of every controller that shows it.
//
// From launch on it checks in every two seconds, and at once after a reconnection, each time telling the helper
// where to call back and which state it knows already. The helper answers by calling stateChangedWithStatus when
// there is something new.
//
// Main thread. Observable keys: "currentStatus", "helperReachable", "helperAnswering".
class ZPKDaemonController : public Observable, public ZPKHelperDelegateProtocol {
 public:
  // Ready to be called back; the helper is not contacted yet.
  explicit ZPKDaemonController(ZPKDaemonControllerEnvironment environment);
  ~ZPKDaemonController() override;

  // Called once the controller is wired up: waits for the application's launch notification.
  void awakeFromNib();
  // Subscribes and starts the check-in timer. An overriding class calls this first.
  virtual void applicationDidFinishLaunching();

  // One check-in; nothing before launch. A link failure is the daemon's business.
  void checkIn();
  void daemonReconnected();
  // Has the helper's calls served also while the run loop runs in `mode`, say for a modal session.
  void addRequestMode(std::string_view mode);

  // An overriding class calls this first, then shows the status.
  void stateChangedWithStatus(const Dictionary& status) override;
  Value needReload() override;

  // The newest status, null before the first. It stays as it is for whoever holds it when a newer one comes.
  std::shared_ptr<const Dictionary> currentStatus() const { return _currentStatus; }

  // Whether the helper is registered.
  bool isHelperReachable() const { return _helperReachable; }
  // False while a command waits unusually long for its reply.
  bool isHelperAnswering() const { return _helperAnswering; }

 protected:
  // The helper's commands; null before launch.
  ZPKDaemon* daemon() const { return _daemon; }
  RunLoop& runLoop() const { return _environment.runLoop; }

 private:
  void setHelperReachable(bool reachable);
  void setHelperAnswering(bool answering);

  ZPKDaemonControllerEnvironment _environment;
  // Ends with this object; what the run loop still holds for it then does nothing.
  std::shared_ptr<ZPKDaemonController*> _self;

  ZPKDaemon* _daemon = nullptr;
  std::shared_ptr<Port> _recievePort;
  std::unique_ptr<ReceiveConnection> _recieveConnection;
  Token _checkInTimer;
  std::int64_t _lastStateTime = 0;
  std::shared_ptr<const Dictionary> _currentStatus;

  bool _helperReachable = false;
  bool _helperAnswering = true;
  Token _reconnectedRegistration;
  Token _launchRegistration;
  Token _presence;
  Token _answering;
};

}  // namespace zpk
