#include "tools/qrx-helper/NtfsVolume.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <utility>

extern "C" {
#include <ntfs-3g/attrib.h>
#include <ntfs-3g/device.h>
#include <ntfs-3g/dir.h>
#include <ntfs-3g/inode.h>
#include <ntfs-3g/logging.h>
#include <ntfs-3g/ntfstime.h>
#include <ntfs-3g/reparse.h>
#include <ntfs-3g/unistr.h>
#include <ntfs-3g/volume.h>
}
// The library's own, in the way of the standard ones.
#undef max
#undef min

namespace zpk {
namespace {

// Of the volume's own metadata files; the root folder is among them.
constexpr std::uint64_t kFirstUserRecord = 24;
constexpr std::uint64_t kRootRecord = 5;
constexpr mode_t kFileMode = S_IFREG | 0400;
constexpr mode_t kFolderMode = S_IFDIR | 0500;
constexpr mode_t kLinkMode = S_IFLNK | 0400;

VolumeError lastError() {
  return {errno != 0 ? errno : EIO};
}

// The device that the library reads: a position in a stretch of bytes.
struct Device {
  VolumeBytes bytes;
  std::int64_t position = 0;
};

Device& deviceOf(ntfs_device* device) {
  return *static_cast<Device*>(device->d_private);
}

int refuse(int number) {
  errno = number;
  return -1;
}

int openDevice(ntfs_device* device, int flags) {
  if ((flags & O_ACCMODE) != O_RDONLY) return refuse(EROFS);
  NDevSetOpen(device);
  NDevSetReadOnly(device);
  return 0;
}

int closeDevice(ntfs_device* device) {
  device->d_state &= ~(1UL << ND_Open);
  return 0;
}

s64 seekDevice(ntfs_device* device, s64 offset, int whence) {
  Device& self = deviceOf(device);
  const auto size = static_cast<std::int64_t>(self.bytes.size);
  const std::int64_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? self.position : size;
  if (offset < -base || offset > size - base) return refuse(EINVAL);
  return self.position = base + offset;
}

s64 readDeviceAt(ntfs_device* device, void* buffer, s64 count, s64 offset) {
  const VolumeBytes& bytes = deviceOf(device).bytes;
  if (offset < 0 || count < 0) return refuse(EINVAL);
  const auto from = static_cast<std::uint64_t>(offset);
  if (from >= bytes.size) return 0;
  const std::uint64_t wanted = std::min(static_cast<std::uint64_t>(count), bytes.size - from);
  if (!bytes.read(from, {static_cast<std::byte*>(buffer), static_cast<std::size_t>(wanted)})) return refuse(EIO);
  return static_cast<s64>(wanted);
}

s64 readDevice(ntfs_device* device, void* buffer, s64 count) {
  Device& self = deviceOf(device);
  const s64 got = readDeviceAt(device, buffer, count, self.position);
  if (got > 0) self.position += got;
  return got;
}

s64 writeDevice(ntfs_device* /*device*/, const void* /*buffer*/, s64 /*count*/) {
  return refuse(EROFS);
}

s64 writeDeviceAt(ntfs_device* /*device*/, const void* /*buffer*/, s64 /*count*/, s64 /*offset*/) {
  return refuse(EROFS);
}

int syncDevice(ntfs_device* /*device*/) {
  return 0;
}

int statDevice(ntfs_device* device, struct stat* status) {
  *status = {};
  status->st_mode = S_IFREG | 0400;
  status->st_size = static_cast<off_t>(deviceOf(device).bytes.size);
  return 0;
}

int controlDevice(ntfs_device* /*device*/, unsigned long /*request*/, void* /*argument*/) {
  return refuse(EOPNOTSUPP);
}

ntfs_device_operations& deviceOperations() {
  static ntfs_device_operations operations{openDevice,   closeDevice,   seekDevice, readDevice, writeDevice,
                                           readDeviceAt, writeDeviceAt, syncDevice, statDevice, controlDevice};
  return operations;
}

struct CloseInode {
  void operator()(ntfs_inode* inode) const { ntfs_inode_close(inode); }
};
using Inode = std::unique_ptr<ntfs_inode, CloseInode>;

struct CloseAttribute {
  void operator()(ntfs_attr* attribute) const { ntfs_attr_close(attribute); }
};
using Attribute = std::unique_ptr<ntfs_attr, CloseAttribute>;

bool isFolder(const ntfs_inode& inode) {
  return (inode.mrec->flags & MFT_RECORD_IS_DIRECTORY) != 0;
}

bool isLink(const ntfs_inode& inode) {
  return (inode.flags & FILE_ATTR_REPARSE_POINT) != 0;
}

Attribute contentOf(ntfs_inode& inode) {
  return Attribute(ntfs_attr_open(&inode, AT_DATA, AT_UNNAMED, 0));
}

struct Listing {
  const std::function<bool(const std::string&)>& name;
};

int takeName(void* listing, const ntfschar* name, const int length, const int nameType, const s64 /*position*/,
             const MFT_REF reference, const unsigned /*type*/) {
  const std::uint64_t record = MREF(reference);
  if (nameType == FILE_NAME_DOS || (record < kFirstUserRecord && record != kRootRecord)) return 0;
  char* text = nullptr;
  if (ntfs_ucstombs(name, length, &text, 0) < 0) return 0;
  const std::string taken(text);
  std::free(text);
  // Names that no path can hold.
  if (taken.empty() || taken == "." || taken == ".." || taken.find('/') != std::string::npos) return 0;
  return static_cast<const Listing*>(listing)->name(taken) ? 0 : -1;
}

class OpenNtfsFile final : public NtfsVolume::File {
 public:
  OpenNtfsFile(Inode inode, Attribute content) : _inode(std::move(inode)), _content(std::move(content)) {}

