#include "app/presentation/TMBAdditions.h"

#include <gtest/gtest.h>

namespace zpk {
namespace {

const Array kJobs = {
    Dictionary{{"name", "nobody"}},
    Dictionary{{"name", "weekly"}, {"day", 1}, {"enabled", "YES"}},
    Dictionary{{"name", "daily"}, {"day", 1u}, {"enabled", 2}},
    Dictionary{{"name", "hourly"}, {"day", 0}, {"enabled", true}},
};

TEST(ObjectWithValueForKey, FindsTheFirstElementWithAnEqualEntry) {
  EXPECT_EQ(objectWithValueForKey(kJobs, "name", "daily"), kJobs[2]);
  EXPECT_EQ(objectWithValueForKey(kJobs, "day", 1), kJobs[1]);
}

TEST(ObjectWithValueForKey, UsesTheEntrysOwnEquality) {
  EXPECT_EQ(objectWithValueForKey(kJobs, "day", false), kJobs[3]);
  EXPECT_TRUE(objectWithValueForKey(kJobs, "day", "1").isNull());
}

TEST(ObjectWithValueForKey, AnElementWithoutTheKeyNeverMatches) {
  EXPECT_TRUE(objectWithValueForKey(kJobs, "label", "daily").isNull());
  EXPECT_TRUE(objectWithValueForKey(kJobs, "enabled", nullptr).isNull());
  EXPECT_TRUE(objectWithValueForKey({Dictionary{{"enabled", nullptr}}}, "enabled", nullptr).isNull());
}

TEST(ObjectWithValueForKey, MindsNoElementThatIsNoDictionary) {
  const Array mixed = {1, "name", Array{"name"}, nullptr, kJobs[2]};
  EXPECT_EQ(objectWithValueForKey(mixed, "name", "daily"), kJobs[2]);
  EXPECT_TRUE(objectWithValueForKey({}, "name", "daily").isNull());
}

TEST(ObjectWithTrueBoolValueForKey, FindsTheFirstNumberOtherThanZero) {
  // A text such as "YES" does not count.
  EXPECT_EQ(objectWithTrueBoolValueForKey(kJobs, "enabled"), kJobs[2]);
  EXPECT_EQ(objectWithTrueBoolValueForKey({kJobs[1], kJobs[3]}, "enabled"), kJobs[3]);
  EXPECT_EQ(objectWithTrueBoolValueForKey({Dictionary{{"on", 0.5}}}, "on"), Value(Dictionary{{"on", 0.5}}));
}

TEST(ObjectWithTrueBoolValueForKey, FindsNothingAmongFalseAbsentAndOtherEntries) {
  EXPECT_TRUE(objectWithTrueBoolValueForKey({kJobs[0], kJobs[1]}, "enabled").isNull());
  EXPECT_TRUE(objectWithTrueBoolValueForKey({kJobs[3]}, "day").isNull());
  EXPECT_TRUE(objectWithTrueBoolValueForKey({}, "enabled").isNull());
}

TEST(Map, GivesTheResultsInOrderWithoutTheNothings) {
  const Array odd = map({1, 2, 3}, [](const Value& value) {
    return value.integerValue() % 2 == 1 ? Value(10 * value.integerValue()) : Value();
  });
  EXPECT_EQ(odd, (Array{10, 30}));
}

TEST(Map, OfNothingOrToNothingIsEmptyAndCanBeAddedTo) {
  Array none = map({}, [](const Value& value) { return value; });
  EXPECT_TRUE(none.empty());
  none.push_back(1);
  EXPECT_TRUE(map(none, [](const Value&) { return Value(); }).empty());
}

TEST(Map, KeepsResultsThatAreFalseOrEmpty) {
  EXPECT_EQ(map({false, 0, ""}, [](const Value& value) { return value; }).size(), 3u);
}

}  // namespace
}  // namespace zpk
