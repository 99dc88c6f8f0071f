#include "base/NotificationCenter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zpk {
namespace {

using testing::ElementsAre;

class NotificationCenterTest : public testing::Test {
 protected:
  Token noting(std::string_view name, const std::string& note) {
    return center.addObserver(name, [this, note] { notes.push_back(note); });
  }

  NotificationCenter center;
  std::vector<std::string> notes;
};

TEST_F(NotificationCenterTest, CallsThoseRegisteredForTheNameInOrder) {
  const Token first = noting("Reloaded", "first");
  const Token other = noting("Closed", "other");
  const Token second = noting("Reloaded", "second");
  center.postNotificationName("Reloaded");
  EXPECT_THAT(notes, ElementsAre("first", "second"));
}

TEST_F(NotificationCenterTest, PostingWhatNobodyWaitsForDoesNothing) {
  const Token token = noting("Reloaded", "reloaded");
  center.postNotificationName("Reload");
  center.postNotificationName("");
  EXPECT_TRUE(notes.empty());
}

TEST_F(NotificationCenterTest, ARegistrationEndsWithItsToken) {
  Token token = noting("Reloaded", "reloaded");
  center.postNotificationName("Reloaded");
  token.reset();
  center.postNotificationName("Reloaded");
  EXPECT_THAT(notes, ElementsAre("reloaded"));
}

TEST_F(NotificationCenterTest, AHandlerMayPostAnotherName) {
  const Token first = center.addObserver("First", [this] { center.postNotificationName("Second"); });
  const Token second = noting("Second", "second");
  center.postNotificationName("First");
  EXPECT_THAT(notes, ElementsAre("second"));
}

}  // namespace
}  // namespace zpk
