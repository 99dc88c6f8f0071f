#include "helper/service/LogCollection.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <optional>

#include "base/Value.h"
#include "platform/posix/FileDescriptor.h"
#include "platform/posix/FileManager_posix.h"

namespace zpk {
namespace {

constexpr std::uint64_t kLongestLog = std::uint64_t{16} << 20;

std::string because(const std::string& what) {
  return what + ": " + systemReason(errno);
}

bool writeAll(int file, const Bytes& content) {
  std::size_t written = 0;
  while (written < content.size()) {
    const ssize_t now =
        uninterrupted([&] { return ::write(file, content.data() + written, content.size() - written); });
    if (now <= 0) return false;
    written += static_cast<std::size_t>(now);
  }
  return true;
}

std::string copyInto(int folder, const std::string& log, uid_t user, gid_t group) {
  const auto content = PosixFileManager().contentsOfFile(log, kLongestLog);
  if (!content) return log + ": " + content.error().reason;
  const std::string name = log.substr(log.rfind('/') + 1);
  const FileDescriptor copy(
      openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!copy) return because(name);
  // Only root can give a file away; anybody else's is the user's already.
  const bool owned = geteuid() != 0 || fchown(copy.get(), user, group) == 0;
  if (owned && writeAll(copy.get(), *content)) return "";
  std::string reason = because(name);
  unlinkat(folder, name.c_str(), 0);
  return reason;
}

}  // namespace

std::string collectLogs(const std::vector<std::string>& logs, const std::string& folder, uid_t user) {
  if (folder.empty() || folder.front() != '/') return "the folder is not a full path";
  const FileDescriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!opened) return because("the folder cannot be opened");
  struct stat status {};
  if (fstat(opened.get(), &status) != 0) return because("the folder cannot be looked at");
  if (status.st_uid != user) return "the folder is not the caller's";
  if ((status.st_mode & S_IWOTH) != 0) return "everybody may write to the folder";
  std::string first;
  for (const std::string& log : logs) {
    if (access(log.c_str(), F_OK) != 0) continue;
    const std::string reason = copyInto(opened.get(), log, user, status.st_gid);
    if (first.empty()) first = reason;
  }
  return first;
}

}  // namespace zpk
