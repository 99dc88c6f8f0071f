#include "platform/qt/BackgroundQueue.h"

#include <utility>

namespace zpk {

namespace {

constexpr int kMostThreads = 64;

}  // namespace

BackgroundQueue::BackgroundQueue() {
  _threads.setMaxThreadCount(kMostThreads);
  _threads.setThreadPriority(QThread::LowestPriority);
}

BackgroundQueue::~BackgroundQueue() {
  _threads.waitForDone();
}

void BackgroundQueue::async(std::function<void()> work) {
  _threads.start(std::move(work));
}

}  // namespace zpk
