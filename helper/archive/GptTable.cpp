#include "helper/archive/GptTable.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

namespace zpk {
namespace {

constexpr std::uint64_t mostEntryBytes = std::uint64_t{1} << 20U;
constexpr std::uint32_t smallestHeader = 92;
constexpr std::uint32_t smallestEntry = 128;
constexpr std::size_t nameUnits = 36;

std::uint32_t crc32Of(ByteSpan bytes) {
  std::uint32_t crc = ~std::uint32_t{0};
  for (const std::byte byte : bytes) {
    crc ^= std::to_integer<std::uint32_t>(byte);
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1U) ^ ((crc & 1U) != 0 ? 0xEDB88320U : 0U);
  }
  return ~crc;
}

GuidBytes guidAt(ByteSpan bytes, std::size_t offset) {
  GuidBytes guid;
  std::memcpy(guid.data(), &bytes[offset], guid.size());
  return guid;
}

void appendUtf8(std::string& text, std::uint32_t character) {
  const auto put = [&text](std::uint32_t byte) { text.push_back(static_cast<char>(byte)); };
  if (character < 0x80) {
    put(character);
  } else if (character < 0x800) {
    put(0xC0U | character >> 6U);
    put(0x80U | (character & 0x3FU));
  } else if (character < 0x10000) {
    put(0xE0U | character >> 12U);
    put(0x80U | (character >> 6U & 0x3FU));
    put(0x80U | (character & 0x3FU));
  } else {
    put(0xF0U | character >> 18U);
    put(0x80U | (character >> 12U & 0x3FU));
    put(0x80U | (character >> 6U & 0x3FU));
    put(0x80U | (character & 0x3FU));
  }
}

// Halves of a pair that stand alone, and control characters, are left out.
std::string nameAt(ByteSpan bytes, std::size_t offset) {
  std::string name;
  for (std::size_t i = 0; i < nameUnits; ++i) {
    const std::uint32_t unit = littleEndianAt<std::uint16_t>(bytes, offset + 2 * i);
    if (unit == 0) break;
    if (unit < 0x20 || (unit >= 0xDC00 && unit < 0xE000)) continue;
    if (unit < 0xD800 || unit >= 0xE000) {
      appendUtf8(name, unit);
    } else if (i + 1 < nameUnits) {
      const std::uint32_t low = littleEndianAt<std::uint16_t>(bytes, offset + 2 * i + 2);
      if (low < 0xDC00 || low >= 0xE000) continue;
      appendUtf8(name, 0x10000 + ((unit - 0xD800) << 10U) + (low - 0xDC00));
      ++i;
    }
  }
  return name;
}

ArchiveError noTable(const char* message) {
  return damagedError(message, {});
}

class Parser {
 public:
  Parser(const DiskBytes& read, std::uint64_t diskSize, std::uint32_t sectorSize)
      : _read(read), _sectors(diskSize / sectorSize), _sectorSize(sectorSize) {}

  ArchiveResult<GptTable> parse(GptCopy copy) {
    ByteBuffer header(_sectorSize);
    if (_sectors < 3) return noTable("The disk is too small for a partition table");
    const std::uint64_t place = copy == GptCopy::First ? 1 : _sectors - 1;
    ArchiveResult<Done> step = _read(place * _sectorSize, header);
    if (step) step = checkHeader(header);
    if (!step) return step.error();
    ByteBuffer entries(_count * _entrySize);
    step = _read(_entriesPlace * _sectorSize, entries);
    if (!step) return step.error();
    if (crc32Of(entries) != littleEndianAt<std::uint32_t>(header, 88)) {
      return noTable("The entries of the partition table do not match their checksum");
    }
    GptTable table;
    table.diskId = guidAt(header, 56);
    for (std::size_t i = 0; i < _count; ++i) {
      step = addEntry(table, ByteSpan(entries).subspan(i * _entrySize, _entrySize), i + 1);
      if (!step) return step.error();
    }
    return table;
  }

 private:
  ArchiveResult<Done> checkHeader(ByteBuffer header) {
    if (std::memcmp(header.data(), "EFI PART", 8) != 0) return noTable("The disk has no GPT partition table");
    const auto size = littleEndianAt<std::uint32_t>(header, 12);
    const auto checksum = littleEndianAt<std::uint32_t>(header, 16);
    _entriesPlace = littleEndianAt<std::uint64_t>(header, 72);
    _count = littleEndianAt<std::uint32_t>(header, 80);
    _entrySize = littleEndianAt<std::uint32_t>(header, 84);
    if (size < smallestHeader || size > header.size() || _entrySize < smallestEntry || _count == 0 ||
        _count * _entrySize > mostEntryBytes || _entriesPlace < 2 || _entriesPlace >= _sectors) {
      return noTable("The partition table contradicts itself");
    }
    putLittleEndian(header, 16, std::uint32_t{0});
    if (crc32Of(ByteSpan(header).first(size)) != checksum) {
      return noTable("The partition table does not match its checksum");
    }
    return Done{};
  }

  ArchiveResult<Done> addEntry(GptTable& table, ByteSpan bytes, std::size_t number) const {
    GptEntry entry;
    entry.type = guidAt(bytes, 0);
    if (entry.type == GuidBytes{}) return Done{};
    const auto first = littleEndianAt<std::uint64_t>(bytes, 32);
    const auto last = littleEndianAt<std::uint64_t>(bytes, 40);
    if (first == 0 || first > last || last >= _sectors) {
      return noTable("A partition reaches beyond the end of its disk");
    }
    entry.number = static_cast<std::uint32_t>(number);
    entry.id = guidAt(bytes, 16);
    entry.start = first * _sectorSize;
    entry.size = (last - first + 1) * _sectorSize;
    entry.attributes = littleEndianAt<std::uint64_t>(bytes, 48);
    entry.name = nameAt(bytes, 56);
    table.entries.push_back(std::move(entry));
    return Done{};
  }

  const DiskBytes& _read;
  const std::uint64_t _sectors;
  const std::uint32_t _sectorSize;
  std::uint64_t _entriesPlace = 0;
  std::uint64_t _count = 0;
  std::uint64_t _entrySize = 0;
};

}  // namespace

ArchiveResult<GptTable> readGptTable(const DiskBytes& read, std::uint64_t diskSize, std::uint32_t sectorSize,
                                     GptCopy copy) {
  return Parser(read, diskSize, sectorSize).parse(copy);
}

std::string textOfGuid(const GuidBytes& guid) {
  // The first three groups are little-endian.
  constexpr std::array<std::size_t, 16> order{3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
  std::string text;
  for (std::size_t i = 0; i < order.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned>(guid[order[i]]));
    text += digits;
  }
  return text;
}

}  // namespace zpk
