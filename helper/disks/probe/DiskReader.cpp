#include "helper/disks/probe/DiskReader.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <limits>
#include <system_error>

namespace zpk {
namespace {

std::string errorText(int errorNumber) {
  return std::generic_category().message(errorNumber);
}

std::string kindText(mode_t mode) {
  if (S_ISDIR(mode)) return "it is a folder";
  if (S_ISFIFO(mode)) return "it is a pipe";
  if (S_ISSOCK(mode)) return "it is a socket";
  if (S_ISCHR(mode)) return "it is a character device";
  return "it is neither a file nor a block device";
}

Expected<std::uint64_t, std::string> sizeOf(int fd, const struct stat& status) {
  if (S_ISREG(status.st_mode)) return static_cast<std::uint64_t>(status.st_size);
  std::uint64_t bytes = 0;
  if (::ioctl(fd, BLKGETSIZE64, &bytes) != 0) return errorText(errno);
  return bytes;
}

}  // namespace

Expected<DiskReader, std::string> DiskReader::open(const std::string& path, std::optional<FileIdentity> expected) {
  FileDescriptor fd(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!fd) return errno == ELOOP ? std::string("it is a link") : errorText(errno);
  struct stat status = {};
  if (::fstat(fd.get(), &status) != 0) return errorText(errno);
  if (!S_ISREG(status.st_mode) && !S_ISBLK(status.st_mode)) return kindText(status.st_mode);
  if (expected && (expected->device != status.st_dev || expected->inode != status.st_ino)) {
    return std::string("it was replaced while it was being read");
  }
  const Expected<std::uint64_t, std::string> size = sizeOf(fd.get(), status);
  if (!size) return size.error();
  if (*size > static_cast<std::uint64_t>(std::numeric_limits<off_t>::max())) return std::string("it is too large");
  return DiskReader(std::move(fd), *size, S_ISBLK(status.st_mode));
}

bool DiskReader::read(std::uint64_t position, std::span<std::uint8_t> out) const {
  if (position > _size || out.size() > _size - position) return false;
  while (!out.empty()) {
    const ssize_t got = ::pread(_fd.get(), out.data(), out.size(), static_cast<off_t>(position));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    position += static_cast<std::uint64_t>(got);
    out = out.subspan(static_cast<std::size_t>(got));
  }
  return true;
}

}  // namespace zpk
