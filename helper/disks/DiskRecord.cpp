#include "helper/disks/DiskRecord.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "helper/disks/PartitioningScheme.h"

namespace zpk {
namespace {

// New partitions begin and end on whole mebibytes, and the GPT's copies keep the first and the last.
constexpr std::uint64_t alignment = std::uint64_t{1} << 20;

struct TypeName {
  std::string_view type;
  std::string_view version;  // Empty: any.
  FileSystemType fileSystem;
};

constexpr std::array typeNames{
    TypeName{"hfsplus", "", FileSystemType::HFSPlus}, TypeName{"ntfs", "", FileSystemType::NTFS},
    TypeName{"vfat", "FAT12", FileSystemType::FAT12}, TypeName{"vfat", "FAT16", FileSystemType::FAT16},
    TypeName{"vfat", "FAT32", FileSystemType::FAT32}, TypeName{"ext2", "", FileSystemType::ExtFS2},
    TypeName{"ext3", "", FileSystemType::ExtFS3},     TypeName{"ext4", "", FileSystemType::ExtFS4},
    TypeName{"hpfs", "", FileSystemType::HPFS},       TypeName{"exfat", "", FileSystemType::ExFAT},
    TypeName{"ReFS", "", FileSystemType::ReFS},       TypeName{"xfs", "", FileSystemType::XFS},
};

std::uint64_t roundedUp(std::uint64_t value) {
  return (value + alignment - 1) / alignment * alignment;
}
std::uint64_t roundedDown(std::uint64_t value) {
  return value / alignment * alignment;
}

std::uint64_t usableEnd(const TableReport& table) {
  return table.diskSize < 2 * alignment ? 0 : roundedDown(table.diskSize - alignment);
}

std::uint64_t endOf(const TableEntry& entry) {
  return entry.start + entry.size;
}

// Where the free space behind a partition ends; no less than the partition's own end.
std::uint64_t endOfFreeSpace(const TableReport& table, const TableEntry& entry) {
  std::uint64_t end = usableEnd(table);
  for (const TableEntry& other : table.entries) {
    if (other.start >= endOf(entry)) end = std::min(end, other.start);
  }
  return std::max(end, endOf(entry));
}

std::uint64_t largestFreeStretch(const TableReport& table) {
  std::vector<TableEntry> entries = table.entries;
  std::sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) { return a.start < b.start; });
  std::uint64_t largest = 0;
  std::uint64_t begin = alignment;
  const auto measure = [&](std::uint64_t limit) {
    const std::uint64_t end = roundedDown(std::min(limit, usableEnd(table)));
    if (end > begin) largest = std::max(largest, end - begin);
  };
  for (const TableEntry& entry : entries) {
    measure(entry.start);
    begin = std::max(begin, roundedUp(endOf(entry)));
  }
  measure(usableEnd(table));
  return largest;
}

std::uint64_t partTypeOf(const TableEntry& entry, const std::optional<TMBGUID>& type) {
  if (!type) return std::max<std::uint64_t>(entry.mbrType, 1);
  return partTypeGptBase + static_cast<std::uint64_t>(type->gptType());
}

std::optional<std::string> partitionName(const TableEntry& entry, const VolumeReport& volume) {
  if (!volume.label.empty()) return volume.label;
  if (!entry.name.empty()) return entry.name;
  if (!volume.type.empty() && fileSystemTypeOf(volume) == FileSystemType::Unformatted) return volume.type;
  return std::nullopt;
}

void addWhatTheSystemKnows(RLDPartition::Fields& fields, const FoundDisk& disk) {
  for (const FoundPartition& known : disk.partitions) {
    if (known.start != fields.partStart) continue;
    fields.isSystem = fields.isSystem || known.isSystem;
    if (known.mountPoint) fields.mountPoint = known.mountPoint;
    if (!known.bsdName.empty()) fields.bsdName = known.bsdName;
  }
}

RLDPartition::Fields usedEntry(const FoundDisk& disk, const TableReport& table, const TableEntry& entry,
                               const VolumeReport& volume) {
  RLDPartition::Fields fields;
  fields.partSize = entry.size;
  fields.partUsedSize = volume.ntfs ? volume.ntfs->usedSize : entry.size;
  fields.partMinSize = volume.ntfs ? volume.ntfs->minimumSize : entry.size;
  fields.partMaxSize = endOfFreeSpace(table, entry) - entry.start;
  fields.isResizable = volume.ntfs && !volume.ntfs->isDirty;
  fields.partStart = entry.start;
  fields.partEnd = endOf(entry) - 1;
  if (entry.typeGuid) fields.gptTypeGUID = TMBGUID(*entry.typeGuid);
  fields.partType = partTypeOf(entry, fields.gptTypeGUID);
  fields.fileSystemType = static_cast<std::int64_t>(fileSystemTypeOf(volume));
  if (!volume.serial.empty()) fields.serialNumber = Value(volume.serial);
  fields.name = partitionName(entry, volume);
  fields.bsdName = disk.bsdName + disk.partitionInfix + std::to_string(entry.number);
  addWhatTheSystemKnows(fields, disk);
  return fields;
}

RecordList<RLDPartition> partitionsOf(const FoundDisk& disk, const DiskContent& content, std::uint32_t diskNumber) {
  const std::vector<TableEntry>& entries = content.table.entries;
  RecordList<RLDPartition> partitions;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const auto add = [&](RLDPartition::Fields fields) {
      fields.partNumber = static_cast<std::uint32_t>(partitions.size() + 1);
      fields.diskNumber = diskNumber;
      fields.sectorSize = content.table.sectorSize;
      partitions.push_back(std::make_shared<const RLDPartition>(std::move(fields)));
    };
    while (partitions.size() + 1 < entries[i].number) add({});
    add(usedEntry(disk, content.table, entries[i], content.volumes[i]));
  }
  return partitions;
}

}  // namespace

FileSystemType fileSystemTypeOf(const VolumeReport& volume) {
  for (const TypeName& row : typeNames) {
    if (row.type == volume.type && (row.version.empty() || row.version == volume.version)) return row.fileSystem;
  }
  return FileSystemType::Unformatted;
}

RLDDisk diskRecordOf(const FoundDisk& disk, const DiskContent& content, std::uint32_t diskNumber,
                     const std::string& iconPath) {
  RLDDisk::Fields fields;
  fields.diskNumber = diskNumber;
  fields.sectorSize = content.table.sectorSize;
  fields.diskSize = content.table.diskSize;
  fields.diskMinSize = content.table.diskSize - largestFreeStretch(content.table);
  fields.name = disk.name;
  fields.gptID = content.table.diskGuid ? TMBGUID(*content.table.diskGuid) : TMBGUID();
  fields.partitions = partitionsOf(disk, content, diskNumber);
  fields.iconPath = iconPath;
  fields.partitioningSchemes = content.table.schemes;
  fields.bsdName = disk.bsdName;
  fields.filePath = disk.path;
  return RLDDisk(std::move(fields));
}

}  // namespace zpk
