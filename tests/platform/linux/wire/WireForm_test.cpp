#include "platform/linux/wire/WireForm.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "base/KeyedCoder.h"
#include "platform/linux/wire/WireMessage.h"

namespace zpk::tests {
namespace {

// A record with one key of its own and room for another record, so that nesting can be made as deep as wanted.
class Sample : public Record {
 public:
  Sample(std::string name, Value inner) : _name(std::move(name)), _inner(std::move(inner)) {}
  explicit Sample(const KeyedDecoder& coder)
      : _name(coder.decodeObject("name").textOr("")), _inner(coder.decodeObject("inner")) {
    coder.decodeRawBytes<std::uint32_t>("id");
  }
  std::string_view className() const override { return "Sample"; }
  void encodeWithCoder(KeyedEncoder& coder) const override {
    coder.encodeObject(_name, "name");
    coder.encodeRawBytes(std::uint32_t{7}, "id");
    coder.encodeObject(_inner, "inner");
  }

 private:
  std::string _name;
  Value _inner;
};

class WireForm : public testing::Test {
 protected:
  WireForm() { classes.add<Sample>("Sample"); }

  Expected<Dictionary, WireError> roundTrip(const Dictionary& dictionary) {
    const BusMessageHandle message = messages.empty();
    const auto appended = appendDictionary(message.get(), dictionary);
    if (!appended) return appended.error();
    WireMessages::seal(message.get());
    return readDictionary(message.get(), classes);
  }

  // What reading gives of a message filled by hand.
  Expected<Dictionary, WireError> readOf(const std::function<void(sd_bus_message*)>& fill) {
    const BusMessageHandle message = messages.empty();
    fill(message.get());
    WireMessages::seal(message.get());
    return readDictionary(message.get(), classes);
  }

