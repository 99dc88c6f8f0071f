#include "bench/link/StatusMessage.h"

#include <sys/socket.h>
#include <systemd/sd-bus.h>

#include <cstdlib>
#include <utility>

#include "platform/linux/wire/WireForm.h"
#include "records/RecordClasses.h"

namespace zpk::bench {
namespace {

// Enough to build messages on.
sd_bus* looseBus() {
  static const BusHandle bus = [] {
    sd_bus* made = nullptr;
    int pair[2];
    if (sd_bus_new(&made) < 0 || socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, pair) < 0 ||
        sd_bus_set_fd(made, pair[0], pair[0]) < 0 || sd_bus_start(made) < 0) {
      std::abort();
    }
    return BusHandle(made);
  }();
  return bus.get();
}

}  // namespace

BusMessageHandle message(const Dictionary& status) {
  sd_bus_message* made = nullptr;
  if (sd_bus_message_new_method_call(looseBus(), &made, "a.b", "/", "a.b", "c") < 0) std::abort();
  BusMessageHandle owner(made);
  if (!appendDictionary(made, status)) std::abort();
  return owner;
}

BusMessageHandle sealedMessage(const Dictionary& status) {
  BusMessageHandle sealed = message(status);
  if (sd_bus_message_seal(sealed.get(), 1, 0) < 0) std::abort();
  return sealed;
}

Dictionary decoded(sd_bus_message* sealed) {
  sd_bus_message_rewind(sealed, 1);
  auto status = readDictionary(sealed, recordClasses());
  if (!status) std::abort();
  return std::move(*status);
}

}  // namespace zpk::bench
