#pragma once

#include <atomic>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "base/AlarmQueue.h"
#include "base/RunLoop.h"
#include "platform/posix/FileDescriptor.h"
#include "platform/posix/FileDescriptorWatcher.h"

namespace zpk {

// A run loop on poll(2), for programs without windows. The thread that makes it is the main thread.
//
// Callbacks that are due run in the order of their times, one a turn, with a look at the watched descriptors
// between them. A timer whose callback runs the loop itself does not fire again until that callback is over.
//
// stop() may be called from a signal handler too: it takes no lock and allocates nothing.
//
// The constructor throws std::system_error when the process has no descriptors left for it.
class PollRunLoop : public RunLoop, public FileDescriptorWatcher {
 public:
  PollRunLoop();
  ~PollRunLoop() override;
  PollRunLoop(const PollRunLoop&) = delete;
  PollRunLoop& operator=(const PollRunLoop&) = delete;

  Seconds now() const override;
  void performAfterDelay(Seconds delay, Callback callback) override;
  Token scheduledTimer(Seconds period, Callback callback) override;
  void runFor(Seconds duration) override;
  void runInMode(std::string_view mode, Seconds atMost) override;
  std::string_view currentMode() const override;
  void run() override;
  void stop() noexcept override;

  Token watchFileDescriptor(int descriptor, Direction direction, std::function<void()> ready) override;

 private:
  struct Watch;
  class ModeScope;
  class RunScope;

  bool isMainThread() const { return std::this_thread::get_id() == _mainThread; }
  bool isDefaultMode() const { return currentMode() == kDefaultRunLoopMode; }
  // Whether anything was served.
  bool serveOnce(Seconds atMost);
  bool serveDescriptors(Seconds atMost);
  Seconds untilNextAlarm(Seconds atMost) const;
  void takeWakeUps() const;

  const std::thread::id _mainThread = std::this_thread::get_id();
  AlarmQueue _alarms{[this] { return now(); }};
  std::list<std::shared_ptr<Watch>> _watches;
  std::vector<std::string> _modes;
  // How many run() and runFor() are active, and which of them, a bit each from the outermost on, were told to stop.
  std::atomic<unsigned> _depth{0};
  std::atomic<std::uint64_t> _stopped{0};
  FileDescriptor _wakeRead;
  FileDescriptor _wakeWrite;
  // Ends with the loop, so that tokens may outlive it.
  std::shared_ptr<PollRunLoop*> _self;
};

}  // namespace zpk
