#include "tools/zpkctl/InterruptSignals.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace zpk::ctl {
namespace {

constexpr std::array kSignals{SIGINT, SIGTERM, SIGHUP};

// What the handler writes to; -1 when nobody listens.
volatile sig_atomic_t pipeOfTheHandler = -1;

extern "C" void noteInterrupt(int number) {
  const int saved = errno;
  const auto byte = static_cast<unsigned char>(number);
  [[maybe_unused]] const ssize_t written = ::write(pipeOfTheHandler, &byte, 1);
  errno = saved;
}

}  // namespace

InterruptSignals::InterruptSignals(FileDescriptorWatcher& watcher, std::function<void()> interrupted)
    : _interrupted(std::move(interrupted)) {
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
  _read = FileDescriptor(ends[0]);
  _write = FileDescriptor(ends[1]);
  for (const int end : ends) {
    ::fcntl(end, F_SETFD, FD_CLOEXEC);
    ::fcntl(end, F_SETFL, O_NONBLOCK);
  }
  _watch = watcher.watchFileDescriptor(_read.get(), FileDescriptorWatcher::Direction::readable, [this] { take(); });
  pipeOfTheHandler = _write.get();
  for (const int number : kSignals) {
    struct sigaction action {};
    // One that is ignored, as by nohup, stays so.
    if (::sigaction(number, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) continue;
    action = {};
    action.sa_handler = noteInterrupt;
    action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART;
    ::sigaction(number, &action, nullptr);
  }
}

InterruptSignals::~InterruptSignals() {
  for (const int number : kSignals) {
    struct sigaction action {};
    if (::sigaction(number, nullptr, &action) == 0 && action.sa_handler == noteInterrupt) ::signal(number, SIG_DFL);
  }
  pipeOfTheHandler = -1;
}

void InterruptSignals::take() {
  unsigned char number = 0;
  if (::read(_read.get(), &number, 1) != 1) return;
  if (_signal == 0) _signal = number;
  _interrupted();
}

}  // namespace zpk::ctl
