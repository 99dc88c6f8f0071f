#include "platform/linux/link/PrivateBus.h"

#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <stdexcept>

namespace zpk::tests {
namespace {

constexpr const char* kPolicy = R"(
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
    <allow send_requested_reply="false"/>
    <allow receive_requested_reply="false"/>
  </policy>
  <limit name="max_replies_per_connection">50000</limit>
  <limit name="max_message_size">33554432</limit>
  <limit name="max_incoming_bytes">133169152</limit>
  <limit name="max_outgoing_bytes">133169152</limit>
</busconfig>
)";

BusHandle openedBus(const std::string& address) {
  sd_bus* bus = nullptr;
  const char* unique = nullptr;
  if (sd_bus_new(&bus) < 0) return nullptr;
  BusHandle handle(bus);
  if (sd_bus_set_address(bus, address.c_str()) < 0 || sd_bus_set_bus_client(bus, 1) < 0 || sd_bus_start(bus) < 0 ||
      sd_bus_get_unique_name(bus, &unique) < 0) {
    return nullptr;
  }
  return handle;
}

}  // namespace

PrivateBus::PrivateBus() : _address("unix:path=" + _folder.path("bus")) {
  _folder.put("bus.conf", "<busconfig><type>session</type><listen>" + _address + "</listen><servicedir>" +
                              _folder.path() + "</servicedir>" + kPolicy);
  start();
}

void PrivateBus::start() {
  std::filesystem::remove(_folder.path("bus"));
  _daemon = ChildProcess({"dbus-daemon", "--config-file=" + _folder.path("bus.conf"), "--nofork", "--nopidfile"},
                         ChildProcess::Output::dropped);
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!openedBus(_address)) {
    if (std::chrono::steady_clock::now() > deadline) throw std::runtime_error("no message bus");
    usleep(1000);
  }
}

void PrivateBus::kill() {
  _daemon.kill();
}

BusHandle PrivateBus::connect() const {
  BusHandle bus = openedBus(_address);
  if (!bus) throw std::runtime_error("no connection to the message bus");
  return bus;
}

}  // namespace zpk::tests
