#include "base/KeyedCoder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/Record.h"
#include "records/TMBGUID.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// A record with a single number, for what the coders do with records in general.
class Counter : public Record {
 public:
  explicit Counter(std::uint32_t count) : _count(count) {}
  explicit Counter(const KeyedDecoder& coder) : _count(coder.decodeRawBytes<std::uint32_t>("count")) {}
  std::string_view className() const override { return "Counter"; }
  void encodeWithCoder(KeyedEncoder& coder) const override { coder.encodeRawBytes(_count, "count"); }

 private:
  std::uint32_t _count;
};

// The same keyed form under another name.
class OtherCounter final : public Counter {
 public:
  using Counter::Counter;
  std::string_view className() const override { return "OtherCounter"; }
};

std::string malformation(const std::function<void()>& decode) {
  try {
    decode();
  } catch (const MalformedRecord& malformed) {
    return malformed.what();
  }
  return "nothing malformed";
}

TEST(KeyedEncoder, WritesEachKindUnderItsKey) {
  KeyedEncoder coder;
  coder.encodeBool(true, "flag");
  coder.encodeInteger(-3, "number");
  coder.encodeObject("text", "object");
  coder.encodeObject(nullptr, "nothing");
  const Dictionary keys = coder.take();
  EXPECT_EQ(keys.size(), 4u);
  EXPECT_TRUE(keys["flag"].isBoolean());
  EXPECT_TRUE(keys["number"].isSigned());
  EXPECT_EQ(keys["object"], Value("text"));
  EXPECT_TRUE(keys.contains("nothing"));
  EXPECT_TRUE(keys["nothing"].isNull());
}

TEST(KeyedEncoder, WritesRawBytesLittleEndian) {
  KeyedEncoder coder;
  coder.encodeRawBytes(std::uint32_t{0x01020304}, "four");
  coder.encodeRawBytes(std::uint64_t{0x0102030405060708}, "eight");
  const Dictionary keys = coder.take();
  EXPECT_THAT(*keys["four"].bytes(), ElementsAre(4, 3, 2, 1));
  EXPECT_THAT(*keys["eight"].bytes(), ElementsAre(8, 7, 6, 5, 4, 3, 2, 1));
}

TEST(KeyedEncoder, IsEmptyAfterItsFormWasTaken) {
  KeyedEncoder coder;
  coder.encodeBool(true, "flag");
  EXPECT_EQ(coder.take().size(), 1u);
  EXPECT_TRUE(coder.take().empty());
}

TEST(KeyedDecoder, ReadsAbsentKeysAsNothing) {
  const Dictionary keys;
  const KeyedDecoder coder(keys);
  EXPECT_FALSE(coder.decodeBool("flag"));
  EXPECT_EQ(coder.decodeInteger("number"), 0);
  EXPECT_TRUE(coder.decodeObject("object").isNull());
}

TEST(KeyedDecoder, ReadsBackWhatWasWritten) {
  KeyedEncoder encoder;
  encoder.encodeBool(true, "flag");
  encoder.encodeInteger(INT64_MIN, "number");
  encoder.encodeRawBytes(std::uint32_t{0xfffefdfc}, "four");
  encoder.encodeRawBytes(UINT64_MAX, "eight");
  encoder.encodeObject(Array{1}, "object");
  const Dictionary keys = encoder.take();
  const KeyedDecoder coder(keys);
  EXPECT_TRUE(coder.decodeBool("flag"));
  EXPECT_EQ(coder.decodeInteger("number"), INT64_MIN);
  EXPECT_EQ(coder.decodeRawBytes<std::uint32_t>("four"), 0xfffefdfcu);
  EXPECT_EQ(coder.decodeRawBytes<std::uint64_t>("eight"), UINT64_MAX);
  EXPECT_EQ(coder.decodeObject("object"), Value(Array{1}));
}

TEST(KeyedDecoder, ARequiredBlockThatIsMissingOrShortIsMalformed) {
  const Dictionary keys{{"short", Bytes{1, 2, 3}}, {"text", "four"}, {"empty", Bytes{}}};
  const KeyedDecoder coder(keys);
  const auto decoding = [&coder](std::string_view key) {
    return malformation([&coder, key] { coder.decodeRawBytes<std::uint32_t>(key); });
  };
  EXPECT_EQ(decoding("absent"), "no bytes under \"absent\"");
  EXPECT_EQ(decoding("text"), "no bytes under \"text\"");
  EXPECT_EQ(decoding("short"), "only 3 of 4 bytes under \"short\"");
  EXPECT_EQ(decoding("empty"), "only 0 of 4 bytes under \"empty\"");
}

TEST(KeyedDecoder, OfALongBlockOnlyTheFirstBytesCount) {
  const Dictionary keys{{"long", Bytes{1, 0, 0, 0, 99}}};
  EXPECT_EQ(KeyedDecoder(keys).decodeRawBytes<std::uint32_t>("long"), 1u);
}

TEST(KeyedDecoder, ReadsTheBlockWithoutAKey) {
  KeyedEncoder encoder;
  encoder.encodeBytes(Bytes{1, 2, 3});
  const Dictionary keys = encoder.take();
  EXPECT_THAT(KeyedDecoder(keys).decodeBytes(2), ElementsAre(1, 2));
  EXPECT_THROW(KeyedDecoder(keys).decodeBytes(4), MalformedRecord);
  const Dictionary none;
  EXPECT_THROW(KeyedDecoder(none).decodeBytes(1), MalformedRecord);
}

TEST(Record, IsEqualToOneOfTheSameClassAndContent) {
  EXPECT_EQ(Counter(3), Counter(3));
  EXPECT_FALSE(Counter(3) == Counter(4));
  EXPECT_FALSE(Counter(3) == OtherCounter(3));
}

TEST(RecordRegistry, MakesTheClassesThatWereAdded) {
  RecordRegistry classes;
  classes.add<Counter>("Counter");
  const Dictionary keys = keyedForm(Counter(9));
  EXPECT_EQ(*classes.make("Counter", KeyedDecoder(keys)), Counter(9));
}

TEST(RecordRegistry, RefusesAnUnknownClassAndRepeatsLittleOfItsName) {
  const RecordRegistry classes;
  const Dictionary keys;
  EXPECT_EQ(malformation([&] { classes.make("Counter", KeyedDecoder(keys)); }), "unknown class \"Counter\"");
  const std::string endless(100'000, 'x');
  EXPECT_LT(malformation([&] { classes.make(endless, KeyedDecoder(keys)); }).size(), 100u);
}

TEST(RecordRegistry, LetsAMalformedRecordThrough) {
  RecordRegistry classes;
  classes.add<Counter>("Counter");
  const Dictionary keys;
  EXPECT_THAT(malformation([&] { classes.make("Counter", KeyedDecoder(keys)); }), HasSubstr("\"count\""));
}

}  // namespace
}  // namespace zpk
