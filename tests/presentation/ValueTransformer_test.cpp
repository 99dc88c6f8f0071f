#include "app/presentation/ValueTransformer.h"

#include <gtest/gtest.h>

#include "app/presentation/TMBDateTransformer.h"
#include "app/presentation/TMBSizeTransformer.h"

namespace zpk {
namespace {

TEST(ValueTransformer, IsFoundByItsClassName) {
  const ValueTransformer* size = ValueTransformer::valueTransformerForName("TMBSizeTransformer");
  const ValueTransformer* date = ValueTransformer::valueTransformerForName("TMBDateTransformer");
  ASSERT_NE(size, nullptr);
  ASSERT_NE(date, nullptr);
  EXPECT_EQ(size->transformedValue(1001), Value("1 KB"));
  EXPECT_EQ(date->transformedValue(0), Value(Date{0}));
}

TEST(ValueTransformer, OfAnotherNameIsNone) {
  EXPECT_EQ(ValueTransformer::valueTransformerForName("TMBTimeTransformer"), nullptr);
  EXPECT_EQ(ValueTransformer::valueTransformerForName(""), nullptr);
}

TEST(TMBSizeTransformer, TurnsANumberIntoText) {
  const TMBSizeTransformer transformer;
  EXPECT_EQ(transformer.transformedValueClass(), ValueTransformer::ValueClass::Text);
  EXPECT_FALSE(transformer.allowsReverseTransformation());
  EXPECT_EQ(transformer.transformedValue(0), Value("0 B"));
  EXPECT_EQ(transformer.transformedValue(1'000'001u), Value("1 MB"));
  EXPECT_EQ(transformer.transformedValue(2500.9), Value("2 KB"));
}

TEST(TMBSizeTransformer, TakesANumbersUnsignedValue) {
  EXPECT_EQ(TMBSizeTransformer().transformedValue(-1), Value("18447 PB"));
  EXPECT_EQ(TMBSizeTransformer().transformedValue(UINT64_MAX), Value("18447 PB"));
}

TEST(TMBSizeTransformer, HasNothingToShowForWhatIsNoNumber) {
  EXPECT_TRUE(TMBSizeTransformer().transformedValue(nullptr).isNull());
  EXPECT_TRUE(TMBSizeTransformer().transformedValue("1000").isNull());
}

TEST(TMBDateTransformer, TurnsSecondsSince1970IntoADate) {
  const TMBDateTransformer transformer;
  EXPECT_EQ(transformer.transformedValueClass(), ValueTransformer::ValueClass::Date);
  EXPECT_FALSE(transformer.allowsReverseTransformation());
  EXPECT_EQ(transformer.transformedValue(0), Value(Date{0}));
  EXPECT_EQ(transformer.transformedValue(1.25), Value(Date{1.25}));
  EXPECT_EQ(transformer.transformedValue(-86400), Value(Date{-86400}));
}

TEST(TMBDateTransformer, HasNothingToShowForWhatIsNoNumber) {
  EXPECT_TRUE(TMBDateTransformer().transformedValue(nullptr).isNull());
  EXPECT_TRUE(TMBDateTransformer().transformedValue("0").isNull());
  EXPECT_TRUE(TMBDateTransformer().transformedValue(Date{5}).isNull());
}

}  // namespace
}  // namespace zpk