  Expected<std::size_t, VolumeError> read(std::uint64_t offset, std::span<char> bytes) override {
    const auto size = static_cast<std::uint64_t>(std::max<s64>(_content->data_size, 0));
    if (offset >= size) return std::size_t{0};
    const std::uint64_t wanted = std::min<std::uint64_t>(bytes.size(), size - offset);
    std::uint64_t done = 0;
    while (done < wanted) {
      const s64 got = ntfs_attr_pread(_content.get(), static_cast<s64>(offset + done),
                                      static_cast<s64>(wanted - done), bytes.data() + done);
      if (got <= 0) return lastError();
      done += static_cast<std::uint64_t>(got);
    }
    return static_cast<std::size_t>(done);
  }

 private:
  Inode _inode;
  Attribute _content;  // Goes first.
};

}  // namespace

struct NtfsVolume::Library {
  ~Library() {
    if (volume) ntfs_umount(volume, FALSE);
  }
  Expected<Inode, VolumeError> find(const std::string& path) const {
    Inode inode(ntfs_pathname_to_inode(volume, nullptr, path.c_str()));
    if (!inode) return lastError();
    // Also by their names the volume's own files are not there.
    if (inode->mft_no < kFirstUserRecord && inode->mft_no != kRootRecord) return VolumeError{ENOENT};
    return inode;
  }

  Device device;
  ntfs_volume* volume = nullptr;
  bool freeIsCounted = false;
};

NtfsVolume::NtfsVolume(std::unique_ptr<Library> library) : _library(std::move(library)) {}
NtfsVolume::~NtfsVolume() = default;

Expected<std::unique_ptr<NtfsVolume>, VolumeError> NtfsVolume::open(VolumeBytes bytes) {
  ntfs_log_set_handler(ntfs_log_handler_null);
  ntfs_set_char_encoding("en_US.UTF-8");
  auto library = std::make_unique<Library>();
  library->device.bytes = std::move(bytes);
  ntfs_device* const device = ntfs_device_alloc("volume", 0, &deviceOperations(), &library->device);
  if (!device) return lastError();
  library->volume = ntfs_device_mount(device, NTFS_MNT_RDONLY | NTFS_MNT_FORENSIC);
  if (!library->volume) {
    const VolumeError error = lastError();
    ntfs_device_free(device);
    return error;
  }
  return std::unique_ptr<NtfsVolume>(new NtfsVolume(std::move(library)));
}

std::string NtfsVolume::label() const {
  const char* const name = _library->volume->vol_name;
  return name ? name : "";
}

struct statvfs NtfsVolume::space() const {
  // Reads the whole map of clusters, which opening a volume does not wait for.
  if (!std::exchange(_library->freeIsCounted, true)) ntfs_volume_get_free_space(_library->volume);
  const ntfs_volume& volume = *_library->volume;
  struct statvfs space = {};
  space.f_bsize = volume.cluster_size;
  space.f_frsize = volume.cluster_size;
  space.f_blocks = static_cast<fsblkcnt_t>(volume.nr_clusters);
  space.f_bfree = static_cast<fsblkcnt_t>(std::max<s64>(volume.free_clusters, 0));
  space.f_namemax = NTFS_MAX_NAME_LEN;
  return space;
}

Expected<struct stat, VolumeError> NtfsVolume::attributes(const std::string& path) const {
  const auto inode = _library->find(path);
  if (!inode) return inode.error();
  const ntfs_inode& found = **inode;
  struct stat status = {};
  status.st_ino = found.mft_no;
  status.st_mode = isLink(found) ? kLinkMode : isFolder(found) ? kFolderMode : kFileMode;
  status.st_nlink = 1;
  status.st_uid = ::getuid();
  status.st_gid = ::getgid();
  status.st_size = isLink(found) ? 0 : static_cast<off_t>(found.data_size);
  status.st_blocks = static_cast<blkcnt_t>(found.allocated_size / 512);
  status.st_atim = ntfs2timespec(found.last_access_time);
  status.st_mtim = ntfs2timespec(found.last_data_change_time);
  status.st_ctim = ntfs2timespec(found.last_mft_change_time);
  return status;
}

Expected<Done, VolumeError> NtfsVolume::list(const std::string& path,
                                             const std::function<bool(const std::string&)>& name) {
  const auto inode = _library->find(path);
  if (!inode) return inode.error();
  if (!isFolder(**inode)) return VolumeError{ENOTDIR};
  Listing listing{name};
  s64 position = 0;
  if (ntfs_readdir(inode->get(), &position, &listing, takeName) != 0) return lastError();
  return Done{};
}

Expected<std::string, VolumeError> NtfsVolume::linkTarget(const std::string& path, const std::string& mountPoint) {
  const auto inode = _library->find(path);
  if (!inode) return inode.error();
  if (!isLink(**inode)) return VolumeError{EINVAL};
  char* const target = ntfs_make_symlink(inode->get(), mountPoint.c_str());
  // What another service of Windows keeps elsewhere; its bytes here would be the wrong ones.
  if (!target) return std::string("not available outside of Windows");
  std::string text(target);
  std::free(target);
  return text;
}

Expected<std::unique_ptr<NtfsVolume::File>, VolumeError> NtfsVolume::openFile(const std::string& path) {
  auto inode = _library->find(path);
  if (!inode) return inode.error();
  if (isFolder(**inode)) return VolumeError{EISDIR};
  if (isLink(**inode)) return VolumeError{ELOOP};
  Attribute content = contentOf(**inode);
  if (!content) return lastError();
  if (NAttrEncrypted(content.get())) return VolumeError{EACCES};
  return std::unique_ptr<File>(std::make_unique<OpenNtfsFile>(std::move(*inode), std::move(content)));
}

}  // namespace zpk
