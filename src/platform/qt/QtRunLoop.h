#pragma once

#include <QObject>
#include <QTimer>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/AlarmQueue.h"
#include "base/RunLoop.h"
#include "platform/posix/FileDescriptorWatcher.h"

class QEventLoop;
class QSocketNotifier;

namespace zpk {

// The main thread's run loop, on top of Qt's. Made on the main thread after the application object, gone before it.
//
// The default mode is served by Qt's event loop whoever runs it: run(), runFor(), runInMode() with the default
// mode, or a loop of Qt's own (a modal dialog's). In any other mode user input waits in Qt's queue, to be handled
// when the default mode is served again; watched descriptors are served.
//
// Callbacks that are due run in the order of their times, one a turn of Qt's loop, so that input and painting are
// never far. A timer whose callback runs the loop itself does not fire again until that callback is over. Nothing
// wakes the program up but the earliest of the times asked for, a watched descriptor, and what Qt itself has to do.
//
// run() without any other loop running is the application's own run: it also ends when the application quits, as on
// the closing of its last window, and runFor() ends at once while the application is quitting.
class QtRunLoop final : public QObject, public RunLoop, public FileDescriptorWatcher {
 public:
  QtRunLoop();
  ~QtRunLoop() override;

  Seconds now() const override;
  void performAfterDelay(Seconds delay, Callback callback) override;
  Token scheduledTimer(Seconds period, Callback callback) override;
  void runFor(Seconds duration) override;
  void runInMode(std::string_view mode, Seconds atMost) override;
  std::string_view currentMode() const override;
  void run() override;
  void stop() override;

  Token watchFileDescriptor(int descriptor, Direction direction, std::function<void()> ready) override;

 private:
  struct Watch;
  class ModeScope;

  bool isMainThread() const;
  void armTimer();
  void serveEarliestAlarm();
  void stopInnermost();
  void endWatch(Watch& watch);

  AlarmQueue _alarms{[this] { return now(); }, [this] { armTimer(); }};
  QTimer _timer;
  std::uint64_t _servedCount = 0;
  std::vector<std::string> _modes;
  // The run() and runFor() now active, innermost last; null stands for the application's own run.
  std::vector<QEventLoop*> _runs;
  std::vector<std::shared_ptr<Watch>> _watches;
  // Ends with the loop, so that tokens may outlive it.
  std::shared_ptr<QtRunLoop*> _self;
};

}  // namespace zpk
