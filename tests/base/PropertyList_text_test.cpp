#include <gtest/gtest.h>

#include "base/PropertyListSamples.h"

namespace zpk {
namespace {

using test::readable;
using test::reasonAgainst;

TEST(TextPropertyList, ADictionaryOfEveryUntypedKindIsRead) {
  EXPECT_EQ(readable(R"(// settings
{
  "Label" = "x y";  /* of the job */
  Array = ( a, "b", (), {} );
  Data = <0fbd 77>;
  'single' = /usr/bin/zpkctl;
  Number = 12;
})"),
            Value(Dictionary{{"Label", "x y"},
                             {"Array", Array{"a", "b", Array(), Dictionary()}},
                             {"Data", Bytes{0x0f, 0xbd, 0x77}},
                             {"single", "/usr/bin/zpkctl"},
                             {"Number", "12"}}));
}

TEST(TextPropertyList, TypedValuesAreRead) {
  EXPECT_EQ(readable("<*I-5>"), Value(-5));
  EXPECT_EQ(readable("<*I18446744073709551615>"), Value(UINT64_MAX));
  EXPECT_EQ(readable("<*I\"5\">"), Value(5));
  EXPECT_EQ(readable("<*R1.5>"), Value(1.5));
  EXPECT_TRUE(readable("<*R3>").isReal());
  EXPECT_TRUE(readable("<*BY>").isBoolean());
  EXPECT_TRUE(readable("<*BY>").boolValue());
  EXPECT_FALSE(readable("<*BN>").boolValue());
  EXPECT_EQ(readable("<*D1970-01-02 00:00:01 +0000>"), Value(Date{86401}));
  EXPECT_EQ(readable("<*D1970-01-02 01:00:00 +0130>"), Value(Date{86400 - 1800}));
  EXPECT_EQ(readable("<*D1970-01-01 00:00:00 -0100>"), Value(Date{3600}));
  EXPECT_EQ(readable("<[AAEC/w==]>"), Value(Bytes{0, 1, 2, 255}));
  EXPECT_EQ(readable("<>"), Value(Bytes{}));
  EXPECT_EQ(readable("<[]>"), Value(Bytes{}));
}

TEST(TextPropertyList, DataThatLooksLikeAnElementIsStillData) {
  EXPECT_EQ(readable("<dead BEEF>"), Value(Bytes{0xde, 0xad, 0xbe, 0xef}));
  EXPECT_EQ(readable(" <ab>"), Value(Bytes{0xab}));
}

TEST(TextPropertyList, EscapesStandForTheirCharacters) {
  EXPECT_EQ(readable(R"("\a\b\f\n\r\t\v\"\'\\\q")"), Value("\a\b\f\n\r\t\v\"'\\q"));
  EXPECT_EQ(readable(R"("\1\12\101\3511")"), Value("\x01\nA\u00e9"
                                                   "1"));
  EXPECT_EQ(readable(R"("\U00e9\u20AC\UE9z\UD83D\UDE00")"), Value("\u00e9\u20ac\u00e9z\U0001F600"));
  EXPECT_EQ(readable("\"a\\\nb\""), Value("a\nb"));
  EXPECT_EQ(readable("\"\u017elu\""), Value("\u017elu"));
  EXPECT_EQ(readable(R"("\000")").text()->size(), 1U);
  for (const char* wrong : {R"("\UD83D")", R"("\UDE00")", R"("\UD83D\U0041")", R"("\Uz")", R"("\U")"}) {
    EXPECT_EQ(reasonAgainst(wrong), "an escape that stands for no character") << wrong;
  }
}

TEST(TextPropertyList, TheLastSeparatorMayStandOrNot) {
  EXPECT_EQ(readable("(a,b,)"), Value(Array{"a", "b"}));
  EXPECT_EQ(readable("{a=b}"), readable("{a=b;}"));
}

TEST(TextPropertyList, OfAKeyThatStandsTwiceTheLastValueStays) {
  EXPECT_EQ(readable("{a=1;b=2;a=3;}"), Value(Dictionary{{"a", "3"}, {"b", "2"}}));
}

TEST(TextPropertyList, WhatIsNotThisGrammarIsRefusedWithItsReason) {
  const std::pair<const char*, const char*> cases[] = {
      {"launchctl list returned unknown response", "something after the end of the value"},
      {"{a=b;} x", "something after the end of the value"},
      {"{a=b;", "cut short"},
      {"{a=", "cut short"},
      {"{a", "cut short"},
      {"{", "cut short"},
      {"(", "cut short"},
      {"(a", "cut short"},
      {"(a b)", "something else where there must be a comma or the end of the array"},
      {"(,)", "something else where there must be a value"},
      {"{a b;}", "something else where there must be an equals sign"},
      {"{a=b c}", "something else where there must be a semicolon or the end of the dictionary"},
      {"{(a)=b;}", "something else where there must be a value"},
      {"\"abc", "a text without an end"},
      {"\"abc\\", "a text without an end"},
      {"a /* b", "a comment without an end"},
      {"(<ab", "cut short"},
      {"<[AAAA>", "cut short"},
      {"(<abc>)", "malformed data"},
      {"(<ag>)", "malformed data"},
      {"<[A]>", "malformed data"},
      {"<*>", "a malformed typed value"},
      {"<*I>", "a malformed typed value"},
      {"<*Ix>", "a malformed typed value"},
      {"<*B1>", "a malformed typed value"},
      {"<*R1,5>", "a malformed typed value"},
      {"<*D2024-01-01>", "a malformed typed value"},
      {"<*D2024-01-01 00:00:00 +2400>", "a malformed typed value"},
      {"<*Q1>", "a malformed typed value"},
      {"(\x01)", "something else where there must be a value"},
      {"\x80", "not valid UTF-8"},
  };
  for (const auto& [document, reason] : cases) EXPECT_EQ(reasonAgainst(document), reason) << document;
}

TEST(TextPropertyList, AnErrorSaysOnWhichLineItIs) {
  const auto value = readPropertyList(test::bytesOf("{\n  a = b;\n  c d;\n}"));
  ASSERT_FALSE(value);
  EXPECT_EQ(value.error().line, 3U);
  EXPECT_EQ(value.error().offset, 15U);
}

}  // namespace
}  // namespace zpk
