#pragma once

#include <sys/types.h>

#include <list>
#include <memory>
#include <string>
#include <vector>

#include "base/RunLoop.h"
#include "mount/virtualdisk/VirtualDiskDriver.h"
#include "platform/linux/virtualdisk/DriveFolder.h"
#include "platform/posix/FileDescriptor.h"
#include "platform/posix/FileDescriptorWatcher.h"

namespace zpk {

// Where it finds what it needs, and what serves its waits.
struct LinuxVirtualDiskDriverEnvironment {
  RunLoop& runLoop;
  FileDescriptorWatcher& watcher;
  std::string helperFolder;   // holds "qrx-helper"
  std::string runtimeFolder;  // $XDG_RUNTIME_DIR
};

// Virtual disks from user space, without a driver in the kernel and without rights of root: a drive is a folder of
// the user's (DriveFolder.h), its controller is this class, and what serves its volumes is the helper tool that the
// client starts for it. The registry is what the folders say.
//
// Of the commands only the attach is served. Main thread; outlives its connections and ports.
class LinuxVirtualDiskDriver final : public VirtualDiskDriver {
 public:
  explicit LinuxVirtualDiskDriver(LinuxVirtualDiskDriverEnvironment environment);
  ~LinuxVirtualDiskDriver() override;

  std::optional<std::string> urlForBundleIdentifier(std::string_view identifier) override;
  std::unique_ptr<DriverBundle> openBundle(const std::string& url) override;
  std::optional<ServiceMatching> serviceMatching(std::string_view className) override;
  Expected<RegistryEntries, DriverCode> matchingServices(const ServiceMatching& matching) override;
  Expected<std::unique_ptr<DriverConnection>, DriverCode> openService(RegistryEntry& service,
                                                                      std::uint32_t connectionType) override;
  std::unique_ptr<NotificationPort> createNotificationPort() override;
  void runRunLoopInMode(std::string_view mode, Seconds atMost) override;
  void stopRunLoop() override { _stopped = true; }
  void sleep(std::chrono::microseconds duration) override;
  Expected<std::int32_t, SpawnError> spawn(const std::string& path,
                                           const std::vector<std::string>& arguments) override;
  void printError(std::string_view what, SpawnError error) override;
  std::uint32_t userId() override;
  std::string errorText(DriverCode code) override;

 private:
  class Connection;
  class Port;
  // A helper that runs, to be reaped when it has ended.
  struct Child {
    std::string driveId;
    pid_t pid;
    FileDescriptor pidFd;
    Token watch;
  };

  void watchChild(pid_t pid, std::string driveId);
  void reap(std::list<Child>::iterator child);

  LinuxVirtualDiskDriverEnvironment _environment;
  std::list<Child> _children;
  Connection* _connection = nullptr;  // the one that is open
  bool _stopped = false;
};

}  // namespace zpk
