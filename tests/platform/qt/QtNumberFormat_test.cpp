#include "platform/qt/QtNumberFormat.h"

#include <gtest/gtest.h>

#include <limits>

#include "platform/qt/QtText.h"

namespace zpk {
namespace {

Value read(const QLocale& locale, std::string_view text) {
  return QtNumberFormat(locale).numberFromString(text).value_or(Value());
}

TEST(QtNumberFormat, FollowsTheSeparatorsOfItsLocale) {
  EXPECT_EQ(read(QLocale(QLocale::German), "1.000"), Value(1000));
  EXPECT_EQ(read(QLocale(QLocale::German), "1.000,5"), Value(1000.5));
  EXPECT_EQ(read(QLocale(QLocale::German), "1,000.5"), Value());
  EXPECT_EQ(read(QLocale(QLocale::Hindi), "12,34,567"), Value(1234567));
  EXPECT_EQ(read(QLocale::c(), "1,000"), Value(1000));
}

TEST(QtNumberFormat, OrdinarySpacesGroupWhereTheLocaleGroupsWithSpaces) {
  const QLocale french(QLocale::French);
  EXPECT_EQ(read(french, "1 000"), Value(1000));
  EXPECT_EQ(read(french, "1\u202F000"), Value(1000));
  EXPECT_EQ(read(french, " 1000"), Value());
  EXPECT_EQ(read(french, "1000 "), Value());
}

TEST(QtNumberFormat, ReadsTheLocalesOwnDigitsAndEuropeanOnes) {
  const QLocale egyptian(QLocale::Arabic, QLocale::Egypt);
  EXPECT_EQ(read(egyptian, "٤٢"), Value(42));
  EXPECT_EQ(read(egyptian, "42"), Value(42));
  EXPECT_EQ(read(egyptian, "١٬٠٠٠"), Value(1000));
  EXPECT_EQ(QtNumberFormat(egyptian).stringFromNumber(Value(42)), "٤٢");
  EXPECT_EQ(QtNumberFormat(egyptian).numberFromString("٤٢س"), std::nullopt);
}

TEST(QtNumberFormat, TakesTheMinusSignOfAKeyboardAndOfPrint) {
  for (const QLocale& locale : {QLocale(QLocale::English), QLocale(QLocale::Swedish), QLocale(QLocale::Hebrew),
                                QLocale(QLocale::Arabic, QLocale::Egypt)}) {
    EXPECT_EQ(read(locale, "-5"), Value(-5)) << plainText(locale.name());
    EXPECT_EQ(read(locale, "\u22125"), Value(-5)) << plainText(locale.name());
  }
}

TEST(QtNumberFormat, EveryLocaleReadsBackWhatItWrites) {
  for (const QLocale& locale :
       QLocale::matchingLocales(QLocale::AnyLanguage, QLocale::AnyScript, QLocale::AnyCountry)) {
    const QtNumberFormat format(locale);
    for (const Value& value : {Value(0), Value(42), Value(-1234), Value(1234567), Value(0.5),
                               Value(std::numeric_limits<std::uint64_t>::max())}) {
      const std::string text = format.stringFromNumber(value);
      EXPECT_EQ(format.numberFromString(text).value_or(Value()), value) << plainText(locale.name()) << " " << text;
    }
  }
}

}  // namespace
}  // namespace zpk
