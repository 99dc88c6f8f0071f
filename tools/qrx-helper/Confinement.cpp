#include "tools/qrx-helper/Confinement.h"

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/capability.h>
#include <linux/filter.h>
#include <linux/landlock.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <bit>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace zpk {
namespace {

// What the reader of a file system may take, which is more than any honest one makes it take.
constexpr rlim_t kMostMemory = rlim_t{4} << 30;

// A system call that stays, and what its argument has to be like.
struct AllowedCall {
  enum class Argument { any, equals, hasNoneOf };

  long number;
  Argument argument = Argument::any;
  std::uint32_t index = 0;
  std::uint32_t value = 0;
};

constexpr std::array kAllowedCalls{
    // What is open: requests and their answers, the images, the channel to the keeper.
    AllowedCall{SYS_read},
    AllowedCall{SYS_write},
    AllowedCall{SYS_writev},
    AllowedCall{SYS_pread64},
    AllowedCall{SYS_sendmsg},
    AllowedCall{SYS_recvmsg},
    AllowedCall{SYS_close},
    AllowedCall{SYS_fcntl, AllowedCall::Argument::equals, 1, F_GETFD},
    // Memory.
    AllowedCall{SYS_brk},
    AllowedCall{SYS_mmap, AllowedCall::Argument::hasNoneOf, 2, PROT_EXEC},
    AllowedCall{SYS_munmap},
    AllowedCall{SYS_mremap},
    AllowedCall{SYS_madvise},
    AllowedCall{SYS_futex},
    // Itself.
    AllowedCall{SYS_getuid},
    AllowedCall{SYS_getgid},
    AllowedCall{SYS_getpid},
    AllowedCall{SYS_clock_gettime},
    AllowedCall{SYS_rt_sigaction},
    AllowedCall{SYS_rt_sigprocmask},
    AllowedCall{SYS_rt_sigreturn},
    AllowedCall{SYS_restart_syscall},
    AllowedCall{SYS_exit},
    AllowedCall{SYS_exit_group},
};

#if defined(__x86_64__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_AARCH64;
#else
#error "The numbers of the system calls that stay are not known for this architecture."
#endif

// The arguments' lower halves are looked at, which are in front.
static_assert(std::endian::native == std::endian::little);

sock_filter load(std::size_t offset) {
  return BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset));
}
sock_filter jump(std::uint16_t test, std::uint32_t value, std::uint8_t overIfTrue, std::uint8_t overIfFalse) {
  return BPF_JUMP(static_cast<std::uint16_t>(BPF_JMP | test | BPF_K), value, overIfTrue, overIfFalse);
}
sock_filter answer(std::uint32_t action) {
  return BPF_STMT(BPF_RET | BPF_K, action);
}

void allow(std::vector<sock_filter>& program, const AllowedCall& call) {
  const auto number = static_cast<std::uint32_t>(call.number);
  if (call.argument == AllowedCall::Argument::any) {
    program.insert(program.end(), {jump(BPF_JEQ, number, 0, 1), answer(SECCOMP_RET_ALLOW)});
    return;
  }
  const bool equals = call.argument == AllowedCall::Argument::equals;
  program.insert(program.end(),
                 {jump(BPF_JEQ, number, 0, 4), load(offsetof(seccomp_data, args) + 8 * std::size_t{call.index}),
                  equals ? jump(BPF_JEQ, call.value, 0, 1) : jump(BPF_JSET, call.value, 1, 0),
                  answer(SECCOMP_RET_ALLOW), answer(SECCOMP_RET_ERRNO | EPERM)});
}

}  // namespace

void limitResources() {
  const auto limit = [](__rlimit_resource resource, rlim_t most) {
    const rlimit both{most, most};
    ::setrlimit(resource, &both);
  };
  limit(RLIMIT_AS, kMostMemory);
  limit(RLIMIT_CORE, 0);
  limit(RLIMIT_FSIZE, 0);
  limit(RLIMIT_NPROC, 0);
}

void dropCapabilities() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  std::array<__user_cap_data_struct, 2> none{};
  ::syscall(SYS_capset, &header, none.data());
}

// Every right to files that the first version of Landlock knows, and none of them granted anywhere.
void forbidFiles() {
  landlock_ruleset_attr rules = {};
  rules.handled_access_fs =
      LANDLOCK_ACCESS_FS_EXECUTE | LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_READ_FILE |
      LANDLOCK_ACCESS_FS_READ_DIR | LANDLOCK_ACCESS_FS_REMOVE_DIR | LANDLOCK_ACCESS_FS_REMOVE_FILE |
      LANDLOCK_ACCESS_FS_MAKE_CHAR | LANDLOCK_ACCESS_FS_MAKE_DIR | LANDLOCK_ACCESS_FS_MAKE_REG |
      LANDLOCK_ACCESS_FS_MAKE_SOCK | LANDLOCK_ACCESS_FS_MAKE_FIFO | LANDLOCK_ACCESS_FS_MAKE_BLOCK |
      LANDLOCK_ACCESS_FS_MAKE_SYM;
  const long ruleset = ::syscall(SYS_landlock_create_ruleset, &rules, sizeof rules, 0U);
  if (ruleset < 0) return;
  ::syscall(SYS_landlock_restrict_self, static_cast<int>(ruleset), 0U);
  ::close(static_cast<int>(ruleset));
}

void forbidSystemCalls() {
  std::vector<sock_filter> program{load(offsetof(seccomp_data, arch)), jump(BPF_JEQ, kArchitecture, 1, 0),
                                   answer(SECCOMP_RET_ERRNO | EPERM), load(offsetof(seccomp_data, nr))};
  for (const AllowedCall& call : kAllowedCalls) allow(program, call);
  program.push_back(answer(SECCOMP_RET_ERRNO | EPERM));
  const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
  ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter);
}

void confineToOpenFiles() {
  limitResources();
  ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
  dropCapabilities();
  forbidFiles();
  forbidSystemCalls();
}

}  // namespace zpk
