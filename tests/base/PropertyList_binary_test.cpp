#include <gtest/gtest.h>

#include <bit>
#include <cmath>

#include "base/PropertyListSamples.h"

namespace zpk {
namespace {

using test::bigEndian;
using test::BinaryDocument;
using test::readable;
using test::reasonAgainst;

// A document of one object.
std::string alone(std::string_view object) {
  return BinaryDocument().add(object).text();
}

std::string realBytes(double value) {
  return bigEndian(std::bit_cast<std::uint64_t>(value), 8);
}

TEST(BinaryPropertyList, EveryKindOfLeafIsRead) {
  EXPECT_FALSE(readable(alone("\x08")).boolValue());
  EXPECT_TRUE(readable(alone("\x09")).isBoolean());
  EXPECT_TRUE(readable(alone("\x09")).boolValue());
  EXPECT_EQ(readable(alone("\x22" + bigEndian(std::bit_cast<std::uint32_t>(0.5F), 4))), Value(0.5));
  EXPECT_EQ(readable(alone("\x23" + realBytes(-0.1))), Value(-0.1));
  EXPECT_EQ(readable(alone("\x33" + realBytes(0.25))), Value(Date{978307200.25}));
  EXPECT_EQ(readable(alone("\x42\x07\xFF")), Value(Bytes{7, 255}));
  EXPECT_EQ(readable(alone("\x40")), Value(Bytes{}));
  EXPECT_EQ(readable(alone("\x53"
                           "abc")),
            Value("abc"));
  EXPECT_EQ(readable(alone(std::string("\x63\0\xE9\xD8\x3D\xDE\0", 7))), Value("\u00e9\U0001F600"));
  EXPECT_EQ(readable(alone("\x5F\x10\x03"
                           "abc")),
            Value("abc"));
}

TEST(BinaryPropertyList, IntegersOfEveryWidthAreRead) {
  EXPECT_EQ(readable(alone("\x10\xFF")), Value(255));
  EXPECT_EQ(readable(alone("\x11\xFF\xFF")), Value(65535));
  EXPECT_EQ(readable(alone("\x12\xFF\xFF\xFF\xFF")), Value(4294967295U));
  EXPECT_EQ(readable(alone("\x13" + bigEndian(UINT64_MAX, 8))), Value(-1));
  EXPECT_EQ(readable(alone("\x14" + bigEndian(UINT64_MAX, 16))), Value(UINT64_MAX));
  EXPECT_EQ(readable(alone("\x14" + bigEndian(5, 16))), Value(5));
  EXPECT_EQ(readable(alone("\x14" + bigEndian(UINT64_MAX, 8) + bigEndian(UINT64_MAX, 8))), Value(-1));
  const std::string tooWide = "an integer of more than 64 bits";
  EXPECT_EQ(reasonAgainst(alone("\x14" + bigEndian(1, 8) + bigEndian(0, 8))), tooWide);
  EXPECT_EQ(reasonAgainst(alone("\x14" + bigEndian(1, 8) + bigEndian(UINT64_MAX, 8))), tooWide);
  EXPECT_EQ(reasonAgainst(alone("\x14" + bigEndian(UINT64_MAX, 8) + bigEndian(0, 8))), tooWide);
  EXPECT_EQ(reasonAgainst(alone("\x15" + bigEndian(0, 32))), "an integer of more than 16 bytes");
}

TEST(BinaryPropertyList, ContainersReferToTheirContent) {
  EXPECT_EQ(readable(BinaryDocument().add("\xD1\x01\x02").add("\x51k").add("\xA2\x03\x03").add("\x10\x05").text()),
            Value(Dictionary{{"k", Array{5, 5}}}));
  EXPECT_EQ(readable(alone("\xA0")), Value(Array()));
  EXPECT_EQ(readable(alone("\xD0")), Value(Dictionary()));
}

TEST(BinaryPropertyList, ReferencesAndOffsetsMayHaveAnyWidthUpToEight) {
  for (std::size_t width = 1; width <= 8; ++width) {
    BinaryDocument document;
    document.offsetWidth = width;
    document.refWidth = width;
    document.topObject = 1;
    document.add("\x10\x05").add("\xA1" + bigEndian(0, width));
    EXPECT_EQ(readable(document.text()), Value(Array{5})) << width;
  }
}

TEST(BinaryPropertyList, OfAKeyThatStandsTwiceTheLastValueStays) {
  EXPECT_EQ(
      readable(BinaryDocument().add("\xD2\x01\x01\x02\x03").add("\x51k").add("\x10\x05").add("\x10\x06").text()),
      Value(Dictionary{{"k", 6}}));
}

TEST(BinaryPropertyList, TextThatIsNotWhatItSaysIsRefused) {
  EXPECT_EQ(reasonAgainst(alone("\x51\x80")), "ASCII text with other characters in it");
  EXPECT_EQ(reasonAgainst(alone("\x61\xD8\x3D")), "not valid UTF-16");
  EXPECT_EQ(reasonAgainst(alone("\x61\xDE\x01")), "not valid UTF-16");
  EXPECT_EQ(reasonAgainst(alone(std::string("\x62\xD8\x3D\0A", 5))), "not valid UTF-16");
}

TEST(BinaryPropertyList, KindsWithoutAValueAreRefusedByName) {
  const std::pair<std::string, const char*> cases[] = {
      {std::string(1, '\0'), "null"},
      {"\x0F", "an object of an unknown kind"},
      {"\x01", "an object of an unknown kind"},
      {"\x21" + bigEndian(0, 2), "a real of an unknown width"},
      {"\x32" + bigEndian(0, 4), "a date of an unknown width"},
      {"\x33" + realBytes(NAN), "a date that is no point in time"},
      {"\x33" + realBytes(INFINITY), "a date that is no point in time"},
      {"\x80\x01", "a keyed-archive reference"},
      {"\xB0", "a set"},
      {"\xC0", "a set"},
      {"\x70", "an object of an unknown kind"},
      {"\x90", "an object of an unknown kind"},
      {"\xE0", "an object of an unknown kind"},
      {"\xF0", "an object of an unknown kind"},
  };
  for (const auto& [object, reason] : cases) EXPECT_EQ(reasonAgainst(alone(object)), reason);
}

TEST(BinaryPropertyList, AKeyMustBeText) {
  EXPECT_EQ(reasonAgainst(BinaryDocument().add("\xD1\x01\x01").add("\x10\x05").text()), "a key that is no text");
}

TEST(BinaryPropertyList, ObjectsStayBeforeTheOffsetTable) {
  const std::string beyond = "an object that reaches beyond the data";
  for (const char* object : {"\x11\x01", "\x23\x01", "\x33\x01", "\x42\x01", "\x52x", "\x61x", "\xA1", "\xD1\x01",
                             "\x4F", "\x5F\x11", "\xAF\x12\x7F\xFF\xFF\xFF", "\x4F\x12\xFF\xFF\xFF\xFF"}) {
    EXPECT_EQ(reasonAgainst(alone(object)), beyond) << object;
  }
  for (const char* kind : {"\x4F", "\x5F", "\x6F", "\xAF", "\xDF"}) {
    EXPECT_EQ(reasonAgainst(alone(kind + ("\x13" + bigEndian(UINT64_MAX, 8)))), beyond);
    EXPECT_EQ(reasonAgainst(alone(kind + ("\x13" + bigEndian(UINT64_MAX / 2 + 1, 8)))), beyond);
  }
  EXPECT_EQ(reasonAgainst(alone("\x4F\x51x")), "a size that is no integer");
  EXPECT_EQ(reasonAgainst(alone("\x4F\x14" + bigEndian(0, 16))), "a size that is no integer");
}

TEST(BinaryPropertyList, OffsetsAndReferencesOutOfRangeAreRefused) {
  EXPECT_EQ(reasonAgainst(alone("\xA1\x01")), "a reference to no object");
  BinaryDocument document;
  document.add("\x09");
  document.topObject = 1;
  EXPECT_EQ(reasonAgainst(document.text()), "a reference to no object");
  document.topObject = UINT64_MAX;
  EXPECT_EQ(reasonAgainst(document.text()), "a reference to no object");

  std::string moved = alone("\x09");
  for (const char offset : {'\0', '\x07', '\x09', '\x7F'}) {
    moved[10] = offset;
    EXPECT_EQ(reasonAgainst(moved), "an object outside the data") << int{offset};
  }
}

TEST(BinaryPropertyList, ATrailerThatClaimsTheImpossibleIsRefused) {
  BinaryDocument document;
  document.add("\x09");
  for (const std::int64_t count : {std::int64_t{2}, std::int64_t{1} << 40, INT64_MAX}) {
    document.claimedCount = count;
    EXPECT_EQ(reasonAgainst(document.text()), "an offset table that is not in the data") << count;
  }
  document.claimedCount = 0;
  EXPECT_EQ(reasonAgainst(document.text()), "a reference to no object");
  document.claimedCount = -1;
  for (const std::int64_t table : {std::int64_t{7}, std::int64_t{12}, std::int64_t{1} << 40, INT64_MAX}) {
    document.claimedTable = table;
    EXPECT_EQ(reasonAgainst(document.text()), "an offset table that is not in the data") << table;
  }
  for (const std::size_t width : {std::size_t{0}, std::size_t{9}, std::size_t{255}}) {
    BinaryDocument widths;
    widths.add("\x09");
    std::string text = widths.text();
    text[text.size() - 26] = static_cast<char>(width);
    EXPECT_EQ(reasonAgainst(text), "offsets or references of an impossible width");
  }
}

TEST(BinaryPropertyList, OtherVersionsAndStumpsAreRefused) {
  std::string document = alone("\x09");
  EXPECT_EQ(reasonAgainst("bplist"), "cut short");
  EXPECT_EQ(reasonAgainst(std::string_view(document).substr(0, 39)), "cut short");
  document[7] = '5';
  EXPECT_EQ(reasonAgainst(document), "a binary form of an unknown version");
}

TEST(BinaryPropertyList, AnErrorSaysAtWhichByteItIs) {
  const auto value = readPropertyList(test::bytesOf(BinaryDocument().add("\xA1\x01").add("\x51\x80").text()));
  ASSERT_FALSE(value);
  EXPECT_EQ(value.error().line, 0U);
  EXPECT_EQ(value.error().description(), "byte 11: ASCII text with other characters in it");
}

}  // namespace
}  // namespace zpk
