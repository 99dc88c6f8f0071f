#pragma once

#include <functional>

#include "base/Log.h"
#include "helper/service/BusCalls.h"
#include "helper/service/model/Subscribers.h"
#include "platform/linux/wire/BusHandles.h"

namespace zpk {

// A message from `make` with `status` in it; without its log when it is too large for the link otherwise. Null,
// with a line in the log, when even that cannot be sent.
BusMessageHandle messageWithStatus(const std::function<BusMessageHandle()>& make, const Dictionary& status,
                                   Log& log);

// Calls the front ends over the bus, never waiting for one. The loop's thread.
class BusSubscriberLink final : public SubscriberLink {
 public:
  // `bus` stays the caller's and must outlive this; it is served by the loop whose queue `loop` is.
  BusSubscriberLink(sd_bus* bus, DispatchQueue& loop, Log& log) : _bus(bus), _calls(bus, loop), _log(log) {}

  void push(const SubscriberPort& port, const StatePush& push, std::function<void(PushResult)> answered) override;
  void askNeedReload(const SubscriberPort& port, std::function<void(bool)> answered) override;
  Token watchPeer(const std::string& peer, std::function<void()> gone) override;

 private:
  BusMessageHandle newCall(const SubscriberPort& port, const char* member);

  sd_bus* _bus;
  BusCalls _calls;
  Log& _log;
};

}  // namespace zpk