  WireMessages messages;
  RecordRegistry classes;
};

// The kind of the error, in a form that a failing test prints.
std::optional<WireError::Kind> errorOf(const Expected<Dictionary, WireError>& result) {
  return result ? std::nullopt : std::optional(result.error().kind);
}

// Exactly `levels` levels deep, the outermost dictionary counted.
Dictionary nestedArrays(int levels) {
  Value inner(Array{Value(true)});
  for (int i = 2; i < levels; ++i) inner = Value(Array{inner});
  return Dictionary{{"a", inner}};
}

// Takes exactly `size` bytes on the wire: array head 8, entry key 4+1+1 (to 14), variant signature 3 (to 17), count
// at 20, the block from 24 on.
Dictionary ofWireSize(std::size_t size) {
  return Dictionary{{"a", Bytes(size - 24)}};
}

TEST_F(WireForm, EveryKindOfValueComesBackAsItWas) {
  const Dictionary all{
      {"boolean", true},
      {"no", false},
      {"signed", std::int64_t{-5}},
      {"smallest", std::numeric_limits<std::int64_t>::min()},
      {"unsigned", std::numeric_limits<std::uint64_t>::max()},
      {"real", 0.25},
      {"text", "Größe ✓ 𝄞"},
      {"empty text", ""},
      {"bytes", Bytes{0, 1, 255}},
      {"no bytes", Bytes{}},
      {"date", Date{1700000000.5}},
      {"array", Array{Value(1), Value("two"), Value(Array{})}},
      {"log", Array{Value("one"), Value("")}},
      {"dictionary", Dictionary{{"k", Dictionary{}}}},
      {"record", std::make_shared<const Sample>("outer", std::make_shared<const Sample>("in", nullptr))}};
  const auto back = roundTrip(all);
  ASSERT_TRUE(back) << back.error().reason;
  EXPECT_EQ(*back, all);
  EXPECT_TRUE((*back)["boolean"].isBoolean());
  EXPECT_TRUE((*back)["signed"].isSigned());
  EXPECT_TRUE((*back)["unsigned"].isUnsigned());
  EXPECT_TRUE((*back)["real"].isReal());
  EXPECT_TRUE((*back)["record"].recordOf<Sample>());
}

TEST_F(WireForm, ATypesSignatureIsTheDocumentedOne) {
  const std::pair<Value, const char*> kRows[] = {{true, "b"},
                                                 {std::int64_t{1}, "x"},
                                                 {std::uint64_t{1}, "t"},
                                                 {1.5, "d"},
                                                 {"s", "s"},
                                                 {Bytes{1}, "ay"},
                                                 {Date{1}, "(sd)"},
                                                 {Array{Value(1)}, "av"},
                                                 {Array{}, "av"},
                                                 {Array{Value("s")}, "as"},
                                                 {Array{Value("s"), Value(1)}, "av"},
                                                 {Dictionary{}, "a{sv}"},
                                                 {std::make_shared<const Sample>("n", nullptr), "(sa{sv})"}};
  for (const auto& [value, signature] : kRows) {
    const BusMessageHandle message = messages.empty();
    ASSERT_TRUE(appendDictionary(message.get(), Dictionary{{"k", value}}));
    WireMessages::seal(message.get());
    EXPECT_STREQ(sd_bus_message_get_signature(message.get(), 1), "a{sv}");
    const char* found = nullptr;
    const char* key = nullptr;
    ASSERT_GT(sd_bus_message_enter_container(message.get(), 'a', "{sv}"), 0);
    ASSERT_GT(sd_bus_message_enter_container(message.get(), 'e', "sv"), 0);
    ASSERT_GT(sd_bus_message_read_basic(message.get(), 's', &key), 0);
    ASSERT_GT(sd_bus_message_peek_type(message.get(), nullptr, &found), 0);
    EXPECT_STREQ(found, signature);
  }
}

TEST_F(WireForm, AKeyWithoutAValueIsLeftOut) {
  const auto back = roundTrip(Dictionary{{"gone", nullptr}, {"kept", 1}});
  ASSERT_TRUE(back);
  EXPECT_EQ(back->size(), 1U);
  EXPECT_FALSE(back->contains("gone"));
}

TEST_F(WireForm, ANullInAnArrayCannotBeSent) {
  EXPECT_EQ(errorOf(roundTrip(Dictionary{{"a", Array{Value(1), Value()}}})), WireError::Kind::unsendable);
}

TEST_F(WireForm, NotANumberAndInfinityCrossUnchanged) {
  const auto back = roundTrip(Dictionary{{"n", std::nan("")}, {"i", std::numeric_limits<double>::infinity()}});
  ASSERT_TRUE(back);
  EXPECT_TRUE(std::isnan((*back)["n"].doubleValue()));
  EXPECT_TRUE(std::isinf((*back)["i"].doubleValue()));
}

TEST_F(WireForm, TextThatIsNoUtf8IsSentMadeValid) {
  const auto back = roundTrip(Dictionary{{"k\xFF", Value(std::string("a\xC3z\0b", 5))},
                                         {"log", Array{Value("\xED\xA0\x80"), Value("\xEF\xBF\xBE")}}});
  ASSERT_TRUE(back) << back.error().reason;
  EXPECT_EQ((*back)["k\uFFFD"], Value("a\uFFFDz\uFFFD"
                                      "b"));
  EXPECT_EQ((*back)["log"], Value(Array{Value("\uFFFD\uFFFD\uFFFD"), Value("\uFFFD\uFFFD\uFFFD")}));
}

TEST_F(WireForm, OfAKeyThatArrivesTwiceTheLastOneStays) {
  const auto back =
      readOf([](sd_bus_message* m) { sd_bus_message_append(m, "a{sv}", 2, "k", "s", "a", "k", "s", "b"); });
  ASSERT_TRUE(back);
  EXPECT_EQ(*back, (Dictionary{{"k", "b"}}));
}

TEST_F(WireForm, SixteenLevelsPassAndSeventeenDoNotInBothDirections) {
  const auto atLimit = roundTrip(nestedArrays(kMaxWireDepth));
  ASSERT_TRUE(atLimit) << atLimit.error().reason;
  EXPECT_EQ(*atLimit, nestedArrays(kMaxWireDepth));
  EXPECT_EQ(errorOf(roundTrip(nestedArrays(kMaxWireDepth + 1))), WireError::Kind::tooDeep);
}

// A message with `levels` levels, made without the encoder under test.
void fillNested(sd_bus_message* m, int levels) {
  sd_bus_message_open_container(m, 'a', "{sv}");
  sd_bus_message_open_container(m, 'e', "sv");
  sd_bus_message_append_basic(m, 's', "k");
  for (int i = 1; i < levels; ++i) {
    sd_bus_message_open_container(m, 'v', "av");
    sd_bus_message_open_container(m, 'a', "v");
  }
  sd_bus_message_append(m, "v", "b", 1);
  for (int i = 1; i < levels; ++i) {
    sd_bus_message_close_container(m);
    sd_bus_message_close_container(m);
  }
  sd_bus_message_close_container(m);
  sd_bus_message_close_container(m);
}

TEST_F(WireForm, AReceivedMessageIsReadToDepthSixteenAndNoFurther) {
  EXPECT_TRUE(readOf([](sd_bus_message* m) { fillNested(m, kMaxWireDepth); }));
  EXPECT_EQ(errorOf(readOf([](sd_bus_message* m) { fillNested(m, kMaxWireDepth + 1); })), WireError::Kind::tooDeep);
  EXPECT_EQ(errorOf(readOf([](sd_bus_message* m) { fillNested(m, 50); })), WireError::Kind::tooDeep);
}

TEST_F(WireForm, SixteenMebibytesPassAndOneByteMoreDoesNotInBothDirections) {
  EXPECT_TRUE(roundTrip(ofWireSize(kMaxWireBytes)));
  EXPECT_EQ(errorOf(roundTrip(ofWireSize(kMaxWireBytes + 1))), WireError::Kind::tooLarge);
}

TEST_F(WireForm, AReceivedMessageIsReadToSixteenMebibytesAndNoFurther) {
  const auto fill = [](std::size_t size) {
    return [size](sd_bus_message* m) {
      const Bytes block(size - 24);
      sd_bus_message_open_container(m, 'a', "{sv}");
      sd_bus_message_open_container(m, 'e', "sv");
      sd_bus_message_append_basic(m, 's', "a");
      sd_bus_message_open_container(m, 'v', "ay");
      sd_bus_message_append_array(m, 'y', block.data(), block.size());
      sd_bus_message_close_container(m);
      sd_bus_message_close_container(m);
      sd_bus_message_close_container(m);
    };
  };
  EXPECT_TRUE(readOf(fill(kMaxWireBytes)));
  EXPECT_EQ(errorOf(readOf(fill(kMaxWireBytes + 1))), WireError::Kind::tooLarge);
}

TEST_F(WireForm, ALongTextOrLogIsCappedToo) {
  EXPECT_EQ(errorOf(roundTrip(Dictionary{{"t", std::string(kMaxWireBytes, 'x')}})), WireError::Kind::tooLarge);
  const Array lines(kMaxWireBytes / 8, Value(""));
  EXPECT_EQ(errorOf(roundTrip(Dictionary{{"log", lines}})), WireError::Kind::tooLarge);
}

TEST_F(WireForm, WhatIsNotAStatusIsMalformed) {
  const std::function<void(sd_bus_message*)> kFills[] = {
      [](sd_bus_message*) {},
      [](sd_bus_message* m) { sd_bus_message_append(m, "s", "text"); },
      [](sd_bus_message* m) { sd_bus_message_append(m, "a{ss}", 1, "k", "v"); },
      [](sd_bus_message* m) { sd_bus_message_append(m, "a{sv}", 1, "k", "i", 5); },
      [](sd_bus_message* m) { sd_bus_message_append(m, "a{sv}", 1, "k", "au", 1, 1); },
      [](sd_bus_message* m) { sd_bus_message_append(m, "a{sv}", 1, "k", "v", "s", "x"); },
      [](sd_bus_message* m) { sd_bus_message_append(m, "a{sv}", 1, "k", "(sd)", "time", 1.0); },
      [](sd_bus_message* m) { sd_bus_message_append(m, "a{sv}", 1, "k", "(sa{sv})", "Unknown", 0); },
      [](sd_bus_message* m) { sd_bus_message_append(m, "a{sv}", 1, "k", "(sa{sv})", "Sample", 0); },
      [](sd_bus_message* m) {
        sd_bus_message_append(m, "a{sv}", 1, "k", "(sa{sv})", "Sample", 1, "id", "ay", 1, 1);
      }};
  for (std::size_t i = 0; i < std::size(kFills); ++i) {
    EXPECT_EQ(errorOf(readOf(kFills[i])), WireError::Kind::malformed) << "case " << i;
  }
}

TEST_F(WireForm, AMessageThatTakesNoDictionaryHereRefusesIt) {
  const BusMessageHandle message = messages.empty();
  sd_bus_message_open_container(message.get(), 'a', "s");
  const auto appended = appendDictionary(message.get(), Dictionary{{"k", 1}});
  ASSERT_FALSE(appended);
  EXPECT_EQ(appended.error().kind, WireError::Kind::unsendable);
}

TEST(SendableText, GivesBackWhatIsValidWithoutACopy) {
  std::string scratch;
  for (const std::string_view text : {"", "plain", "a text longer than eight bytes", "Größe ✓ 𝄞 and more"}) {
    EXPECT_EQ(sendableText(text, scratch).data(), text.data());
  }
}

TEST(SendableText, MendsEachByteThatIsPartOfNoSequence) {
  const std::pair<std::string_view, std::string_view> kRows[] = {{"\x80", "\uFFFD"},
                                                                 {"12345678\xFF", "12345678\uFFFD"},
                                                                 {"\xC0\x80", "\uFFFD\uFFFD"},
                                                                 {"\xE2\x82", "\uFFFD\uFFFD"},
                                                                 {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},
                                                                 {"\xE0\x9F\xBF!", "\uFFFD\uFFFD\uFFFD!"},
                                                                 {std::string_view("\0x", 2), "\uFFFDx"},
                                                                 {std::string_view("1234567\0abcdefgh", 16),
                                                                  "1234567\uFFFD"
                                                                  "abcdefgh"}};
  for (const auto& [text, mended] : kRows) {
    std::string scratch;
    EXPECT_EQ(sendableText(text, scratch), mended);
  }
}

}  // namespace
}  // namespace zpk::tests
