#include "base/Observable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zpk {
namespace {

using testing::ElementsAre;

// A disk gauge: "free" and "percent" follow from what is set, "label" from "percent"; "left" and "right" from each
// other.
class Gauge : public Observable {
 public:
  void set(std::string_view key) {
    willChangeValueForKey(key);
    didChangeValueForKey(key);
  }

 protected:
  std::vector<std::string_view> keyPathsForValuesAffectingValueForKey(std::string_view key) const override {
    if (key == "free") return {"size", "used"};
    if (key == "percent") return {"size", "used", "free"};
    if (key == "label") return {"percent"};
    if (key == "left") return {"right"};
    if (key == "right") return {"left"};
    return {};
  }
};

class ObservableTest : public testing::Test {
 protected:
  // An observer of `key` that writes `note` down each time.
  Token noting(std::string_view key, const std::string& note) {
    return gauge->observe(key, [this, note] { notes.push_back(note); });
  }

  std::shared_ptr<Gauge> gauge = std::make_shared<Gauge>();
  std::vector<std::string> notes;
};

TEST_F(ObservableTest, CallsTheObserversOfTheKeyInOrder) {
  const Token first = noting("size", "first");
  const Token other = noting("name", "other");
  const Token second = noting("size", "second");
  gauge->set("size");
  EXPECT_THAT(notes, ElementsAre("first", "second"));
  gauge->set("size");
  EXPECT_EQ(notes.size(), 4u);
}

TEST_F(ObservableTest, WillChangeAloneCallsNobody) {
  const Token token = noting("size", "size");
  gauge->willChangeValueForKey("size");
  EXPECT_TRUE(notes.empty());
}

TEST_F(ObservableTest, AnnouncesDependentKeysOnceForEachChange) {
  const Token percent = noting("percent", "percent");
  gauge->set("used");
  EXPECT_THAT(notes, ElementsAre("percent"));
}

TEST_F(ObservableTest, AnnouncesKeysThatDependThroughOthers) {
  const Token label = noting("label", "label");
  gauge->set("size");
  gauge->set("name");
  EXPECT_THAT(notes, ElementsAre("label"));
}

TEST_F(ObservableTest, KeysThatDependOnEachOtherAreAnnouncedOnce) {
  const Token left = noting("left", "left");
  gauge->set("right");
  gauge->set("name");
  EXPECT_THAT(notes, ElementsAre("left"));
}

TEST_F(ObservableTest, EndsWithItsToken) {
  {
    const Token token = noting("size", "size");
    EXPECT_TRUE(token.isActive());
  }
  gauge->set("size");
  EXPECT_TRUE(notes.empty());
}

TEST_F(ObservableTest, AMovedTokenGoesOnAndAReplacedOneEnds) {
  Token kept = noting("size", "first");
  Token moved = std::move(kept);
  gauge->set("size");
  moved = noting("size", "second");
  gauge->set("size");
  EXPECT_THAT(notes, ElementsAre("first", "second"));
}

TEST_F(ObservableTest, ATokenMayOutliveTheObject) {
  Token token = noting("size", "size");
  gauge.reset();
  token.reset();
  EXPECT_FALSE(token.isActive());
}

TEST_F(ObservableTest, AnObserverMayEndItself) {
  Token token;
  token = gauge->observe("size", [&] {
    notes.push_back("once");
    token.reset();
  });
  gauge->set("size");
  gauge->set("size");
  EXPECT_THAT(notes, ElementsAre("once"));
}

TEST_F(ObservableTest, AnObserverMayEndALaterOne) {
  Token later;
  const Token first = gauge->observe("size", [&] { later.reset(); });
  later = noting("size", "later");
  gauge->set("size");
  EXPECT_TRUE(notes.empty());
}

TEST_F(ObservableTest, AnObserverAddedDuringAChangeWaitsForTheNext) {
  Token added;
  const Token first = gauge->observe("size", [&] {
    if (!added.isActive()) added = noting("size", "added");
  });
  gauge->set("size");
  EXPECT_TRUE(notes.empty());
  gauge->set("size");
  EXPECT_THAT(notes, ElementsAre("added"));
}

TEST_F(ObservableTest, AnObserverMayChangeFurtherKeys) {
  const Token size = gauge->observe("size", [&] {
    notes.push_back("size");
    gauge->set("name");
  });
  const Token name = noting("name", "name");
  const Token sizeToo = noting("size", "size too");
  gauge->set("size");
  EXPECT_THAT(notes, ElementsAre("size", "name", "size too"));
}

// Closing a window from an observer of its controller: the walk over the observers went on in the dead object.
TEST_F(ObservableTest, AnObserverMayDestroyTheObject) {
  const Token first = gauge->observe("size", [&] {
    notes.push_back("last");
    gauge.reset();
  });
  const Token second = noting("size", "never");
  const Token third = noting("percent", "never");
  Gauge* object = gauge.get();
  object->set("size");
  EXPECT_THAT(notes, ElementsAre("last"));
}

TEST_F(ObservableTest, EndingAnObservationMayEndThoseThatItHolds) {
  auto inner = std::make_shared<Token>(noting("size", "inner"));
  Token outer = gauge->observe("name", [held = std::move(inner)] {});
  const Token other = noting("size", "other");
  outer.reset();
  gauge->set("size");
  EXPECT_THAT(notes, ElementsAre("other"));
}

}  // namespace
}  // namespace zpk
