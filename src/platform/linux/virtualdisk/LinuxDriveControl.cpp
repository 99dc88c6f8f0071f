#include "platform/linux/virtualdisk/LinuxDriveControl.h"

#include <signal.h>
#include <sys/inotify.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <optional>
#include <utility>

#include "platform/linux/virtualdisk/DriveRemains.h"

namespace zpk {
namespace {

constexpr std::uint32_t kDriveEvents = IN_CREATE | IN_DELETE | IN_ONLYDIR | IN_DONT_FOLLOW;
constexpr std::uint32_t kFileEvents = IN_MOVED_TO | IN_ONLYDIR | IN_DONT_FOLLOW;

// None when no helper keeps the drive. The lock, held after the process was opened, says that it is the helper's.
FileDescriptor openHelper(const DriveFolder& drive) {
  const auto processId = drive.keeper();
  if (!processId) return {};
  FileDescriptor process(static_cast<int>(::syscall(SYS_pidfd_open, *processId, 0U)));
  if (!process || !drive.isKept()) return {};
  return process;
}

void signalHelper(const FileDescriptor& process, int number) {
  if (process) ::syscall(SYS_pidfd_send_signal, process.get(), number, nullptr, 0U);
}

std::optional<DriveFolder> driveOfId(const std::string& runtimeFolder, const std::string& id) {
  const auto drives = drivesFolder(runtimeFolder);
  if (!drives || !isDriveId(id)) return std::nullopt;
  return DriveFolder(*drives, id);
}

}  // namespace

LinuxDriveControl::LinuxDriveControl(FileDescriptorWatcher& watcher, DispatchQueue& backgroundQueue,
                                     std::string runtimeFolder)
    : _watcher(watcher), _backgroundQueue(backgroundQueue), _runtimeFolder(std::move(runtimeFolder)) {}

LinuxDriveControl::~LinuxDriveControl() = default;

std::vector<AttachedDrive> LinuxDriveControl::attachedDrives() {
  std::vector<AttachedDrive> attached;
  const auto drives = drivesFolder(_runtimeFolder);
  if (!drives) return attached;
  for (const DriveFolder& drive : allDrives(*drives)) {
    const auto request = drive.request();
    const auto completion = drive.completion();
    if (request && completion && completion->result == 0 && drive.isKept())
      attached.push_back({drive.id(), std::string(imagePathOf(*request)),
                          std::string(boundedText(completion->reply.errorMessage))});
  }
  return attached;
}

Token LinuxDriveControl::watchDrives(std::function<void()> changed) {
  _changed = std::move(changed);
  _folders = FileDescriptor(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
  if (_folders) {
    _folderWatch = _watcher.watchFileDescriptor(_folders.get(), FileDescriptorWatcher::Direction::readable,
                                                [this] { somethingChanged(); });
  }
  watchFolders();
  return Token([this] {
    _helpers.clear();
    _folderWatch.reset();
    _folders.reset();
    _changed = nullptr;
  });
}

// A folder that is watched already is not watched twice, and one that is gone not any more.
void LinuxDriveControl::watchFolders() {
  const auto drives = drivesFolder(_runtimeFolder);
  if (!drives || !_folders) return;
  ::inotify_add_watch(_folders.get(), drives->c_str(), kDriveEvents);
  const std::vector<DriveFolder> all = allDrives(*drives);
  for (const DriveFolder& drive : all) ::inotify_add_watch(_folders.get(), drive.path().c_str(), kFileEvents);
  watchHelpers(all);
}

void LinuxDriveControl::watchHelpers(const std::vector<DriveFolder>& drives) {
  std::map<std::string, Helper> before = std::exchange(_helpers, {});
  for (const DriveFolder& drive : drives) {
    if (const auto known = before.find(drive.id()); known != before.end() && drive.isKept()) {
      _helpers.insert(before.extract(known));
      continue;
    }
    FileDescriptor process = openHelper(drive);
    if (!process) continue;
    Helper& helper = _helpers[drive.id()];
    helper.process = std::move(process);
    helper.watch = _watcher.watchFileDescriptor(helper.process.get(), FileDescriptorWatcher::Direction::readable,
                                                [this] { somethingChanged(); });
  }
}

void LinuxDriveControl::somethingChanged() {
  std::array<char, 4096> events{};
  while (::read(_folders.get(), events.data(), events.size()) > 0) continue;
  watchFolders();
  if (const auto changed = _changed) changed();
}

void LinuxDriveControl::detach(const std::string& id) {
  if (const auto drive = driveOfId(_runtimeFolder, id)) signalHelper(openHelper(*drive), SIGTERM);
}

bool LinuxDriveControl::hasRemains(const std::string& id) {
  const auto drive = driveOfId(_runtimeFolder, id);
  return drive && drive->request() && !drive->isKept();
}

void LinuxDriveControl::remove(const std::string& id) {
  const auto drive = driveOfId(_runtimeFolder, id);
  if (!drive) return;
  signalHelper(openHelper(*drive), SIGKILL);
  _backgroundQueue.async([drive = *drive] { removeDrive(drive); });
}

void LinuxDriveControl::removeAllRemains() {
  if (const auto drives = drivesFolder(_runtimeFolder))
    _backgroundQueue.async([drives = *drives] { removeAbandonedDrives(drives); });
}

}  // namespace zpk
