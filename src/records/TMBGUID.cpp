#include "records/TMBGUID.h"

#include <algorithm>

#include "base/KeyedCoder.h"

namespace zpk {

namespace {

using GUIDBytes = std::array<std::uint8_t, 16>;

struct GPTTypeRow {
  GUIDBytes guid;
  TMBGPTType type;
};

// Each row as it lies in a partition table: the first three groups of the text form byte-reversed.
constexpr std::array<GPTTypeRow, 9> kGPTTypes = {{
    // C12A7328-F81F-11D2-BA4B-00A0C93EC93B
    {{0x28, 0x73, 0x2a, 0xc1, 0x1f, 0xf8, 0xd2, 0x11, 0xba, 0x4b, 0x00, 0xa0, 0xc9, 0x3e, 0xc9, 0x3b},
     TMBGPTType::EFISystem},
    // 48465300-0000-11AA-AA11-00306543ECAC
    {{0x00, 0x53, 0x46, 0x48, 0x00, 0x00, 0xaa, 0x11, 0xaa, 0x11, 0x00, 0x30, 0x65, 0x43, 0xec, 0xac},
     TMBGPTType::AppleHFSPlus},
    // 426F6F74-0000-11AA-AA11-00306543ECAC
    {{0x74, 0x6f, 0x6f, 0x42, 0x00, 0x00, 0xaa, 0x11, 0xaa, 0x11, 0x00, 0x30, 0x65, 0x43, 0xec, 0xac},
     TMBGPTType::AppleBoot},
    // 53746F72-6167-11AA-AA11-00306543ECAC
    {{0x72, 0x6f, 0x74, 0x53, 0x67, 0x61, 0xaa, 0x11, 0xaa, 0x11, 0x00, 0x30, 0x65, 0x43, 0xec, 0xac},
     TMBGPTType::AppleCoreStorage},
    // 52414944-0000-11AA-AA11-00306543ECAC
    {{0x44, 0x49, 0x41, 0x52, 0x00, 0x00, 0xaa, 0x11, 0xaa, 0x11, 0x00, 0x30, 0x65, 0x43, 0xec, 0xac},
     TMBGPTType::AppleRAID},
    // 52414944-5F4F-11AA-AA11-00306543ECAC
    {{0x44, 0x49, 0x41, 0x52, 0x4f, 0x5f, 0xaa, 0x11, 0xaa, 0x11, 0x00, 0x30, 0x65, 0x43, 0xec, 0xac},
     TMBGPTType::AppleRAIDOffline},
    // EBD0A0A2-B9E5-4433-87C0-68B6B72699C7
    {{0xa2, 0xa0, 0xd0, 0xeb, 0xe5, 0xb9, 0x33, 0x44, 0x87, 0xc0, 0x68, 0xb6, 0xb7, 0x26, 0x99, 0xc7},
     TMBGPTType::MicrosoftBasicData},
    // E3C9E316-0B5C-4DB8-817D-F92DF00215AE
    {{0x16, 0xe3, 0xc9, 0xe3, 0x5c, 0x0b, 0xb8, 0x4d, 0x81, 0x7d, 0xf9, 0x2d, 0xf0, 0x02, 0x15, 0xae},
     TMBGPTType::MicrosoftReserved},
    // DE94BBA4-06D1-4D40-A16A-BFD50179D6AC
    {{0xa4, 0xbb, 0x94, 0xde, 0xd1, 0x06, 0x40, 0x4d, 0xa1, 0x6a, 0xbf, 0xd5, 0x01, 0x79, 0xd6, 0xac},
     TMBGPTType::WindowsRecovery},
}};

// Where the bytes of the text form are stored, in the order in which they are printed.
constexpr std::array<std::size_t, 16> kTextOrder = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};

}  // namespace

TMBGUID::TMBGUID(std::uint32_t data1, std::uint16_t data2, std::uint16_t data3,
                 std::span<const std::uint8_t, 8> data4) {
  for (std::size_t i = 0; i < 4; ++i) _guid[i] = static_cast<std::uint8_t>(data1 >> (8 * i));
  for (std::size_t i = 0; i < 2; ++i) _guid[4 + i] = static_cast<std::uint8_t>(data2 >> (8 * i));
  for (std::size_t i = 0; i < 2; ++i) _guid[6 + i] = static_cast<std::uint8_t>(data3 >> (8 * i));
  std::copy(data4.begin(), data4.end(), _guid.begin() + 8);
}

TMBGUID::TMBGUID(std::span<const std::uint8_t, 16> bytes) {
  std::copy(bytes.begin(), bytes.end(), _guid.begin());
}

TMBGUID::TMBGUID(const KeyedDecoder& coder) : TMBGUID(coder.decodeBytes(16).first<16>()) {}

TMBGUID TMBGUID::GUIDWithData1(std::uint32_t data1, std::uint16_t data2, std::uint16_t data3,
                               std::span<const std::uint8_t, 8> data4) {
  return TMBGUID(data1, data2, data3, data4);
}

TMBGUID TMBGUID::GUIDWithBytes(std::span<const std::uint8_t, 16> bytes) {
  return TMBGUID(bytes);
}

std::optional<TMBGUID> TMBGUID::GUIDWithGPTType(TMBGPTType type) {
  for (const GPTTypeRow& row : kGPTTypes) {
    if (row.type == type) return TMBGUID(row.guid);
  }
  return std::nullopt;
}

std::string TMBGUID::stringValue() const {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  text.reserve(36);
  for (std::size_t i = 0; i < kTextOrder.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
    const std::uint8_t byte = _guid[kTextOrder[i]];
    text += digits[byte >> 4];
    text += digits[byte & 0xf];
  }
  return text;
}

TMBGPTType TMBGUID::gptType() const {
  for (const GPTTypeRow& row : kGPTTypes) {
    if (row.guid == _guid) return row.type;
  }
  return TMBGPTType::Unknown;
}

void TMBGUID::copyBytes(std::span<std::uint8_t, 16> buffer) const {
  std::copy(_guid.begin(), _guid.end(), buffer.begin());
}

void TMBGUID::encodeWithCoder(KeyedEncoder& coder) const {
  coder.encodeBytes(_guid);
}

TMBGPTType gptTypeOf(const std::optional<TMBGUID>& guid) {
  return guid ? guid->gptType() : TMBGPTType::Unknown;
}

}  // namespace zpk
