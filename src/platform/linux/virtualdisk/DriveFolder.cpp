#include "platform/linux/virtualdisk/DriveFolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>

#include "platform/posix/FileDescriptor.h"

namespace zpk {
namespace {

constexpr std::size_t kLongestMedia = std::size_t{64} << 10;
constexpr std::size_t kLongestName = 32;
constexpr std::size_t kLongestProcessId = 10;

// The whole of a plain file of at most `limit` bytes; nothing when it is anything else.
std::optional<std::string> contentOf(const std::string& path, std::size_t limit) {
  const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  struct stat status = {};
  if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  std::string content(limit + 1, '\0');
  std::size_t length = 0;
  while (length < content.size()) {
    const ssize_t got =
        uninterrupted([&] { return ::read(file.get(), content.data() + length, content.size() - length); });
    if (got < 0) return std::nullopt;
    if (got == 0) break;
    length += static_cast<std::size_t>(got);
  }
  if (length > limit) return std::nullopt;
  content.resize(length);
  return content;
}

template <class T>
std::string_view bytesOf(const T& value) {
  return {reinterpret_cast<const char*>(&value), sizeof value};
}

bool writeAll(const FileDescriptor& file, std::string_view content) {
  while (!content.empty()) {
    const ssize_t written = uninterrupted([&] { return ::write(file.get(), content.data(), content.size()); });
    if (written <= 0) return false;
    content.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

// Whole or not at all for who looks. Not made durable: a drive does not outlive the session, and every sync of a
// file is a wait of the user's.
bool replaceFile(const std::string& path, std::string_view content) {
  const std::string unfinished = path + DriveFolder::kUnfinished;
  ::unlink(unfinished.c_str());
  const FileDescriptor file(::open(unfinished.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!file) return false;
  if (writeAll(file, content) && ::rename(unfinished.c_str(), path.c_str()) == 0) return true;
  ::unlink(unfinished.c_str());
  return false;
}

template <class T>
std::optional<T> valueIn(const std::string& path) {
  const auto content = contentOf(path, sizeof(T));
  if (!content || content->size() != sizeof(T)) return std::nullopt;
  T value;
  std::memcpy(&value, content->data(), sizeof value);
  return value;
}

// The file's layout has no padding.
struct PackedCompletion {
  std::array<std::uint8_t, sizeof(std::int32_t)> result;
  std::array<std::uint8_t, sizeof(QrxDriveReply)> reply;
};
static_assert(sizeof(PackedCompletion) == 604);

bool isMediumName(std::string_view name) {
  const auto isWordCharacter = [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z'); };
  return !name.empty() && name.size() <= kLongestName && std::all_of(name.begin(), name.end(), isWordCharacter);
}

// 0, or the errno that says why the folder is not to be used.
int checkFolder(const std::string& path) {
  struct stat status = {};
  if (::lstat(path.c_str(), &status) != 0) return errno;
  if (!S_ISDIR(status.st_mode)) return ENOTDIR;
  return status.st_uid != ::geteuid() || (status.st_mode & 077) != 0 ? EACCES : 0;
}

int makeFolder(const std::string& path) {
  if (::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) return errno;
  return checkFolder(path);
}

}  // namespace

Expected<Done, int> DriveFolder::create(const QrxDriveRequest& request) const {
  if (::mkdir(_path.c_str(), 0700) != 0) return errno;
  if (replaceFile(filePath(kRequest), bytesOf(request))) return Done{};
  ::rmdir(_path.c_str());
  return EIO;
}

std::optional<QrxDriveRequest> DriveFolder::request() const {
  return valueIn<QrxDriveRequest>(filePath(kRequest));
}

bool DriveFolder::saveKeeper(std::int32_t processId) const {
  return replaceFile(filePath(kKeeper), std::to_string(processId));
}

std::optional<std::int32_t> DriveFolder::keeper() const {
  const std::string text = contentOf(filePath(kKeeper), kLongestProcessId).value_or("");
  std::int32_t id = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), id);
  if (error != std::errc() || end != text.data() + text.size() || id <= 1) return std::nullopt;
  return id;
}

void DriveFolder::saveMedia(const std::vector<std::string>& names) const {
  std::string text;
  for (const std::string& name : names) text += name + "\n";
  (void)replaceFile(filePath(kMedia), text);
}

std::vector<std::string> DriveFolder::media() const {
  const std::string text = contentOf(filePath(kMedia), kLongestMedia).value_or("");
  std::vector<std::string> names;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    if (isMediumName(std::string_view(text).substr(at, end - at))) names.push_back(text.substr(at, end - at));
    at = end + 1;
  }
  return names;
}

bool DriveFolder::saveCompletion(const Completion& completion) const {
  PackedCompletion packed;
  std::memcpy(packed.result.data(), &completion.result, packed.result.size());
  std::memcpy(packed.reply.data(), &completion.reply, packed.reply.size());
  return replaceFile(filePath(kCompletion), bytesOf(packed));
}

std::optional<DriveFolder::Completion> DriveFolder::completion() const {
  const auto packed = valueIn<PackedCompletion>(filePath(kCompletion));
  if (!packed) return std::nullopt;
  Completion completion{};
  std::memcpy(&completion.result, packed->result.data(), packed->result.size());
  std::memcpy(&completion.reply, packed->reply.data(), packed->reply.size());
  return completion;
}

bool DriveFolder::isKept() const {
  const FileDescriptor file(::open(filePath(kRequest).c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
  return file && ::flock(file.get(), LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

bool isDriveId(std::string_view text) {
  const auto isDigit = [](char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F'); };
  return text.size() == 2 * sizeof(QrxDriveId) && std::all_of(text.begin(), text.end(), isDigit);
}

Expected<std::string, int> drivesFolder(const std::string& runtimeFolder) {
  if (runtimeFolder.empty()) return ENOENT;
  if (const int error = checkFolder(runtimeFolder); error != 0) return error;
  const std::string own = runtimeFolder + "/zpk";
  if (const int error = makeFolder(own); error != 0) return error;
  std::string drives = own + "/drives";
  if (const int error = makeFolder(drives); error != 0) return error;
  return drives;
}

std::vector<DriveFolder> allDrives(const std::string& drives) {
  std::vector<DriveFolder> all;
  std::error_code error;
  for (std::filesystem::directory_iterator entry(drives, error), end; !error && entry != end;
       entry.increment(error)) {
    std::string name = entry->path().filename().string();
    if (isDriveId(name)) all.emplace_back(drives, std::move(name));
  }
  std::sort(all.begin(), all.end(), [](const auto& a, const auto& b) { return a.id() < b.id(); });
  return all;
}

}  // namespace zpk
