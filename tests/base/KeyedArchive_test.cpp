#include "base/KeyedArchive.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

#include "base/KeyedCoder.h"
#include "records/RecordClasses.h"
#include "records/ZPKArchive.h"
#include "records/ZPKDisk.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

Bytes bytesOf(std::string_view text) {
  return Bytes(text.begin(), text.end());
}

// "ZKA1" and what follows it.
Bytes archive(std::string_view content) {
  return bytesOf("ZKA1" + std::string(content));
}

std::string reasonFor(const Bytes& data) {
  const auto value = unarchivedValue(data, recordClasses());
  return value ? "readable" : value.error().reason;
}

// A number as a count in an archive.
std::string count(std::uint32_t n) {
  std::string bytes;
  for (int i = 0; i < 4; ++i) bytes += static_cast<char>(n >> (8 * i));
  return bytes;
}

// A text as a key or class name in an archive.
std::string block(std::string_view text) {
  return count(static_cast<std::uint32_t>(text.size())) + std::string(text);
}

// `levels` arrays around a null.
Bytes nestedArrays(std::size_t levels) {
  std::string content;
  for (std::size_t i = 0; i < levels; ++i) content += "a" + count(1);
  return archive(content + "n");
}

Value valueWithEverything() {
  const auto efi = TMBGUID::GUIDWithGPTType(TMBGPTType::EFISystem);
  const auto partition = std::make_shared<const RLDPartition>(
      RLDPartition::Fields{.partSize = 100, .gptTypeGUID = efi, .serialNumber = 77, .name = "EFI"});
  const auto disk = std::make_shared<const RLDArcDisk>(
      RLDArcDisk::Fields{.diskSize = 1000, .gptID = efi, .partitions = RecordList<RLDPartition>{partition}}, "/i");
  const auto item = std::make_shared<const RLDArchiveItem>(RLDArchiveItem::Fields{
      .isPinned = true, .arcIndex = 3, .creationDate = Date{1.5}, .disks = RecordList<RLDArcDisk>{disk}});
  const auto arc = std::make_shared<const ZPKArchive>(
      ZPKArchive::Fields{.items = RecordList<RLDArchiveItem>{item}, .indexFilePath = "/a"});
  return Dictionary{{"", nullptr},
                    {"bool", Array{true, false}},
                    {"signed", INT64_MIN},
                    {"real", -0.125},
                    {"unsigned", UINT64_MAX},
                    {"text", std::string("h\xc3\xa4\0z", 5)},
                    {"bytes", Bytes{0, 255}},
                    {"date", Date{-1.25}},
                    {"empty", Array{Dictionary(), Array()}},
                    {"archive", arc}};
}

TEST(KeyedArchive, ReadsBackEveryKindOfValue) {
  const Value value = valueWithEverything();
  const auto copy = unarchivedValue(archivedData(value), recordClasses());
  ASSERT_TRUE(copy) << copy.error().reason;
  EXPECT_EQ(*copy, value);
  EXPECT_EQ(archivedData(*copy), archivedData(value));
}

TEST(KeyedArchive, KeepsTheKindOfANumber) {
  const auto copy = unarchivedValue(archivedData(Array{true, 1, 1u, 1.0}), recordClasses());
  ASSERT_TRUE(copy);
  const Array& numbers = *copy->array();
  EXPECT_TRUE(numbers[0].isBoolean());
  EXPECT_TRUE(numbers[1].isSigned());
  EXPECT_TRUE(numbers[2].isUnsigned());
  EXPECT_TRUE(numbers[3].isReal());
}

TEST(KeyedArchive, KeepsRealsToTheBit) {
  for (const double real : {-0.0, std::nan(""), HUGE_VAL, 5e-324}) {
    const Bytes data = archivedData(real);
    const auto copy = unarchivedValue(data, recordClasses());
    ASSERT_TRUE(copy);
    EXPECT_EQ(archivedData(*copy), data);
  }
}

TEST(KeyedArchive, IsLaidOutAsDocumented) {
  EXPECT_THAT(archivedData("Hi"), ElementsAre(0x5a, 0x4b, 0x41, 0x31, 0x73, 2, 0, 0, 0, 0x48, 0x69));
  EXPECT_EQ(archivedData(nullptr), archive("n"));
  EXPECT_EQ(archivedData(Array{true, false}), archive("a" + count(2) + "tf"));
  EXPECT_EQ(archivedData(Dictionary{{"k", "v"}}), archive("m" + count(1) + block("k") + "s" + block("v")));
  EXPECT_EQ(archivedData(std::make_shared<const TMBGUID>()),
            archive("r" + block("TMBGUID") + count(1) + block("$bytes") + "b" + block(std::string(16, '\0'))));
}

