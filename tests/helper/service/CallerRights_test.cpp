#include "helper/service/model/CallerRights.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <vector>

#include "helper/service/HelperWorld.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint32_t kUser = 1000;

// An authority that answers when the test says so.
class FakeAuthority final : public Authority {
 public:
  Token ask(const AuthorityQuestion& question, std::function<void(Verdict)> answered) override {
    questions.push_back(question);
    answers.push_back(std::move(answered));
    const std::size_t place = answers.size() - 1;
    return Token([this, place] { ended.push_back(place); });
  }
  std::vector<AuthorityQuestion> questions;
  std::vector<std::function<void(Verdict)>> answers;
  std::vector<std::size_t> ended;
};

class CallerRightsTest : public testing::Test {
 protected:
  void ask(const std::string& peer = ":1.7", std::uint32_t user = kUser) {
    rights.decide({peer, "an.action", {}, true}, user,
                  [this](std::optional<Refusal> refusal) { decided.push_back(refusal); });
  }

  FakeAuthority authority;
  test::VirtualClock clock;
  std::map<std::string, std::function<void()>> watches;
  std::vector<std::string> reminded;
  std::vector<std::optional<Refusal>> decided;
  CallerRights rights{authority,
                      clock,
                      {[this](const std::string& peer, std::function<void()> gone) {
                         watches[peer] = std::move(gone);
                         return Token();
                       },
                       [this](const std::string& peer) { reminded.push_back(peer); }}};
};

TEST_F(CallerRightsTest, RootIsNotAskedAbout) {
  ask(":1.7", 0);
  EXPECT_THAT(decided, ElementsAre(std::nullopt));
  EXPECT_THAT(authority.questions, IsEmpty());
}

TEST_F(CallerRightsTest, AGrantLetsTheCallThrough) {
  ask();
  EXPECT_THAT(decided, IsEmpty());
  authority.answers.at(0)(Verdict::granted);
  EXPECT_THAT(decided, ElementsAre(std::nullopt));
  EXPECT_EQ(rights.waiting(), 0U);
}

TEST_F(CallerRightsTest, EveryOtherVerdictRefuses) {
  const std::map<Verdict, Refusal> refusals{{Verdict::refused, Refusal::notAllowed},
                                            {Verdict::needsPerson, Refusal::needsPerson},
                                            {Verdict::noAuthority, Refusal::noAuthority},
                                            {Verdict::notUnderstood, Refusal::noAnswer}};
  for (const auto& [verdict, refusal] : refusals) {
    decided.clear();
    ask();
    authority.answers.back()(verdict);
    EXPECT_THAT(decided, ElementsAre(refusal));
  }
}

TEST_F(CallerRightsTest, AQuestionThatNobodyAnswersIsGivenUpBeforeTheFrontEndGivesUp) {
  ask();
  clock.advance(Seconds(49));
  EXPECT_THAT(decided, IsEmpty());
  clock.advance(Seconds(2));
  EXPECT_THAT(decided, ElementsAre(Refusal::noAnswer));
  EXPECT_THAT(authority.ended, ElementsAre(0U)) << "its dialog is taken away";
  authority.answers.at(0)(Verdict::granted);
  EXPECT_EQ(decided.size(), 1U) << "too late";
}

TEST_F(CallerRightsTest, ACallerThatGoesTakesItsQuestionAlong) {
  ask();
  std::exchange(watches.at(":1.7"), nullptr)();
  EXPECT_THAT(authority.ended, ElementsAre(0U));
  authority.answers.at(0)(Verdict::granted);
  EXPECT_THAT(decided, IsEmpty()) << "nothing is done for one who is gone";
}

TEST_F(CallerRightsTest, ACallerThatWaitsIsRemindedUntilItIsDecided) {
  ask();
  clock.advance(Seconds(2.5));
  EXPECT_THAT(reminded, ElementsAre(":1.7", ":1.7"));
  authority.answers.at(0)(Verdict::refused);
  clock.advance(Seconds(10));
  EXPECT_EQ(reminded.size(), 2U);
}

TEST_F(CallerRightsTest, OneUserCannotKeepTheOthersFromBeingAskedAbout) {
  for (std::size_t i = 0; i < CallerRights::kMostOfOneUser; ++i) ask();
  EXPECT_THAT(decided, IsEmpty());
  ask();
  EXPECT_THAT(decided, ElementsAre(Refusal::tooManyAtOnce));
  ask(":1.8", kUser + 1);
  EXPECT_EQ(decided.size(), 1U);
}

TEST_F(CallerRightsTest, ThereIsAnEndToAllQuestions) {
  for (std::uint32_t i = 0; i < CallerRights::kMost; ++i) ask(":1.7", kUser + i);
  EXPECT_THAT(decided, IsEmpty());
  ask(":1.8", kUser - 1);
  EXPECT_THAT(decided, ElementsAre(Refusal::tooManyAtOnce));
}

TEST_F(CallerRightsTest, WhatIsDecidedMayAskAgain) {
  rights.decide({":1.7", "first", {}, true}, kUser, [this](auto) { ask(); });
  authority.answers.at(0)(Verdict::granted);
  ASSERT_EQ(authority.questions.size(), 2U);
  authority.answers.at(1)(Verdict::refused);
  EXPECT_THAT(decided, ElementsAre(Refusal::notAllowed));
}

}  // namespace
}  // namespace zpk
