#include "tools/qrx-helper/VolumeServer.h"

#define FUSE_USE_VERSION 35
#include <fuse.h>
#include <fuse_lowlevel.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <vector>

namespace zpk {
namespace {

// Nothing ever changes, so the kernel may keep what it has seen.
constexpr double kForLong = 86'400;

struct Server {
  NtfsVolume& volume;
  const std::string& mountPoint;
  const std::function<void()>& mounted;
};

Server& server() {
  return *static_cast<Server*>(fuse_get_context()->private_data);
}

// Of an open file, in the file information that the kernel hands back.
NtfsVolume::File* fileOf(const fuse_file_info* information) {
  return reinterpret_cast<NtfsVolume::File*>(information->fh);
}

void* begin(fuse_conn_info* /*connection*/, fuse_config* config) {
  config->kernel_cache = 1;
  config->use_ino = 1;
  config->entry_timeout = kForLong;
  config->attr_timeout = kForLong;
  config->nullpath_ok = 0;
  Server& self = server();
  self.mounted();
  return &self;
}

int attributes(const char* path, struct stat* status, fuse_file_info* /*information*/) {
  const auto found = server().volume.attributes(path);
  if (!found) return -found.error().number;
  *status = *found;
  return 0;
}

int readLink(const char* path, char* buffer, std::size_t size) {
  const auto target = server().volume.linkTarget(path, server().mountPoint);
  if (!target) return -target.error().number;
  if (size == 0) return -EINVAL;
  const std::size_t length = std::min(size - 1, target->size());
  std::copy_n(target->data(), length, buffer);
  buffer[length] = '\0';
  return 0;
}

int openFile(const char* path, fuse_file_info* information) {
  if ((information->flags & O_ACCMODE) != O_RDONLY) return -EROFS;
  auto file = server().volume.openFile(path);
  if (!file) return -file.error().number;
  information->fh = reinterpret_cast<std::uintptr_t>(file->release());
  return 0;
}

int readFile(const char* /*path*/, char* buffer, std::size_t size, off_t offset, fuse_file_info* information) {
  if (offset < 0) return -EINVAL;
  const auto got = fileOf(information)->read(static_cast<std::uint64_t>(offset), {buffer, size});
  return got ? static_cast<int>(*got) : -got.error().number;
}

int closeFile(const char* /*path*/, fuse_file_info* information) {
  const std::unique_ptr<NtfsVolume::File> file(fileOf(information));
  return 0;
}

int readFolder(const char* path, void* buffer, fuse_fill_dir_t fill, off_t /*offset*/,
               fuse_file_info* /*information*/, fuse_readdir_flags /*flags*/) {
  constexpr auto kNoFlags = static_cast<fuse_fill_dir_flags>(0);
  fill(buffer, ".", nullptr, 0, kNoFlags);
  fill(buffer, "..", nullptr, 0, kNoFlags);
  const auto done = server().volume.list(
      path, [&](const std::string& name) { return fill(buffer, name.c_str(), nullptr, 0, kNoFlags) == 0; });
  return done ? 0 : -done.error().number;
}

int space(const char* /*path*/, struct statvfs* status) {
  *status = server().volume.space();
  return 0;
}

fuse_operations operations() {
  fuse_operations all = {};
  all.init = begin;
  all.getattr = attributes;
  all.readlink = readLink;
  all.open = openFile;
  all.read = readFile;
  all.release = closeFile;
  all.readdir = readFolder;
  all.statfs = space;
  return all;
}

struct DestroyFuse {
  void operator()(fuse* session) const { fuse_destroy(session); }
};

}  // namespace

bool serveVolume(NtfsVolume& volume, FileDescriptor requests, const std::string& mountPoint,
                 const std::function<void()>& mounted) {
  std::string program = "qrx-helper";
  std::vector<char*> words{program.data()};
  fuse_args arguments = FUSE_ARGS_INIT(static_cast<int>(words.size()), words.data());
  const fuse_operations calls = operations();
  Server self{volume, mountPoint, mounted};
  const std::unique_ptr<fuse, DestroyFuse> session(fuse_new(&arguments, &calls, sizeof calls, &self));
  fuse_opt_free_args(&arguments);
  // The mount is made already; this is how the library is told, and it closes the descriptor in the end.
  const std::string descriptor = "/dev/fd/" + std::to_string(requests.get());
  if (!session || fuse_mount(session.get(), descriptor.c_str()) != 0) return false;
  (void)requests.release();
  if (fuse_set_signal_handlers(fuse_get_session(session.get())) != 0) return false;
  fuse_loop(session.get());
  fuse_remove_signal_handlers(fuse_get_session(session.get()));
  return true;
}

}  // namespace zpk
