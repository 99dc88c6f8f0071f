#include "helper/archive/UserWorld.h"

#include <fcntl.h>
#include <grp.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zpk::test {
namespace {

bool bindMount(const std::string& path, const std::string& other) {
  return ::mount(other.c_str(), path.c_str(), nullptr, MS_BIND, nullptr) == 0;
}

// A second name of the same device, with rights for everybody.
bool openFuse() {
  const std::string open = "/mnt/zpk-test-fuse-" + std::to_string(::getpid());
  ::mkdir("/mnt", 0755);
  if (::mount("tmpfs", "/mnt", "tmpfs", 0, nullptr) != 0) return false;
  return ::mknod(open.c_str(), S_IFCHR, makedev(10, 229)) == 0 && ::chmod(open.c_str(), 0666) == 0 &&
         bindMount("/dev/fuse", open);
}

bool enter(const std::function<bool()>& prepare, unsigned user) {
  if (::unshare(CLONE_NEWNS) != 0 || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
    return false;
  if (!prepare()) return false;
  return user == 0 || (::setgroups(0, nullptr) == 0 && ::setgid(user) == 0 && ::setuid(user) == 0);
}

[[noreturn]] void tell(int pipe, const std::string& text) {
  const bool told = ::write(pipe, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  ::_exit(told ? 0 : 1);
}

std::string endOf(int status) {
  if (WIFSIGNALED(status)) return "killed by signal " + std::to_string(WTERMSIG(status));
  return "ended with " + std::to_string(WEXITSTATUS(status));
}

}  // namespace

UserWorld UserWorld::withFuse() const {
  UserWorld world = *this;
  world._prepare = [before = _prepare] { return before() && openFuse(); };
  return world;
}

UserWorld UserWorld::withoutLoopDevices() const {
  return with("/dev/loop-control", "/dev/null");
}

UserWorld UserWorld::with(const std::string& path, const std::string& other) const {
  UserWorld world = *this;
  world._prepare = [before = _prepare, path, other] { return before() && bindMount(path, other); };
  return world;
}

std::string UserWorld::run(const std::function<std::string()>& work) const {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return "no pipe";
  const pid_t child = ::fork();
  if (child == 0) tell(ends[1], enter(_prepare, _user) ? work() : "no such world can be had; it takes root");
  ::close(ends[1]);
  std::string said;
  char buffer[4096];
  for (ssize_t count = 0; (count = ::read(ends[0], buffer, sizeof buffer)) > 0;) {
    said.append(buffer, static_cast<std::size_t>(count));
  }
  ::close(ends[0]);
  int status = 0;
  if (::waitpid(child, &status, 0) != child) return "lost";
  return status == 0 ? said : endOf(status);
}

bool isAnyChildStopped() {
  siginfo_t found = {};
  // Without taking the news away from whoever waits for the child.
  return ::waitid(P_ALL, 0, &found, WSTOPPED | WNOHANG | WNOWAIT) == 0 && found.si_pid != 0;
}

}  // namespace zpk::test
