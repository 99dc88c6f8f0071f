#pragma once

#include <QThreadPool>

#include "base/DispatchQueue.h"

namespace zpk {

// Work for threads of the lowest priority, up to 64 pieces at once: most of it waits for processes and not for a
// processor. Threads end after a while without work. Destruction waits for all work, that which the work itself
// hands in too.
class BackgroundQueue final : public DispatchQueue {
 public:
  BackgroundQueue();
  ~BackgroundQueue() override;

  void async(std::function<void()> work) override;

 private:
  QThreadPool _threads;
};

}  // namespace zpk
