#pragma once

#include <functional>
#include <map>
#include <string>

#include "platform/posix/PollRunLoop.h"

namespace zpk::tests {

// The run loop of tests that talk to other processes.
class LinkTestLoop final : public PollRunLoop {
 public:
  void runInMode(std::string_view mode, Seconds atMost) override {
    ++_served[std::string(mode)];
    PollRunLoop::runInMode(mode, atMost);
  }

  // Serves `mode` until `condition` holds; false when that takes more than ten seconds.
  bool runUntil(const std::function<bool()>& condition, std::string_view mode = kDefaultRunLoopMode) {
    const Seconds end = now() + Seconds(10);
    while (!condition()) {
      if (now() > end) return false;
      PollRunLoop::runInMode(mode, Seconds(0.05));
    }
    return true;
  }

  // Whether the link's wait mode was served, which it is only in waits that are not over at once.
  int servedCount(std::string_view mode) const {
    const auto entry = _served.find(mode);
    return entry == _served.end() ? 0 : entry->second;
  }

 private:
  std::map<std::string, int, std::less<>> _served;
};

}  // namespace zpk::tests
