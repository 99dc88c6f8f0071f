#include "helper/archive/ArchiveLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <fstream>
#include <sstream>
#include <thread>

namespace zpk {
namespace {

struct LockOwner {
  long process = 0;
  std::string startTime;
  std::string boot;
};

// Field 22 of the process's status line, counted behind the name, which may hold blanks and parentheses.
std::string startTimeOf(long process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/stat");
  std::string line;
  std::getline(file, line);
  const std::size_t nameEnd = line.rfind(')');
  if (nameEnd == std::string::npos) return {};
  std::istringstream fields(line.substr(nameEnd + 1));
  std::string field;
  for (int i = 3; i <= 22; ++i) fields >> field;
  return field;
}

std::string bootOfMachine() {
  std::ifstream file("/proc/sys/kernel/random/boot_id");
  std::string boot;
  file >> boot;
  return boot;
}

LockOwner ourselves() {
  return {::getpid(), startTimeOf(::getpid()), bootOfMachine()};
}

LockOwner readOwner(const OpenFile& file) {
  std::array<char, 256> text{};
  const ssize_t size = ::pread(file.fd.get(), text.data(), text.size(), 0);
  LockOwner owner;
  if (size > 0) {
    std::istringstream fields(std::string(text.data(), static_cast<std::size_t>(size)));
    fields >> owner.process >> owner.startTime >> owner.boot;
  }
  return owner;
}

// Whether the process that the record names still runs, as far as this machine can tell.
bool isAlive(const LockOwner& owner) {
  return owner.process > 0 && owner.boot == bootOfMachine() && !owner.startTime.empty() &&
         startTimeOf(owner.process) == owner.startTime;
}

ArchiveError lockedError(const OpenFile& file, const LockOwner& owner) {
  const std::string who = owner.process > 0 ? " (process " + std::to_string(owner.process) + ")" : "";
  return {ArchiveFault::Locked, "Another program is writing this archive" + who, file.path, 0, 0};
}

// What a killed owner had started may hold the lock for a moment longer, until it is something else or dead as
// well.
int lock(const OpenFile& file) {
  constexpr auto pause = std::chrono::milliseconds(20);
  for (int attempt = 0; attempt < 100; ++attempt) {
    const int error = ::flock(file.fd.get(), LOCK_EX | LOCK_NB) == 0 ? 0 : errno;
    if (error != EWOULDBLOCK) return error;
    const LockOwner owner = readOwner(file);
    if (owner.process == 0 || owner.boot != bootOfMachine() || isAlive(owner)) return error;
    std::this_thread::sleep_for(pause);
  }
  return EWOULDBLOCK;
}

ArchiveResult<Done> writeOwner(const OpenFile& file) {
  const LockOwner owner = ourselves();
  const std::string text = std::to_string(owner.process) + " " + owner.startTime + " " + owner.boot + "\n";
  if (::ftruncate(file.fd.get(), 0) != 0) return writeError("The archive could not be locked", file.path, 0, errno);
  return writeAt(file, 0, std::as_bytes(std::span(text)));
}

}  // namespace

ArchiveResult<ArchiveLock> ArchiveLock::take(const OpenFile& package) {
  OpenFile file{
      FileDescriptor(::openat(package.fd.get(), fileName, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0644)),
      package.path + "/" + fileName};
  if (!file.fd) return writeError("The archive could not be locked", file.path, 0, errno);
  struct stat status = {};
  if (::fstat(file.fd.get(), &status) != 0) {
    return writeError("The archive could not be locked", file.path, 0, errno);
  }
  // The record is written over what the file holds: it must not be a file that somebody needs.
  if (!S_ISREG(status.st_mode) || status.st_nlink > 1) {
    return damagedError("The archive's lock is not a file of its own", file.path);
  }
  const int notLocked = lock(file);
  if (notLocked != 0) {
    const LockOwner owner = readOwner(file);
    if (notLocked == EWOULDBLOCK || isAlive(owner)) return lockedError(file, owner);
  }
  // Whoever removed an empty archive held the lock of a file that has no name any more.
  struct stat named = {};
  if (::fstatat(package.fd.get(), fileName, &named, AT_SYMLINK_NOFOLLOW) != 0 || named.st_ino != status.st_ino) {
    return lockedError(file, {});
  }
  const ArchiveResult<Done> written = writeOwner(file);
  if (!written) return written.error();
  return ArchiveLock(std::move(file));
}

ArchiveLock::~ArchiveLock() {
  // An empty record belongs to nobody; the file itself stays, because a waiting process may have it open.
  if (_file.fd) [[maybe_unused]]
    const int result = ::ftruncate(_file.fd.get(), 0);
}

}  // namespace zpk
