#include <gtest/gtest.h>

#include <cmath>

#include "base/PropertyListSamples.h"

namespace zpk {
namespace {

using test::readable;
using test::reasonAgainst;
using test::xml;

TEST(XMLPropertyList, AJobDefinitionIsReadAsItStands) {
  const Value job = readable(R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
	<key>Label</key>
	<string>com.tarnwick.zpkauto</string>
	<key>ProgramArguments</key>
	<array>
		<string>/usr/bin/zpkctl</string>
		<string>backup</string>
	</array>
	<key>KeepAlive</key>
	<false/>
	<key>StartCalendarInterval</key>
	<dict>
		<key>Minute</key>
		<integer>0</integer>
		<key>Hour</key>
		<integer>12</integer>
	</dict>
</dict>
</plist>
)");
  EXPECT_EQ(job, Value(Dictionary{{"Label", "com.tarnwick.zpkauto"},
                                  {"ProgramArguments", Array{"/usr/bin/zpkctl", "backup"}},
                                  {"KeepAlive", false},
                                  {"StartCalendarInterval", Dictionary{{"Minute", 0}, {"Hour", 12}}}}));
  EXPECT_TRUE((*job.dictionary())["KeepAlive"].isBoolean());
}

TEST(XMLPropertyList, EveryKindOfLeafIsRead) {
  EXPECT_TRUE(readable(xml("<true/>")).boolValue());
  EXPECT_TRUE(readable(xml("<false></false>")).isBoolean());
  EXPECT_EQ(readable(xml("<string>a b</string>")), Value("a b"));
  EXPECT_EQ(readable(xml("<string/>")), Value(""));
  EXPECT_EQ(readable(xml("<data> AAEC\n\t/w== </data>")), Value(Bytes{0, 1, 2, 255}));
  EXPECT_EQ(readable(xml("<data/>")), Value(Bytes{}));
  EXPECT_EQ(readable(xml("<date>1970-01-02T00:00:01Z</date>")), Value(Date{86401}));
  EXPECT_EQ(readable(xml("<date>0001-01-01T00:00:00Z</date>")), Value(Date{-62135596800}));
  EXPECT_EQ(readable(xml("<array/>")), Value(Array()));
  EXPECT_EQ(readable(xml("<dict> </dict>")), Value(Dictionary()));
}

TEST(XMLPropertyList, IntegersReachFromTheLeastSignedToTheGreatestUnsigned) {
  EXPECT_EQ(readable(xml("<integer> -9223372036854775808\n</integer>")), Value(INT64_MIN));
  EXPECT_EQ(readable(xml("<integer>18446744073709551615</integer>")), Value(UINT64_MAX));
  EXPECT_TRUE(readable(xml("<integer>9223372036854775807</integer>")).isSigned());
  EXPECT_TRUE(readable(xml("<integer>9223372036854775808</integer>")).isUnsigned());
  EXPECT_EQ(readable(xml("<integer>+7</integer>")), Value(7));
  EXPECT_EQ(readable(xml("<integer>-0x10</integer>")), Value(-16));
  for (const char* wrong : {"", "-", "+-1", "0x", "1.5", "1 2", "18446744073709551616", "-9223372036854775809"}) {
    EXPECT_EQ(reasonAgainst(xml("<integer>" + std::string(wrong) + "</integer>")), "not an integer of 64 bits")
        << wrong;
  }
}

TEST(XMLPropertyList, RealsAreReadWhateverTheLocale) {
  EXPECT_EQ(readable(xml("<real>0.1</real>")), Value(0.1));
  EXPECT_EQ(readable(xml("<real> +1e-3 </real>")), Value(0.001));
  EXPECT_TRUE(std::signbit(readable(xml("<real>-0</real>")).doubleValue()));
  EXPECT_EQ(readable(xml("<real>+infinity</real>")), Value(INFINITY));
  EXPECT_EQ(readable(xml("<real>-Inf</real>")), Value(-INFINITY));
  EXPECT_TRUE(std::isnan(readable(xml("<real>nan</real>")).doubleValue()));
  EXPECT_TRUE(readable(xml("<real>1</real>")).isReal());
  for (const char* wrong :
       {"", "1,5", "0x1p3", "+-1", "--1", "+", "1e", "5-3", "1 2", "1e999", "one", "infinite"}) {
    EXPECT_EQ(reasonAgainst(xml("<real>" + std::string(wrong) + "</real>")), "not a real") << wrong;
  }
}

TEST(XMLPropertyList, DatesThatNoCalendarHasAreRefused) {
  for (const char* wrong : {"", "2024-02-30T00:00:00Z", "2024-13-01T00:00:00Z", "2024-01-01T24:00:00Z",
                            "2024-01-01T00:60:00Z", "2024-01-01T00:00:60Z", "2024-01-01T00:00:00", "2024-01-01",
                            "0000-01-01T00:00:00Z", "2024-01-01T00:00:00.5Z", "x024-01-01T00:00:00Z"}) {
    EXPECT_EQ(reasonAgainst(xml("<date>" + std::string(wrong) + "</date>")), "not a date") << wrong;
  }
  EXPECT_EQ(readable(xml("<date>2024-02-29T23:59:59Z</date>")), Value(Date{1709251199}));
}

TEST(XMLPropertyList, DataMustBeWholeGroupsOfBase64) {
  for (const char* wrong :
       {"A", "AA", "AAA", "AA=", "A===", "====", "AA==AAAA", "AA======", "AAA=====", "AA=A", "AA-_", "AAAA="}) {
    EXPECT_EQ(reasonAgainst(xml("<data>" + std::string(wrong) + "</data>")), "not base64") << wrong;
  }
}

TEST(XMLPropertyList, EntitiesSectionsAndCommentsArePartOfAText) {
  EXPECT_EQ(readable(xml("<string>&lt;&gt;&amp;&quot;&apos;&#233;&#x1F600;</string>")),
            Value("<>&\"'\u00e9\U0001F600"));
  EXPECT_EQ(readable(xml("<string>a<![CDATA[<b>&amp;]]]>c<!-- d --><?e f?>g</string>")), Value("a<b>&amp;]cg"));
  EXPECT_EQ(readable(xml("<dict><key>a&amp;b</key><true/></dict>")), Value(Dictionary{{"a&b", true}}));
  EXPECT_EQ(readable(xml("<!-- a --><array> <?b?> <true/> <!----> </array><!-- c -->")), Value(Array{true}));
}

TEST(XMLPropertyList, EntitiesThatStandForNoCharacterAreRefused) {
  for (const char* wrong : {"&nbsp;", "&;", "&lt", "& ", "&#;", "&#x;", "&#0;", "&#1;", "&#xD800;", "&#xFFFE;",
                            "&#x110000;", "&#99999999999999999999;", "&#-1;", "&#X41;", "&#lt;"}) {
    EXPECT_EQ(reasonAgainst(xml("<string>" + std::string(wrong) + "</string>")), "an unknown entity") << wrong;
  }
}

TEST(XMLPropertyList, LineEndsAreReadAsLineFeedsUnlessWrittenAsEntities) {
  EXPECT_EQ(readable(xml("<string>a\r\nb\rc\nd&#13;e</string>")), Value("a\nb\nc\nd\re"));
  EXPECT_EQ(readable(xml("<string><![CDATA[a\r\nb]]>\r</string>")), Value("a\nb\n"));
}

TEST(XMLPropertyList, OfAKeyThatStandsTwiceTheLastValueStays) {
  EXPECT_EQ(readable(xml("<dict><key>a</key><integer>1</integer><key>a</key><integer>2</integer></dict>")),
            Value(Dictionary{{"a", 2}}));
}

TEST(XMLPropertyList, TheFrameMayBeBareOrDecorated) {
  EXPECT_EQ(readable("<array><true/></array>"), Value(Array{true}));
  EXPECT_EQ(readable("\xEF\xBB\xBF \n<string>x</string>"), Value("x"));
  EXPECT_EQ(readable("<?xml version='1.0' encoding = 'utf-8'?><!-- a --><!DOCTYPE plist SYSTEM 'a>b'><?c?>\n"
                     "<plist version = \"1.0\" other='x'><string a=\"b\">y</string ></plist ><!-- d -->\n"),
            Value("y"));
}

TEST(XMLPropertyList, ADocumentTypeWithDefinitionsIsRefused) {
  EXPECT_EQ(reasonAgainst("<!DOCTYPE plist [<!ENTITY a \"aaaa\"><!ENTITY b \"&a;&a;\">]><string>&b;</string>"),
            "a document type with definitions of its own");
  EXPECT_EQ(reasonAgainst("<!DOCTYPE plist SYSTEM \"x\" [ ]><string/>"),
            "a document type with definitions of its own");
  EXPECT_EQ(reasonAgainst("<!DOCTYPE plist SYSTEM \"x"), "a malformed document type");
  EXPECT_EQ(reasonAgainst("<!DOCTYPE plist"), "a malformed document type");
}

TEST(XMLPropertyList, OtherEncodingsAreRefusedByName) {
  EXPECT_EQ(reasonAgainst("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><string>x</string>"),
            "written in another encoding; only UTF-8 is read");
  const std::string wide("<\0s\0t\0r\0", 8);
  EXPECT_EQ(reasonAgainst(wide), "written in UTF-16; only UTF-8 is read");
  EXPECT_EQ(reasonAgainst("\xFF\xFE" + wide), "written in UTF-16; only UTF-8 is read");
  EXPECT_EQ(reasonAgainst(std::string("\0<", 2)), "written in UTF-16; only UTF-8 is read");
}

TEST(XMLPropertyList, TextThatIsNotUTF8OrNotXMLIsRefused) {
  for (const char* wrong : {"\x80", "\xC3", "\xC0\x80", "\xE0\x80\x80", "\xED\xA0\x80", "\xF0\x80\x80\x80",
                            "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xE2\x82"}) {
    EXPECT_EQ(reasonAgainst(xml("<string>" + std::string(wrong) + "</string>")), "not valid UTF-8");
  }
  EXPECT_EQ(reasonAgainst(xml("<string>\x01</string>")), "a character that XML cannot hold");
  EXPECT_EQ(reasonAgainst(xml("<string>\xEF\xBF\xBE</string>")), "a character that XML cannot hold");
  EXPECT_EQ(reasonAgainst(xml("<string>" + std::string(1, '\0') + "</string>")),
            "a character that XML cannot hold");
  EXPECT_EQ(readable(xml("<string>\xEF\xBF\xBD\xF4\x8F\xBF\xBF\x7F</string>")), Value("\uFFFD\U0010FFFF\x7F"));
}

TEST(XMLPropertyList, WhatIsNotThisGrammarIsRefusedWithItsReason) {
  const std::pair<const char*, const char*> cases[] = {
      {"<plist></plist>", "no value in it"},
      {"<plist/>", "no value in it"},
      {"<plist><!-- --></plist>", "no value in it"},
      {"<plist><true/><true/></plist>", "not the end of the element \"plist\""},
      {"<true/><true/>", "something after the end of the document"},
      {"<true/>x", "something after the end of the document"},
      {"<array><true/>x</array>", "text where an element must be"},
      {"<array><true/>", "cut short"},
      {"<string>abc", "cut short"},
      {"<array></dict>", "not the end of the element \"array\""},
      {"<true>x</true>", "not the end of the element \"true\""},
      {"<string><b/></string>", "not the end of the element \"string\""},
      {"<dict><key>a</key></dict>", "a key without a value"},
      {"<dict><true/></dict>", "a value without a key"},
      {"<dict><key>a</key><key>b</key></dict>", "an unknown element \"key\""},
      {"<set/>", "an unknown element \"set\""},
      {"<!-- ", "a comment without an end"},
      {"<?x ", "an instruction without an end"},
      {"<?xml ", "a declaration without an end"},
      {"<string><![CDATA[x]]</string>", "a section without an end"},
      {"<string a>x</string>", "a malformed element"},
      {"<string a='x>x</string>", "a malformed element"},
      {"<string a=x>x</string>", "a malformed element"},
      {"<string", "a malformed element"},
      {"</string>", "not an element"},
  };
  for (const auto& [document, reason] : cases) EXPECT_EQ(reasonAgainst(document), reason) << document;
}

TEST(XMLPropertyList, AnErrorSaysOnWhichLineItIs) {
  const auto value =
      readPropertyList(test::bytesOf("\xEF\xBB\xBF<array>\n<true/>\n <integer>x</integer>\n</array>"));
  ASSERT_FALSE(value);
  EXPECT_EQ(value.error().line, 3U);
  EXPECT_EQ(value.error().offset, 20U);
  EXPECT_EQ(value.error().description(), "line 3: not an integer of 64 bits");
}

TEST(XMLPropertyList, NothingIsNoDocument) {
  EXPECT_EQ(reasonAgainst(""), "nothing in it");
  EXPECT_EQ(reasonAgainst(" \n\t"), "nothing in it");
  EXPECT_EQ(reasonAgainst("\xEF\xBB\xBF"), "nothing in it");
}

}  // namespace
}  // namespace zpk
