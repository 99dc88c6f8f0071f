#include "helper/process/ToolChild.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <linux/landlock.h>
#include <linux/securebits.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

namespace zpk {
namespace {

[[noreturn]] void fail(const ToolChildPlan& plan, int errorNumber) {
  // The parent treats a short or missing answer as success of exec, so a failed write can only be ignored.
  [[maybe_unused]] const ssize_t written = ::write(plan.failure, &errorNumber, sizeof errorNumber);
  ::_exit(127);
}

bool limit(int resource, std::uint64_t amount) {
  const rlimit bounds{amount, amount};
  return ::setrlimit(static_cast<__rlimit_resource>(resource), &bounds) == 0;
}

void defaultSignals() {
  for (int number = 1; number < NSIG; ++number) ::signal(number, SIG_DFL);
  sigset_t none;
  ::sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

// Leaves the capability to read files and none other, also for root. Without privileges there is nothing to leave.
void keepReadCapabilityAlone() {
  if (::geteuid() != 0) return;
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct sets[2] = {};
  const unsigned read = 1U << CAP_DAC_READ_SEARCH;
  ::prctl(PR_SET_SECUREBITS, SECBIT_NOROOT | SECBIT_NOROOT_LOCKED, 0, 0, 0);
  sets[0] = {read, read, read};
  if (::syscall(SYS_capset, &header, sets) != 0) return;
  ::prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_RAISE, CAP_DAC_READ_SEARCH, 0, 0);
}

void allowWriting(long ruleset, const char* path) {
  landlock_path_beneath_attr file = {};
  file.allowed_access = LANDLOCK_ACCESS_FS_WRITE_FILE;
  file.parent_fd = ::open(path, O_PATH | O_CLOEXEC);
  ::syscall(SYS_landlock_add_rule, ruleset, LANDLOCK_RULE_PATH_BENEATH, &file, 0);
}

// Takes away every right to change the file system but for one file. A kernel without Landlock leaves the other
// fences.
void forbidWriting(const char* writable) {
  landlock_ruleset_attr rules = {};
  rules.handled_access_fs = LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_REMOVE_DIR |
                            LANDLOCK_ACCESS_FS_REMOVE_FILE | LANDLOCK_ACCESS_FS_MAKE_CHAR |
                            LANDLOCK_ACCESS_FS_MAKE_DIR | LANDLOCK_ACCESS_FS_MAKE_REG |
                            LANDLOCK_ACCESS_FS_MAKE_SOCK | LANDLOCK_ACCESS_FS_MAKE_FIFO |
                            LANDLOCK_ACCESS_FS_MAKE_BLOCK | LANDLOCK_ACCESS_FS_MAKE_SYM;
  const long ruleset = ::syscall(SYS_landlock_create_ruleset, &rules, sizeof rules, 0);
  if (ruleset < 0) return;
  allowWriting(ruleset, "/dev/null");
  if (writable != nullptr) allowWriting(ruleset, writable);
  ::syscall(SYS_landlock_restrict_self, ruleset, 0);
}

// The tool's streams are in place and all else ends with exec, so that its number is free.
bool handOver(int descriptor) {
  if (descriptor == ToolChildPlan::handedNumber) return ::fcntl(descriptor, F_SETFD, 0) == 0;
  return ::dup2(descriptor, ToolChildPlan::handedNumber) >= 0;
}

}  // namespace

void becomeTool(const ToolChildPlan& plan) {
  ::setpgid(0, 0);
  ::prctl(PR_SET_PDEATHSIG, plan.deathSignal);
  if (::getppid() != plan.parent) ::_exit(127);
  defaultSignals();
  ::umask(077);
  if (::chdir("/") != 0) fail(plan, errno);
  if (::dup2(plan.input, 0) < 0 || ::dup2(plan.output, 1) < 0 || ::dup2(plan.errors, 2) < 0) fail(plan, errno);
  if (::syscall(SYS_close_range, 3U, ~0U, 4U /* CLOSE_RANGE_CLOEXEC */) != 0) fail(plan, errno);
  if (plan.handed >= 0 && !handOver(plan.handed)) fail(plan, errno);
  if (!limit(RLIMIT_AS, plan.memoryBytes) || !limit(RLIMIT_CPU, plan.cpuSeconds) || !limit(RLIMIT_CORE, 0)) {
    fail(plan, errno);
  }
  if (plan.access != ToolAccess::Mounts && ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) fail(plan, errno);
  if (plan.access == ToolAccess::ReadsOnly) {
    keepReadCapabilityAlone();
    forbidWriting(plan.writable);
  }
  char* const noEnvironment[] = {nullptr};
  ::execve(plan.executable, plan.argv, noEnvironment);
  fail(plan, errno);
}

}  // namespace zpk
