#include "platform/linux/virtualdisk/LinuxVirtualDiskDriver.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/inotify.h>
#include <sys/random.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <thread>
#include <utility>

#include "mount/virtualdisk/QrxCreateDrive.h"
#include "mount/virtualdisk/QrxFormatDriveId.h"
#include "mount/virtualdisk/QrxHelperLaunch.h"
#include "platform/linux/virtualdisk/DriveRegistry.h"
#include "platform/linux/virtualdisk/DriveRemains.h"

namespace zpk {
namespace {

constexpr std::string_view kFileScheme = "file://";
constexpr const char* kHelperEnded = "The program that shows the files of a backup point has ended unexpectedly";

class HelperBundle final : public DriverBundle {
 public:
  explicit HelperBundle(std::string folder) : _folder(std::move(folder)) {}
  std::optional<std::string> pathForResource(std::string_view name) override {
    std::string path = _folder + "/" + std::string(name);
    if (::access(path.c_str(), X_OK) != 0) return std::nullopt;
    return path;
  }

 private:
  std::string _folder;
};

}  // namespace

// Notices come through the run loop's descriptors, which are served in every mode; ours are only handed on in one.
class LinuxVirtualDiskDriver::Port final : public NotificationPort {
 public:
  explicit Port(RunLoop& runLoop) : _runLoop(runLoop) {}
  void addToCurrentRunLoop(std::string_view mode) override { _mode = mode; }
  bool isServed() const { return _runLoop.currentMode() == _mode; }

  FileDescriptor watchedFolder;
  Token watch;

 private:
  RunLoop& _runLoop;
  std::string _mode;
};

// The controller's side of one drive.
class LinuxVirtualDiskDriver::Connection final : public DriverConnection {
 public:
  Connection(LinuxVirtualDiskDriver& driver, std::string drives) : _driver(driver), _drives(std::move(drives)) {
    _driver._connection = this;
  }
  ~Connection() override { close(); }

  DriverCode callAsyncMethod(const AsyncMethodCall& call) override {
    QrxDriveRequest request{};
    if (call.selector != 0 || call.scalarInput.size() != 1 || call.inputStructure.size() != sizeof request ||
        call.outputStructure.size() != sizeof(QrxDriveId))
      return EINVAL;
    std::memcpy(&request, call.inputStructure.data(), sizeof request);
    if (request.command != kQrxCommandAttach) return EOPNOTSUPP;
    if (request.uid != ::getuid()) return EPERM;
    if (imagePathOf(request).size() == request.imagePath.size() || !imagePathOf(request).starts_with('/'))
      return EINVAL;
    auto* const port = dynamic_cast<Port*>(&call.wakePort);
    QrxDriveId id{};
    if (!port || ::getrandom(id.data(), id.size(), 0) != static_cast<ssize_t>(id.size())) return EIO;
    std::array<char, kQrxDriveIdTextSize> text{};
    qrxFormatDriveId(&id, text.data(), text.size());
    _folder.emplace(_drives, text.data());
    if (const auto made = _folder->create(request); !made) return made.error();
    if (const int error = watchFolder(*port); error != 0) {
      removeDrive(*_folder);
      return error;
    }
    std::memcpy(call.outputStructure.data(), id.data(), id.size());
    _port = port;
    _reference = call.reference;
    _reply = reinterpret_cast<QrxDriveReply*>(call.scalarInput[0]);
    return 0;
  }

  DriverCode close() override {
    _reply = nullptr;
    if (_driver._connection == this) _driver._connection = nullptr;
    return 0;
  }

  void helperEnded(const std::string& driveId) {
    if (!_reply || !_port->isServed() || _folder->id() != driveId) return;
    // It may have completed the drive as the last thing it did.
    if (const auto completion = _folder->completion()) return complete(*completion);
    DriveFolder::Completion completion{EIO, {}};
    std::strncpy(completion.reply.errorMessage.data(), kHelperEnded, completion.reply.errorMessage.size() - 1);
    complete(completion);
  }

