#include "platform/posix/PollRunLoop.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

namespace zpk {
namespace {

// Runs inside runs beyond this one are stopped together with it.
constexpr unsigned kDeepest = 64;

static_assert(std::atomic<std::uint64_t>::is_always_lock_free && std::atomic<unsigned>::is_always_lock_free,
              "stop() is for signal handlers too");

std::uint64_t bitOf(unsigned depth) {
  return std::uint64_t{1} << (std::min(depth, kDeepest) - 1);
}

}  // namespace

struct PollRunLoop::Watch {
  int descriptor;
  Direction direction;
  std::function<void()> ready;
  bool ended = false;
};

// Makes a mode the current one while it lives.
class PollRunLoop::ModeScope {
 public:
  ModeScope(PollRunLoop& loop, std::string_view mode) : _loop(loop) { _loop._modes.emplace_back(mode); }
  ModeScope(const ModeScope&) = delete;
  ModeScope& operator=(const ModeScope&) = delete;
  ~ModeScope() { _loop._modes.pop_back(); }

 private:
  PollRunLoop& _loop;
};

// One run() or runFor(): what a stop() ends while it is the innermost.
class PollRunLoop::RunScope {
 public:
  explicit RunScope(PollRunLoop& loop)
      : _loop(loop), _mode(loop, kDefaultRunLoopMode), _bit(bitOf(loop._depth + 1)) {
    // What an earlier run of this depth was told too late is not meant for this one.
    if (_loop._depth < kDeepest) _loop._stopped &= ~_bit;
    ++_loop._depth;
  }
  RunScope(const RunScope&) = delete;
  RunScope& operator=(const RunScope&) = delete;
  ~RunScope() { --_loop._depth; }

  bool isStopped() const { return (_loop._stopped & _bit) != 0; }

 private:
  PollRunLoop& _loop;
  ModeScope _mode;
  std::uint64_t _bit;
};

PollRunLoop::PollRunLoop() : _self(std::make_shared<PollRunLoop*>(this)) {
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
  _wakeRead = FileDescriptor(ends[0]);
  _wakeWrite = FileDescriptor(ends[1]);
  for (const int end : ends) {
    ::fcntl(end, F_SETFD, FD_CLOEXEC);
    ::fcntl(end, F_SETFL, O_NONBLOCK);
  }
}

PollRunLoop::~PollRunLoop() = default;

Seconds PollRunLoop::now() const {
  return std::chrono::steady_clock::now().time_since_epoch();
}

std::string_view PollRunLoop::currentMode() const {
  return _modes.empty() ? kDefaultRunLoopMode : _modes.back();
}

void PollRunLoop::performAfterDelay(Seconds delay, Callback callback) {
  if (!isMainThread()) return;
  _alarms.perform(delay, std::move(callback));
}

Token PollRunLoop::scheduledTimer(Seconds period, Callback callback) {
  return isMainThread() ? _alarms.schedule(period, std::move(callback)) : Token();
}

Token PollRunLoop::watchFileDescriptor(int descriptor, Direction direction, std::function<void()> ready) {
  auto watch = std::make_shared<Watch>(Watch{descriptor, direction, std::move(ready)});
  _watches.push_back(watch);
  return Token([self = std::weak_ptr(_self), weak = std::weak_ptr(watch)] {
    const auto loop = self.lock();
    const auto ending = weak.lock();
    if (!loop || !ending) return;
    ending->ended = true;
    (*loop)->_watches.remove(ending);
  });
}

void PollRunLoop::run() {
  const RunScope running(*this);
  while (!running.isStopped()) serveOnce(Seconds::max());
}

void PollRunLoop::runFor(Seconds duration) {
  const RunScope running(*this);
  const Seconds end = now() + duration;
  while (!running.isStopped() && now() < end) serveOnce(end - now());
}

void PollRunLoop::runInMode(std::string_view mode, Seconds atMost) {
  const ModeScope scope(*this, mode);
  const Seconds end = now() + atMost;
  while (!serveOnce(end - now()) && now() < end) {
  }
}

void PollRunLoop::stop() noexcept {
  const int saved = errno;
  if (const unsigned depth = _depth) {
    _stopped |= bitOf(depth);
    // A full pipe wakes the loop as well.
    const char wake = 0;
    [[maybe_unused]] const ssize_t written = ::write(_wakeWrite.get(), &wake, 1);
  }
  errno = saved;
}

bool PollRunLoop::serveOnce(Seconds atMost) {
  const bool alarm = isDefaultMode() && _alarms.serveEarliest();
  return serveDescriptors(alarm ? Seconds(0) : untilNextAlarm(atMost)) || alarm;
}

Seconds PollRunLoop::untilNextAlarm(Seconds atMost) const {
  const auto next = isDefaultMode() ? _alarms.earliest() : std::nullopt;
  return next ? std::min(atMost, *next - now()) : atMost;
}

bool PollRunLoop::serveDescriptors(Seconds atMost) {
  // Held here, since a callback may end any watch, also its own.
  const std::vector<std::shared_ptr<Watch>> watches(_watches.begin(), _watches.end());
  std::vector<pollfd> polled;
  polled.reserve(watches.size() + 1);
  for (const auto& watch : watches) {
    const bool reads = watch->direction == Direction::readable;
    polled.push_back({watch->descriptor, static_cast<short>(reads ? POLLIN : POLLOUT), 0});
  }
  polled.push_back({_wakeRead.get(), POLLIN, 0});
  // A signal ends the wait early, which is as good as nothing having happened.
  if (::poll(polled.data(), static_cast<nfds_t>(polled.size()), wholeMilliseconds(atMost)) <= 0) return false;
  if (polled.back().revents != 0) takeWakeUps();
  bool served = false;
  for (std::size_t i = 0; i < watches.size(); ++i) {
    if (polled[i].revents == 0 || watches[i]->ended) continue;
    served = true;
    watches[i]->ready();
  }
  return served;
}

void PollRunLoop::takeWakeUps() const {
  std::array<char, 64> taken{};
  while (::read(_wakeRead.get(), taken.data(), taken.size()) > 0) {
  }
}

}  // namespace zpk
