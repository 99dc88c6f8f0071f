#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

#include "base/DispatchQueue.h"

namespace zpk {

// A queue with one thread of its own: work is done in the order in which it was handed in. Destruction waits for
// what was handed in.
class WorkerThread final : public DispatchQueue {
 public:
  WorkerThread();
  ~WorkerThread() override;

  void async(std::function<void()> work) override;
  // Waits for what was handed in; what is handed in afterwards is dropped.
  void finish();

 private:
  void serve();

  std::mutex _mutex;
  std::condition_variable _changed;
  std::deque<std::function<void()>> _queue;
  bool _ending = false;
  std::thread _thread;
};

}  // namespace zpk
