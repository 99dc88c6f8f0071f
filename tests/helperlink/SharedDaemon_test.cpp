#include <gtest/gtest.h>

#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

#include "helperlink/LinkWorld.h"

namespace zpk {
namespace {

// One test for all of the shared daemon's life, since a process has only one.
TEST(SharedDaemon, IsMadeAndConnectedExactlyOnceByConcurrentFirstCalls) {
  EXPECT_THROW(ZPKDaemon::sharedDaemon(), std::logic_error) << "nothing was handed in yet";

  // Lives as long as the daemon: to the end of the process.
  static LinkWorld world;
  world.transport.helperAppears();
  const PostingCounter postings(world.notificationCenter, kZPKDaemonReconnectedNotification);
  ZPKDaemon::setSharedEnvironment(world.environment());

  constexpr std::size_t kThreads = 8;
  std::vector<ZPKDaemon*> answers(kThreads);
  std::vector<std::thread> threads;
  for (ZPKDaemon*& answer : answers) {
    threads.emplace_back([&answer] { answer = &ZPKDaemon::sharedDaemon(); });
  }
  for (std::thread& thread : threads) thread.join();

  EXPECT_EQ(std::set<ZPKDaemon*>(answers.begin(), answers.end()).size(), 1u);
  EXPECT_EQ(world.reconnections(), 1u);
  EXPECT_EQ(postings.count(), 1u);
  EXPECT_EQ(ZPKDaemon::sharedDaemon().backup(), Value(0));
}

}  // namespace
}  // namespace zpk
