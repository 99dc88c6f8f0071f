#include "platform/qt/QtRunLoop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QCursor>
#include <QWidget>
#include <QWindow>
#include <array>
#include <limits>
#include <thread>

#include "platform/posix/FileDescriptor.h"

namespace zpk {
namespace {

using testing::ElementsAre;

constexpr Seconds kSoon{0.01};
constexpr Seconds kFar{60};
constexpr std::string_view kPrivateMode = "private";

// Two connected sockets.
struct Pair {
  Pair() {
    std::array<int, 2> ends{};
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
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

// Counts what it is asked to do.
class CountingWidget final : public QWidget {
 public:
  int paints = 0;
  int moves = 0;

 protected:
  void paintEvent(QPaintEvent*) override { ++paints; }
  void mouseMoveEvent(QMouseEvent*) override { ++moves; }
};

class QtRunLoopTest : public testing::Test {
 protected:
  template <class Condition>
  void serveUntil(std::string_view mode, const Condition& condition) {
    const Seconds deadline = loop.now() + Seconds(10);
    while (!condition() && loop.now() < deadline) loop.runInMode(mode, kSoon);
    ASSERT_TRUE(condition()) << "nothing happened";
  }

  QtRunLoop loop;
  Pair pair;
};

TEST_F(QtRunLoopTest, AWatchedDescriptorIsServedInEveryModeAndEndsTheServing) {
  std::vector<std::string> modes;
  const Token watch = loop.watchFileDescriptor(pair.near.get(), FileDescriptorWatcher::Direction::readable, [&] {
    pair.take();
    modes.emplace_back(loop.currentMode());
  });
  for (const std::string_view mode : {kPrivateMode, kDefaultRunLoopMode}) {
    pair.send();
    const Seconds begun = loop.now();
    loop.runInMode(mode, kFar);
    EXPECT_LT(loop.now() - begun, kFar);
  }
  EXPECT_THAT(modes, ElementsAre("private", "default"));
}

TEST_F(QtRunLoopTest, ADescriptorIsServedAgainForAsLongAsItIsReady) {
  int served = 0;
  const Token watch =
      loop.watchFileDescriptor(pair.near.get(), FileDescriptorWatcher::Direction::readable, [&] { ++served; });
  pair.send();
  serveUntil(kPrivateMode, [&] { return served >= 3; });
}

TEST_F(QtRunLoopTest, ADescriptorWithRoomIsWritable) {
  int served = 0;
  const Token watch =
      loop.watchFileDescriptor(pair.near.get(), FileDescriptorWatcher::Direction::writable, [&] { ++served; });
  serveUntil(kPrivateMode, [&] { return served > 0; });
}

TEST_F(QtRunLoopTest, AWatchEndsWithItsTokenAlsoInsideItsOwnCallback) {
  int served = 0;
  Token watch;
  watch = loop.watchFileDescriptor(pair.near.get(), FileDescriptorWatcher::Direction::readable, [&] {
    ++served;
    watch.reset();
  });
  pair.send();
  loop.runInMode(kPrivateMode, kFar);
  loop.runInMode(kPrivateMode, kSoon);
  EXPECT_EQ(served, 1);
}

TEST_F(QtRunLoopTest, AWatchMayOutliveTheLoop) {
  Token watch;
  {
    QtRunLoop shortLived;
    watch =
        shortLived.watchFileDescriptor(pair.near.get(), FileDescriptorWatcher::Direction::readable, [] { FAIL(); });
  }
  pair.send();
  loop.runFor(kSoon);
  watch.reset();
}

TEST_F(QtRunLoopTest, TheDefaultModeServedInsideAPrivateOneRunsTimersAgain) {
  std::vector<std::string> events;
  const Token watch = loop.watchFileDescriptor(pair.near.get(), FileDescriptorWatcher::Direction::readable, [&] {
    pair.take();
    loop.performAfterDelay(Seconds(0), [&] { events.emplace_back(loop.currentMode()); });
    loop.runFor(kSoon * 3);
    events.emplace_back(loop.currentMode());
  });
  pair.send();
  loop.runInMode(kPrivateMode, kFar);
  EXPECT_THAT(events, ElementsAre("default", "private"));
}

TEST_F(QtRunLoopTest, APrivateModePaintsAndKeepsInputForLater) {
  CountingWidget widget;
  widget.setMouseTracking(true);
  widget.show();
  serveUntil(kDefaultRunLoopMode, [&] { return widget.paints > 0 && widget.windowHandle()->isExposed(); });
  const int paintsBefore = widget.paints;

  // The way of all input: through the window system's queue.
  QCursor::setPos(widget.mapToGlobal(widget.rect().center()));
  widget.update();
  serveUntil(kPrivateMode, [&] { return widget.paints > paintsBefore; });
  loop.runInMode(kPrivateMode, kSoon);
  EXPECT_EQ(widget.moves, 0);

  serveUntil(kDefaultRunLoopMode, [&] { return widget.moves > 0; });
}

TEST_F(QtRunLoopTest, StopMayComeFromAnotherThread) {
  std::thread stopper;
  loop.performAfterDelay(Seconds(0), [&] { stopper = std::thread([&] { loop.stop(); }); });
  const Seconds begun = loop.now();
  loop.runFor(kFar);
  stopper.join();
  EXPECT_LT(loop.now() - begun, kFar);
}

TEST_F(QtRunLoopTest, TheOutermostRunEndsWhenTheApplicationQuitsAndSoDoesWhatItRuns) {
  bool innerEnded = false;
  loop.performAfterDelay(Seconds(0), [&] {
    loop.performAfterDelay(Seconds(0), [] { QCoreApplication::quit(); });
    loop.runFor(kFar);
    innerEnded = true;
  });
  const Seconds begun = loop.now();
  loop.run();
  EXPECT_TRUE(innerEnded);
  EXPECT_LT(loop.now() - begun, kFar);
}

TEST_F(QtRunLoopTest, TimersRunInALoopOfQtsOwnToo) {
  QEventLoop dialog;
  int ticks = 0;
  const Token timer = loop.scheduledTimer(kSoon, [&] {
    if (++ticks == 2) dialog.quit();
  });
  dialog.exec();
  EXPECT_EQ(ticks, 2);
}

TEST_F(QtRunLoopTest, ATimerOnAnotherThreadIsDropped) {
  std::thread([&] { EXPECT_FALSE(loop.scheduledTimer(kSoon, [] { FAIL(); }).isActive()); }).join();
  loop.runFor(kSoon * 3);
}

TEST_F(QtRunLoopTest, TimesThatAreNoTimesMeanNowAndTheEndOfTimeMeansNever) {
  std::vector<int> order;
  loop.performAfterDelay(Seconds(std::numeric_limits<double>::infinity()), [&] { order.push_back(3); });
  loop.performAfterDelay(Seconds(1e300), [&] { order.push_back(4); });
  loop.performAfterDelay(Seconds(-5), [&] { order.push_back(1); });
  loop.performAfterDelay(Seconds(std::numeric_limits<double>::quiet_NaN()), [&] { order.push_back(2); });
  serveUntil(kDefaultRunLoopMode, [&] { return order.size() == 2; });
  loop.runFor(kSoon);
  EXPECT_THAT(order, ElementsAre(1, 2));
}

TEST_F(QtRunLoopTest, AnIdleLoopWakesUpForNothingButItsTimers) {
  int ticks = 0;
  int wakeUps = 0;
  const Token timer = loop.scheduledTimer(kSoon * 5, [&] { ++ticks; });
  const Token idle = loop.watchFileDescriptor(pair.near.get(), FileDescriptorWatcher::Direction::readable, [] {});
  loop.runFor(kSoon);
  QObject counter;
  QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, &counter,
                   [&] { ++wakeUps; });
  const int before = ticks;
  loop.runFor(kSoon * 60);
  EXPECT_GE(ticks - before, 3);
  EXPECT_GT(wakeUps, 0);
  // A turn or two for each tick, and some for the beginning and the end; a polling loop has thousands.
  EXPECT_LE(wakeUps, 3 * (ticks - before) + 10);
}

}  // namespace
}  // namespace zpk
