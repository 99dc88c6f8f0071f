#include "platform/linux/session/SessionInstance.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <string>
#include <vector>

#include "platform/linux/link/LinkTestLoop.h"
#include "platform/linux/link/PrivateBus.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Claim = SessionInstance::Claim;
using Outcome = SessionInstance::Outcome;

constexpr const char* kName = "com.tarnwick.zpk";
constexpr const char* kPath = "/com/tarnwick/zpk";
constexpr const char* kInterface = "org.freedesktop.Application";

// Long enough for any that answers, and short enough to be waited for where none does.
constexpr SessionInstance::Times kPatient{std::chrono::seconds(20), std::chrono::seconds(20)};
constexpr SessionInstance::Times kImpatient{std::chrono::milliseconds(100), std::chrono::milliseconds(100)};

class OneProgram : public testing::Test {
 protected:
  Claim claim(const SessionInstance::Times& times = kPatient, const std::string& token = "") const {
    return SessionInstance::claim({.which = WhichBus::session, .address = bus.address()}, token, times);
  }
  // What another program finds out meanwhile.
  std::future<Outcome> claimElsewhere(const std::string& token = "") const {
    return std::async(std::launch::async, [this, token] { return claim(kPatient, token).outcome; });
  }
  Outcome outcomeOf(std::future<Outcome>& elsewhere) {
    EXPECT_TRUE(
        loop.runUntil([&] { return elsewhere.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
    return elsewhere.get();
  }
  void serve(SessionInstance& place) {
    place.serve(loop, [this](const std::string& token) { activations.push_back(token); });
  }
  // Whether the bus knows an owner of the name; asked over a connection of the test's own.
  static bool isTaken(sd_bus* other) { return sd_bus_get_name_creds(other, kName, 0, nullptr) >= 0; }
  // The reply of the served place to a call of the test's own.
  BusMessageHandle replyTo(const char* interface, const char* member, const char* types = "", auto... arguments) {
    const BusHandle other = bus.connect();
    sd_bus_message* call = nullptr;
    sd_bus_message_new_method_call(other.get(), &call, kName, kPath, interface, member);
    const BusMessageHandle handle(call);
    if constexpr (sizeof...(arguments) > 0) sd_bus_message_append(call, types, arguments...);
    BusMessageHandle reply;
    sd_bus_call_async(
        other.get(), nullptr, call,
        [](sd_bus_message* answer, void* kept, sd_bus_error*) {
          static_cast<BusMessageHandle*>(kept)->reset(sd_bus_message_ref(answer));
          return 1;
        },
        &reply, 0);
    EXPECT_TRUE(loop.runUntil([&] {
      sd_bus_process(other.get(), nullptr);
      return reply != nullptr;
    }));
    return reply;
  }
  static std::string errorOf(const BusMessageHandle& reply) {
    const sd_bus_error* error = reply ? sd_bus_message_get_error(reply.get()) : nullptr;
    return error ? error->name : "";
  }

  tests::PrivateBus bus;
  tests::LinkTestLoop loop;
  std::vector<std::string> activations;
};

TEST_F(OneProgram, TheFirstTakesThePlaceAndOwnsTheName) {
  const BusHandle other = bus.connect();
  EXPECT_FALSE(isTaken(other.get()));
  const Claim first = claim();
  EXPECT_EQ(first.outcome, Outcome::first);
  EXPECT_TRUE(isTaken(other.get()));
}

TEST_F(OneProgram, TheSecondHasTheFirstComeForwardAndGetsNoPlace) {
  const Claim first = claim();
  serve(*first.instance);
  auto second = claimElsewhere("the desktop's token");
  EXPECT_EQ(outcomeOf(second), Outcome::handedOver);
  EXPECT_THAT(activations, ElementsAre("the desktop's token"));
  auto third = claimElsewhere();
  EXPECT_EQ(outcomeOf(third), Outcome::handedOver);
  EXPECT_THAT(activations, ElementsAre("the desktop's token", ""));
}

TEST_F(OneProgram, AnswersInEveryModeOfTheRunLoop) {
  const Claim first = claim();
  serve(*first.instance);
  auto second = claimElsewhere();
  EXPECT_TRUE(loop.runUntil([&] { return !activations.empty(); }, "a command waits"));
  EXPECT_EQ(second.get(), Outcome::handedOver);
}

TEST_F(OneProgram, WhatCameBeforeItIsServedIsNotForgotten) {
  const Claim first = claim();
  auto second = claimElsewhere();
  EXPECT_EQ(second.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
  serve(*first.instance);
  EXPECT_EQ(outcomeOf(second), Outcome::handedOver);
  EXPECT_EQ(activations.size(), 1U);
}

TEST_F(OneProgram, AFirstThatHangsIsToldFromOneThatAnswers) {
  const Claim first = claim();
  const Claim second = claim(kImpatient);
  EXPECT_EQ(second.outcome, Outcome::noAnswer);
  EXPECT_EQ(second.instance, nullptr);
}

// It takes the call and ends with it, which the bus tells the caller.
TEST_F(OneProgram, AFirstThatDiesBeforeItAnswersLeavesItsPlace) {
  BusHandle first = bus.connect();
  ASSERT_GE(sd_bus_request_name(first.get(), kName, 0), 0);
  bool wasAsked = false;
  const auto keep = [](sd_bus_message* message, void* asked, sd_bus_error*) {
    *static_cast<bool*>(asked) = sd_bus_message_is_method_call(message, kInterface, "Activate") > 0;
    return 1;
  };
  ASSERT_GE(sd_bus_add_filter(first.get(), nullptr, keep, &wasAsked), 0);
  auto second = claimElsewhere();
  EXPECT_TRUE(loop.runUntil([&] {
    sd_bus_process(first.get(), nullptr);
    return wasAsked;
  }));
  first.reset();
  EXPECT_EQ(second.get(), Outcome::first);
}

TEST_F(OneProgram, APlaceThatWasGivenUpIsFree) {
  Claim first = claim();
  serve(*first.instance);
  first.instance.reset();
  const Claim second = claim();
  EXPECT_EQ(second.outcome, Outcome::first);
  EXPECT_THAT(activations, IsEmpty());
}

// Whatever it is, it is no program that could come forward; to run beside it would be one more that owns nothing.
TEST_F(OneProgram, AStrangerWithTheNameIsNoAnswer) {
  const BusHandle stranger = bus.connect();
  ASSERT_GE(sd_bus_request_name(stranger.get(), kName, 0), 0);
  auto second = claimElsewhere();
  while (second.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready) {
    sd_bus_process(stranger.get(), nullptr);
  }
  EXPECT_EQ(second.get(), Outcome::noAnswer);
}

TEST_F(OneProgram, WithoutABusItIsAlone) {
  bus.kill();
  EXPECT_EQ(claim().outcome, Outcome::alone);
  EXPECT_EQ(SessionInstance::claim({.which = WhichBus::session, .address = "no address"}, "").outcome,
            Outcome::alone);
}

TEST_F(OneProgram, WithABusThatHangsItIsAlone) {
  bus.stop();
  EXPECT_EQ(claim(kImpatient).outcome, Outcome::alone);
  bus.resume();
}

TEST_F(OneProgram, ABusThatDiesIsNotServedAnyMore) {
  const Claim first = claim();
  serve(*first.instance);
  bus.kill();
  loop.runInMode(kDefaultRunLoopMode, Seconds(10));
  // With a descriptor that is ready for ever this would be over at once.
  const Seconds begin = loop.now();
  loop.runInMode(kDefaultRunLoopMode, Seconds(0.05));
  EXPECT_GE(loop.now() - begin, Seconds(0.05));
  EXPECT_THAT(activations, IsEmpty());
}

TEST_F(OneProgram, FilesBringItForwardAndUnknownActionsAreRefused) {
  const Claim first = claim();
  serve(*first.instance);
  EXPECT_EQ(errorOf(replyTo(kInterface, "Open", "asa{sv}", 1, "file:///tmp/x", 1, "activation-token", "s", "t")),
            "");
  EXPECT_THAT(activations, ElementsAre("t"));
  EXPECT_EQ(errorOf(replyTo(kInterface, "ActivateAction", "sava{sv}", "erase", 0, 0)), SD_BUS_ERROR_INVALID_ARGS);
  EXPECT_EQ(activations.size(), 1U);
}

TEST_F(OneProgram, PlatformDataOfOtherKindsIsPassedOver) {
  const Claim first = claim();
  serve(*first.instance);
  EXPECT_EQ(errorOf(replyTo(kInterface, "Activate", "a{sv}", 3, "activation-token", "u", 7U, "x", "as", 1, "y",
                            "activation-token", "s", "good")),
            "");
  EXPECT_THAT(activations, ElementsAre("good"));
  EXPECT_EQ(errorOf(replyTo(kInterface, "Activate", "s", "no dictionary")), SD_BUS_ERROR_INVALID_ARGS);
}

TEST_F(OneProgram, TellsBusToolsWhatItOffers) {
  const Claim first = claim();
  serve(*first.instance);
  const BusMessageHandle reply = replyTo("org.freedesktop.DBus.Introspectable", "Introspect");
  const char* xml = "";
  ASSERT_GT(sd_bus_message_read(reply.get(), "s", &xml), 0);
  for (const char* name : {kInterface, "Activate", "Open", "ActivateAction"}) EXPECT_THAT(xml, HasSubstr(name));
}

}  // namespace
}  // namespace zpk
