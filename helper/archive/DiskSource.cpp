#include "helper/archive/DiskSource.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "helper/archive/ImageFileUse.h"

namespace zpk {
namespace {

bool isAligned(const std::byte* memory, std::uint64_t offset, std::uint64_t size) {
  return reinterpret_cast<std::uintptr_t>(memory) % DiskSource::alignment == 0 &&
         offset % DiskSource::alignment == 0 && size % DiskSource::alignment == 0;
}

}  // namespace

ArchiveResult<DiskSource> DiskSource::open(const std::string& path) {
  struct stat status = {};
  if (::stat(path.c_str(), &status) != 0) return readError("The disk could not be opened", path, 0, errno);
  const int exclusive = S_ISBLK(status.st_mode) ? O_EXCL : 0;
  DiskSource source;
  source._file = {FileDescriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | exclusive)), path};
  if (!source._file.fd) {
    if (errno == EBUSY) {
      return ArchiveError{ArchiveFault::SourceUnfit, "The disk is in use; eject its volumes and try again", path, 0,
                          0};
    }
    return readError("The disk could not be opened", path, 0, errno);
  }
  source._writtenAt = writeTime(source._file);
  if (source.isImageFile() && isOpenForWriting(source._file.fd)) {
    return ArchiveError{ArchiveFault::SourceUnfit,
                        "Another program, such as a virtual machine, has the disk image open for writing; close it "
                        "there and try again",
                        path, 0, 0};
  }
  const ArchiveResult<std::uint64_t> size = sizeOf(source._file);
  if (!size) return size.error();
  source._size = *size;
  // By its descriptor: the path may lead to another disk by now.
  const std::string same = "/proc/self/fd/" + std::to_string(source._file.fd.get());
  source._direct = {FileDescriptor(::open(same.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_DIRECT)), path};
  return source;
}

ArchiveResult<Done> DiskSource::read(std::uint64_t offset, std::span<std::byte> bytes) const {
  if (_direct.fd && isAligned(bytes.data(), offset, bytes.size())) {
    const ArchiveResult<Done> read = readAt(_direct, offset, bytes);
    // A device with a coarser alignment refuses; anything else is the answer.
    if (read || read.error().errorNumber != EINVAL) return read;
  }
  return readAt(_file, offset, bytes);
}

ArchiveResult<Done> DiskSource::readSectors(std::uint64_t offset, std::span<std::byte> bytes) const {
  if (_direct.fd) {
    const ArchiveResult<Done> read = readAt(_direct, offset, bytes);
    if (read || read.error().errorNumber != EINVAL) return read;
  }
  ::posix_fadvise(_file.fd.get(), static_cast<off_t>(offset), static_cast<off_t>(bytes.size()),
                  POSIX_FADV_DONTNEED);
  return readAt(_file, offset, bytes);
}

std::optional<DiskSource::WriteTime> DiskSource::writeTime(const OpenFile& file) {
  struct stat status = {};
  if (::fstat(file.fd.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  return WriteTime{status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

ArchiveResult<Done> DiskSource::checkUnchanged() const {
  if (!isImageFile() || writeTime(_file) == _writtenAt) return Done{};
  return ArchiveError{ArchiveFault::SourceUnfit,
                      "Another program changed the disk image while it was read; close it there and try again",
                      path(), 0, 0};
}

}  // namespace zpk
