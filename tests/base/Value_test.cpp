#include "base/Value.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "records/TMBGUID.h"

namespace zpk {
namespace {

constexpr auto kLargestSigned = std::numeric_limits<std::int64_t>::max();
constexpr auto kLargestUnsigned = std::numeric_limits<std::uint64_t>::max();
const double kTwoTo53 = std::ldexp(1.0, 53);

// One value of each kind, no two equal.
std::vector<Value> oneOfEachKind() {
  return {Value(),
          Value(true),
          Value(-5),
          Value(7u),
          Value(2.5),
          Value("text"),
          Value(Bytes{1, 2}),
          Value(Date{12.5}),
          Value(Array{1, "a"}),
          Value(Dictionary{{"key", 1}}),
          Value(std::make_shared<const TMBGUID>())};
}

TEST(Value, IsOfExactlyOneKind) {
  for (const Value& value : oneOfEachKind()) {
    const int kinds = int{value.isNull()} + int{value.isBoolean()} + int{value.isSigned()} +
                      int{value.isUnsigned()} + int{value.isReal()} + int{value.isText()} + int{value.isBytes()} +
                      int{value.isDate()} + int{value.isArray()} + int{value.isDictionary()} +
                      int{value.isRecord()};
    EXPECT_EQ(kinds, 1);
  }
}

TEST(Value, EqualsItselfAndNoneOfAnotherKind) {
  const std::vector<Value> values = oneOfEachKind();
  const std::vector<Value> again = oneOfEachKind();
  for (std::size_t i = 0; i < values.size(); ++i) {
    for (std::size_t j = 0; j < again.size(); ++j) EXPECT_EQ(values[i] == again[j], i == j) << i << " " << j;
  }
}

TEST(Value, NumbersAreEqualByNumericValueAcrossKinds) {
  EXPECT_EQ(Value(false), Value(0));
  EXPECT_EQ(Value(false), Value(0u));
  EXPECT_EQ(Value(false), Value(0.0));
  EXPECT_EQ(Value(true), Value(1.0));
  EXPECT_EQ(Value(5), Value(5u));
  EXPECT_EQ(Value(5u), Value(5));
  EXPECT_EQ(Value(-5), Value(-5.0));
  EXPECT_NE(Value(true), Value(2));
  EXPECT_NE(Value(5), Value(5.5));
}

TEST(Value, ANegativeNumberIsNoLargeUnsignedOne) {
  EXPECT_NE(Value(std::int64_t{-1}), Value(kLargestUnsigned));
  EXPECT_NE(Value(kLargestUnsigned), Value(std::int64_t{-1}));
  EXPECT_NE(Value(std::int64_t{-1}), Value(true));
}

TEST(Value, LargeIntegersAreNotComparedAsReals) {
  EXPECT_NE(Value(kLargestSigned), Value(static_cast<double>(kLargestSigned)));
  EXPECT_NE(Value(kLargestUnsigned), Value(static_cast<double>(kLargestUnsigned)));
  EXPECT_EQ(Value(std::int64_t{1} << 53), Value(kTwoTo53));
  EXPECT_NE(Value((std::int64_t{1} << 53) + 1), Value(kTwoTo53));
  EXPECT_EQ(Value(std::numeric_limits<std::int64_t>::min()), Value(-std::ldexp(1.0, 63)));
}

TEST(Value, NotANumberAndInfinityEqualNoInteger) {
  EXPECT_NE(Value(std::nan("")), Value(0));
  EXPECT_NE(Value(std::numeric_limits<double>::infinity()), Value(kLargestUnsigned));
  EXPECT_NE(Value(0), Value(std::nan("")));
}

TEST(Value, ATextIsNoNumber) {
  EXPECT_NE(Value("1"), Value(1));
  EXPECT_FALSE(Value("1").boolValue());
  EXPECT_EQ(Value("12").integerValue(), 0);
  EXPECT_EQ(Value("12").unsignedIntegerValue(), 0u);
  EXPECT_EQ(Value("12").doubleValue(), 0.0);
}

TEST(Value, WhatIsMissingReadsAsNothing) {
  const Value nothing;
  EXPECT_FALSE(nothing.boolValue());
  EXPECT_EQ(nothing.integerValue(), 0);
  EXPECT_EQ(nothing.unsignedIntegerValue(), 0u);
  EXPECT_EQ(nothing.intValue(), 0);
  EXPECT_EQ(nothing.unsignedIntValue(), 0u);
  EXPECT_EQ(nothing.doubleValue(), 0.0);
  EXPECT_EQ(nothing.text(), nullptr);
  EXPECT_EQ(nothing.bytes(), nullptr);
  EXPECT_EQ(nothing.date(), nullptr);
  EXPECT_EQ(nothing.array(), nullptr);
  EXPECT_EQ(nothing.dictionary(), nullptr);
  EXPECT_EQ(nothing.record(), nullptr);
  EXPECT_EQ(nothing.sharedArray(), nullptr);
  EXPECT_EQ(nothing.sharedDictionary(), nullptr);
  EXPECT_EQ(nothing.optionalText(), std::nullopt);
  EXPECT_EQ(nothing.textOr("fallback"), "fallback");
}

TEST(Value, GivesBackTheContentOfItsKind) {
  EXPECT_EQ(*Value("text").text(), "text");
  EXPECT_EQ(Value("text").textOr("fallback"), "text");
  EXPECT_EQ(Value(std::string("text")).optionalText(), "text");
  EXPECT_THAT(*Value(Bytes{1, 2}).bytes(), testing::ElementsAre(1, 2));
  EXPECT_EQ(Value(Date{12.5}).date()->secondsSince1970, 12.5);
  EXPECT_EQ(Value(Array{1, "a"}).array()->size(), 2u);
  EXPECT_EQ((*Value(Dictionary{{"key", 1}}).dictionary())["key"], Value(1));
}

TEST(Value, EveryNonZeroNumberIsTrue) {
  EXPECT_TRUE(Value(-1).boolValue());
  EXPECT_TRUE(Value(kLargestUnsigned).boolValue());
  EXPECT_TRUE(Value(0.25).boolValue());
  EXPECT_FALSE(Value(0.0).boolValue());
}

TEST(Value, RealsAreCutOffAndHeldWithinTheBounds) {
  EXPECT_EQ(Value(2.9).integerValue(), 2);
  EXPECT_EQ(Value(-2.9).integerValue(), -2);
  EXPECT_EQ(Value(1e300).integerValue(), kLargestSigned);
  EXPECT_EQ(Value(-1e300).integerValue(), std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(Value(std::ldexp(1.0, 63)).integerValue(), kLargestSigned);
  EXPECT_EQ(Value(1e300).unsignedIntegerValue(), kLargestUnsigned);
  EXPECT_EQ(Value(-1.0).unsignedIntegerValue(), 0u);
  EXPECT_EQ(Value(std::nan("")).integerValue(), 0);
  EXPECT_EQ(Value(std::nan("")).unsignedIntegerValue(), 0u);
}

TEST(Value, NarrowReadingKeepsTheLowBits) {
  EXPECT_EQ(Value(std::uint64_t{0x1'0000'0007}).unsignedIntValue(), 7u);
  EXPECT_EQ(Value(std::int64_t{-1}).unsignedIntegerValue(), kLargestUnsigned);
  EXPECT_EQ(Value(kLargestUnsigned).integerValue(), -1);
}

TEST(Value, UnsignedNumbersStayLargeAsReals) {
  EXPECT_EQ(Value(std::uint64_t{1} << 63).doubleValue(), std::ldexp(1.0, 63));
  EXPECT_EQ(Value(std::int64_t{-3}).doubleValue(), -3.0);
  EXPECT_EQ(Value(true).doubleValue(), 1.0);
}

TEST(Value, NothingOptionalOrSharedIsTheNullValue) {
  EXPECT_TRUE(Value(nullptr).isNull());
  EXPECT_TRUE(Value(std::optional<std::string>()).isNull());
  EXPECT_TRUE(Value(std::shared_ptr<const TMBGUID>()).isNull());
  EXPECT_EQ(Value(std::optional<std::string>("a")), Value("a"));
}

TEST(Value, ArraysAndDictionariesAreEqualElementByElement) {
  EXPECT_EQ(Value(Array{1, "a", Array{2.0}}), Value(Array{1u, "a", Array{2}}));
  EXPECT_NE(Value(Array{1, 2}), Value(Array{2, 1}));
  EXPECT_NE(Value(Array{1}), Value(Array{1, 2}));
  EXPECT_EQ(Value(Dictionary{{"a", 1}, {"b", false}}), Value(Dictionary{{"b", 0}, {"a", true}}));
  EXPECT_NE(Value(Dictionary{{"a", 1}}), Value(Dictionary{{"b", 1}}));
}

TEST(Value, RecordsAreEqualByTheirContent) {
  const auto efi = std::make_shared<const TMBGUID>(*TMBGUID::GUIDWithGPTType(TMBGPTType::EFISystem));
  const auto alsoEFI = std::make_shared<const TMBGUID>(*efi);
  EXPECT_EQ(Value(efi), Value(alsoEFI));
  EXPECT_NE(Value(efi), Value(std::make_shared<const TMBGUID>()));
}

TEST(Value, ARecordIsReadOnlyAsItsOwnClass) {
  class OtherRecord : public Record {
   public:
    std::string_view className() const override { return "OtherRecord"; }
    void encodeWithCoder(KeyedEncoder& /*coder*/) const override {}
  };
  const Value value(std::make_shared<const TMBGUID>());
  EXPECT_NE(value.recordOf<TMBGUID>(), nullptr);
  EXPECT_EQ(value.recordOf<OtherRecord>(), nullptr);
  EXPECT_EQ(Value("text").recordOf<TMBGUID>(), nullptr);
}

TEST(Value, CopiesShareWhatTheyHold) {
  const Value log(Array(1000, Value("line")));
  const Value copy = log;
  EXPECT_EQ(copy.sharedArray(), log.sharedArray());
}

}  // namespace
}  // namespace zpk
