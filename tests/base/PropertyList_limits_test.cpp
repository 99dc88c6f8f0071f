// How much a property list may ask of its reader: each limit at its value and one past it, and documents that are
// made to ask for far more than their size.

#include <gtest/gtest.h>

#include "base/PropertyListSamples.h"

namespace zpk {
namespace {

using test::bigEndian;
using test::BinaryDocument;
using test::reasonAgainst;
using test::repeated;
using test::xml;

constexpr std::string_view kReadable = "readable";

std::string nestedXML(std::size_t depth) {
  return repeated("<array>", depth) + repeated("</array>", depth);
}

std::string nestedText(std::size_t depth) {
  return repeated("(", depth) + repeated(")", depth);
}

// Each array holds the next one, the last nothing.
std::string nestedBinary(std::size_t depth) {
  BinaryDocument document;
  document.offsetWidth = 4;
  document.refWidth = 4;
  for (std::size_t i = 1; i < depth; ++i) document.add("\xA1" + bigEndian(i, 4));
  return document.add("\xA0").text();
}

// `levels` arrays, each of which holds the next one `width` times, around `leaf`.
std::string fan(std::size_t levels, std::size_t width, std::string_view leaf) {
  BinaryDocument document;
  for (std::size_t level = 1; level <= levels; ++level) {
    document.add(static_cast<char>(0xA0 + width) + std::string(width, static_cast<char>(level)));
  }
  return document.add(leaf).text();
}

TEST(PropertyListLimits, ADocumentOfTheGreatestSizeIsReadAndOneByteMoreIsNot) {
  const std::string frame = xml("<true/>");
  const std::string greatest = frame + std::string(PropertyListLimits::kBytes - frame.size(), ' ');
  EXPECT_EQ(reasonAgainst(greatest), kReadable);
  EXPECT_EQ(reasonAgainst(greatest + " "), "longer than 16777216 bytes");
}

TEST(PropertyListLimits, ACallerMayAllowLess) {
  PropertyListLimits limits;
  limits.bytes = 3;
  EXPECT_EQ(reasonAgainst("(a)", limits), kReadable);
  EXPECT_EQ(reasonAgainst("(a )", limits), "longer than 3 bytes");
  limits.depth = 1;
  EXPECT_EQ(reasonAgainst("(a)", limits), kReadable);
  limits.depth = 0;
  EXPECT_EQ(reasonAgainst("(a)", limits), "nested deeper than 0 levels");
}

TEST(PropertyListLimits, SixtyFourContainersInOneAnotherAreReadAndOneMoreIsNot) {
  const std::string reason = "nested deeper than 64 levels";
  for (const auto& nested : {nestedXML, nestedText, nestedBinary}) {
    EXPECT_EQ(reasonAgainst(nested(PropertyListLimits::kDepth)), kReadable);
    EXPECT_EQ(reasonAgainst(nested(PropertyListLimits::kDepth + 1)), reason);
  }
  EXPECT_EQ(reasonAgainst(repeated("<array>", 64) + "<dict/>"), reason);
}

TEST(PropertyListLimits, ContainersBesideEachOtherAreNotDeep) {
  EXPECT_EQ(reasonAgainst("<array>" + repeated("<array/><array></array>", 100) + "</array>"), kReadable);
  EXPECT_EQ(reasonAgainst("(" + repeated("(),{},", 100) + ")"), kReadable);
  EXPECT_EQ(reasonAgainst(fan(2, 14, "\xA0")), kReadable);
}

TEST(PropertyListLimits, TenThousandLevelsEndInAnError) {
  const std::string reason = "nested deeper than 64 levels";
  EXPECT_EQ(reasonAgainst(nestedXML(10'000)), reason);
  EXPECT_EQ(reasonAgainst(repeated("<dict><key>a</key>", 10'000)), reason);
  EXPECT_EQ(reasonAgainst(nestedText(10'000)), reason);
  EXPECT_EQ(reasonAgainst(repeated("{a=", 10'000)), reason);
  EXPECT_EQ(reasonAgainst(nestedBinary(10'000)), reason);
}

TEST(PropertyListLimits, AQuarterOfAMillionNodesAreReadAndOneMoreIsNot) {
  const auto arrayOf = [](std::size_t elements) { return "(" + repeated("a,", elements) + ")"; };
  EXPECT_EQ(reasonAgainst(arrayOf(PropertyListLimits::kNodes - 1)), kReadable);
  EXPECT_EQ(reasonAgainst(arrayOf(PropertyListLimits::kNodes)), "more than 250000 values and keys");
}

TEST(PropertyListLimits, KeysCountAsNodesInEveryForm) {
  PropertyListLimits limits;
  const std::string binary =
      BinaryDocument().add("\xD2\x01\x02\x03\x03").add("\x51k").add("\x51l").add("\x09").text();
  for (const std::string& document :
       {std::string("{k=<*BY>;l=<*BY>;}"), xml("<dict><key>k</key><true/><key>l</key><true/></dict>"), binary}) {
    limits.nodes = 5;
    EXPECT_EQ(reasonAgainst(document, limits), kReadable);
    limits.nodes = 4;
    EXPECT_EQ(reasonAgainst(document, limits), "more than 4 values and keys");
  }
}

TEST(PropertyListLimits, ATextOfAMebibyteIsReadAndOneByteMoreIsNot) {
  const std::string reason = "a text of more than 1048576 bytes";
  const std::string longest(PropertyListLimits::kText, 'x');
  const auto plain = [](const std::string& text) {
    return BinaryDocument().add("\x5F\x12" + bigEndian(text.size(), 4) + text);
  };
  BinaryDocument fits = plain(longest);
  BinaryDocument exceeds = plain(longest + "x");
  fits.offsetWidth = exceeds.offsetWidth = 4;
  EXPECT_EQ(reasonAgainst(fits.text()), kReadable);
  EXPECT_EQ(reasonAgainst(exceeds.text()), reason);
  EXPECT_EQ(reasonAgainst("(" + longest + ")"), kReadable);
  EXPECT_EQ(reasonAgainst("(\"" + longest + "x\")"), reason);
  EXPECT_EQ(reasonAgainst("{" + longest + "x=y}"), reason);
  EXPECT_EQ(reasonAgainst(xml("<string>" + longest + "</string>")), kReadable);
  EXPECT_EQ(reasonAgainst(xml("<string>" + longest + "x</string>")), reason);
  EXPECT_EQ(reasonAgainst(xml("<dict><key>" + longest + "x</key><true/></dict>")), reason);
}

TEST(PropertyListLimits, ATextIsMeasuredInUTF8) {
  PropertyListLimits limits;
  limits.text = 4;
  const std::string twoUnits = BinaryDocument().add("\x62\x20\xAC\x20\xAC").text();
  EXPECT_EQ(reasonAgainst(twoUnits, limits), "a text of more than 4 bytes");
  limits.text = 6;
  EXPECT_EQ(reasonAgainst(twoUnits, limits), kReadable);
}

TEST(PropertyListLimits, ContentIsCountedAtEveryPlaceThatSharesIt) {
  PropertyListLimits limits;
  const std::string data = fan(2, 4, "\x43xyz");
  const std::string text = fan(2, 4, "\x53xyz");
  limits.content = 48;
  EXPECT_EQ(reasonAgainst(data, limits), kReadable);
  EXPECT_EQ(reasonAgainst(text, limits), kReadable);
  limits.content = 47;
  EXPECT_EQ(reasonAgainst(data, limits), "more than 47 bytes of texts and data");
  EXPECT_EQ(reasonAgainst(text, limits), "more than 47 bytes of texts and data");
}

TEST(PropertyListLimits, ContentIsCountedInTheTextForms) {
  PropertyListLimits limits;
  for (const std::string& document : {std::string("{ab=<01020304>;}"), std::string("{ab=<[AQIDBA==]>;}"),
                                      xml("<dict><key>ab</key><data>AQIDBA==</data></dict>"),
                                      xml("<dict><key>ab</key><string>cdef</string></dict>")}) {
    limits.content = 6;
    EXPECT_EQ(reasonAgainst(document, limits), kReadable);
    limits.content = 5;
    EXPECT_EQ(reasonAgainst(document, limits), "more than 5 bytes of texts and data");
  }
}

TEST(PropertyListLimits, ASmallBinaryFileThatStandsForBillionsOfValuesIsRefused) {
  const std::string bomb = fan(10, 10, "\x09");
  EXPECT_LT(bomb.size(), 200U);
  EXPECT_EQ(reasonAgainst(bomb), "more than 250000 values and keys");
}

TEST(PropertyListLimits, ASharedTextDoesNotMultiplyWithoutEnd) {
  const std::string text(1000, 'x');
  EXPECT_EQ(reasonAgainst(fan(6, 14, "\x5F\x11" + bigEndian(text.size(), 2) + text)),
            "more than 67108864 bytes of texts and data");
}

TEST(PropertyListLimits, SharedKeysAreCountedToo) {
  PropertyListLimits limits;
  limits.nodes = 1000;
  BinaryDocument document;
  for (char level = 1; level <= 5; ++level) {
    document.add("\xD4" + std::string(4, '\x06') + std::string(4, level));
  }
  document.add("\xD0").add("\x51k");
  EXPECT_EQ(reasonAgainst(document.text(), limits), "more than 1000 values and keys");
}

TEST(PropertyListLimits, ABinaryCycleIsRefused) {
  const std::string reason = "an object inside itself";
  EXPECT_EQ(reasonAgainst(BinaryDocument().add(std::string("\xA1\0", 2)).text()), reason);
  EXPECT_EQ(reasonAgainst(BinaryDocument().add("\xA1\x01").add(std::string("\xA1\0", 2)).text()), reason);
  EXPECT_EQ(reasonAgainst(BinaryDocument().add(std::string("\xD1\x01\0", 3)).add("\x51k").text()), reason);
}

TEST(PropertyListLimits, AHugeCountIsNotBelieved) {
  for (const char* kind : {"\xAF", "\xDF"}) {
    EXPECT_EQ(reasonAgainst(BinaryDocument().add(kind + ("\x12" + bigEndian(0x7FFFFFFF, 4))).text()),
              "an object that reaches beyond the data");
  }
}

// Steps that look ahead for an end must not do so again and again.
TEST(PropertyListLimits, OpeningsWithoutAnEndCostOneSearch) {
  const std::size_t count = 200'000;
  EXPECT_EQ(reasonAgainst("<array>" + repeated("<!--", count)), "a comment without an end");
  EXPECT_EQ(reasonAgainst("<string>" + repeated("<![CDATA[", count)), "a section without an end");
  EXPECT_EQ(reasonAgainst("<string>" + repeated("&", count)), "an unknown entity");
  EXPECT_EQ(reasonAgainst("(" + repeated("/* ", count)), "a comment without an end");
  EXPECT_EQ(reasonAgainst("(" + repeated("<", count)), "cut short");
}

}  // namespace
}  // namespace zpk
