// The program itself on a real, if empty, desktop: an X server and a message bus of the test's own, and a status
// bar that comes when the test wants it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/link/BusConnection.h"
#include "platform/linux/link/LinkTestLoop.h"
#include "platform/linux/link/PrivateBus.h"
#include "support/TemporaryFolder.h"

namespace zpk {
namespace {

constexpr const char* kWatcher = "org.kde.StatusNotifierWatcher";
constexpr const char* kWatcherPath = "/StatusNotifierWatcher";
constexpr const char* kItem = "org.kde.StatusNotifierItem";
constexpr const char* kItemPath = "/StatusNotifierItem";

// An X server that says which display it serves.
class EmptyDisplay {
 public:
  EmptyDisplay() {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) throw std::runtime_error("pipe");
    _server = tests::ChildProcess(
        {"Xvfb", "-displayfd", std::to_string(ends[1]), "-screen", "0", "640x480x24", "-nolisten", "tcp"},
        tests::ChildProcess::Output::dropped);
    close(ends[1]);
    // The line ends when it is ready, or has ended.
    char letter = 0;
    while (read(ends[0], &letter, 1) == 1 && letter != '\n') _number += letter;
    close(ends[0]);
    if (_number.empty()) throw std::runtime_error("no X server");
  }
  std::string name() const { return ":" + _number; }

 private:
  tests::ChildProcess _server;
  std::string _number;
};

// The part of a status bar that icons register with.
class StatusBarDouble {
 public:
  explicit StatusBarDouble(const tests::PrivateBus& bus) : _bus(bus.connect()) {
    sd_bus_add_object_vtable(_bus.get(), nullptr, kWatcherPath, kWatcher, table(), this);
  }
  // From now on the desktop has one.
  void appear() { sd_bus_request_name(_bus.get(), kWatcher, 0); }
  void serve() {
    while (sd_bus_process(_bus.get(), nullptr) > 0) {
    }
  }

  // Unique names of those whose icons are there.
  std::vector<std::string> icons;

  // As a click on the first icon does.
  bool click() {
    sd_bus_message* call = nullptr;
    sd_bus_message_new_method_call(_bus.get(), &call, icons.front().c_str(), kItemPath, kItem, "Activate");
    const BusMessageHandle handle(call);
    sd_bus_message_append(call, "ii", 0, 0);
    return sd_bus_send(_bus.get(), call, nullptr) >= 0;
  }

 private:
  static int take(sd_bus_message* call, void* self, sd_bus_error* /*error*/) {
    static_cast<StatusBarDouble*>(self)->icons.emplace_back(sd_bus_message_get_sender(call));
    return sd_bus_reply_method_return(call, nullptr);
  }
  static int isThere(sd_bus* /*bus*/, const char* /*path*/, const char* /*interface*/, const char* /*property*/,
                     sd_bus_message* reply, void* /*self*/, sd_bus_error* /*error*/) {
    return sd_bus_message_append(reply, "b", 1);
  }
  static const sd_bus_vtable* table() {
    static const std::array kTable{
        sd_bus_vtable SD_BUS_VTABLE_START(0),
        sd_bus_vtable SD_BUS_METHOD("RegisterStatusNotifierItem", "s", "", &take, SD_BUS_VTABLE_UNPRIVILEGED),
        sd_bus_vtable SD_BUS_PROPERTY("IsStatusNotifierHostRegistered", "b", &isThere, 0, 0),
        sd_bus_vtable SD_BUS_VTABLE_END,
    };
    return kTable.data();
  }

  BusHandle _bus;
};

// Hears all that goes over the bus, also what nobody is there for.
class BusListener {
 public:
  explicit BusListener(const tests::PrivateBus& bus) {
    sd_bus* raw = nullptr;
    sd_bus_new(&raw);
    _bus.reset(raw);
    sd_bus_set_address(raw, bus.address().c_str());
    sd_bus_set_bus_client(raw, 1);
    sd_bus_set_monitor(raw, 1);
    if (sd_bus_start(raw) < 0 ||
        sd_bus_call_method(raw, kBusDriver, kBusDriverPath, "org.freedesktop.DBus.Monitoring", "BecomeMonitor",
                           nullptr, nullptr, "asu", 0, 0) < 0) {
      throw std::runtime_error("cannot listen to the message bus");
    }
  }
  bool hasHeardCallOf(std::string_view name) {
    sd_bus_message* raw = nullptr;
    while (!_heard && sd_bus_process(_bus.get(), &raw) > 0) {
      const BusMessageHandle message(raw);
      const char* destination = raw ? sd_bus_message_get_destination(raw) : nullptr;
      _heard = destination && destination == name;
    }
    return _heard;
  }

 private:
  BusHandle _bus;
  bool _heard = false;
};

class StatusBarOfTheDesktop : public testing::Test {
 protected:
  StatusBarOfTheDesktop() {
    folder.put("program", "#!/bin/sh\necho \"$@\" > \"$0.part\"\nmv \"$0.part\" \"$0.said\"\n");
    ::chmod(folder.path("program").c_str(), 0755);
    ::setenv("DISPLAY", display.name().c_str(), 1);
    ::setenv("QT_QPA_PLATFORM", "xcb", 1);
    ::setenv("HOME", folder.path().c_str(), 1);
    ::setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1);
  }
  void start(const std::string& patience) {
    program = tests::ChildProcess({ZPK_STATUS_BAR, "--session", "--language=en", "--patience=" + patience,
                                   "--program=" + folder.path("program")});
  }
  bool serveUntil(const std::function<bool()>& condition) {
    return loop.runUntil([&] {
      bar.serve();
      return condition();
    });
  }
  TemporaryFolder folder;
  EmptyDisplay display;
  tests::PrivateBus bus;
  tests::LinkTestLoop loop;
  StatusBarDouble bar{bus};
  tests::ChildProcess program;
};

TEST_F(StatusBarOfTheDesktop, GetsTheIconAndAClickOnItOpensTheProgram) {
  bar.appear();
  start("20");
  ASSERT_TRUE(serveUntil([&] { return !bar.icons.empty(); }));
  ASSERT_TRUE(bar.click());
  EXPECT_TRUE(serveUntil([&] { return folder.get("program.said") == "--session --language=en\n"; }));
}

// At log-in it may come later than the program.
TEST_F(StatusBarOfTheDesktop, GetsTheIconWhenItAppearsWithinThePatience) {
  BusListener listener(bus);
  start("20");
  ASSERT_TRUE(serveUntil([&] { return listener.hasHeardCallOf(kWatcher); }));
  EXPECT_TRUE(bar.icons.empty());
  bar.appear();
  EXPECT_TRUE(serveUntil([&] { return !bar.icons.empty(); }));
}

TEST_F(StatusBarOfTheDesktop, IsNotWaitedForBeyondThePatience) {
  start("1");
  program.join();
  EXPECT_TRUE(bar.icons.empty());
}

}  // namespace
}  // namespace zpk
