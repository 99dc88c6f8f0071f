#pragma once

#include <functional>
#include <memory>
#include <string_view>

#include "base/Observable.h"
#include "helperlink/ZPKDaemonProtocol.h"

namespace zpk {

// Serves a receive port: calls that arrive on it reach the root object while this lives.
class ReceiveConnection {
 public:
  virtual ~ReceiveConnection() = default;
  // Delivers calls also while the run loop serves `mode`. Without it they are delivered in the default mode and
  // while a command waits for its reply.
  virtual void addRequestMode(std::string_view mode) = 0;
};

// What the link needs of the platform: a name service, ports, and calls between processes that carry values by
// copy.
//
// Main thread, but for the commands of a proxy, which may be called on any thread. While a command called on the
// main thread waits for its reply, incoming calls are served and windows keep painting.
class LinkTransport {
 public:
  virtual ~LinkTransport() = default;

  // The port registered under `name` now; null when there is none. Does not wait for one, but where the system
  // starts services on demand it is asked to start this one; observePresence tells when it is there.
  virtual std::shared_ptr<Port> portForName(std::string_view name) = 0;

  // A fresh local port.
  virtual std::shared_ptr<Port> port() = 0;

  // A proxy of the object behind `sendPort`, good for that very peer: when the peer dies every command of the proxy
  // throws LinkException, also after another process took over the name. Never null.
  virtual std::shared_ptr<ZPKDaemonProtocol> rootProxy(std::shared_ptr<Port> receivePort,
                                                       std::shared_ptr<Port> sendPort) = 0;

  // Exports `rootObject`, which must outlive the result, on `receivePort`. Only calls of the peer to whom a proxy
  // of this transport speaks are let through; all others are dropped and counted.
  virtual std::unique_ptr<ReceiveConnection> serve(std::shared_ptr<Port> receivePort,
                                                   ZPKHelperDelegateProtocol& rootObject) = 0;

  // Calls `changed` with true when a peer registers `name`, with false when it is gone, at once, until the token
  // ends.
  virtual Token observePresence(std::string_view name, std::function<void(bool present)> changed) = 0;

  // Calls `changed` with false when a command on the main thread has waited 3 s without a word of the helper's, and
  // with true when the reply, or the failure, came after all.
  virtual Token observeAnswering(std::function<void(bool answering)> changed) = 0;
};

}  // namespace zpk
