#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "helper/archive/Bytes.h"
#include "helper/archive/PointIndex.h"

namespace zpk {

// The types of partitions that matter to a restore, as their 16 bytes on the disk.
namespace gpttype {
inline constexpr GuidBytes efiSystem = {0x28, 0x73, 0x2A, 0xC1, 0x1F, 0xF8, 0xD2, 0x11,
                                        0xBA, 0x4B, 0x00, 0xA0, 0xC9, 0x3E, 0xC9, 0x3B};
inline constexpr GuidBytes microsoftBasicData = {0xA2, 0xA0, 0xD0, 0xEB, 0xE5, 0xB9, 0x33, 0x44,
                                                 0x87, 0xC0, 0x68, 0xB6, 0xB7, 0x26, 0x99, 0xC7};
}  // namespace gpttype

// One used entry of a GPT. Places are bytes.
struct GptEntry {
  std::uint32_t number = 0;  // From 1.
  GuidBytes type{};
  GuidBytes id{};
  std::uint64_t start = 0;
  std::uint64_t size = 0;
  std::uint64_t attributes = 0;
  std::string name;  // UTF-8.
};

// A disk's GPT as one of its copies says it.
//
//   header   in the second or last sector: "EFI PART" 0, header size 12, its CRC-32 16, own sector 24, disk id 56
//            (16 bytes), first sector of the entries 72, their count 80, their size 84, their CRC-32 88
//   entry    type 0, id 16, first sector 32, last sector 40, attributes 48, name 56 (36 UTF-16 units)
struct GptTable {
  GuidBytes diskId{};
  std::vector<GptEntry> entries;  // The used ones, by number.
};

// Reads bytes of a disk, all of them or none.
using DiskBytes = std::function<ArchiveResult<Done>(std::uint64_t offset, std::span<std::byte> bytes)>;

// Which of the two that a disk has: at its beginning, or at its end.
enum class GptCopy { First, Second };

// Damaged when there is no table, when a checksum is wrong or when an entry lies outside the disk.
ArchiveResult<GptTable> readGptTable(const DiskBytes& read, std::uint64_t diskSize, std::uint32_t sectorSize,
                                     GptCopy copy = GptCopy::First);

// "c12a7328-f81f-11d2-ba4b-00a0c93ec93b"
std::string textOfGuid(const GuidBytes& guid);

}  // namespace zpk
