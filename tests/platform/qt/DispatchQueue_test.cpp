#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include "platform/qt/BackgroundQueue.h"
#include "platform/qt/MainQueue.h"
#include "platform/qt/QtRunLoop.h"
#include "support/ImmediateQueue.h"

namespace zpk {
namespace {

using testing::ElementsAre;

constexpr Seconds kSoon{0.01};

// The main queue with what it needs, so that all queues are made alike.
class OwnMainQueue final : public DispatchQueue {
 public:
  void async(std::function<void()> work) override { _queue.async(std::move(work)); }

 private:
  QtRunLoop _loop;
  MainQueue _queue{_loop};
};

template <class Queue>
class DispatchQueueContract : public testing::Test {};

using Queues = testing::Types<ImmediateQueue, OwnMainQueue, BackgroundQueue>;
TYPED_TEST_SUITE(DispatchQueueContract, Queues);

TYPED_TEST(DispatchQueueContract, AllWorkIsDoneWhenTheQueueIsGone) {
  std::atomic<int> done{0};
  {
    TypeParam queue;
    for (int i = 0; i < 200; ++i) queue.async([&] { ++done; });
  }
  EXPECT_EQ(done, 200);
}

TYPED_TEST(DispatchQueueContract, WorkHandedInByWorkIsDoneToo) {
  std::atomic<int> done{0};
  {
    TypeParam queue;
    queue.async([&] { queue.async([&] { queue.async([&] { ++done; }); }); });
  }
  EXPECT_EQ(done, 1);
}

TYPED_TEST(DispatchQueueContract, WorkMayBeHandedInOnAnyThread) {
  std::atomic<int> done{0};
  {
    TypeParam queue;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([&] {
        for (int piece = 0; piece < 50; ++piece) queue.async([&] { ++done; });
      });
    }
    for (std::thread& thread : threads) thread.join();
  }
  EXPECT_EQ(done, 200);
}

class MainQueueTest : public testing::Test {
 protected:
  template <class Condition>
  void serveUntil(const Condition& condition) {
    const Seconds deadline = loop.now() + Seconds(10);
    while (!condition() && loop.now() < deadline) loop.runInMode(kDefaultRunLoopMode, kSoon);
    ASSERT_TRUE(condition()) << "nothing happened";
  }

  QtRunLoop loop;
  MainQueue queue{loop};
};

TEST_F(MainQueueTest, WorkRunsOnTheMainThreadInItsOrderAndNeverInsideTheCall) {
  std::vector<int> order;
  std::set<std::thread::id> threads;
  std::thread([&] {
    for (int i = 0; i < 5; ++i) {
      queue.async([&, i] {
        order.push_back(i);
        threads.insert(std::this_thread::get_id());
      });
    }
  }).join();
  queue.async([&] { order.push_back(5); });
  EXPECT_THAT(order, ElementsAre());
  serveUntil([&] { return order.size() == 6; });
  EXPECT_THAT(order, ElementsAre(0, 1, 2, 3, 4, 5));
  EXPECT_THAT(threads, ElementsAre(std::this_thread::get_id()));
}

TEST_F(MainQueueTest, WorkWaitsWhileAPrivateModeRuns) {
  bool done = false;
  queue.async([&] { done = true; });
  loop.runInMode("private", kSoon * 3);
  EXPECT_FALSE(done);
  serveUntil([&] { return done; });
}

TEST_F(MainQueueTest, WorkThatRunsTheLoopLetsTheNextPieceBeDone) {
  std::vector<int> order;
  queue.async([&] {
    while (order.empty()) loop.runInMode(kDefaultRunLoopMode, kSoon);
    order.push_back(2);
  });
  queue.async([&] { order.push_back(1); });
  serveUntil([&] { return order.size() == 2; });
  EXPECT_THAT(order, ElementsAre(1, 2));
}

TEST(BackgroundQueueTest, PiecesThatWaitForEachOtherGetOnBecauseTheyRunAtOnceAndElsewhere) {
  constexpr int kPieces = 32;
  std::mutex mutex;
  std::condition_variable everybodyIsHere;
  std::set<std::thread::id> threads;
  bool allMet = true;
  {
    BackgroundQueue queue;
    for (int i = 0; i < kPieces; ++i) {
      queue.async([&] {
        std::unique_lock lock(mutex);
        threads.insert(std::this_thread::get_id());
        everybodyIsHere.notify_all();
        allMet &=
            everybodyIsHere.wait_for(lock, std::chrono::seconds(10), [&] { return threads.size() == kPieces; });
      });
    }
  }
  EXPECT_TRUE(allMet);
  EXPECT_FALSE(threads.contains(std::this_thread::get_id()));
}

}  // namespace
}  // namespace zpk
