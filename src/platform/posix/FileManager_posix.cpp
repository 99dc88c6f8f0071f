#include "platform/posix/FileManager_posix.h"

#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <utility>

#include "platform/posix/AtomicSaver.h"
#include "platform/posix/FileDescriptor.h"

namespace zpk {
namespace {

constexpr std::size_t kBlock = std::size_t{128} * 1024;
constexpr std::uint64_t kLongestUnannounced = std::uint64_t{64} << 20;

// A path as the system takes it; nothing when it holds a NUL, behind which the system would not look.
std::optional<std::string> systemPath(std::string_view path) {
  if (path.empty() || path.find('\0') != std::string_view::npos) return std::nullopt;
  return std::string(path);
}

FileError badPath(std::string_view path) {
  return {std::string(path), systemReason(EINVAL)};
}

struct PlainFile {
  FileDescriptor descriptor;
  struct stat facts {};
};

Expected<PlainFile, FileError> openPlainFile(std::string_view path) {
  const std::optional<std::string> name = systemPath(path);
  if (!name) return badPath(path);
  PlainFile file;
  file.descriptor = FileDescriptor(
      uninterrupted([&] { return ::open(name->c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC); }));
  if (!file.descriptor || ::fstat(file.descriptor.get(), &file.facts) == -1) return fileError(path);
  if (!S_ISREG(file.facts.st_mode)) return FileError{std::string(path), "Not a plain file"};
  return file;
}

// Up to `space` bytes; less only at the end of the file.
ssize_t readUpTo(int file, std::uint8_t* target, std::size_t space) {
  std::size_t got = 0;
  while (got < space) {
    const ssize_t count = uninterrupted([&] { return ::read(file, target + got, space - got); });
    if (count < 0) return -1;
    if (count == 0) break;
    got += static_cast<std::size_t>(count);
  }
  return static_cast<ssize_t>(got);
}

bool writeAll(int file, const std::uint8_t* bytes, std::size_t size) {
  while (size > 0) {
    const ssize_t count = uninterrupted([&] { return ::write(file, bytes, size); });
    if (count == 0) errno = ENOSPC;
    if (count <= 0) return false;
    bytes += count;
    size -= static_cast<std::size_t>(count);
  }
  return true;
}

// Reads up to `limit` bytes, or to the end of `from`. The first read that fails or the first write that fails ends
// it.
std::optional<FileError> pump(int from, std::string_view fromPath, int to, std::string_view toPath,
                              std::uint64_t limit) {
  Bytes block(kBlock);
  while (limit > 0) {
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(limit, block.size()));
    const ssize_t count = readUpTo(from, block.data(), wanted);
    if (count < 0) return fileError(fromPath);
    if (count == 0) return std::nullopt;
    if (!writeAll(to, block.data(), static_cast<std::size_t>(count))) return fileError(toPath);
    limit -= static_cast<std::uint64_t>(count);
  }
  return std::nullopt;
}

// How much of a file there is to copy. Files of /proc announce 0 bytes, so that such a one ends where reading does.
std::uint64_t lengthToCopy(const PlainFile& file) {
  const auto announced = static_cast<std::uint64_t>(file.facts.st_size);
  return announced > 0 ? announced : kLongestUnannounced;
}

bool isDirectory(const std::string& path) {
  struct stat facts {};
  return ::stat(path.c_str(), &facts) == 0 && S_ISDIR(facts.st_mode);
}

// The home folder of the process's user by the system's accounts; empty when there is no such account.
std::string homeOfAccount() {
  std::vector<char> room(1024);
  passwd entry{};
  passwd* found = nullptr;
  while (::getpwuid_r(::getuid(), &entry, room.data(), room.size(), &found) == ERANGE && room.size() < 1 << 20) {
    room.resize(room.size() * 2);
  }
  return found != nullptr && entry.pw_dir != nullptr ? entry.pw_dir : "";
}

struct CloseDirectory {
  void operator()(DIR* directory) const { ::closedir(directory); }
};

}  // namespace

bool PosixFileManager::fileExists(std::string_view path) const {
  const std::optional<std::string> name = systemPath(path);
  struct stat facts {};
  return name && ::stat(name->c_str(), &facts) == 0;
}

