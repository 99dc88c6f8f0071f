#include <gtest/gtest.h>

#include <memory>
#include <utility>

#include "mainwindow/ZPKMaxIncCountFormatter.h"
#include "support/PlainNumberFormat.h"

namespace zpk {
namespace {

const std::string kUntouched = "untouched";

class MaxIncCountFormatter : public testing::Test {
 protected:
  // What becomes of a text while it is typed.
  struct Edit {
    bool accepted;
    std::optional<std::string> replacement;
    friend bool operator==(const Edit&, const Edit&) = default;
  };
  static Edit refusedFor(std::optional<std::string> replacement) { return {false, std::move(replacement)}; }

  Edit typed(std::string_view text) {
    Edit edit{};
    edit.accepted = formatter.isPartialStringValid(text, &edit.replacement, &errorText);
    EXPECT_EQ(errorText, kUntouched);
    return edit;
  }
  Value read(std::string_view text) {
    Value value;
    EXPECT_TRUE(formatter.getObjectValue(&value, text, &errorText)) << text;
    EXPECT_EQ(errorText, kUntouched);
    return value;
  }

  ZPKMaxIncCountFormatter formatter{std::make_shared<PlainNumberFormat>()};
  std::string errorText = kUntouched;
};

TEST_F(MaxIncCountFormatter, AcceptsOneToAHundred) {
  for (const char* text : {"1", "42", "99", "100", "+7", "007"}) EXPECT_EQ(typed(text), (Edit{true, {}})) << text;
}

TEST_F(MaxIncCountFormatter, OffersAHundredForMore) {
  for (const char* text : {"101", "250", "18446744073709551615", "99999999999999999999999"}) {
    EXPECT_EQ(typed(text), refusedFor("100")) << text;
  }
}

TEST_F(MaxIncCountFormatter, OffersOneForZero) {
  for (const char* text : {"0", "000", "-0"}) EXPECT_EQ(typed(text), refusedFor("1")) << text;
}

TEST_F(MaxIncCountFormatter, ReadsSeparatorsOfGroups) {
  EXPECT_EQ(typed("1,000"), refusedFor("100"));
}

TEST_F(MaxIncCountFormatter, ANegativeNumberReadsAsAVeryLargeOne) {
  for (const char* text : {"-1", "-5", "-100", "-5.5", "-99999999999999999999999"}) {
    EXPECT_EQ(typed(text), refusedFor("100")) << text;
  }
}

TEST_F(MaxIncCountFormatter, CutsFractionsOff) {
  EXPECT_EQ(typed("0.5"), refusedFor("1"));
  EXPECT_EQ(typed("-0.5"), refusedFor("1"));
  EXPECT_EQ(typed("1.9"), (Edit{true, {}}));
  EXPECT_EQ(typed("100.9"), (Edit{true, {}}));
  EXPECT_EQ(typed("101.0"), refusedFor("100"));
}

TEST_F(MaxIncCountFormatter, AFieldMayBeEmptiedAndNothingElseThatIsNoNumberStays) {
  EXPECT_EQ(typed(""), refusedFor(""));
  for (const char* text : {"x", "12x", " ", "12 ", "-", "1e1"})
    EXPECT_EQ(typed(text), refusedFor(std::nullopt)) << text;
  EXPECT_EQ(typed(std::string(1 << 20, '1')), refusedFor(std::nullopt));
}

TEST_F(MaxIncCountFormatter, TextReadsAsItsNumberWhateverItsSize) {
  EXPECT_EQ(read("42"), Value(42));
  EXPECT_EQ(read("250"), Value(250));
  EXPECT_EQ(read("1,000"), Value(1000));
  EXPECT_EQ(read("-5"), Value(-5));
  EXPECT_EQ(read("0"), Value(0));
}

TEST_F(MaxIncCountFormatter, TextThatIsNoNumberReadsAsOne) {
  for (const char* text : {"", " ", "x", "12x"}) EXPECT_EQ(read(text), Value(1)) << text;
}

TEST_F(MaxIncCountFormatter, HandsNothingBackWithoutAPlace) {
  EXPECT_TRUE(formatter.getObjectValue(nullptr, "42", nullptr));
  EXPECT_TRUE(formatter.isPartialStringValid("42", nullptr, nullptr));
  EXPECT_FALSE(formatter.isPartialStringValid("250", nullptr, nullptr));
  EXPECT_FALSE(formatter.isPartialStringValid("", nullptr, nullptr));
}

TEST_F(MaxIncCountFormatter, WritesTheNumberAsItsFormatDoes) {
  EXPECT_EQ(formatter.stringForObjectValue(Value(42)), "42");
  EXPECT_EQ(formatter.stringForObjectValue(Value(1000)), "1,000");
  EXPECT_EQ(formatter.stringForObjectValue(Value()), std::nullopt);
  EXPECT_EQ(formatter.stringForObjectValue(Value("42")), std::nullopt);
}

TEST_F(MaxIncCountFormatter, MadeAnyOtherWayItFormatsNothing) {
  formatter = ZPKMaxIncCountFormatter();
  EXPECT_EQ(formatter.stringForObjectValue(Value(42)), std::nullopt);
  EXPECT_EQ(read("42"), Value(1));
  EXPECT_EQ(typed("42"), refusedFor(std::nullopt));
  EXPECT_EQ(typed(""), refusedFor(""));
}

}  // namespace
}  // namespace zpk
