#pragma once

#include <systemd/sd-event.h>

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "base/DispatchQueue.h"
#include "base/Expected.h"
#include "helper/service/model/LoopClock.h"
#include "platform/posix/FileDescriptor.h"

namespace zpk {

// The helper's event loop, its clock and the queue of its thread, over sd-event.
//
// Made, run and destroyed on one thread; `async` may be called from any thread while the loop lives. What is still
// queued when it goes is dropped.
class EventLoop final : public LoopClock, public DispatchQueue {
 public:
  // An error number when the system has no descriptors left.
  static Expected<std::unique_ptr<EventLoop>, int> make();
  ~EventLoop() override;

  void async(std::function<void()> work) override;

  Seconds now() const override;
  Date date() const override;
  std::string timeOfDay() const override;
  Token after(Seconds delay, std::function<void()> alarm) override;

  // Calls `ready` whenever `descriptor` has one of `events` (as epoll names them), until the token ends. The
  // descriptor stays the caller's.
  Token watch(int descriptor, std::uint32_t events, std::function<void()> ready);
  // Calls `arrived` at every such signal, which is blocked for all threads made from now on.
  Token onSignal(int signal, std::function<void()> arrived);

  // Serves events until `stop`; gives what was told to `stop`.
  int run();
  void stop(int exitStatus);
  // Does what is queued, also once it was stopped.
  void runQueued();

  sd_event* handle() const { return _event; }

 private:
  EventLoop(sd_event* event, FileDescriptor wake);

  sd_event* _event;
  FileDescriptor _wake;
  std::mutex _mutex;
  std::vector<std::function<void()>> _queue;
  Token _wakeWatch;
};

}  // namespace zpk
