#pragma once

#include <systemd/sd-bus.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>

#include "base/DispatchQueue.h"
#include "platform/linux/wire/BusHandles.h"

namespace zpk {

// Calls to others on the bus that are under way; nobody waits for them. The loop's thread.
//
// Each ends with its reply unless it is taken back. Those that are under way when this goes have none.
class BusCalls {
 public:
  using Id = std::uint64_t;
  // Gets what was answered, an error included, be it the bus's own about a peer that does not answer in time; null
  // when the call could not be sent. The message is the bus's and lasts as long as the function runs.
  using Reply = std::function<void(sd_bus_message*)>;

  // `bus` stays the caller's and must outlive this; it is served by the loop whose queue `loop` is.
  BusCalls(sd_bus* bus, DispatchQueue& loop) : _bus(bus), _loop(loop) {}

  // `reply` is never called from within. A null `message` is one that cannot be sent.
  Id send(BusMessageHandle message, std::chrono::microseconds patience, Reply reply);
  // Whether it was still under way. Then its reply is not called any more; the peer knows nothing of that.
  bool takeBack(Id id) { return !_calls.extract(id).empty(); }

 private:
  struct Call {
    BusCalls* owner = nullptr;
    Id id = 0;
    Reply reply;
    BusSlotHandle slot;
  };

  static int onReply(sd_bus_message* message, void* data, sd_bus_error* error);
  void end(Id id, sd_bus_message* message);

  sd_bus* _bus;
  DispatchQueue& _loop;
  std::map<Id, Call> _calls;
  Id _lastId = 0;
  // Ends with the calls, for what the loop still has queued then.
  const std::shared_ptr<BusCalls*> _self = std::make_shared<BusCalls*>(this);
};

}  // namespace zpk
