// Shows a disk image as a file that has faults: `faultydisk IMAGE FAULTS MOUNTPOINT` serves MOUNTPOINT/disk.img
// until it is unmounted. FAULTS is read again at every read, so that a test can change its mind:
//
//   bad START END      reads that touch these bytes fail with EIO
//   gone AFTER ERRNO   after that many further reads every read fails with that number
//
// Each refused read adds a byte to the file FAULTS.hits.

#define FUSE_USE_VERSION 31

#include <fcntl.h>
#include <fuse.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <string>

namespace {

constexpr const char* fileName = "/disk.img";

struct FaultyDisk {
  int image = -1;
  std::string faults;
  std::uint64_t reads = 0;
};
FaultyDisk disk;

// What a read of these bytes fails with, or 0.
int faultOf(std::uint64_t start, std::uint64_t end) {
  std::ifstream file(disk.faults);
  std::string kind;
  std::uint64_t first = 0;
  std::uint64_t second = 0;
  bool mayGo = false;
  int fault = 0;
  while (file >> kind >> first >> second) {
    if (kind == "bad" && start < second && first < end) fault = EIO;
    if (kind != "gone") continue;
    mayGo = true;
    if (disk.reads >= first) return static_cast<int>(second);
  }
  disk.reads = mayGo ? disk.reads + 1 : 0;
  return fault;
}

int attributes(const char* path, struct stat* status, fuse_file_info*) {
  *status = {};
  if (std::strcmp(path, "/") == 0) {
    status->st_mode = S_IFDIR | 0755;
    status->st_nlink = 2;
    return 0;
  }
  if (std::strcmp(path, fileName) != 0) return -ENOENT;
  struct stat image = {};
  if (::fstat(disk.image, &image) != 0) return -errno;
  status->st_mode = S_IFREG | 0644;
  status->st_nlink = 1;
  status->st_size = image.st_size;
  return 0;
}

// Past the page cache, which would hide faults that come later.
int openFile(const char* path, fuse_file_info* info) {
  if (std::strcmp(path, fileName) != 0) return -ENOENT;
  info->direct_io = 1;
  return 0;
}

int readFile(const char*, char* bytes, size_t size, off_t offset, fuse_file_info*) {
  const auto start = static_cast<std::uint64_t>(offset);
  if (const int fault = faultOf(start, start + size)) {
    std::ofstream(disk.faults + ".hits", std::ios::app) << 'x';
    return -fault;
  }
  const ssize_t count = ::pread(disk.image, bytes, size, offset);
  return count < 0 ? -errno : static_cast<int>(count);
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 4) return 2;
  disk.image = ::open(arguments[1], O_RDONLY | O_CLOEXEC);
  disk.faults = arguments[2];
  if (disk.image < 0) return 1;
  fuse_operations operations = {};
  operations.getattr = attributes;
  operations.open = openFile;
  operations.read = readFile;
  std::string name = "faultydisk";
  std::string foreground = "-f";
  std::string oneThread = "-s";
  char* options[] = {name.data(), foreground.data(), oneThread.data(), arguments[3], nullptr};
  return fuse_main(4, options, &operations, nullptr);
}
