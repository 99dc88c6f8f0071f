// What the run loop on poll adds to the contract of all run loops (platform/qt/RunLoop_contract_test.cpp).

#include "platform/posix/PollRunLoop.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <system_error>
#include <thread>

namespace zpk {
namespace {

using Direction = FileDescriptorWatcher::Direction;

constexpr Seconds kSoon{0.01};
constexpr Seconds kFar{60};
constexpr std::string_view kPrivateMode = "private";

// Two connected sockets.
struct Pair {
  Pair() {
    std::array<int, 2> ends{};
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
    near = FileDescriptor(ends[0]);
    far = FileDescriptor(ends[1]);
  }
  void send() const { EXPECT_EQ(::write(far.get(), "x", 1), 1); }
  void take() const {
    char character = 0;
    EXPECT_EQ(::read(near.get(), &character, 1), 1);
  }

  FileDescriptor near, far;
};

PollRunLoop* loopOfTheSignal = nullptr;

extern "C" void stopTheLoop(int) {
  loopOfTheSignal->stop();
}

TEST(PollRunLoop, AWatchedDescriptorIsServedInEveryMode) {
  PollRunLoop loop;
  const Pair pair;
  int ready = 0;
  const Token watch = loop.watchFileDescriptor(pair.near.get(), Direction::readable, [&] {
    pair.take();
    ++ready;
  });
  for (const std::string_view mode : {kDefaultRunLoopMode, kPrivateMode}) {
    pair.send();
    loop.runInMode(mode, kFar);
  }
  EXPECT_EQ(ready, 2);
}

TEST(PollRunLoop, ADescriptorThatCanBeWrittenIsServedUntilItsTokenEnds) {
  PollRunLoop loop;
  const Pair pair;
  int ready = 0;
  Token watch;
  watch = loop.watchFileDescriptor(pair.near.get(), Direction::writable, [&] {
    if (++ready == 3) watch.reset();
  });
  loop.runFor(kSoon);
  EXPECT_EQ(ready, 3);
}

TEST(PollRunLoop, AWatchThatAnotherOneEndedIsNotServedAnyMore) {
  PollRunLoop loop;
  const Pair first;
  const Pair second;
  int served = 0;
  std::array<Token, 2> watches;
  const auto serve = [&] {
    ++served;
    for (Token& watch : watches) watch.reset();
  };
  watches[0] = loop.watchFileDescriptor(first.near.get(), Direction::readable, serve);
  watches[1] = loop.watchFileDescriptor(second.near.get(), Direction::readable, serve);
  first.send();
  second.send();
  loop.runFor(kSoon);
  EXPECT_EQ(served, 1);
}

TEST(PollRunLoop, ADescriptorWhosePeerIsGoneIsReady) {
  PollRunLoop loop;
  Pair pair;
  bool told = false;
  const Token watch = loop.watchFileDescriptor(pair.near.get(), Direction::readable, [&] { told = true; });
  pair.far.reset();
  loop.runInMode(kPrivateMode, kFar);
  EXPECT_TRUE(told);
}

TEST(PollRunLoop, WatchTokensMayOutliveTheLoop) {
  const Pair pair;
  Token watch;
  {
    PollRunLoop loop;
    watch = loop.watchFileDescriptor(pair.near.get(), Direction::readable, [] { FAIL(); });
  }
  watch.reset();
}

TEST(PollRunLoop, ASignalHandlerMayStopIt) {
  PollRunLoop loop;
  loopOfTheSignal = &loop;
  struct sigaction before {};
  struct sigaction stopping {};
  stopping.sa_handler = stopTheLoop;
  ASSERT_EQ(::sigaction(SIGUSR1, &stopping, &before), 0);
  loop.performAfterDelay(kSoon, [] { ::raise(SIGUSR1); });
  loop.run();
  ASSERT_EQ(::sigaction(SIGUSR1, &before, nullptr), 0);
}

TEST(PollRunLoop, AnotherThreadMayStopIt) {
  PollRunLoop loop;
  std::thread other;
  loop.performAfterDelay(Seconds(0), [&] { other = std::thread([&] { loop.stop(); }); });
  loop.run();
  other.join();
}

TEST(PollRunLoop, AStopOfAnOuterRunOutlivesTheInnerOnes) {
  PollRunLoop loop;
  bool innerRanOn = false;
  loop.performAfterDelay(Seconds(0), [&] {
    loop.stop();
    loop.performAfterDelay(kSoon, [&] {
      innerRanOn = true;
      loop.stop();
    });
    loop.runFor(Seconds(60));
  });
  loop.run();
  EXPECT_TRUE(innerRanOn);
}

TEST(PollRunLoop, StopsWithoutEndCostNothing) {
  PollRunLoop loop;
  loop.performAfterDelay(Seconds(0), [&] {
    for (int i = 0; i < 200'000; ++i) loop.stop();
  });
  loop.run();
  const Seconds begun = loop.now();
  loop.runFor(kSoon);
  EXPECT_GE(loop.now() - begun, kSoon);
}

TEST(PollRunLoop, IsNotMadeWithoutDescriptors) {
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit none{0, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  EXPECT_THROW(PollRunLoop(), std::system_error);
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
}

}  // namespace
}  // namespace zpk
