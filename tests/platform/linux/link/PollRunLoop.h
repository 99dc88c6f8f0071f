#pragma once

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/RunLoop.h"
#include "platform/posix/FileDescriptorWatcher.h"

namespace zpk::tests {

// A run loop in real time on poll(2), for tests that talk to other processes.
class PollRunLoop final : public RunLoop, public FileDescriptorWatcher {
 public:
  Seconds now() const override;
  void performAfterDelay(Seconds delay, Callback callback) override;
  Token scheduledTimer(Seconds period, Callback callback) override;
  void runFor(Seconds duration) override;
  void runInMode(std::string_view mode, Seconds atMost) override;
  std::string_view currentMode() const override;
  void run() override;
  void stop() override { _stopped = true; }
  Token watchFileDescriptor(int descriptor, Direction direction, std::function<void()> ready) override;

  // Serves `mode` until `condition` holds; false when that takes more than ten seconds.
  bool runUntil(const std::function<bool()>& condition, std::string_view mode = kDefaultRunLoopMode);

  // Whether the link's wait mode was served, which it is only in waits that are not over at once.
  int servedCount(std::string_view mode) const;

 private:
  struct Watch {
    int descriptor;
    Direction direction;
    std::function<void()> ready;
  };
  struct Alarm {
    Seconds due;
    Seconds period;
    Callback callback;
  };

  bool serveOnce(Seconds atMost);
  bool serveDescriptors(Seconds atMost);
  bool serveAlarms();
  Seconds untilNextAlarm(Seconds atMost) const;
  bool inDefaultMode() const { return currentMode() == kDefaultRunLoopMode; }

  std::list<std::shared_ptr<Watch>> _watches;
  std::list<std::shared_ptr<Alarm>> _alarms;
  std::vector<std::string> _modes;
  std::map<std::string, int, std::less<>> _served;
  bool _stopped = false;
};

}  // namespace zpk::tests
