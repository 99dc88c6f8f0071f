#pragma once

#include <sys/syscall.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "base/Value.h"
#include "platform/linux/link/ChildProcess.h"
#include "platform/linux/wire/BusHandles.h"
#include "platform/linux/wire/DBusNames.h"
#include "platform/linux/wire/WireForm.h"
#include "records/RecordClasses.h"
#include "support/TemporaryFolder.h"

namespace zpk::test {

constexpr std::chrono::seconds kDeadline{30};

// Serves `bus` until `condition` holds; false when that takes too long.
inline bool serveUntil(sd_bus* bus, const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + kDeadline;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    const int served = sd_bus_process(bus, nullptr);
    if (served < 0) return false;
    if (served == 0) sd_bus_wait(bus, 10'000);
  }
  return true;
}

// A message bus of the test's own that lets in every user of the machine, so that whom the helper keeps out it
// keeps out itself.
class TestBus {
 public:
  TestBus() : _address("unix:path=" + _folder.path("bus")) {
    std::filesystem::permissions(_folder.path(), std::filesystem::perms(0755));
    _folder.put(
        "bus.conf",
        "<busconfig><type>session</type><listen>" + _address +
            "</listen><auth>EXTERNAL</auth><policy context=\"default\"><allow user=\"*\"/>"
            "<allow send_destination=\"*\"/><allow receive_sender=\"*\"/><allow own=\"*\"/></policy></busconfig>");
    _daemon =
        tests::ChildProcess({"dbus-daemon", "--config-file=" + _folder.path("bus.conf"), "--nofork", "--nopidfile"},
                            tests::ChildProcess::Output::dropped);
    const auto deadline = std::chrono::steady_clock::now() + kDeadline;
    while (!open()) {
      if (std::chrono::steady_clock::now() > deadline) throw std::runtime_error("no message bus");
    }
    // For the helpers that the test starts, on whichever bus.
    ::setenv("DBUS_SESSION_BUS_ADDRESS", _address.c_str(), 1);
    ::setenv("DBUS_SYSTEM_BUS_ADDRESS", _address.c_str(), 1);
  }

  const std::string& address() const { return _address; }
  void kill() { _daemon.kill(); }

  BusHandle open() const {
    sd_bus* made = nullptr;
    const char* name = nullptr;
    if (sd_bus_new(&made) < 0) return nullptr;
    BusHandle bus(made);
    const bool opened = sd_bus_set_address(made, _address.c_str()) >= 0 && sd_bus_set_bus_client(made, 1) >= 0 &&
                        sd_bus_start(made) >= 0 && sd_bus_get_unique_name(made, &name) >= 0;
    return opened ? std::move(bus) : nullptr;
  }

  // A connection of another user's; only root can make one.
  BusHandle openAs(uid_t user) const {
    BusHandle bus;
    // The system call changes the user of its thread alone; the C library's function would change that of all.
    std::thread([&] {
      if (syscall(SYS_setresuid, -1, user, -1) == 0) bus = open();
    }).join();
    return bus;
  }

 private:
  TemporaryFolder _folder;
  std::string _address;
  tests::ChildProcess _daemon;
};

// A front end that says what the test tells it to, and keeps every status that it gets.
class TestFrontEnd {
 public:
  explicit TestFrontEnd(const TestBus& bus) : TestFrontEnd(bus.open()) {}
  explicit TestFrontEnd(BusHandle bus) : _bus(std::move(bus)) {
    static const sd_bus_vtable members[] = {
        SD_BUS_VTABLE_START(0), SD_BUS_METHOD("stateChangedWithStatus", "a{sv}", "", onState, 0),
        SD_BUS_METHOD("needReload", "", "b", onNeedReload, 0), SD_BUS_VTABLE_END};
    sd_bus_add_object_vtable(_bus.get(), nullptr, kPort, kDelegateInterface, members, this);
  }

  sd_bus* bus() { return _bus.get(); }
  bool waitFor(const std::function<bool()>& condition) { return serveUntil(_bus.get(), condition); }
  bool waitForState(const std::function<bool(const Dictionary&)>& condition) {
    return waitFor([&] { return !states.empty() && condition(states.back()); });
  }

  bool helperIsThere() { return sd_bus_get_name_creds(_bus.get(), kHelperBusName, 0, nullptr) >= 0; }

  // The result code; the error's name when there is none.
  template <class... Arguments>
  std::string call(DaemonMember row, Arguments... arguments) {
    sd_bus_error error{};
    sd_bus_message* made = nullptr;
    const DBusMember& called = member(row);
    const BusMessageHandle call = newCall(called, arguments...);
    sd_bus_call(_bus.get(), call.get(), 0, &error, &made);
    const BusMessageHandle reply(made);
    const std::string failure = error.name ? error.name : "no answer";
    sd_bus_error_free(&error);
    std::uint32_t code = 0;
    if (!reply || sd_bus_message_read(reply.get(), "u", &code) < 0) return failure;
    return std::to_string(code);
  }
  template <class... Arguments>
  BusMessageHandle newCall(const DBusMember& called, Arguments... arguments) {
    return newCallOf(kDaemonInterface, called, arguments...);
  }
  template <class... Arguments>
  BusMessageHandle newCallOf(const char* interface, const DBusMember& called, Arguments... arguments) {
    sd_bus_message* made = nullptr;
    sd_bus_message_new_method_call(_bus.get(), &made, kHelperBusName, kHelperObjectPath, interface, called.name);
    sd_bus_message_append(made, called.in, arguments...);
    sd_bus_message_set_allow_interactive_authorization(made, mayAsk ? 1 : 0);
    return BusMessageHandle(made);
  }
  std::string checkIn(std::int64_t lastStateTime) {
    return call(DaemonMember::checkInWithPort, kPort, lastStateTime);
  }
  Dictionary status() {
    sd_bus_message* made = nullptr;
    sd_bus_call_method(_bus.get(), kHelperBusName, kHelperObjectPath, kDaemonInterface, "status", nullptr, &made,
                       "");
    const BusMessageHandle reply(made);
    if (!reply) return {};
    auto status = readDictionary(reply.get(), recordClasses());
    return status ? std::move(*status) : Dictionary();
  }

  std::vector<Dictionary> states;
  int needReloadCalls = 0;
  bool mayAsk = true;  // For a password, on its calls.

 private:
  static constexpr const char* kPort = "/com/tarnwick/zpk/port/1";

  static int onState(sd_bus_message* message, void* data, sd_bus_error*) {
    auto status = readDictionary(message, recordClasses());
    if (status) static_cast<TestFrontEnd*>(data)->states.push_back(std::move(*status));
    return sd_bus_reply_method_return(message, "");
  }
  static int onNeedReload(sd_bus_message* message, void* data, sd_bus_error*) {
    ++static_cast<TestFrontEnd*>(data)->needReloadCalls;
    return sd_bus_reply_method_return(message, "b", 0);
  }

  BusHandle _bus;
};

}  // namespace zpk::test
