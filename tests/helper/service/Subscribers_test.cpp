#include "helper/service/model/Subscribers.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "helperlink/StatusRecord.h"

namespace zpk {
namespace {

constexpr std::uint32_t kUser = 1000;

// Front ends that answer when the test says so.
class FakeLink final : public SubscriberLink {
 public:
  struct Sent {
    SubscriberPort port;
    StatePush push;
    std::function<void(PushResult)> answer;
  };

  void push(const SubscriberPort& port, const StatePush& push, std::function<void(PushResult)> answered) override {
    sent.push_back({port, push, std::move(answered)});
  }
  void askNeedReload(const SubscriberPort&, std::function<void(bool)> answered) override {
    asked.push_back(std::move(answered));
  }
  Token watchPeer(const std::string& peer, std::function<void()> gone) override {
    watches[peer] = std::move(gone);
    ++watching;
    return Token([this] { --watching; });
  }

  std::vector<Sent> sent;
  std::vector<std::function<void(bool)>> asked;
  std::map<std::string, std::function<void()>> watches;
  int watching = 0;
};

class SubscribersTest : public testing::Test {
 protected:
  StatePush state(std::int64_t time, bool milestone = false, bool error = false) {
    return {time, std::make_shared<const Dictionary>(), milestone, error};
  }
  void change(std::int64_t time, bool milestone = false, bool error = false) {
    current = state(time, milestone, error);
    subscribers.stateChanged(current);
  }
  void answer(std::size_t index, PushResult result = PushResult::delivered) {
    std::exchange(link.sent.at(index).answer, nullptr)(result);
  }
  std::vector<std::int64_t> sentTimes() const {
    std::vector<std::int64_t> times;
    for (const auto& sent : link.sent) times.push_back(sent.push.stateTime);
    return times;
  }
  using Times = std::vector<std::int64_t>;

