#pragma once

#include <functional>

namespace zpk {

// Takes work to be done later on a thread of its own choosing: the main queue on the main thread, in order; the
// background queue on other threads, in no order. Work handed in is done even when the queue's owner is destroyed
// first: destruction waits for it.
class DispatchQueue {
 public:
  virtual ~DispatchQueue() = default;

  // May be called from any thread; returns at once.
  virtual void async(std::function<void()> work) = 0;
};

}  // namespace zpk
