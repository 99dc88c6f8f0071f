#pragma once

#include <systemd/sd-bus.h>

#include <cstdint>
#include <functional>
#include <string>

#include "base/Log.h"
#include "helper/service/BusCalls.h"
#include "helper/service/model/Authority.h"

namespace zpk {

// The system's own authority, polkit, asked over the bus about the one who sent a message.
//
// What is asked about is the bus name, which the bus itself stamps on messages, so that there is nothing to forge
// and no process id to be reused. Only an answer of polkit's own connection counts. The loop's thread.
class PolkitAuthority final : public Authority {
 public:
  // `bus` stays the caller's and must outlive this; it is served by the loop whose queue `loop` is.
  PolkitAuthority(sd_bus* bus, DispatchQueue& loop, Log& log) : _bus(bus), _calls(bus, loop), _log(log) {}

  Token ask(const AuthorityQuestion& question, std::function<void(Verdict)> answered) override;

 private:
  BusMessageHandle newCall(const char* member);
  Verdict verdictOf(sd_bus_message* reply);
  bool isFromPolkit(sd_bus_message* reply);
  void forget(const std::string& cancellation);

  sd_bus* _bus;
  BusCalls _calls;
  Log& _log;
  std::uint64_t _lastQuestion = 0;
};

}  // namespace zpk
