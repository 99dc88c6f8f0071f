#pragma once

#include <systemd/sd-bus.h>

#include <cstdint>
#include <map>
#include <string>

#include "base/DispatchQueue.h"
#include "base/Log.h"
#include "helper/service/model/Authority.h"
#include "platform/linux/wire/BusHandles.h"

namespace zpk {

// The system's own authority, polkit, asked over the bus about the one who sent a message.
//
// What is asked about is the bus name, which the bus itself stamps on messages, so that there is nothing to forge
// and no process id to be reused. Only an answer of polkit's own connection counts. The loop's thread.
class PolkitAuthority final : public Authority {
 public:
  // `bus` stays the caller's and must outlive this; it is served by the loop whose queue `loop` is.
  PolkitAuthority(sd_bus* bus, DispatchQueue& loop, Log& log) : _bus(bus), _loop(loop), _log(log) {}

  Token ask(const AuthorityQuestion& question, std::function<void(Verdict)> answered) override;

 private:
  struct Call {
    PolkitAuthority* authority = nullptr;
    std::uint64_t id = 0;
    BusSlotHandle slot;
    std::function<void(Verdict)> answered;
  };

  static int onReply(sd_bus_message* message, void* data, sd_bus_error* error);
  bool send(const AuthorityQuestion& question, Call& call);
  Verdict verdictOf(sd_bus_message* reply);
  bool isFromPolkit(sd_bus_message* reply);
  void takeBack(std::uint64_t id);
  std::string cancellationId(std::uint64_t id) const;

  sd_bus* _bus;
  DispatchQueue& _loop;
  Log& _log;
  std::map<std::uint64_t, Call> _calls;
  std::uint64_t _lastId = 0;
};

}  // namespace zpk