TEST(KeyedArchive, CutShortAtAnyByteIsAnError) {
  const Bytes data = archivedData(valueWithEverything());
  ASSERT_GT(data.size(), 500u);
  for (std::size_t length = 0; length < data.size(); ++length) {
    const auto value = unarchivedValue(std::span(data).first(length), recordClasses());
    EXPECT_FALSE(value) << length;
  }
}

TEST(KeyedArchive, AnyOneByteChangedCrashesNothing) {
  const Bytes good = archivedData(valueWithEverything());
  std::size_t errors = 0;
  for (std::size_t i = 0; i < good.size(); ++i) {
    for (const int change : {1, 0x80, 0xff}) {
      Bytes data = good;
      data[i] = static_cast<std::uint8_t>(data[i] ^ change);
      const auto value = unarchivedValue(data, recordClasses());
      if (!value) ++errors;
    }
  }
  EXPECT_GT(errors, good.size());
}

TEST(KeyedArchive, SaysWhatIsWrong) {
  EXPECT_EQ(reasonFor({}), "cut short");
  EXPECT_EQ(reasonFor(bytesOf("ZKA2n")), "not a keyed archive");
  EXPECT_EQ(reasonFor(archive("")), "cut short");
  EXPECT_EQ(reasonFor(archive("x")), "unknown tag");
  EXPECT_EQ(reasonFor(archive("nn")), "bytes after the end");
  EXPECT_EQ(reasonFor(archive("r" + block("NoSuchClass") + count(0))), "unknown class \"NoSuchClass\"");
  EXPECT_THAT(reasonFor(archive("r" + block("RLDDisk") + count(0))), HasSubstr("\"diskNumber\""));
}

TEST(KeyedArchive, ACountBeyondTheBytesIsAnErrorAndAllocatesNothing) {
  for (const char tag : {'s', 'b', 'a', 'm'}) {
    EXPECT_EQ(reasonFor(archive(tag + count(0xffffffff))), "cut short") << tag;
    EXPECT_EQ(reasonFor(archive(tag + count(0xffffffff) + "nnnn")), "cut short") << tag;
  }
  EXPECT_EQ(reasonFor(archive("r" + count(0xffffffff))), "cut short");
}

TEST(KeyedArchive, NestsToSixtyFourLevelsAndNoFurther) {
  EXPECT_EQ(reasonFor(nestedArrays(64)), "readable");
  EXPECT_EQ(reasonFor(nestedArrays(65)), "nested too deeply");
  EXPECT_EQ(reasonFor(nestedArrays(100'000)), "nested too deeply");
}

// A record without its optional keys, at the deepest level that can be read, was written with null values one level
// further in, which could then not be read.
TEST(KeyedArchive, ARecordAtTheDeepestLevelCanBeWrittenAndReadAgain) {
  std::string content;
  for (int i = 0; i < 63; ++i) content += "a" + count(1);
  const auto value = unarchivedValue(archive(content + "r" + block("RLDArchive") + count(0)), recordClasses());
  ASSERT_TRUE(value) << value.error().reason;
  EXPECT_EQ(reasonFor(archivedData(*value)), "readable");
}

TEST(KeyedArchive, OfEqualKeysTheLastOneStays) {
  const auto value =
      unarchivedValue(archive("m" + count(2) + block("k") + "t" + block("k") + "f"), recordClasses());
  ASSERT_TRUE(value);
  EXPECT_EQ(*value, Value(Dictionary{{"k", false}}));
}

TEST(KeyedArchive, RoundTripGivesTheKeyedForm) {
  const RLDPartition partition({.partNumber = 4, .name = "Windows"});
  EXPECT_EQ(roundTrip(partition, recordClasses()), keyedForm(partition));
}

TEST(KeyedArchive, RoundTripOfAClassThatNobodyRegisteredIsAProgrammingError) {
  const RLDPartition partition({.gptTypeGUID = TMBGUID()});
  EXPECT_THROW(roundTrip(partition, RecordRegistry()), std::logic_error);
}

}  // namespace
}  // namespace zpk
