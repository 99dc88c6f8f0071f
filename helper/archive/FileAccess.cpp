#include "helper/archive/FileAccess.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

#include "platform/posix/AtomicSaver.h"

namespace zpk {
namespace {

// What the waiting thread and the syncing one share; the last of them frees it.
struct SyncState {
  FileDescriptor fd;
  std::mutex mutex;
  std::condition_variable changed;
  std::optional<int> errorNumber;
};

void syncNow(const std::shared_ptr<SyncState>& state) {
  const int errorNumber = ::fsync(state->fd.get()) == 0 ? 0 : errno;
  const std::lock_guard lock(state->mutex);
  // Closed before anybody goes on: who asks next whether the file is in use must not find this thread.
  state->fd.reset();
  state->errorNumber = errorNumber;
  state->changed.notify_one();
}

ArchiveResult<OpenFile> openRelative(const OpenFile& folder, const std::string& name, int flags,
                                     const char* message) {
  const std::string path = folder.path + "/" + name;
  FileDescriptor fd(::openat(folder.fd.get(), name.c_str(), flags | O_CLOEXEC | O_NOFOLLOW, 0644));
  if (!fd) {
    const int number = errno;
    return (flags & (O_WRONLY | O_RDWR)) != 0 ? writeError(message, path, 0, number)
                                              : readError(message, path, 0, number);
  }
  return OpenFile{std::move(fd), path};
}

}  // namespace

ArchiveResult<Done> writeAt(const OpenFile& file, std::uint64_t offset, ByteSpan bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::pwrite(file.fd.get(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) {
      return writeError("The archive could not be written", file.path, offset, count < 0 ? errno : ENOSPC);
    }
    bytes = bytes.subspan(static_cast<std::size_t>(count));
    offset += static_cast<std::uint64_t>(count);
  }
  return Done{};
}

ArchiveResult<Done> readAt(const OpenFile& file, std::uint64_t offset, std::span<std::byte> bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::pread(file.fd.get(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return readError("Reading failed", file.path, offset, errno);
    if (count == 0) return readError("The file or device ends too early", file.path, offset, 0);
    bytes = bytes.subspan(static_cast<std::size_t>(count));
    offset += static_cast<std::uint64_t>(count);
  }
  return Done{};
}

ArchiveResult<std::uint64_t> sizeOf(const OpenFile& file) {
  // Seeking gives the size of block devices as well, where stat() gives 0.
  const off_t end = ::lseek(file.fd.get(), 0, SEEK_END);
  if (end < 0) return readError("The size could not be read", file.path, 0, errno);
  return static_cast<std::uint64_t>(end);
}

bool hasOtherNames(const OpenFile& file) {
  struct stat status = {};
  return ::fstat(file.fd.get(), &status) == 0 && status.st_nlink > 1;
}

ArchiveResult<Done> startWriteback(const OpenFile& file, std::uint64_t offset, std::uint64_t size) {
  constexpr std::uint64_t window = std::uint64_t{8} << 20;
  const int fd = file.fd.get();
  int failed = ::sync_file_range(fd, static_cast<off_t>(offset), static_cast<off_t>(size), SYNC_FILE_RANGE_WRITE);
  if (failed == 0 && offset > window) {
    // Asking consumes a pending write error of the file, so the answer counts as much as that of the final sync.
    failed = ::sync_file_range(fd, 0, static_cast<off_t>(offset - window),
                               SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WRITE | SYNC_FILE_RANGE_WAIT_AFTER);
  }
  // File systems without ranges say so; the final sync does the whole work there.
  if (failed != 0 && errno != ESPIPE && errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP) {
    return writeError("The archive could not be written", file.path, offset, errno);
  }
  return Done{};
}

ArchiveResult<Done> syncFile(const OpenFile& file, const CancelFlag& cancel) {
  const auto state = std::make_shared<SyncState>();
  state->fd = FileDescriptor(::fcntl(file.fd.get(), F_DUPFD_CLOEXEC, 0));
  if (!state->fd) return writeError("The archive could not be written", file.path, 0, errno);
  std::thread(syncNow, state).detach();
  std::unique_lock lock(state->mutex);
  while (!state->errorNumber) {
    if (cancel.isRequested()) return cancelledError();
    state->changed.wait_for(lock, std::chrono::milliseconds(50));
  }
  if (*state->errorNumber != 0) {
    return writeError("The archive could not be made durable", file.path, 0, *state->errorNumber);
  }
  return Done{};
}

ArchiveResult<Done> syncFolder(const OpenFile& folder, const CancelFlag& cancel) {
  const ArchiveResult<Done> synced = syncFile(folder, cancel);
  return synced || synced.error().errorNumber != EINVAL ? synced : Done{};
}

ArchiveResult<OpenFile> createIn(const OpenFile& folder, const std::string& name) {
  return openRelative(folder, name, O_RDWR | O_CREAT | O_EXCL, "A new file could not be made");
}

ArchiveResult<OpenFile> openIn(const OpenFile& folder, const std::string& name) {
  return openRelative(folder, name, O_RDONLY | O_NONBLOCK, "A file could not be opened");
}

ArchiveResult<OpenFile> openForUpdateIn(const OpenFile& folder, const std::string& name) {
  return openRelative(folder, name, O_RDWR | O_NONBLOCK, "A file could not be opened for writing");
}

ArchiveResult<OpenFile> openFolder(const std::string& path) {
  FileDescriptor fd(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!fd) return readError("The folder could not be opened", path, 0, errno);
  return OpenFile{std::move(fd), path};
}

ArchiveResult<OpenFile> openFolderIn(const OpenFile& folder, const std::string& name) {
  return openRelative(folder, name, O_RDONLY | O_DIRECTORY, "The folder could not be opened");
}

ArchiveResult<Done> renameIn(const OpenFile& folder, const std::string& from, const std::string& to) {
  if (::renameat(folder.fd.get(), from.c_str(), folder.fd.get(), to.c_str()) != 0) {
    return writeError("A file could not be put in its place", folder.path + "/" + to, 0, errno);
  }
  return Done{};
}

ArchiveResult<Done> moveFile(const OpenFile& from, const OpenFile& to, const std::string& name) {
  if (::renameat(from.fd.get(), name.c_str(), to.fd.get(), name.c_str()) != 0) {
    return writeError("A file could not be put in its place", to.path + "/" + name, 0, errno);
  }
  return Done{};
}

ArchiveResult<std::uint64_t> freeBytes(const OpenFile& folder) {
  struct statvfs status = {};
  if (::fstatvfs(folder.fd.get(), &status) != 0) {
    return readError("The free space could not be asked for", folder.path, 0, errno);
  }
  return std::uint64_t{status.f_bavail} * status.f_frsize;
}

ArchiveResult<std::string> readText(const OpenFile& folder, const std::string& name, std::uint64_t limit) {
  ArchiveResult<OpenFile> file = openIn(folder, name);
  if (!file) return file.error();
  struct stat status = {};
  if (::fstat(file->fd.get(), &status) != 0) return readError("Reading failed", file->path, 0, errno);
  if (!S_ISREG(status.st_mode)) return damagedError("This is not a regular file", file->path);
  const auto size = static_cast<std::uint64_t>(status.st_size);
  if (size > limit) return damagedError("The file is larger than such a file can be", file->path);
  std::string text(size, '\0');
  const ArchiveResult<Done> read = readAt(*file, 0, std::as_writable_bytes(std::span(text)));
  if (!read) return read.error();
  return text;
}

ArchiveResult<Done> saveAtomically(const OpenFile& folder, const std::string& name, const std::string& text) {
  const std::span<const std::uint8_t> content(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
  const Expected<Done, FileError> saved = AtomicSaver::saveAt(folder.fd.get(), name, content, 0644);
  if (saved) return Done{};
  return ArchiveError{ArchiveFault::WriteFailed,
                      "The archive's index could not be saved (" + saved.error().reason + ")",
                      folder.path + "/" + name, 0, 0};
}

}  // namespace zpk
