#include "helper/service/WorkerThread.h"

#include <utility>

namespace zpk {

WorkerThread::WorkerThread() : _thread([this] { serve(); }) {}

WorkerThread::~WorkerThread() {
  finish();
}

void WorkerThread::finish() {
  {
    const std::lock_guard lock(_mutex);
    _ending = true;
  }
  _changed.notify_one();
  if (_thread.joinable()) _thread.join();
}

void WorkerThread::async(std::function<void()> work) {
  {
    const std::lock_guard lock(_mutex);
    if (_ending) return;
    _queue.push_back(std::move(work));
  }
  _changed.notify_one();
}

void WorkerThread::serve() {
  std::unique_lock lock(_mutex);
  while (true) {
    _changed.wait(lock, [this] { return _ending || !_queue.empty(); });
    if (_queue.empty()) return;
    const std::function<void()> work = std::move(_queue.front());
    _queue.pop_front();
    lock.unlock();
    work();
    lock.lock();
  }
}

}  // namespace zpk
