#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mount/virtualdisk/VirtualDiskDriver.h"

namespace zpk {

// The driver world of macOS: kernel extensions, the kernel's registry, and notices on Mach ports that are sources
// of the thread's run loop. Errors are the system's own codes.
//
// A notice carries a number, not an object, so there is one call under way at a time in a process, whatever the
// number of drivers. All on one thread.
class MacVirtualDiskDriver : public VirtualDiskDriver {
 public:
  std::optional<std::string> urlForBundleIdentifier(std::string_view identifier) override;
  std::unique_ptr<DriverBundle> openBundle(const std::string& url) override;
  std::optional<ServiceMatching> serviceMatching(std::string_view className) override;
  Expected<RegistryEntries, DriverCode> matchingServices(const ServiceMatching& matching) override;
  Expected<std::unique_ptr<DriverConnection>, DriverCode> openService(RegistryEntry& service,
                                                                      std::uint32_t connectionType) override;
  std::unique_ptr<NotificationPort> createNotificationPort() override;
  void runRunLoopInMode(std::string_view mode, Seconds atMost) override;
  void stopRunLoop() override;
  void sleep(std::chrono::microseconds duration) override;
  Expected<std::int32_t, SpawnError> spawn(const std::string& path,
                                           const std::vector<std::string>& arguments) override;
  void printError(std::string_view what, SpawnError error) override;
  std::uint32_t userId() override;
  std::string errorText(DriverCode code) override;
};

}  // namespace zpk
