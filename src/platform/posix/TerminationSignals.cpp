#include "platform/posix/TerminationSignals.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cassert>
#include <cerrno>
#include <utility>

#include "platform/posix/ChildStart.h"

namespace zpk {
namespace {

constexpr std::array kSignals{SIGTERM, SIGINT, SIGHUP};
constexpr int kNone = -1;

// All that a handler may use. It must not take a lock.
std::atomic<int> theDescriptor{kNone};
static_assert(std::atomic<int>::is_always_lock_free);

extern "C" void noteSignal(int) {
  const int errorOfTheInterrupted = errno;
  const char note = 0;
  // A pipe that is full says already what there is to say.
  [[maybe_unused]] const ssize_t written = ::write(theDescriptor.load(), &note, 1);
  errno = errorOfTheInterrupted;
}

bool neverBlocks(const FileDescriptor& end) {
  return ::fcntl(end.get(), F_SETFL, O_NONBLOCK) == 0;
}

}  // namespace

TerminationSignals::TerminationSignals(FileDescriptorWatcher& watcher, std::function<void()> asked) {
  Pipe pipe;
  // Without a pipe the signals do what they always did.
  if (!pipe.open() || !neverBlocks(pipe.reading) || !neverBlocks(pipe.writing)) return;
  _reading = std::move(pipe.reading);
  _writing = std::move(pipe.writing);
  [[maybe_unused]] const int other = theDescriptor.exchange(_writing.get());
  assert(other == kNone);
  _watch = watcher.watchFileDescriptor(_reading.get(), FileDescriptorWatcher::Direction::readable,
                                       [this, asked = std::move(asked)] {
                                         drain();
                                         asked();
                                       });
  for (const int signal : kSignals) take(signal);
}

TerminationSignals::~TerminationSignals() {
  for (const Former& former : _former) ::sigaction(former.signal, &former.action, nullptr);
  if (_writing) theDescriptor = kNone;
}

void TerminationSignals::take(int signal) {
  Former former{signal, {}};
  if (::sigaction(signal, nullptr, &former.action) == -1 || former.action.sa_handler == SIG_IGN) return;
  struct sigaction action = {};
  action.sa_handler = noteSignal;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  if (::sigaction(signal, &action, nullptr) == 0) _former.push_back(former);
}

void TerminationSignals::drain() const {
  std::array<char, 64> notes;
  while (::read(_reading.get(), notes.data(), notes.size()) > 0) continue;
}

}  // namespace zpk
