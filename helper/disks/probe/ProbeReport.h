#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zpk {

// What the probe program found out, and the JSON in which it says it. The program reads disks that anybody may have
// written, so whoever reads a report trusts it no further than the disk itself: every number is checked again.

using GuidBytes = std::array<std::uint8_t, 16>;  // In the layout of a GPT on the disk.

// One used entry of a partition table. Positions and sizes are bytes.
struct TableEntry {
  std::uint32_t number = 0;  // 1 is the table's first entry.
  std::uint64_t start = 0;
  std::uint64_t size = 0;
  std::uint32_t mbrType = 0;          // The type byte of an MBR entry, 0 in a GPT.
  std::optional<GuidBytes> typeGuid;  // The type of a GPT entry.
  std::string name;                   // A GPT entry may have one.
};

// Whether the entry is an MBR's container of logical partitions.
bool isExtendedPartition(const TableEntry& entry);

struct TableReport {
  std::uint64_t diskSize = 0;
  std::uint32_t sectorSize = 0;
  int schemes = 0;  // Bits of `PartitioningScheme`.
  std::optional<GuidBytes> diskGuid;
  std::vector<TableEntry> entries;    // By number.
  std::vector<std::string> warnings;  // Oddities that do no harm: a damaged backup header.
  std::string problem;                // Why the disk must be left alone; empty when it need not.
};

// Figures of an NTFS volume, in bytes.
struct NtfsFigures {
  std::uint64_t volumeSize = 0;
  std::uint64_t usedSize = 0;
  std::uint64_t minimumSize = 0;  // Of a partition for it: shrunken, and the boot sector's copy behind it.
  bool isDirty = false;           // Windows did not finish with the volume, or wants to check it.
};

struct VolumeReport {
  std::string type;     // As libblkid names it: "ntfs", "vfat", "apfs", …; empty when nothing is recognised.
  std::string version;  // "FAT32" of a "vfat".
  std::string label;
  std::string serial;
  std::optional<NtfsFigures> ntfs;  // Also absent when the volume's bitmap cannot be read.
};

std::string jsonOf(const TableReport& report);
std::string jsonOf(const VolumeReport& report);

// Nothing when the text is not a report.
std::optional<TableReport> tableReportOf(std::string_view json);
std::optional<VolumeReport> volumeReportOf(std::string_view json);

// "c12a7328-f81f-…" in either case, as bytes on the disk; nothing when the text is no GUID.
std::optional<GuidBytes> guidBytesOf(std::string_view text);
std::string guidText(const GuidBytes& guid);

}  // namespace zpk