  const SubscriberPort port{":1.7", "/port/1"};
  FakeLink link;
  StatePush current = state(10);
  int reloads = 0;
  int errorsShown = 0;
  Subscribers subscribers{link, {[this] { return current; }, [this] { ++reloads; }, [this] { ++errorsShown; }}};
};

TEST_F(SubscribersTest, ACheckInWithAnOldStateTimeGetsTheState) {
  subscribers.checkIn(port, 0, kUser);
  EXPECT_EQ(sentTimes(), Times({10}));
}

TEST_F(SubscribersTest, ACheckInThatKnowsTheStateGetsNothing) {
  subscribers.checkIn(port, 10, kUser);
  EXPECT_TRUE(link.sent.empty());
}

TEST_F(SubscribersTest, AStateTimeFromTheFutureIsAnotherStateToo) {
  subscribers.checkIn(port, 99, kUser);
  EXPECT_EQ(sentTimes(), Times({10}));
}

TEST_F(SubscribersTest, EverySubscriberIsToldOfAChange) {
  subscribers.checkIn(port, 10, kUser);
  subscribers.checkIn({":1.8", "/port/1"}, 10, kUser);
  subscribers.checkIn({":1.8", "/port/2"}, 10, kUser);
  change(11);
  EXPECT_EQ(link.sent.size(), 3U);
}

TEST_F(SubscribersTest, OnePushIsUnderWayAndTheRestIsTheNewestState) {
  subscribers.checkIn(port, 0, kUser);
  for (std::int64_t time = 11; time < 2000; ++time) change(time);
  EXPECT_EQ(sentTimes(), Times({10}));
  answer(0);
  EXPECT_EQ(sentTimes(), Times({10, 1999}));
  answer(1);
  EXPECT_EQ(link.sent.size(), 2U);
}

TEST_F(SubscribersTest, AMilestoneIsNotPassedOver) {
  subscribers.checkIn(port, 0, kUser);
  change(11);
  change(12, true);
  change(13);
  change(14);
  answer(0);
  answer(1);
  answer(2);
  EXPECT_EQ(sentTimes(), Times({10, 12, 14}));
}

TEST_F(SubscribersTest, MilestonesThatWaitAreLimited) {
  subscribers.checkIn(port, 0, kUser);
  for (std::int64_t time = 11; time < 1000; ++time) change(time, true);
  for (std::size_t i = 0; i < link.sent.size(); ++i) answer(i);
  EXPECT_EQ(sentTimes(), Times({10, 996, 997, 998, 999}));
}

TEST_F(SubscribersTest, OneThatTimedOutIsLeftAloneUntilItChecksIn) {
  subscribers.checkIn(port, 0, kUser);
  answer(0, PushResult::timedOut);
  change(11);
  EXPECT_EQ(link.sent.size(), 1U);
  subscribers.checkIn(port, 0, kUser);
  EXPECT_EQ(sentTimes(), Times({10, 11}));
}

TEST_F(SubscribersTest, OneThatRefusesIsForgotten) {
  subscribers.checkIn(port, 0, kUser);
  answer(0, PushResult::refused);
  EXPECT_TRUE(subscribers.empty());
  EXPECT_EQ(link.watching, 0);
}

TEST_F(SubscribersTest, OneThatDiedIsForgottenAndItsAnswerComesToNobody) {
  subscribers.checkIn(port, 0, kUser);
  link.watches[port.peer]();
  EXPECT_TRUE(subscribers.empty());
  answer(0);
  // The same port again, as a subscription of its own: the old one's answer does not count for it.
  subscribers.checkIn(port, 0, kUser);
  EXPECT_EQ(subscribers.size(), 1U);
  EXPECT_EQ(link.sent.size(), 2U);
}

TEST_F(SubscribersTest, AHangingSubscriberDoesNotHoldUpAnother) {
  subscribers.checkIn(port, 10, kUser);
  subscribers.checkIn({":1.8", "/port/1"}, 10, kUser);
  change(11);
  answer(1);
  change(12);
  ASSERT_EQ(link.sent.size(), 3U);
  EXPECT_EQ(link.sent[2].port.peer, ":1.8");
}

TEST_F(SubscribersTest, EachIsAskedOnceWhetherToReload) {
  subscribers.checkIn(port, 10, kUser);
  subscribers.checkIn(port, 10, kUser);
  ASSERT_EQ(link.asked.size(), 1U);
  link.asked[0](true);
  EXPECT_EQ(reloads, 1);
  subscribers.checkIn({":1.8", "/port/1"}, 10, kUser);
  link.asked[1](false);
  EXPECT_EQ(reloads, 1);
}

TEST_F(SubscribersTest, AnErrorCountsAsShownWhenItWasDelivered) {
  current = state(10, true, true);
  subscribers.checkIn(port, 0, kUser);
  EXPECT_EQ(errorsShown, 0);
  answer(0);
  EXPECT_EQ(errorsShown, 1);
}

TEST_F(SubscribersTest, AnErrorThatTimedOutWasNotShown) {
  current = state(10, true, true);
  subscribers.checkIn(port, 0, kUser);
  answer(0, PushResult::timedOut);
  EXPECT_EQ(errorsShown, 0);
}

TEST_F(SubscribersTest, TheirNumberIsLimited) {
  const auto checkIn = [&](std::size_t i) {
    const auto user = static_cast<std::uint32_t>(i / Subscribers::kMostOfOneUser);
    return subscribers.checkIn({":1.7", "/port/" + std::to_string(i)}, 10, user);
  };
  for (std::size_t i = 0; i < Subscribers::kMost; ++i) EXPECT_TRUE(checkIn(i));
  EXPECT_FALSE(checkIn(Subscribers::kMost));
  EXPECT_TRUE(checkIn(0)) << "those there are go on";
}

TEST_F(SubscribersTest, OneUserCannotKeepTheOthersOut) {
  for (std::size_t i = 0; i < Subscribers::kMostOfOneUser; ++i) {
    EXPECT_TRUE(subscribers.checkIn({":1.7", "/port/" + std::to_string(i)}, 10, kUser));
  }
  EXPECT_FALSE(subscribers.checkIn({":1.7", "/one/more"}, 10, kUser));
  EXPECT_TRUE(subscribers.checkIn({":1.8", "/port/0"}, 10, kUser + 1));
}

TEST_F(SubscribersTest, WhatIsForOneIsToldToAllHisPortsAndToNobodyElse) {
  subscribers.checkIn(port, 10, kUser);
  subscribers.checkIn({":1.7", "/port/2"}, 10, kUser);
  subscribers.checkIn({":1.8", "/port/1"}, 10, kUser);
  subscribers.tell(":1.7", "You may not.");
  ASSERT_EQ(sentTimes(), Times({10, 10}));
  for (const auto& sent : link.sent) {
    EXPECT_EQ(sent.port.peer, ":1.7");
    EXPECT_EQ(statuskey::opError.read(*sent.push.status), "You may not.");
  }
  answer(0);
  EXPECT_EQ(errorsShown, 0) << "the state's own error, if there is one, is still to be shown";
}

// Else a front end whose user has read the error finds it in what it knows, and shows it again, and again.
TEST_F(SubscribersTest, WhatWasToldToOneIsFollowedByTheStateAsItIs) {
  subscribers.checkIn(port, 10, kUser);
  subscribers.tell(port.peer, "You may not.");
  EXPECT_EQ(link.sent.size(), 1U) << "in this order";
  answer(0);
  ASSERT_EQ(sentTimes(), Times({10, 10}));
  EXPECT_FALSE(statuskey::opError.isPresentIn(*link.sent[1].push.status));
  answer(1);
  EXPECT_EQ(link.sent.size(), 2U);
}

TEST_F(SubscribersTest, WhatIsToldToOneTwiceIsNotLostToTheStateInBetween) {
  subscribers.checkIn(port, 10, kUser);
  subscribers.tell(port.peer, "You may not.");
  subscribers.tell(port.peer, "Nor this.");
  change(11);
  for (std::size_t i = 0; i < link.sent.size(); ++i) answer(i);
  ASSERT_EQ(sentTimes(), Times({10, 10, 11}));
  EXPECT_EQ(statuskey::opError.read(*link.sent[1].push.status), "Nor this.");
}

TEST_F(SubscribersTest, ARemindedOneIsCalledAndNothingElseHappens) {
  subscribers.checkIn(port, 10, kUser);
  subscribers.checkIn({":1.8", "/port/1"}, 10, kUser);
  link.asked.clear();
  subscribers.remind(":1.7");
  ASSERT_EQ(link.asked.size(), 1U);
  link.asked[0](true);
  EXPECT_EQ(reloads, 0);
}

}  // namespace
}  // namespace zpk
