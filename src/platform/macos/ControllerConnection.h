#pragma once

#include <IOKit/IOKitLib.h>

#include <optional>
#include <string_view>

#include "mount/virtualdisk/VirtualDiskDriver.h"
#include "platform/macos/CoreFoundationObject.h"

namespace zpk {

// A notification port of the kernel's, and its source in the run loop of the thread that added it.
class RunLoopPort final : public NotificationPort {
 public:
  // Takes the port over. Without one nothing is ever delivered, and calls that want to wake it are refused.
  explicit RunLoopPort(IONotificationPortRef port) : _port(port) {}
  ~RunLoopPort() override;
  RunLoopPort(const RunLoopPort&) = delete;
  RunLoopPort& operator=(const RunLoopPort&) = delete;

  void addToCurrentRunLoop(std::string_view mode) override;
  // MACH_PORT_NULL when no run loop would hear of it.
  mach_port_t machPort() const;

 private:
  IONotificationPortRef _port;
  CFRunLoopSourceRef _source = nullptr;  // the port's; while it is in `_runLoop`
  CFRunLoopRef _runLoop = nullptr;       // the thread's
  CoreFoundationObject<CFStringRef> _mode;
};

// A connection to a driver's service. The latest call of the process is the one that a notice is taken to be about.
class ControllerConnection final : public DriverConnection {
 public:
  // Takes the connection over.
  explicit ControllerConnection(io_connect_t connect) : _connect(connect) {}
  ~ControllerConnection() override;
  ControllerConnection(const ControllerConnection&) = delete;
  ControllerConnection& operator=(const ControllerConnection&) = delete;

  DriverCode callAsyncMethod(const AsyncMethodCall& call) override;
  DriverCode close() override;

 private:
  static void completed(void* constant, IOReturn result);

  io_connect_t _connect;
  // Who waits for a notice.
  std::optional<AsyncReference> _reference;
};

}  // namespace zpk
