#pragma once

#include <csignal>
#include <functional>
#include <vector>

#include "base/Observable.h"
#include "platform/posix/FileDescriptor.h"
#include "platform/posix/FileDescriptorWatcher.h"

namespace zpk {

// Tells of the signals with which the user or the system asks a program to end (SIGTERM, SIGINT, SIGHUP), instead
// of being ended by them. Signals that come together are told once.
//
// A signal that was ignored when this is made stays ignored, as nohup wants it; programs that are started get none
// of this. One at a time in a process; made and destroyed on the main thread, where it also tells.
class TerminationSignals {
 public:
  // `watcher` outlives this. `asked` is called by it, in whatever mode the run loop then is.
  TerminationSignals(FileDescriptorWatcher& watcher, std::function<void()> asked);
  // From now on they do what they did before.
  ~TerminationSignals();
  TerminationSignals(const TerminationSignals&) = delete;
  TerminationSignals& operator=(const TerminationSignals&) = delete;

 private:
  struct Former {
    int signal;
    struct sigaction action;
  };

  void take(int signal);
  void drain() const;

  FileDescriptor _reading;
  FileDescriptor _writing;
  std::vector<Former> _former;
  Token _watch;
};

}  // namespace zpk
