#include "records/TMBGUID.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/records/RecordSamples.h"

namespace zpk {
namespace {

using GUIDBytes = std::array<std::uint8_t, 16>;

constexpr GUIDBytes kEFIBytes = {0x28, 0x73, 0x2a, 0xc1, 0x1f, 0xf8, 0xd2, 0x11,
                                 0xba, 0x4b, 0x00, 0xa0, 0xc9, 0x3e, 0xc9, 0x3b};

struct TypeRow {
  TMBGPTType type;
  std::uint64_t code;
  std::string_view text;
};

// As published.
constexpr std::array<TypeRow, 9> kTypes = {{
    {TMBGPTType::EFISystem, 1, "c12a7328-f81f-11d2-ba4b-00a0c93ec93b"},
    {TMBGPTType::AppleHFSPlus, 2, "48465300-0000-11aa-aa11-00306543ecac"},
    {TMBGPTType::AppleBoot, 3, "426f6f74-0000-11aa-aa11-00306543ecac"},
    {TMBGPTType::AppleCoreStorage, 4, "53746f72-6167-11aa-aa11-00306543ecac"},
    {TMBGPTType::AppleRAID, 5, "52414944-0000-11aa-aa11-00306543ecac"},
    {TMBGPTType::AppleRAIDOffline, 6, "52414944-5f4f-11aa-aa11-00306543ecac"},
    {TMBGPTType::MicrosoftBasicData, 7, "ebd0a0a2-b9e5-4433-87c0-68b6b72699c7"},
    {TMBGPTType::MicrosoftReserved, 8, "e3c9e316-0b5c-4db8-817d-f92df00215ae"},
    {TMBGPTType::WindowsRecovery, 9, "de94bba4-06d1-4d40-a16a-bfd50179d6ac"},
}};

GUIDBytes bytesOf(const TMBGUID& guid) {
  GUIDBytes bytes{};
  guid.copyBytes(bytes);
  return bytes;
}

TEST(TMBGUID, KnowsEveryPartitionTypeByCodeAndByBytes) {
  for (const TypeRow& row : kTypes) {
    const auto guid = TMBGUID::GUIDWithGPTType(static_cast<TMBGPTType>(row.code));
    ASSERT_TRUE(guid) << row.code;
    EXPECT_EQ(guid->stringValue(), row.text);
    EXPECT_EQ(guid->gptType(), row.type);
    EXPECT_EQ(TMBGUID::GUIDWithBytes(bytesOf(*guid)).gptType(), row.type);
  }
}

TEST(TMBGUID, HasNoneForCodesThatStandForNoType) {
  EXPECT_FALSE(TMBGUID::GUIDWithGPTType(TMBGPTType::Unknown));
  EXPECT_FALSE(TMBGUID::GUIDWithGPTType(static_cast<TMBGPTType>(10)));
  EXPECT_FALSE(TMBGUID::GUIDWithGPTType(static_cast<TMBGPTType>(UINT64_MAX)));
}

TEST(TMBGUID, IsOfUnknownTypeWhenAnyOneByteDiffers) {
  for (const TypeRow& row : kTypes) {
    const GUIDBytes bytes = bytesOf(*TMBGUID::GUIDWithGPTType(row.type));
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      GUIDBytes changed = bytes;
      changed[i] ^= 0x01;
      EXPECT_EQ(TMBGUID(changed).gptType(), TMBGPTType::Unknown) << row.text << " byte " << i;
    }
  }
}

TEST(TMBGUID, MadeFromNothingIsAllZero) {
  EXPECT_EQ(TMBGUID().stringValue(), "00000000-0000-0000-0000-000000000000");
  EXPECT_EQ(TMBGUID().gptType(), TMBGPTType::Unknown);
  EXPECT_EQ(bytesOf(TMBGUID()), GUIDBytes{});
}

TEST(TMBGUID, StoresItsFirstThreeFieldsLittleEndian) {
  const std::array<std::uint8_t, 8> data4 = {0xba, 0x4b, 0x00, 0xa0, 0xc9, 0x3e, 0xc9, 0x3b};
  const TMBGUID guid = TMBGUID::GUIDWithData1(0xc12a7328, 0xf81f, 0x11d2, data4);
  EXPECT_EQ(bytesOf(guid), kEFIBytes);
  EXPECT_EQ(guid, TMBGUID(0xc12a7328, 0xf81f, 0x11d2, data4));
  EXPECT_EQ(guid, TMBGUID(kEFIBytes));
}

TEST(TMBGUID, PrintsNumbersByValueAndTheRestAsStored) {
  const GUIDBytes counting = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
  EXPECT_EQ(TMBGUID(counting).stringValue(), "03020100-0504-0706-0809-0a0b0c0d0e0f");
}

TEST(TMBGUID, IsEqualByItsBytes) {
  EXPECT_EQ(TMBGUID(kEFIBytes), *TMBGUID::GUIDWithGPTType(TMBGPTType::EFISystem));
  EXPECT_FALSE(TMBGUID(kEFIBytes) == TMBGUID());
}

TEST(TMBGUID, IsWrittenAsOneBlockWithoutAKey) {
  const Dictionary keys = keyedForm(TMBGUID(kEFIBytes));
  ASSERT_EQ(keys.size(), 1u);
  EXPECT_EQ(keys[kUnkeyedBytesKey], Value(Bytes(kEFIBytes.begin(), kEFIBytes.end())));
}

TEST(TMBGUID, ReadsBackTheSameBytes) {
  const auto copy = samples::copyOf(TMBGUID(kEFIBytes));
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(bytesOf(*copy), kEFIBytes);
}

TEST(TMBGUID, OfALongerBlockTakesTheFirstSixteenBytes) {
  Bytes block(kEFIBytes.begin(), kEFIBytes.end());
  block.push_back(0xff);
  const Dictionary keys{{std::string(kUnkeyedBytesKey), block}};
  EXPECT_EQ(bytesOf(TMBGUID(KeyedDecoder(keys))), kEFIBytes);
}

TEST(GptTypeOf, AMissingIdentifierIsOfUnknownType) {
  EXPECT_EQ(gptTypeOf(std::nullopt), TMBGPTType::Unknown);
  EXPECT_EQ(gptTypeOf(TMBGUID(kEFIBytes)), TMBGPTType::EFISystem);
}

}  // namespace
}  // namespace zpk
