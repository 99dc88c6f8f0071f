#pragma once

#include <functional>

#include "base/Observable.h"

namespace zpk {

// Tells when a file descriptor can be read or written; the run loop's adapter implements it. Main thread.
class FileDescriptorWatcher {
 public:
  virtual ~FileDescriptorWatcher() = default;

  enum class Direction { readable, writable };
  // Calls `ready` in every run-loop mode while the descriptor is ready, until the token ends. The descriptor stays
  // the caller's.
  virtual Token watchFileDescriptor(int descriptor, Direction direction, std::function<void()> ready) = 0;
};

}  // namespace zpk
