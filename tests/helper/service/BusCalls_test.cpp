#include "helper/service/BusCalls.h"

#include <gtest/gtest.h>

#include <optional>

#include "helper/service/HelperWorld.h"

namespace zpk {
namespace {

// Calls that cannot be sent, for which no bus is needed.
class UnsentCall : public testing::Test {
 protected:
  BusCalls::Id send() {
    return calls->send({}, std::chrono::seconds(1), [this](sd_bus_message* message) {
      EXPECT_EQ(message, nullptr);
      ++replies;
    });
  }
  void settle() {
    while (loop.runOne()) {
    }
  }

  test::ManualQueue loop;
  std::optional<BusCalls> calls{std::in_place, nullptr, loop};
  int replies = 0;
};

TEST_F(UnsentCall, EndsWithoutAMessageOnTheLoop) {
  send();
  EXPECT_EQ(replies, 0);
  settle();
  EXPECT_EQ(replies, 1);
}

TEST_F(UnsentCall, ThatIsTakenBackHasNoReply) {
  EXPECT_TRUE(calls->takeBack(send()));
  settle();
  EXPECT_EQ(replies, 0);
}

TEST_F(UnsentCall, HasNoReplyOnceTheCallsAreGone) {
  send();
  calls.reset();
  settle();
  EXPECT_EQ(replies, 0);
}

}  // namespace
}  // namespace zpk
