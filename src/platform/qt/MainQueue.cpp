#include "platform/qt/MainQueue.h"

#include <deque>
#include <mutex>
#include <utility>

namespace zpk {

struct MainQueue::Pending {
  std::mutex mutex;
  std::deque<std::function<void()>> work;

  // Does the oldest piece; false when there is none.
  bool doOldest() {
    std::function<void()> piece;
    {
      const std::lock_guard lock(mutex);
      if (work.empty()) return false;
      piece = std::move(work.front());
      work.pop_front();
    }
    piece();
    return true;
  }
};

MainQueue::MainQueue(RunLoop& runLoop) : _runLoop(runLoop), _pending(std::make_shared<Pending>()) {}

MainQueue::~MainQueue() {
  while (_pending->doOldest()) continue;
}

void MainQueue::async(std::function<void()> work) {
  {
    const std::lock_guard lock(_pending->mutex);
    _pending->work.push_back(std::move(work));
  }
  // Every piece asks for one turn, and each turn does the oldest piece. A turn asked for by a queue that is gone
  // finds its work done.
  const auto askForATurn = [&loop = _runLoop, pending = std::weak_ptr(_pending)] {
    loop.performAfterDelay(Seconds(0), [pending] {
      if (const auto held = pending.lock()) held->doOldest();
    });
  };
  QMetaObject::invokeMethod(&_mainThread, askForATurn, Qt::QueuedConnection);
}

}  // namespace zpk
