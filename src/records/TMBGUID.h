#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "base/Record.h"
#include "records/TMBGPTType.h"

namespace zpk {

// A 16-byte globally unique identifier: of a disk, or of a partition's type.
//
// A value, copied freely; as a field of another record it travels as a record of its own. The bytes are in the
// GPT's on-disk layout, which mixes byte orders:
//
//   0 to 3 Data1, 4 to 5 Data2, 6 to 7 Data3: little-endian;   8 to 15 Data4: as stored
//
// so that 28 73 2A C1 1F F8 D2 11 BA 4B 00 A0 C9 3E C9 3B is c12a7328-f81f-11d2-ba4b-00a0c93ec93b.
//
// Keyed form: one block of 16 bytes without a key.
class TMBGUID final : public Record {
 public:
  // Sixteen zero bytes.
  TMBGUID() = default;
  TMBGUID(std::uint32_t data1, std::uint16_t data2, std::uint16_t data3, std::span<const std::uint8_t, 8> data4);
  explicit TMBGUID(std::span<const std::uint8_t, 16> bytes);
  explicit TMBGUID(const KeyedDecoder& coder);

  static TMBGUID GUIDWithData1(std::uint32_t data1, std::uint16_t data2, std::uint16_t data3,
                               std::span<const std::uint8_t, 8> data4);
  static TMBGUID GUIDWithBytes(std::span<const std::uint8_t, 16> bytes);
  // The identifier of that partition type; nothing for Unknown and for a code that stands for no type.
  static std::optional<TMBGUID> GUIDWithGPTType(TMBGPTType type);

  // The canonical text form: 36 characters, lower case.
  std::string stringValue() const;
  // The partition type that this identifies; Unknown when it is none of those listed.
  TMBGPTType gptType() const;
  void copyBytes(std::span<std::uint8_t, 16> buffer) const;

  std::string_view className() const override { return "TMBGUID"; }
  void encodeWithCoder(KeyedEncoder& coder) const override;

  friend bool operator==(const TMBGUID& a, const TMBGUID& b) { return a._guid == b._guid; }

 private:
  std::array<std::uint8_t, 16> _guid{};
};

// The partition type under an identifier that may be missing, as that of a partition may.
TMBGPTType gptTypeOf(const std::optional<TMBGUID>& guid);

}  // namespace zpk
