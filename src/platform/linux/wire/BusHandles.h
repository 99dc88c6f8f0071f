#pragma once

#include <systemd/sd-bus.h>

#include <memory>

namespace zpk {

// Owners of sd-bus's reference-counted objects.

struct BusClose {
  // Without flushing: a flush waits for a bus that may not read.
  void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
};
using BusHandle = std::unique_ptr<sd_bus, BusClose>;

struct BusMessageUnref {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using BusMessageHandle = std::unique_ptr<sd_bus_message, BusMessageUnref>;

struct BusSlotUnref {
  void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};
using BusSlotHandle = std::unique_ptr<sd_bus_slot, BusSlotUnref>;

}  // namespace zpk
