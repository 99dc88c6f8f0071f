#pragma once

#include <QObject>
#include <memory>

#include "base/DispatchQueue.h"
#include "base/RunLoop.h"

namespace zpk {

// Work for the main thread, done in the order in which it was handed in, one piece a turn, in the run loop's
// default mode only: nothing of it gets between a command and its reply. Made and destroyed on the main thread.
class MainQueue final : public DispatchQueue {
 public:
  // `runLoop` must outlive the queue.
  explicit MainQueue(RunLoop& runLoop);
  // Does what is left, now.
  ~MainQueue() override;

  void async(std::function<void()> work) override;

 private:
  struct Pending;

  RunLoop& _runLoop;
  std::shared_ptr<Pending> _pending;
  QObject _mainThread;
};

}  // namespace zpk
