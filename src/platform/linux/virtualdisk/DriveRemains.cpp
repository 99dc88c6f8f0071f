#include "platform/linux/virtualdisk/DriveRemains.h"

#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <filesystem>

#include "platform/posix/FileDescriptor.h"

namespace zpk {
namespace {

constexpr const char* kUnmounter = "/usr/bin/fusermount3";
constexpr int kUnmountMilliseconds = 5000;
// A drive of that age without a helper has lost it, or never gets one.
constexpr std::chrono::minutes kLongestStart{2};

bool isOld(const std::string& path) {
  std::error_code error;
  const auto changed = std::filesystem::last_write_time(path, error);
  return !error && std::filesystem::file_time_type::clock::now() - changed > kLongestStart;
}

// At once, also from under those who use it: a server that is gone lets nobody finish.
void unmount(const std::string& path) {
  std::array<std::string, 6> words{kUnmounter, "-u", "-z", "-q", "--", path};
  std::array<char*, 7> arguments{};
  for (std::size_t i = 0; i < words.size(); ++i) arguments[i] = words[i].data();
  pid_t pid = -1;
  if (::posix_spawn(&pid, kUnmounter, nullptr, nullptr, arguments.data(), environ) != 0) return;
  const FileDescriptor process(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0U)));
  pollfd ended{process.get(), POLLIN, 0};
  if (process && uninterrupted([&] { return ::poll(&ended, 1, kUnmountMilliseconds); }) == 0) ::kill(pid, SIGKILL);
  int status = 0;
  uninterrupted([&] { return ::waitpid(pid, &status, 0); });
}

void removeMountPoint(const std::string& path) {
  if (::rmdir(path.c_str()) == 0) return;
  unmount(path);
  ::rmdir(path.c_str());
}

}  // namespace

void removeVolumes(const DriveFolder& drive) {
  std::error_code error;
  const std::string volumes = drive.filePath(DriveFolder::kVolumes);
  for (std::filesystem::directory_iterator entry(volumes, error), end; !error && entry != end;
       entry.increment(error)) {
    removeMountPoint(entry->path().string());
  }
  ::rmdir(volumes.c_str());
}

void removeDrive(const DriveFolder& drive) {
  removeVolumes(drive);
  for (const char* name :
       {DriveFolder::kCompletion, DriveFolder::kMedia, DriveFolder::kKeeper, DriveFolder::kRequest}) {
    const std::string path = drive.filePath(name);
    ::unlink(path.c_str());
    ::unlink((path + DriveFolder::kUnfinished).c_str());
  }
  ::rmdir(drive.path().c_str());
}

bool isAbandoned(const DriveFolder& drive) {
  if (drive.isKept()) return false;
  if (isOld(drive.path())) return true;
  const auto completion = drive.completion();
  return drive.keeper() && (!completion || completion->result == 0);
}

void removeAbandonedDrives(const std::string& drives) {
  for (const DriveFolder& drive : allDrives(drives)) {
    if (isAbandoned(drive)) removeDrive(drive);
  }
}

}  // namespace zpk
