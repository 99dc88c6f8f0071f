#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <optional>

#include "base/Log.h"
#include "base/Record.h"
#include "base/RunLoop.h"
#include "helperlink/LinkTransport.h"
#include "platform/linux/link/BusConnection.h"
#include "platform/linux/link/LinkTimes.h"
#include "platform/posix/FileDescriptorWatcher.h"

namespace zpk {

class LinkCore;

// What the link stands on. Everything referred to outlives the transport.
struct DBusLinkSurroundings {
  RunLoop& loop;
  FileDescriptorWatcher& watcher;
  Log& log;
  const RecordRegistry& classes;
  BusEndpoint bus;
  // The user who must own a looked-up name: root on the system bus, where anybody else is an impostor; anybody on
  // the session bus, where all are the same user.
  std::optional<uid_t> requiredOwner = bus.which == WhichBus::system ? std::optional<uid_t>(0) : std::nullopt;
  LinkTimes times = {};
};

// The helper link over D-Bus, with sd-bus.
//
// The port name "zpkhelper" is the bus name "com.tarnwick.zpkhelper"; a port found is the unique name of its owner
// at that moment, so a proxy never speaks to a successor of its helper. A local port is an object path on this
// program's connection. The interfaces are those of wire/DBusNames.h, values cross in the form of wire/WireForm.h.
//
// Nothing waits without an end: connecting, look-ups and commands have time-outs (LinkTimes), also against a bus or
// a helper that is stopped. A lost bus is connected to again by the next look-up. A command called on the main
// thread waits on the bus alone for a moment, then in the run loop's kLinkWaitMode; a command called on another
// thread uses a connection of its own and ends early, with LinkException, when the transport goes.
//
// The helper's callbacks are delivered in their order, all of them, also a burst. What nobody but the helper or the
// bus may send is dropped before it is read and counted.
class DBusLinkTransport final : public LinkTransport {
 public:
  explicit DBusLinkTransport(DBusLinkSurroundings surroundings);
  ~DBusLinkTransport() override;

  std::shared_ptr<Port> portForName(std::string_view name) override;
  std::shared_ptr<Port> port() override;
  std::shared_ptr<ZPKDaemonProtocol> rootProxy(std::shared_ptr<Port> receivePort,
                                               std::shared_ptr<Port> sendPort) override;
  std::unique_ptr<ReceiveConnection> serve(std::shared_ptr<Port> receivePort,
                                           ZPKHelperDelegateProtocol& rootObject) override;
  Token observePresence(std::string_view name, std::function<void(bool present)> changed) override;
  Token observeAnswering(std::function<void(bool answering)> changed) override;

  // Ends the link for good, as the transport's end does: whatever waits for the helper fails at once, and nothing
  // is reached any more. Main thread; also from within a wait.
  void close();

  // Messages dropped so far because neither the helper nor the bus sent them. Any thread.
  std::uint64_t strangersDropped() const;

 private:
  std::shared_ptr<LinkCore> _core;
  std::uint64_t _portsMade = 0;
};

}  // namespace zpk