 private:
  int watchFolder(Port& port) {
    port.watchedFolder = FileDescriptor(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (!port.watchedFolder ||
        ::inotify_add_watch(port.watchedFolder.get(), _folder->path().c_str(), IN_MOVED_TO) < 0)
      return errno;
    port.watch = _driver._environment.watcher.watchFileDescriptor(
        port.watchedFolder.get(), FileDescriptorWatcher::Direction::readable, [this] { folderChanged(); });
    return 0;
  }

  void folderChanged() {
    std::array<char, 4096> events{};
    while (::read(_port->watchedFolder.get(), events.data(), events.size()) > 0) continue;
    if (!_reply || !_port->isServed()) return;
    if (const auto completion = _folder->completion()) complete(*completion);
  }

  // A drive that there will not be has said all that it has to say.
  void complete(const DriveFolder::Completion& completion) {
    *std::exchange(_reply, nullptr) = completion.reply;
    if (completion.result != 0) removeDrive(*_folder);
    _reference.callout(_reference.constant, completion.result);
  }

  LinuxVirtualDiskDriver& _driver;
  std::string _drives;
  std::optional<DriveFolder> _folder;
  Port* _port = nullptr;
  AsyncReference _reference;
  QrxDriveReply* _reply = nullptr;  // of a call that is not complete
};

LinuxVirtualDiskDriver::LinuxVirtualDiskDriver(LinuxVirtualDiskDriverEnvironment environment)
    : _environment(std::move(environment)) {}
LinuxVirtualDiskDriver::~LinuxVirtualDiskDriver() = default;

std::optional<std::string> LinuxVirtualDiskDriver::urlForBundleIdentifier(std::string_view identifier) {
  const std::string helper = _environment.helperFolder + "/" + std::string(kQrxHelperName);
  if (identifier != kQrxBundleIdentifier || ::access(helper.c_str(), X_OK) != 0) return std::nullopt;
  return std::string(kFileScheme) + _environment.helperFolder;
}

std::unique_ptr<DriverBundle> LinuxVirtualDiskDriver::openBundle(const std::string& url) {
  if (!url.starts_with(kFileScheme)) return nullptr;
  return std::make_unique<HelperBundle>(url.substr(kFileScheme.size()));
}

std::optional<ServiceMatching> LinuxVirtualDiskDriver::serviceMatching(std::string_view className) {
  return ServiceMatching{std::string(className)};
}

Expected<RegistryEntries, DriverCode> LinuxVirtualDiskDriver::matchingServices(const ServiceMatching& matching) {
  return servicesOfClass(matching.className, _environment.runtimeFolder);
}

Expected<std::unique_ptr<DriverConnection>, DriverCode> LinuxVirtualDiskDriver::openService(
    RegistryEntry& service, std::uint32_t connectionType) {
  if (!service.matches({std::string(kQrxControllerClass)}) || connectionType != 0) return DriverCode{EINVAL};
  if (_connection) return DriverCode{EBUSY};
  auto drives = drivesFolder(_environment.runtimeFolder);
  if (!drives) return DriverCode{drives.error()};
  if (::access("/dev/fuse", R_OK | W_OK) != 0) return DriverCode{errno};
  return std::unique_ptr<DriverConnection>(std::make_unique<Connection>(*this, std::move(*drives)));
}

std::unique_ptr<NotificationPort> LinuxVirtualDiskDriver::createNotificationPort() {
  return std::make_unique<Port>(_environment.runLoop);
}

void LinuxVirtualDiskDriver::runRunLoopInMode(std::string_view mode, Seconds atMost) {
  const Seconds end = _environment.runLoop.now() + atMost;
  _stopped = false;
  for (Seconds left = atMost; !_stopped && left > Seconds(0); left = end - _environment.runLoop.now())
    _environment.runLoop.runInMode(mode, left);
}

void LinuxVirtualDiskDriver::sleep(std::chrono::microseconds duration) {
  std::this_thread::sleep_for(duration);
}

Expected<std::int32_t, SpawnError> LinuxVirtualDiskDriver::spawn(const std::string& path,
                                                                 const std::vector<std::string>& arguments) {
  std::vector<char*> words;
  words.reserve(arguments.size() + 1);
  for (const std::string& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
  words.push_back(nullptr);
  pid_t pid = -1;
  if (const int error = ::posix_spawn(&pid, path.c_str(), nullptr, nullptr, words.data(), environ); error != 0)
    return SpawnError{error};
  watchChild(pid, arguments.size() > 1 ? arguments[1] : std::string());
  return std::int32_t{pid};
}

void LinuxVirtualDiskDriver::watchChild(pid_t pid, std::string driveId) {
  FileDescriptor pidFd(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0U)));
  if (!pidFd) return;
  const auto child = _children.insert(_children.end(), Child{std::move(driveId), pid, std::move(pidFd), {}});
  child->watch = _environment.watcher.watchFileDescriptor(
      child->pidFd.get(), FileDescriptorWatcher::Direction::readable, [this, child] { reap(child); });
}

void LinuxVirtualDiskDriver::reap(std::list<Child>::iterator child) {
  int status = 0;
  uninterrupted([&] { return ::waitpid(child->pid, &status, WNOHANG); });
  const Child ended = std::move(*child);
  _children.erase(child);
  if (_connection) _connection->helperEnded(ended.driveId);
}

void LinuxVirtualDiskDriver::printError(std::string_view what, SpawnError error) {
  errno = error.number;
  std::perror(std::string(what).c_str());
}

std::uint32_t LinuxVirtualDiskDriver::userId() {
  return ::getuid();
}

std::string LinuxVirtualDiskDriver::errorText(DriverCode code) {
  return systemReason(code);
}

}  // namespace zpk
