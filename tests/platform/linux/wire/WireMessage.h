#pragma once

#include <sys/socket.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <functional>
#include <stdexcept>

#include "platform/linux/wire/BusHandles.h"

namespace zpk::tests {

// Makes D-Bus messages without a bus: builds one, seals it as if it had been sent, and stands at its start for
// reading. The connection behind it goes nowhere.
class WireMessages {
 public:
  WireMessages() {
    int ends[2];
    sd_bus* bus = nullptr;
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends) < 0)
      throw std::runtime_error("socketpair");
    _farEnd = ends[1];
    if (sd_bus_new(&bus) < 0) throw std::runtime_error("sd_bus_new");
    _bus.reset(bus);
    if (sd_bus_set_fd(bus, ends[0], ends[0]) < 0 || sd_bus_start(bus) < 0) throw std::runtime_error("sd_bus_start");
  }
  WireMessages(const WireMessages&) = delete;
  WireMessages& operator=(const WireMessages&) = delete;
  ~WireMessages() { close(_farEnd); }

  BusMessageHandle empty() {
    sd_bus_message* message = nullptr;
    if (sd_bus_message_new_method_call(_bus.get(), &message, nullptr, "/", "a.b", "c") < 0) {
      throw std::runtime_error("sd_bus_message_new_method_call");
    }
    return BusMessageHandle(message);
  }

  // Ready to be read.
  static void seal(sd_bus_message* message) {
    if (sd_bus_message_seal(message, 1, 0) < 0 || sd_bus_message_rewind(message, 1) < 0) {
      throw std::runtime_error("sd_bus_message_seal");
    }
  }

 private:
  BusHandle _bus;
  int _farEnd = -1;
};

}  // namespace zpk::tests
