#include "platform/posix/AtomicSaver.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <array>
#include <cstdio>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "platform/posix/FileDescriptor.h"

namespace zpk {
namespace {

constexpr std::string_view kTemporaryPrefix = ".zpk-save-";
constexpr int kNameAttempts = 100;

std::string freshTemporaryName() {
  std::random_device random;
  std::array<char, 17> digits{};
  std::snprintf(digits.data(), digits.size(), "%08x%08x", random(), random());
  return std::string(kTemporaryPrefix) + digits.data();
}

// The file under its temporary name. It is locked for as long as it is open, which tells it from one that a killed
// process left. Ends its name, unless it was renamed.
class TemporaryFile {
 public:
  static std::optional<TemporaryFile> create(int folder) {
    for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
      std::string name = freshTemporaryName();
      FileDescriptor file(uninterrupted([&] {
        return ::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
      }));
      if (!file && errno == EEXIST) continue;
      if (!file) return std::nullopt;
      TemporaryFile made(folder, std::move(name), std::move(file));
      if (!made.lock()) continue;
      return made;
    }
    errno = EEXIST;
    return std::nullopt;
  }

  TemporaryFile(TemporaryFile&& other) noexcept = default;
  TemporaryFile& operator=(TemporaryFile&& other) = delete;
  ~TemporaryFile() {
    if (!_file) return;
    const int reported = errno;
    ::unlinkat(_folder, _name.c_str(), 0);
    errno = reported;
  }

  bool fill(std::span<const std::uint8_t> content, mode_t mode) {
    while (!content.empty()) {
      const ssize_t written = uninterrupted([&] { return ::write(_file.get(), content.data(), content.size()); });
      if (written == 0) errno = ENOSPC;
      if (written <= 0) return false;
      content = content.subspan(static_cast<std::size_t>(written));
    }
    return ::fchmod(_file.get(), mode) == 0 && uninterrupted([&] { return ::fsync(_file.get()); }) == 0;
  }

  bool rename(const std::string& name) {
    if (::renameat(_folder, _name.c_str(), _folder, name.c_str()) == -1) return false;
    _file.reset();
    return true;
  }

 private:
  TemporaryFile(int folder, std::string name, FileDescriptor file)
      : _folder(folder), _name(std::move(name)), _file(std::move(file)) {}

  // False when somebody took it for a leftover before the lock was there: is about to remove it, or did. A file
  // system without locks is fine: there no lock ever succeeds, so nothing counts as a leftover.
  bool lock() {
    if (::flock(_file.get(), LOCK_EX | LOCK_NB) == -1 && errno == EWOULDBLOCK) return false;
    struct stat facts {};
    return ::fstat(_file.get(), &facts) == 0 && facts.st_nlink > 0;
  }

  int _folder;
  std::string _name;
  FileDescriptor _file;
};

void removeIfLeftOver(int folder, const char* name) {
  const FileDescriptor file(::openat(folder, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (file && ::flock(file.get(), LOCK_EX | LOCK_NB) == 0) ::unlinkat(folder, name, 0);
}

// Removes what killed processes left. Failing is no failure of the save.
void removeLeftovers(int folder) {
  const int own = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  DIR* entries = own < 0 ? nullptr : ::fdopendir(own);
  if (entries == nullptr) {
    if (own >= 0) ::close(own);
    return;
  }
  while (const dirent* entry = ::readdir(entries)) {
    if (std::string_view(entry->d_name).starts_with(kTemporaryPrefix)) removeIfLeftOver(folder, entry->d_name);
  }
  ::closedir(entries);
}

bool isPlainName(std::string_view name) {
  return !name.empty() && name != "." && name != ".." && name.find('/') == std::string_view::npos &&
         name.find('\0') == std::string_view::npos;
}

// A file system that has nothing to sync for a folder says EINVAL.
bool syncFolder(int folder) {
  return uninterrupted([&] { return ::fsync(folder); }) == 0 || errno == EINVAL;
}

}  // namespace

Expected<Done, FileError> AtomicSaver::save(std::string_view path, std::span<const std::uint8_t> content,
                                            mode_t mode) {
  if (path.find('\0') != std::string_view::npos) return FileError{std::string(path), systemReason(EINVAL)};
  const std::size_t slash = path.rfind('/');
  const std::string folderPath = slash == std::string_view::npos ? "." : std::string(path.substr(0, slash + 1));
  const FileDescriptor folder(
      uninterrupted([&] { return ::open(folderPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
  if (!folder) return fileError(path);
  const std::string_view name = slash == std::string_view::npos ? path : path.substr(slash + 1);
  if (auto saved = saveAt(folder.get(), name, content, mode); !saved) {
    return FileError{std::string(path), saved.error().reason};
  }
  return Done{};
}

Expected<Done, FileError> AtomicSaver::saveAt(int folder, std::string_view name,
                                              std::span<const std::uint8_t> content, mode_t mode) {
  if (!isPlainName(name)) return FileError{std::string(name), systemReason(EINVAL)};
  removeLeftovers(folder);
  std::optional<TemporaryFile> file = TemporaryFile::create(folder);
  if (!file || !file->fill(content, mode) || !file->rename(std::string(name))) return fileError(name);
  if (!syncFolder(folder)) return fileError(name);
  return Done{};
}

}  // namespace zpk
