#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "base/PropertyListSamples.h"
#include "records/TMBGUID.h"

namespace zpk {
namespace {

using test::bytesOf;

std::string written(const Value& value) {
  const auto data = writeXMLPropertyList(value);
  if (!data) return "error at \"" + data.error().keyPath + "\": " + data.error().reason;
  return std::string(data->begin(), data->end());
}

// What stands between the frame's lines.
std::string body(const Value& value) {
  const std::string text = written(value);
  const std::string start = "<plist version=\"1.0\">\n";
  const std::string end = "</plist>\n";
  const std::size_t from = text.find(start);
  if (from == std::string::npos) return text;
  return text.substr(from + start.size(), text.size() - from - start.size() - end.size());
}

Value reread(const Value& value) {
  return test::readable(written(value));
}

TEST(PropertyListWriter, AJobDefinitionIsWrittenInTheClassicLayout) {
  EXPECT_EQ(written(Dictionary{{"RunAtLoad", false},
                               {"Label", "a<b"},
                               {"ProgramArguments", Array{"/usr/bin/zpkctl", "backup"}},
                               {"None", Dictionary()}}),
            R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
	<key>Label</key>
	<string>a&lt;b</string>
	<key>None</key>
	<dict/>
	<key>ProgramArguments</key>
	<array>
		<string>/usr/bin/zpkctl</string>
		<string>backup</string>
	</array>
	<key>RunAtLoad</key>
	<false/>
</dict>
</plist>
)");
}

TEST(PropertyListWriter, EveryKindOfLeafHasItsElement) {
  EXPECT_EQ(body(true), "<true/>\n");
  EXPECT_EQ(body(INT64_MIN), "<integer>-9223372036854775808</integer>\n");
  EXPECT_EQ(body(UINT64_MAX), "<integer>18446744073709551615</integer>\n");
  EXPECT_EQ(body(0.1), "<real>0.1</real>\n");
  EXPECT_EQ(body(Date{86401.75}), "<date>1970-01-02T00:00:01Z</date>\n");
  EXPECT_EQ(body(Date{-0.5}), "<date>1969-12-31T23:59:59Z</date>\n");
  EXPECT_EQ(body("a&b\r>"), "<string>a&amp;b&#13;&gt;</string>\n");
  EXPECT_EQ(body(Array()), "<array/>\n");
}

TEST(PropertyListWriter, DataFillsLinesOfSeventySixColumns) {
  EXPECT_EQ(body(Bytes(58, 0)), "<data>\n" + std::string(76, 'A') + "\nAA==\n</data>\n");
  EXPECT_EQ(body(Array{Bytes(2, 255)}), "<array>\n\t<data>\n\t//8=\n\t</data>\n</array>\n");
  EXPECT_EQ(body(Bytes()), "<data>\n</data>\n");
}

TEST(PropertyListWriter, WhatIsWrittenIsReadBackEqual) {
  const Value value = Dictionary{{"", ""},
                                 {"numbers", Array{0, -1, UINT64_MAX, true, false}},
                                 {"text", "<![CDATA[ \t\r\n\r \u00e9\U0010FFFF ]]>"},
                                 {" key & \r", "x"},
                                 {"bytes", Bytes{0, 1, 2, 3, 255}},
                                 {"date", Date{1709251199}},
                                 {"nested", Array{Array{}, Dictionary{{"a", Array{"b"}}}}}};
  EXPECT_EQ(reread(value), value);
  EXPECT_EQ(written(reread(value)), written(value));
}

TEST(PropertyListWriter, RealsComeBackBitByBit) {
  for (const double real : {0.1, 1.0, 1e300, 5e-324, std::numeric_limits<double>::max(), 0.1 + 0.2, -1e22, 1.0 / 3,
                            std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()}) {
    EXPECT_EQ(reread(real).doubleValue(), real);
    EXPECT_TRUE(reread(real).isReal());
  }
  EXPECT_TRUE(std::signbit(reread(-0.0).doubleValue()));
  EXPECT_TRUE(std::isnan(reread(std::nan("")).doubleValue()));
}

TEST(PropertyListWriter, DatesOfFourDigitYearsComeBackToTheSecond) {
  for (const double seconds : {-62135596800.0, -1.0, 0.0, 951782400.0, 253402300799.0}) {
    EXPECT_EQ(reread(Date{seconds}), Value(Date{seconds}));
  }
  for (const double seconds : {-62135596800.5, 253402300800.0, std::nan(""), 1e300}) {
    EXPECT_EQ(written(Date{seconds}), "error at \"\": a date outside the years 1 to 9999");
  }
}

TEST(PropertyListWriter, ValuesWithoutAFormAreErrorsWithTheirKeyPath) {
  EXPECT_EQ(written(nullptr), "error at \"\": nothing has no form in a property list");
  EXPECT_EQ(written(Dictionary{{"a", Array{true, nullptr}}}),
            "error at \"a.1\": nothing has no form in a property list");
  const auto record = std::make_shared<const TMBGUID>(*TMBGUID::GUIDWithGPTType(TMBGPTType::EFISystem));
  EXPECT_EQ(written(Dictionary{{"b", record}}), "error at \"b\": a record has no form in a property list");
}

TEST(PropertyListWriter, TextThatXMLCannotHoldIsAnError) {
  const std::string reason = "error at \"0\": a text with characters that XML cannot hold";
  for (const std::string& text : {std::string(1, '\0'), std::string("\x1B[0m"), std::string("\xC3"),
                                  std::string("\xEF\xBF\xBF"), std::string("\xED\xA0\x80")}) {
    EXPECT_EQ(written(Array{text}), reason);
  }
  EXPECT_EQ(written(Dictionary{{"\x01", true}}), "error at \"\x01\": a text with characters that XML cannot hold");
}

TEST(PropertyListWriter, NestsAsDeepAsTheReaderGoes) {
  Value nested = Array();
  for (std::size_t i = 1; i < PropertyListLimits::kDepth; ++i) nested = Array{nested};
  EXPECT_EQ(reread(nested), nested);
  EXPECT_NE(written(Array{nested}).find("nested too deeply"), std::string::npos);
}

}  // namespace
}  // namespace zpk
