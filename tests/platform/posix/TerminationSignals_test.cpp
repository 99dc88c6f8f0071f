#include "platform/posix/TerminationSignals.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <optional>
#include <thread>

#include "platform/posix/PollRunLoop.h"

namespace zpk {
namespace {

// What a signal does now.
using Handler = void (*)(int);
Handler handlerOf(int signal) {
  struct sigaction action = {};
  ::sigaction(signal, nullptr, &action);
  return action.sa_handler;
}

class Signals : public testing::Test {
 protected:
  // Serves until nothing is left to serve.
  void settle() { loop.runFor(Seconds(0)); }

  PollRunLoop loop;
  int asked = 0;
};

TEST_F(Signals, AreToldInsteadOfEndingTheProgram) {
  const TerminationSignals signals(loop, [&] { ++asked; });
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    asked = 0;
    ::raise(signal);
    EXPECT_EQ(asked, 0);
    loop.runInMode(kDefaultRunLoopMode, Seconds(10));
    EXPECT_EQ(asked, 1) << signal;
  }
}

TEST_F(Signals, ThatComeTogetherAreToldOnce) {
  const TerminationSignals signals(loop, [&] { ++asked; });
  // More than a pipe holds.
  for (int i = 0; i < 100'000; ++i) ::raise(SIGTERM);
  loop.runInMode(kDefaultRunLoopMode, Seconds(10));
  settle();
  EXPECT_EQ(asked, 1);
}

TEST_F(Signals, AreToldInAnyModeAndOnTheMainThread) {
  const auto mainThread = std::this_thread::get_id();
  const TerminationSignals signals(loop, [&] {
    ++asked;
    EXPECT_EQ(std::this_thread::get_id(), mainThread);
  });
  std::thread([] { ::raise(SIGINT); }).join();
  loop.runInMode("a private mode", Seconds(10));
  EXPECT_EQ(asked, 1);
}

TEST_F(Signals, DoAfterwardsWhatTheyDidBefore) {
  {
    const TerminationSignals signals(loop, [] {});
  }
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) EXPECT_EQ(handlerOf(signal), SIG_DFL) << signal;
}

TEST_F(Signals, ThatAreIgnoredStayIgnored) {
  ::signal(SIGHUP, SIG_IGN);
  {
    const TerminationSignals signals(loop, [&] { ++asked; });
    ::raise(SIGHUP);
    settle();
    EXPECT_EQ(asked, 0);
  }
  EXPECT_EQ(handlerOf(SIGHUP), SIG_IGN);
  ::signal(SIGHUP, SIG_DFL);
}

TEST_F(Signals, MayEndTheirOwnTelling) {
  std::optional<TerminationSignals> signals;
  signals.emplace(loop, [&] {
    ++asked;
    loop.performAfterDelay(Seconds(0), [&] { signals.reset(); });
  });
  ::raise(SIGTERM);
  while (signals) loop.runInMode(kDefaultRunLoopMode, Seconds(10));
  EXPECT_EQ(asked, 1);
  EXPECT_EQ(handlerOf(SIGTERM), SIG_DFL);
}

TEST_F(Signals, EndAProgramThatIsStarted) {
  const TerminationSignals signals(loop, [] {});
  const pid_t child = ::fork();
  if (child == 0) {
    ::execl("/bin/sh", "sh", "-c", "kill -TERM $$; exit 3", nullptr);
    ::_exit(4);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGTERM);
}

}  // namespace
}  // namespace zpk
