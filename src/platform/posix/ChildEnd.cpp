#include "platform/posix/ChildEnd.h"

#include <poll.h>
#include <sys/wait.h>

#include <csignal>

#include "platform/posix/FileDescriptor.h"

namespace zpk {
namespace {

using Clock = std::chrono::steady_clock;

// The group, since a tool may have others work for it.
bool endsAfter(int signal, pid_t child, std::chrono::milliseconds grace) {
  ::kill(-child, signal);
  for (const Clock::time_point deadline = Clock::now() + grace; Clock::now() < deadline;) {
    if (hasEnded(child)) return true;
    static_cast<void>(::poll(nullptr, 0, static_cast<int>(kEndGoesUnseen.count())));
  }
  return hasEnded(child);
}

}  // namespace

bool hasEnded(pid_t child) {
  siginfo_t facts{};
  const int result =
      uninterrupted([&] { return ::waitid(P_PID, static_cast<id_t>(child), &facts, WEXITED | WNOHANG | WNOWAIT); });
  return result == -1 || facts.si_pid == child;
}

bool endGroupOf(pid_t child, std::chrono::milliseconds grace) {
  const bool ended = endsAfter(SIGTERM, child, grace);
  // Also when the program did end: others of its group may not care for being asked.
  return endsAfter(SIGKILL, child, grace) || ended;
}

}  // namespace zpk
