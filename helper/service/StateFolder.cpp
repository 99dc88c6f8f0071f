#include "helper/service/StateFolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include "platform/posix/FileDescriptor.h"

namespace zpk {

Expected<StateFolder, std::string> StateFolder::open(const std::string& path) {
  std::error_code error;
  const std::filesystem::path full = std::filesystem::absolute(path, error).lexically_normal();
  if (!error) std::filesystem::create_directories(full.parent_path(), error);
  if (!error && mkdir(full.c_str(), 0700) != 0 && errno != EEXIST) error.assign(errno, std::generic_category());
  if (error) return "the folder " + path + " cannot be made: " + error.message();
  const std::string lockPath = (full / "helper.lock").string();
  FileDescriptor lock(::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!lock) return lockPath + " cannot be opened: " + systemReason(errno);
  if (flock(lock.get(), LOCK_EX | LOCK_NB) != 0) return "another helper uses the folder " + path;
  return StateFolder(full.string(), std::move(lock));
}

std::string StateFolder::usualPath(bool session) {
  if (!session) return "/var/lib/zpk";
  // As the XDG base directories ask: a path that is not absolute is not used.
  const char* state = std::getenv("XDG_STATE_HOME");
  if (state && *state == '/') return std::string(state) + "/zpk";
  const char* home = std::getenv("HOME");
  return std::string(home && *home == '/' ? home : "/root") + "/.local/state/zpk";
}

}  // namespace zpk
