#include "helper/archive/RestoreTarget.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "helper/archive/DeviceIdentity.h"
#include "helper/archive/GptTable.h"
#include "helper/archive/ImageFileUse.h"

namespace zpk {
namespace {

constexpr std::size_t zerosAtOnce = std::size_t{1} << 20U;

ArchiveError inUse(const std::string& path, bool isImageFile) {
  return {ArchiveFault::Refused,
          isImageFile ? "Another program has the disk image open, or a volume of it is mounted; close it there and "
                        "try again"
                      : "The disk is in use; eject its volumes and try again",
          path, 0, 0};
}

}  // namespace

ArchiveResult<RestoreTarget> RestoreTarget::open(const std::string& path) {
  struct stat status = {};
  if (::stat(path.c_str(), &status) != 0) return readError("The disk could not be opened", path, 0, errno);
  if (!S_ISBLK(status.st_mode) && !S_ISREG(status.st_mode)) {
    return ArchiveError{ArchiveFault::Refused, "This is neither a disk nor a disk image", path, 0, 0};
  }
  RestoreTarget target;
  target._isImageFile = S_ISREG(status.st_mode);
  const int exclusive = target._isImageFile ? O_NOFOLLOW : O_EXCL;
  target._file = {FileDescriptor(::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK | exclusive)), path};
  if (!target._file.fd) {
    if (errno == EBUSY) return inUse(path, false);
    return writeError("The disk could not be opened for writing", path, 0, errno);
  }
  if (target._isImageFile && (isOpenElsewhere(target._file.fd) || !keepOthersOut(target._file.fd))) {
    return inUse(path, true);
  }
  const ArchiveResult<std::uint64_t> size = sizeOf(target._file);
  if (!size) return size.error();
  target._size = *size;
  return target;
}

ArchiveError RestoreTarget::otherDisk() const {
  return {
      ArchiveFault::Refused,
      "The disk is not what it was when it was chosen: its partition table has changed, or another disk has taken "
      "its place. Choose the disk again",
      path(), 0, 0};
}

ArchiveResult<Done> RestoreTarget::checkIs(const TargetLayout& chosen) const {
  if (_size != chosen.size) return otherDisk();
  // A blank disk has nothing on it that tells it from another one.
  if (!chosen.identity.empty() && identityOfOpen(descriptor()) != chosen.identity) return otherDisk();
  const ArchiveResult<Done> sectors = checkSectors(chosen.sectorSize);
  if (!sectors) return sectors;
  if (!chosen.id) return chosen.partitions.empty() ? checkHasNoTable() : otherDisk();
  const ArchiveResult<GptTable> table =
      readGptTable([this](std::uint64_t offset, std::span<std::byte> bytes) { return read(offset, bytes); }, _size,
                   chosen.sectorSize);
  if (!table) return table.error().fault == ArchiveFault::Damaged ? otherDisk() : table.error();
  const auto isSame = [](const GptEntry& entry, const TargetPartition& partition) {
    return entry.number == partition.number && entry.start == partition.start && entry.size == partition.size &&
           entry.type == partition.type;
  };
  const bool same = table->diskId == *chosen.id && std::ranges::equal(table->entries, chosen.partitions, isSame);
  return same ? ArchiveResult<Done>(Done{}) : otherDisk();
}

ArchiveResult<Done> RestoreTarget::checkSectors(std::uint32_t sectorSize) const {
  if (sectorSize != 512 && sectorSize != 4096) {
    return ArchiveError{ArchiveFault::Refused, "The disk's sector size is not supported", path(), 0, 0};
  }
  int found = 0;
  if (_isImageFile || ::ioctl(descriptor(), BLKSSZGET, &found) != 0) return Done{};
  return found == static_cast<int>(sectorSize) ? ArchiveResult<Done>(Done{}) : otherDisk();
}

// No GPT in either place where one begins, and an MBR without entries or none.
ArchiveResult<Done> RestoreTarget::checkHasNoTable() const {
  constexpr std::size_t mbrEntries = 446;
  ByteBuffer head(std::size_t{4096} + 512);
  const ArchiveResult<Done> step = read(0, head);
  if (!step) return step;
  const ByteSpan bytes(head);
  for (const std::size_t sector : {std::size_t{512}, std::size_t{4096}}) {
    if (std::memcmp(&bytes[sector], "EFI PART", 8) == 0) return otherDisk();
  }
  const bool isTable = bytes[510] == std::byte{0x55} && bytes[511] == std::byte{0xAA};
  if (isTable && !isAllZero(bytes.subspan(mbrEntries, 64))) return otherDisk();
  return Done{};
}

ArchiveResult<bool> RestoreTarget::hasHybridMbr() const {
  constexpr std::size_t mbrEntries = 446;
  constexpr std::size_t entrySize = 16;
  constexpr std::size_t typePlace = 4;
  constexpr std::byte protective{0xEE};
  ByteBuffer sector(512);
  const ArchiveResult<Done> step = read(0, sector);
  if (!step) return step.error();
  if (sector[510] != std::byte{0x55} || sector[511] != std::byte{0xAA}) return false;
  for (std::size_t entry = mbrEntries; entry < mbrEntries + 4 * entrySize; entry += entrySize) {
    const std::byte type = sector[entry + typePlace];
    if (type != std::byte{0} && type != protective) return true;
  }
  return false;
}

ArchiveResult<Done> RestoreTarget::read(std::uint64_t offset, std::span<std::byte> bytes) const {
  return readAt(_file, offset, bytes);
}

ArchiveResult<Done> RestoreTarget::write(std::uint64_t offset, ByteSpan bytes) const {
  // A write past the end would make an image file longer.
  if (offset > _size || bytes.size() > _size - offset) {
    return writeError("A write beyond the end of the disk", path(), offset, 0);
  }
  ArchiveResult<Done> written = writeAt(_file, offset, bytes);
  if (written) return written;
  ArchiveError error = written.error();
  error.message = "The disk could not be written";
  return error;
}

ArchiveResult<Done> RestoreTarget::writeZeros(ByteRange range) const {
  const ByteBuffer zeros(static_cast<std::size_t>(std::min<std::uint64_t>(range.size(), zerosAtOnce)));
  ArchiveResult<Done> step = Done{};
  for (std::uint64_t at = range.start; step && at < range.end; at += zeros.size()) {
    step = write(at, ByteSpan(zeros).first(std::min<std::uint64_t>(zeros.size(), range.end - at)));
  }
  return step;
}

ArchiveResult<Done> RestoreTarget::startWriteback(std::uint64_t offset, std::uint64_t size) const {
  return zpk::startWriteback(_file, offset, size);
}

void RestoreTarget::tellKernelOfTable() const {
  if (!_isImageFile) ::ioctl(descriptor(), BLKRRPART);
}

ArchiveResult<Done> RestoreTarget::sync(const CancelFlag& cancel) const {
  ArchiveResult<Done> synced = syncFile(_file, cancel);
  if (synced || synced.error().fault == ArchiveFault::Cancelled) return synced;
  ArchiveError error = synced.error();
  error.message = "What was written could not be made durable";
  return error;
}

}  // namespace zpk
