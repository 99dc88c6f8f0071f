#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/Value.h"

namespace zpk {
namespace {

std::vector<std::string> keysOf(const Dictionary& dictionary) {
  std::vector<std::string> keys;
  for (const auto& [key, value] : dictionary) keys.push_back(key);
  return keys;
}

TEST(Dictionary, GivesTheNullValueForAMissingKey) {
  const Dictionary dictionary{{"a", 1}};
  EXPECT_TRUE(dictionary["b"].isNull());
  EXPECT_TRUE(dictionary[""].isNull());
  EXPECT_FALSE(dictionary.contains("b"));
  EXPECT_TRUE(dictionary.contains("a"));
}

TEST(Dictionary, IsWalkedInTheOrderOfItsKeys) {
  EXPECT_THAT(keysOf(Dictionary{{"c", 1}, {"a", 2}, {"b", 3}}), testing::ElementsAre("a", "b", "c"));
}

TEST(Dictionary, KeepsTheLastOfEqualKeys) {
  const Dictionary dictionary{{"b", 1}, {"a", 1}, {"b", 2}, {"b", 3}};
  EXPECT_EQ(dictionary.size(), 2u);
  EXPECT_EQ(dictionary["b"], Value(3));
  EXPECT_EQ(dictionary["a"], Value(1));
}

TEST(Dictionary, KeepsTheLastOfEqualKeysThatStandInOrder) {
  const Dictionary dictionary{{"a", 1}, {"a", 2}, {"b", 3}};
  EXPECT_EQ(dictionary, (Dictionary{{"a", 2}, {"b", 3}}));
}

TEST(Dictionary, GivesItsEntriesBackInOrder) {
  const std::vector<Dictionary::Entry> entries = Dictionary{{"b", 1}, {"a", 2}}.release();
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0], Dictionary::Entry("a", 2));
  EXPECT_EQ(entries[1], Dictionary::Entry("b", 1));
}

TEST(Dictionary, SetReplacesOrAdds) {
  Dictionary dictionary;
  EXPECT_TRUE(dictionary.empty());
  dictionary.set("b", 1);
  dictionary.set("a", 2);
  dictionary.set("b", 3);
  EXPECT_EQ(dictionary, (Dictionary{{"a", 2}, {"b", 3}}));
}

TEST(Dictionary, RemoveTakesOutOneKeyAndMindsNoMissingOne) {
  Dictionary dictionary{{"a", 1}, {"b", 2}};
  dictionary.remove("a");
  dictionary.remove("zz");
  EXPECT_EQ(dictionary, (Dictionary{{"b", 2}}));
}

TEST(Dictionary, AKeyWithTheNullValueIsThere) {
  const Dictionary dictionary{{"a", nullptr}};
  EXPECT_TRUE(dictionary.contains("a"));
  EXPECT_NE(dictionary, Dictionary());
}

TEST(Dictionary, CopiesAreIndependent) {
  const Dictionary original{{"a", 1}};
  Dictionary copy = original;
  copy.set("a", 2);
  EXPECT_EQ(original["a"], Value(1));
  const Dictionary moved = std::move(copy);
  EXPECT_EQ(moved["a"], Value(2));
}

}  // namespace
}  // namespace zpk
