#include <gmock/gmock.h>
#include <unistd.h>

#include "platform/linux/link/LinkFixture.h"
#include "platform/linux/wire/DBusNames.h"

namespace zpk::tests {
namespace {

// Somebody else on the same bus, who knows everything about the link but is not the helper.
class LinkGate : public LinkTest {
 protected:
  void SetUp() override {
    startAndCheckIn();
    stranger = bus.connect();
    ourName = *(*proxy->status().dictionary())["caller"].text();
  }

  BusMessageHandle call(const char* path, const char* interface, const char* member) {
    sd_bus_message* message = nullptr;
    sd_bus_message_new_method_call(stranger.get(), &message, ourName.c_str(), path, interface, member);
    return BusMessageHandle(message);
  }

  // Sends, lets the link take it, and gives the name of the error with which it was answered.
  std::string answerTo(sd_bus_message* message) {
    std::uint64_t cookie = 0;
    if (sd_bus_send(stranger.get(), message, &cookie) < 0) return "not sent";
    std::string answer;
    loop.runUntil([&] {
      sd_bus_message* reply = nullptr;
      while (sd_bus_process(stranger.get(), &reply) > 0 && reply == nullptr) {
      }
      const BusMessageHandle owned(reply);
      const sd_bus_error* error = reply != nullptr ? sd_bus_message_get_error(reply) : nullptr;
      if (error != nullptr) answer = error->name;
      return error != nullptr;
    });
    return answer;
  }

  // A successful reply of `code` to whatever the call `cookie` was.
  void sendForgedReply(std::uint64_t cookie, std::uint32_t code) {
    const BusMessageHandle original = call("/", "a.b", "c");
    sd_bus_message_seal(original.get(), cookie, 0);
    sd_bus_message* reply = nullptr;
    sd_bus_message_new_method_return(original.get(), &reply);
    const BusMessageHandle owned(reply);
    sd_bus_message_append(reply, "u", code);
    sd_bus_send_to(stranger.get(), reply, ourName.c_str(), nullptr);
  }

  BusHandle stranger;
  std::string ourName;
};

TEST_F(LinkGate, AStrangersPushIsDeniedAndCounted) {
  const BusMessageHandle push = call("/com/tarnwick/zpk/port/1", kDelegateInterface, "stateChangedWithStatus");
  sd_bus_message_append(push.get(), "a{sv}", 1, "statetime", "t", 99);
  EXPECT_EQ(answerTo(push.get()), SD_BUS_ERROR_ACCESS_DENIED);
  EXPECT_TRUE(delegate.stateTimes.empty());
  EXPECT_EQ(transport->strangersDropped(), 1U);
}

TEST_F(LinkGate, AStrangerLearnsNothingFromTheStandardInterfaces) {
  EXPECT_EQ(answerTo(call("/", "org.freedesktop.DBus.Peer", "GetMachineId").get()), SD_BUS_ERROR_ACCESS_DENIED);
  EXPECT_EQ(answerTo(call("/", "org.freedesktop.DBus.Introspectable", "Introspect").get()),
            SD_BUS_ERROR_ACCESS_DENIED);
  EXPECT_EQ(transport->strangersDropped(), 2U);
}

TEST_F(LinkGate, AForgedNameOwnerChangedIsDropped) {
  std::vector<bool> told;
  const Token token = transport->observePresence(kName, [&](bool present) { told.push_back(present); });
  sd_bus_message* signal = nullptr;
  sd_bus_message_new_signal(stranger.get(), &signal, kBusDriverPath, kBusDriver, "NameOwnerChanged");
  const BusMessageHandle owned(signal);
  sd_bus_message_append(signal, "sss", kHelperBusName, ":1.1", "");
  ASSERT_GE(sd_bus_send_to(stranger.get(), signal, ourName.c_str(), nullptr), 0);
  EXPECT_TRUE(loop.runUntil([&] { return transport->strangersDropped() == 1; }));
  EXPECT_EQ(proxy->reload(), Value(0));
  EXPECT_TRUE(told.empty());
}

TEST_F(LinkGate, AForgedReplyEndsNoCommand) {
  LinkTimes times = quickTimes();
  times.notAnswering = std::chrono::milliseconds(20);
  restartTransport(surroundings(times));
  connect();
  ASSERT_EQ(proxy->checkInWithPort(receivePort, 0), Value(0));
  ourName = *(*proxy->status().dictionary())["caller"].text();
  const Token token = transport->observeAnswering([&](bool answers) {
    if (answers) return;
    for (std::uint32_t cookie = 1; cookie <= 50; ++cookie) sendForgedReply(cookie, 77);
    sd_bus_flush(stranger.get());
  });
  EXPECT_EQ(tell("late 200"), Value(0));
  EXPECT_EQ(transport->strangersDropped(), 50U);
}

TEST_F(LinkGate, AFloodOfStrangersCallsGrowsNothingAndStopsNothing) {
  for (int i = 0; i < 5000; ++i) {
    const BusMessageHandle push = call("/com/tarnwick/zpk/port/1", kDelegateInterface, "needReload");
    std::uint64_t cookie = 0;
    ASSERT_GE(sd_bus_send(stranger.get(), push.get(), &cookie), 0);
  }
  sd_bus_flush(stranger.get());
  EXPECT_TRUE(loop.runUntil([&] { return transport->strangersDropped() == 5000; }));
  EXPECT_EQ(tell("push 3"), Value(3));
}

TEST_F(LinkGate, AnOwnerOfAnotherUserIsNoHelper) {
  DBusLinkSurroundings with = surroundings();
  with.requiredOwner = getuid() + 1;
  restartTransport(with);
  EXPECT_EQ(transport->portForName(kName), nullptr);
  EXPECT_EQ(log.count("Link::com.tarnwick.zpkhelper is owned by another user"), 1U);
  with.requiredOwner = getuid();
  restartTransport(with);
  EXPECT_NE(transport->portForName(kName), nullptr);
}

TEST_F(LinkGate, OnTheSystemBusTheOwnerMustBeRoot) {
  const DBusLinkSurroundings onSystemBus{loop, loop, log, classes, {WhichBus::system, bus.address()}};
  const DBusLinkSurroundings onSessionBus{loop, loop, log, classes, {WhichBus::session, bus.address()}};
  EXPECT_EQ(onSystemBus.requiredOwner, std::optional<uid_t>(0));
  EXPECT_EQ(onSessionBus.requiredOwner, std::nullopt);
}

}  // namespace
}  // namespace zpk::tests
