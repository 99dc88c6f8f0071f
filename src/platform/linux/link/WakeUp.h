#pragma once

#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>

namespace zpk {

// A descriptor that can be read from the moment something is over, for poll(2) on other threads. Any thread. -1
// when the system has none to give; waits then end by their own time-outs.
class WakeUp {
 public:
  WakeUp() : _descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}
  WakeUp(const WakeUp&) = delete;
  WakeUp& operator=(const WakeUp&) = delete;
  ~WakeUp() {
    if (_descriptor >= 0) close(_descriptor);
  }

  int descriptor() const { return _descriptor; }
  void wake() {
    _woken = true;
    const std::uint64_t one = 1;
    // Can fail only when it was woken before.
    if (write(_descriptor, &one, sizeof one) < 0) return;
  }
  bool isWoken() const { return _woken; }

 private:
  int _descriptor;
  std::atomic<bool> _woken{false};
};

}  // namespace zpk
