// What every number format keeps, in American English: the one that the logic is tested with and the real one.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>

#include "platform/qt/QtNumberFormat.h"
#include "support/PlainNumberFormat.h"

namespace zpk {
namespace {

PlainNumberFormat americanFormat(const PlainNumberFormat*) {
  return {};
}
QtNumberFormat americanFormat(const QtNumberFormat*) {
  return QtNumberFormat(QLocale(QLocale::English, QLocale::UnitedStates));
}

template <class Format>
class NumberFormatContract : public testing::Test {
 protected:
  const Format owner = americanFormat(static_cast<const Format*>(nullptr));
  const NumberFormat& format = owner;

  Value read(std::string_view text) { return format.numberFromString(text).value_or(Value()); }
};

using Formats = testing::Types<PlainNumberFormat, QtNumberFormat>;
TYPED_TEST_SUITE(NumberFormatContract, Formats);

TYPED_TEST(NumberFormatContract, ReadsWholeNumbersExactly) {
  EXPECT_EQ(this->read("42"), Value(42));
  EXPECT_EQ(this->read("+42"), Value(42));
  EXPECT_EQ(this->read("-42"), Value(-42));
  EXPECT_EQ(this->read("0"), Value(0));
  EXPECT_EQ(this->read("-0"), Value(0));
  EXPECT_EQ(this->read("007"), Value(7));
  EXPECT_EQ(this->read("9223372036854775808"), Value(std::uint64_t{1} << 63));
  EXPECT_EQ(this->read("18446744073709551615"), Value(std::numeric_limits<std::uint64_t>::max()));
  EXPECT_EQ(this->read("-9223372036854775808"), Value(std::numeric_limits<std::int64_t>::min()));
}

TYPED_TEST(NumberFormatContract, ReadsSeparatorsWhereTheyBelong) {
  EXPECT_EQ(this->read("1,000"), Value(1000));
  EXPECT_EQ(this->read("-1,234,567"), Value(-1234567));
  EXPECT_EQ(this->read("1,000.5"), Value(1000.5));
  for (const char* text : {"1,", ",1", "1,00", "12,34", "1,0000", "1,,000", "1.000,5", ","}) {
    EXPECT_EQ(this->format.numberFromString(text), std::nullopt) << text;
  }
}

TYPED_TEST(NumberFormatContract, ReadsFractionsAndWhatExceedsWholeNumbersAsReals) {
  EXPECT_EQ(this->read("0.5"), Value(0.5));
  EXPECT_EQ(this->read("-0.5"), Value(-0.5));
  EXPECT_EQ(this->read(".5"), Value(0.5));
  EXPECT_EQ(this->read("5."), Value(5));
  EXPECT_EQ(this->read("18446744073709551616"), Value(18446744073709551616.0));
  EXPECT_EQ(this->read(std::string(60, '9')), Value(1e60));
}

TYPED_TEST(NumberFormatContract, AnythingElseIsNoNumber) {
  for (const char* text :
       {"",   " ",   "x",   "12x", "x12",  "12 ", " 12",      "12\n", "1 2",   "-",    "+",     ".",     "--1",
        "1-", "1e2", "1E2", "inf", "-inf", "nan", "infinity", "0x10", "1.2.3", "\xff", "1\xc3", "\u0663"}) {
    EXPECT_EQ(this->format.numberFromString(text), std::nullopt) << '"' << text << '"';
  }
  EXPECT_EQ(this->format.numberFromString(std::string_view("1\0", 2)), std::nullopt);
}

TYPED_TEST(NumberFormatContract, TextThatIsTooLongIsNotLookedAt) {
  const std::size_t longest = NumberFormat::kLongestNumber;
  EXPECT_EQ(this->read(std::string(longest - 1, '0') + "5"), Value(5));
  EXPECT_EQ(this->format.numberFromString(std::string(longest, '0') + "5"), std::nullopt);
  EXPECT_EQ(this->format.numberFromString(std::string(1 << 20, '9')), std::nullopt);
}

TYPED_TEST(NumberFormatContract, WritesNumbersInGroups) {
  EXPECT_EQ(this->format.stringFromNumber(Value(0)), "0");
  EXPECT_EQ(this->format.stringFromNumber(Value(42)), "42");
  EXPECT_EQ(this->format.stringFromNumber(Value(1000)), "1,000");
  EXPECT_EQ(this->format.stringFromNumber(Value(-1234567)), "-1,234,567");
  EXPECT_EQ(this->format.stringFromNumber(Value(true)), "1");
  EXPECT_EQ(this->format.stringFromNumber(Value(std::numeric_limits<std::uint64_t>::max())),
            "18,446,744,073,709,551,615");
  EXPECT_EQ(this->format.stringFromNumber(Value(std::numeric_limits<std::int64_t>::min())),
            "-9,223,372,036,854,775,808");
}

TYPED_TEST(NumberFormatContract, WritesThreeFractionDigitsAtMost) {
  EXPECT_EQ(this->format.stringFromNumber(Value(0.5)), "0.5");
  EXPECT_EQ(this->format.stringFromNumber(Value(-1234.5678)), "-1,234.568");
  EXPECT_EQ(this->format.stringFromNumber(Value(2.0)), "2");
  EXPECT_EQ(this->format.stringFromNumber(Value(0.1 + 0.2)), "0.3");
}

TYPED_TEST(NumberFormatContract, WritesNothingForWhatIsNoNumber) {
  using Limits = std::numeric_limits<double>;
  for (const Value& value : {Value(), Value("12"), Value(Array{1}), Value(Limits::infinity()),
                             Value(-Limits::infinity()), Value(Limits::quiet_NaN())}) {
    EXPECT_EQ(this->format.stringFromNumber(value), "");
  }
}

TYPED_TEST(NumberFormatContract, ReadsBackWhatItWrites) {
  for (const Value& value : {Value(0), Value(100), Value(-5), Value(1234567), Value(0.125), Value(-99.5),
                             Value(std::numeric_limits<std::uint64_t>::max())}) {
    EXPECT_EQ(this->read(this->format.stringFromNumber(value)), value);
  }
}

}  // namespace
}  // namespace zpk
