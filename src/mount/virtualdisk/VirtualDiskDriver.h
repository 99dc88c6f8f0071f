#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/Expected.h"
#include "base/RunLoop.h"

namespace zpk {

// The world in which drivers live, as far as the client of virtual disks needs it: bundles, services in a registry,
// connections to them, and notices that arrive through the run loop.
//
// The shapes are those of a kernel's registry of drivers, so that the adapter to a real one passes each call on. A
// platform without one serves the same contract from user space (docs/mounting.md). Everything is called on one
// thread, by one client at a time; what is handed out belongs to the caller and ends before the driver world does.

// A result of the driver world; 0 is success, any other one has a text (VirtualDiskDriver::errorText).
using DriverCode = std::int32_t;

// The bundle that a driver was installed as.
class DriverBundle {
 public:
  virtual ~DriverBundle() = default;
  // Absolute path of the file of that name among the bundle's resources; nothing when there is none.
  virtual std::optional<std::string> pathForResource(std::string_view name) = 0;
};

// Which services are meant: those of a class and of the classes derived from it.
struct ServiceMatching {
  std::string className;
};

// A service, or what hangs below one. The registry changes while it is read: each question is answered anew.
class RegistryEntry {
 public:
  virtual ~RegistryEntry() = default;
  // Nothing when there is no such property (yet) or it is no text.
  virtual std::optional<std::string> textProperty(std::string_view key) = 0;
  virtual bool matches(const ServiceMatching& matching) = 0;
  // Those right below it in a plane of the registry. A plane is a finite tree. Empty when they cannot be had.
  virtual std::vector<std::shared_ptr<RegistryEntry>> children(std::string_view plane) = 0;
};
using RegistryEntries = std::vector<std::shared_ptr<RegistryEntry>>;

// Where notices of completion arrive. Once it is destroyed, no notice is delivered any more.
class NotificationPort {
 public:
  virtual ~NotificationPort() = default;
  // Notices are delivered while the calling thread's run loop serves `mode`, and at no other time.
  virtual void addToCurrentRunLoop(std::string_view mode) = 0;
};

// Who is told of the completion of a call.
struct AsyncReference {
  // Called on the thread whose run loop serves the port, at most once for a call.
  std::function<void(std::uint64_t constant, DriverCode result)> callout;
  // Handed back as it is.
  std::uint64_t constant = 0;
};

// A call of a driver's method by its number, answered at once and completed later. The spans are the caller's.
struct AsyncMethodCall {
  std::uint32_t selector = 0;
  NotificationPort& wakePort;
  AsyncReference reference;
  // Addresses among them stay valid until the connection is closed; the driver writes there before it gives notice,
  // and not after the connection was closed.
  std::span<const std::uint64_t> scalarInput;
  std::span<const std::byte> inputStructure;
  // Filled in when the call returns with 0. Scalars are not put out.
  std::span<std::uint8_t> outputStructure;
};

// Closed at the latest when it is destroyed.
class DriverConnection {
 public:
  virtual ~DriverConnection() = default;
  // Other than 0: refused, and no notice will come.
  virtual DriverCode callAsyncMethod(const AsyncMethodCall& call) = 0;
  // Once, and nothing else after it. Whatever it answers, the connection is gone.
  virtual DriverCode close() = 0;
};

struct SpawnError {
  int number = 0;  // errno
};

class VirtualDiskDriver {
 public:
  virtual ~VirtualDiskDriver() = default;

  // The place of an installed driver's bundle; nothing when no such driver is installed.
  virtual std::optional<std::string> urlForBundleIdentifier(std::string_view identifier) = 0;
  // Null when it is no bundle.
  virtual std::unique_ptr<DriverBundle> openBundle(const std::string& url) = 0;

  // Nothing when it cannot be made.
  virtual std::optional<ServiceMatching> serviceMatching(std::string_view className) = 0;
  // In the registry's order; none is no error.
  virtual Expected<RegistryEntries, DriverCode> matchingServices(const ServiceMatching& matching) = 0;
  // A connection of that type for this process.
  virtual Expected<std::unique_ptr<DriverConnection>, DriverCode> openService(RegistryEntry& service,
                                                                              std::uint32_t connectionType) = 0;
  virtual std::unique_ptr<NotificationPort> createNotificationPort() = 0;

  // Serves the thread's run loop in `mode` until `atMost` is over or stopRunLoop(), however much is served
  // meanwhile. What belongs to other modes waits.
  virtual void runRunLoopInMode(std::string_view mode, Seconds atMost) = 0;
  // Ends the innermost runRunLoopInMode().
  virtual void stopRunLoop() = 0;
  // Blocks the thread; nothing is served.
  virtual void sleep(std::chrono::microseconds duration) = 0;

  // Starts a program that is never waited for, in this process's environment; `arguments` has its own name first.
  // Its process id.
  virtual Expected<std::int32_t, SpawnError> spawn(const std::string& path,
                                                   const std::vector<std::string>& arguments) = 0;
  // Onto standard error: `what`, a colon, and the reason in words.
  virtual void printError(std::string_view what, SpawnError error) = 0;

  // The real user id of this process.
  virtual std::uint32_t userId() = 0;
  // Never empty.
  virtual std::string errorText(DriverCode code) = 0;
};

}  // namespace zpk
