#include "helper/disks/FolderWatcher.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>

namespace zpk {
namespace {

constexpr unsigned contentEvents = IN_CLOSE_WRITE | IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO |
                                   IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;
constexpr unsigned comingEvents = IN_CREATE | IN_MOVED_TO | IN_DELETE | IN_MOVED_FROM | IN_ONLYDIR | IN_MASK_ADD;
constexpr unsigned goneEvents = IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED;

std::string plainPath(const std::string& folder) {
  std::error_code error;
  std::string path = std::filesystem::absolute(folder, error).lexically_normal().string();
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

}  // namespace

FolderWatcher::FolderWatcher(const std::vector<std::string>& folders)
    : _fd(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  for (const std::string& folder : folders) {
    _watches.push_back({plainPath(folder), -1, -1});
    arm(_watches.back());
  }
}

void FolderWatcher::arm(Watch& watch) {
  if (!_fd) return;
  const std::filesystem::path path(watch.folder);
  watch.parentDescriptor = ::inotify_add_watch(_fd.get(), path.parent_path().c_str(), comingEvents);
  watch.descriptor = ::inotify_add_watch(_fd.get(), watch.folder.c_str(), contentEvents | IN_MASK_ADD);
}

bool FolderWatcher::matters(int descriptor, unsigned mask, const std::string& name) {
  bool result = (mask & IN_Q_OVERFLOW) != 0;
  for (Watch& watch : _watches) {
    const bool isSelf = descriptor == watch.descriptor;
    const bool isParent =
        descriptor == watch.parentDescriptor && name == std::filesystem::path(watch.folder).filename();
    const bool isGone = isSelf && (mask & goneEvents) != 0;
    if (isParent || isGone) arm(watch);
    const bool isVisible = isSelf && !name.empty() && name.front() != '.';
    result = result || isParent || isGone || isVisible;
  }
  return result;
}

bool FolderWatcher::drain() {
  bool result = false;
  alignas(inotify_event) std::array<char, 16384> buffer;
  for (;;) {
    const ssize_t got = _fd ? ::read(_fd.get(), buffer.data(), buffer.size()) : -1;
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return result;
    for (std::size_t at = 0; at + sizeof(inotify_event) <= static_cast<std::size_t>(got);) {
      inotify_event event;
      std::memcpy(&event, buffer.data() + at, sizeof event);
      const char* name = buffer.data() + at + sizeof event;
      result = matters(event.wd, event.mask, event.len ? std::string(name) : std::string()) || result;
      at += sizeof event + event.len;
    }
  }
}

}  // namespace zpk
