#pragma once

#include <condition_variable>
#include <mutex>

#include "base/RunLoop.h"

namespace zpk {

// Sleep of background threads that ends early when the program does. Any thread.
class EndableSleep {
 public:
  // False once end() was called, then and from then on.
  bool sleep(Seconds duration) {
    std::unique_lock lock(_mutex);
    return !_changed.wait_for(lock, duration, [this] { return _ended; });
  }
  void end() {
    {
      const std::lock_guard lock(_mutex);
      _ended = true;
    }
    _changed.notify_all();
  }

 private:
  std::mutex _mutex;
  std::condition_variable _changed;
  bool _ended = false;
};

}  // namespace zpk
