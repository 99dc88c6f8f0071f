#pragma once

#include <functional>

#include "platform/posix/FileDescriptor.h"
#include "platform/posix/FileDescriptorWatcher.h"

namespace zpk::ctl {

// Turns the first SIGINT, SIGTERM or SIGHUP into a call on the run loop, in whatever mode it is; the second one
// ends the process as it does any other. One at a time in a process; main thread.
class InterruptSignals {
 public:
  // Throws std::system_error when the process has no descriptors left. `watcher` outlives this.
  InterruptSignals(FileDescriptorWatcher& watcher, std::function<void()> interrupted);
  ~InterruptSignals();
  InterruptSignals(const InterruptSignals&) = delete;
  InterruptSignals& operator=(const InterruptSignals&) = delete;

  // The signal that came; 0 before any.
  int signal() const { return _signal; }

 private:
  void take();

  FileDescriptor _read;
  FileDescriptor _write;
  std::function<void()> _interrupted;
  int _signal = 0;
  Token _watch;
};

}  // namespace zpk::ctl