Expected<Bytes, FileError> PosixFileManager::contentsOfFile(std::string_view path, std::uint64_t limit) const {
  const Expected<PlainFile, FileError> file = openPlainFile(path);
  if (!file) return file.error();
  const FileError tooLong{std::string(path), "Longer than " + std::to_string(limit) + " bytes"};
  const auto announced = static_cast<std::uint64_t>(file->facts.st_size);
  if (announced > limit) return tooLong;

  // Files of /proc announce 0 bytes, and a file may grow while it is read, so the end is where reading finds it.
  // One byte more than announced is asked for to see the end without another round.
  Bytes content;
  for (std::size_t room = announced + 1;; room = kBlock) {
    const std::size_t had = content.size();
    content.resize(had + room);
    const ssize_t count = readUpTo(file->descriptor.get(), content.data() + had, room);
    if (count < 0) return fileError(path);
    content.resize(had + static_cast<std::size_t>(count));
    if (content.size() > limit) return tooLong;
    if (static_cast<std::size_t>(count) < room) return content;
  }
}

Expected<Done, FileError> PosixFileManager::saveFile(std::string_view path, const Bytes& content) {
  return AtomicSaver::save(path, content);
}

Expected<std::vector<std::string>, FileError> PosixFileManager::contentsOfDirectory(std::string_view path) const {
  const std::optional<std::string> name = systemPath(path);
  if (!name) return badPath(path);
  const std::unique_ptr<DIR, CloseDirectory> directory(::opendir(name->c_str()));
  if (!directory) return fileError(path);
  std::vector<std::string> names;
  for (;;) {
    errno = 0;
    const dirent* entry = ::readdir(directory.get());
    if (entry == nullptr && errno != 0) return fileError(path);
    if (entry == nullptr) break;
    const std::string_view found = entry->d_name;
    if (found != "." && found != "..") names.emplace_back(found);
  }
  std::sort(names.begin(), names.end());
  return names;
}

Expected<Done, FileError> PosixFileManager::createDirectory(std::string_view path) {
  const std::optional<std::string> name = systemPath(path);
  if (!name) return badPath(path);
  if (::mkdir(name->c_str(), 0700) == -1) return fileError(path);
  return Done{};
}

Expected<Done, FileError> PosixFileManager::createDirectories(std::string_view path) {
  const std::optional<std::string> name = systemPath(path);
  if (!name) return badPath(path);
  // From the outermost folder inwards. That one is there already is what is mostly found, and no error; nor is one
  // that may not be made but is there, as on the way to a folder of one's own below a foreign one.
  for (std::size_t end = 0; end != std::string::npos;) {
    end = name->find('/', end + 1);
    const std::string folder = name->substr(0, end);
    if (::mkdir(folder.c_str(), 0777) == 0) continue;
    const int error = errno;
    if (!isDirectory(folder)) return FileError{folder, systemReason(error)};
  }
  return Done{};
}

Expected<Done, FileError> PosixFileManager::copyFile(std::string_view from, std::string_view to) {
  const std::optional<std::string> name = systemPath(to);
  if (!name) return badPath(to);
  const Expected<PlainFile, FileError> source = openPlainFile(from);
  if (!source) return source.error();
  const mode_t mode = source->facts.st_mode & 0777;
  const FileDescriptor target(uninterrupted(
      [&] { return ::open(name->c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode); }));
  if (!target) return fileError(to);
  if (std::optional<FileError> failure =
          pump(source->descriptor.get(), from, target.get(), to, lengthToCopy(*source))) {
    ::unlink(name->c_str());
    return *std::move(failure);
  }
  return Done{};
}

Expected<Done, FileError> PosixFileManager::removeFile(std::string_view path) {
  const std::optional<std::string> name = systemPath(path);
  if (!name) return badPath(path);
  if (::unlink(name->c_str()) == -1) return fileError(path);
  return Done{};
}

std::optional<FileSystemSpace> PosixFileManager::fileSystemSpace(std::string_view path) const {
  const std::optional<std::string> name = systemPath(path);
  struct statvfs facts {};
  if (!name || uninterrupted([&] { return ::statvfs(name->c_str(), &facts); }) == -1) return std::nullopt;
  return FileSystemSpace{facts.f_frsize, facts.f_bavail, facts.f_blocks};
}

std::string PosixFileManager::homeDirectory() const {
  const char* told = std::getenv("HOME");
  std::string home = told != nullptr && *told == '/' ? told : homeOfAccount();
  while (home.ends_with('/')) home.pop_back();
  return home.starts_with('/') ? home : "/";
}

}  // namespace zpk
