#include "helper/service/BusCalls.h"

#include <utility>

namespace zpk {

BusCalls::Id BusCalls::send(BusMessageHandle message, std::chrono::microseconds patience, Reply reply) {
  const Id id = ++_lastId;
  Call& call = _calls[id];
  call.owner = this;
  call.id = id;
  call.reply = std::move(reply);
  sd_bus_slot* slot = nullptr;
  const auto longest = static_cast<std::uint64_t>(patience.count());
  if (message && sd_bus_call_async(_bus, &slot, message.get(), onReply, &call, longest) >= 0) {
    call.slot.reset(slot);
  } else {
    _loop.async([self = std::weak_ptr(_self), id] {
      if (const auto calls = self.lock()) (*calls)->end(id, nullptr);
    });
  }
  return id;
}

int BusCalls::onReply(sd_bus_message* message, void* data, sd_bus_error*) {
  const Call* call = static_cast<Call*>(data);
  call->owner->end(call->id, message);
  return 0;
}

void BusCalls::end(Id id, sd_bus_message* message) {
  const auto call = _calls.extract(id);
  if (call) call.mapped().reply(message);
}

}  // namespace zpk
