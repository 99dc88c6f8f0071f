#pragma once

#include <cstddef>
#include <functional>
#include <utility>

#include "base/NotificationCenter.h"
#include "base/Observable.h"
#include "helperlink/ZPKDaemon.h"
#include "support/FakeLinkTransport.h"
#include "support/RecordingLog.h"
#include "support/VirtualRunLoop.h"

namespace zpk {

// All that a daemon and a controller stand on. No helper is there until a test lets one appear.
struct LinkWorld {
  VirtualRunLoop loop;
  RecordingLog log;
  NotificationCenter notificationCenter;
  FakeLinkTransport transport{loop};

  FakeHelper& helper() { return transport.helper(); }
  ZPKDaemonEnvironment environment() { return {transport, notificationCenter, loop, log}; }
  std::size_t reconnections() const { return log.count("ZPKD::Reconnect"); }
};

// Counts the postings of a notification.
class PostingCounter {
 public:
  PostingCounter(NotificationCenter& center, std::string_view name)
      : _token(center.addObserver(name, [this] { ++_count; })) {}
  std::size_t count() const { return _count; }

 private:
  std::size_t _count = 0;
  Token _token;
};

}  // namespace zpk
