#pragma once

#include <atomic>

namespace zpk {

// The wish that a running operation stop. One thread asks, the threads of the operation look.
//
// Owned by whoever starts the operation and outlives it. Looking costs one relaxed load, so that loops look often:
// an operation answers to it within a second.
class CancelFlag {
 public:
  void request() { _requested.store(true, std::memory_order_relaxed); }
  bool isRequested() const { return _requested.load(std::memory_order_relaxed); }

 private:
  std::atomic<bool> _requested{false};
};

}  // namespace zpk
