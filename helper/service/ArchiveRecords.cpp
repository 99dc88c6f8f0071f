#include "helper/service/ArchiveRecords.h"

#include <algorithm>
#include <utility>

#include "records/RLDArcDisk.h"
#include "records/RLDArcPartition.h"
#include "records/RLDArchiveItem.h"
#include "records/RLDPartition.h"

namespace zpk {
namespace {

std::optional<std::string> textOrNothing(const std::string& text) {
  return text.empty() ? std::nullopt : std::optional(text);
}

bool isWindowsSide(const RLDPartition& partition) {
  if (partition.partType() == 0) return false;
  switch (gptTypeOf(partition.gptTypeGUID())) {
    case TMBGPTType::MicrosoftBasicData:
    case TMBGPTType::MicrosoftReserved:
    case TMBGPTType::WindowsRecovery:
      return true;
    case TMBGPTType::Unknown:
    case TMBGPTType::EFISystem:
    case TMBGPTType::AppleHFSPlus:
    case TMBGPTType::AppleBoot:
    case TMBGPTType::AppleCoreStorage:
    case TMBGPTType::AppleRAID:
    case TMBGPTType::AppleRAIDOffline:
      break;
  }
  return false;
}

GuidBytes bytesOf(const std::optional<TMBGUID>& guid) {
  GuidBytes bytes{};
  if (guid) guid->copyBytes(bytes);
  return bytes;
}

StoredPartition storedPartition(const RLDPartition& partition) {
  StoredPartition stored;
  stored.number = partition.partNumber();
  stored.start = partition.partStart();
  stored.end = partition.partEnd();
  stored.size = partition.partSize();
  stored.minSize = partition.partMinSize();
  stored.maxSize = partition.partMaxSize();
  stored.usedSize = partition.partUsedSize();
  stored.type = partition.partType();
  stored.typeGuid = bytesOf(partition.gptTypeGUID());
  stored.fileSystemType = partition.fileSystemType();
  stored.name = partition.name().value_or("");
  stored.bsdName = partition.bsdName().value_or("");
  stored.serialNumber = partition.serialNumber().textOr("");
  stored.isResizable = partition.isResizable();
  stored.isSystem = partition.isSystem();
  stored.content = isWindowsSide(partition) ? PartitionContent::Whole : PartitionContent::NotStored;
  return stored;
}

std::shared_ptr<const RLDPartition> partitionRecord(const StoredPartition& stored, const StoredDisk& disk,
                                                    const std::string& indexPath) {
  RLDPartition::Fields fields;
  fields.isResizable = stored.isResizable;
  fields.isSystem = stored.isSystem;
  fields.partNumber = stored.number;
  fields.diskNumber = disk.number;
  fields.sectorSize = disk.sectorSize;
  fields.partSize = stored.size;
  fields.partMinSize = leastRoomFor(stored);
  fields.partMaxSize = stored.maxSize;
  fields.partUsedSize = stored.usedSize;
  fields.partStart = stored.start;
  fields.partEnd = stored.end;
  fields.partType = stored.type;
  fields.gptTypeGUID = TMBGUID::GUIDWithBytes(stored.typeGuid);
  if (!stored.serialNumber.empty()) fields.serialNumber = Value(stored.serialNumber);
  fields.fileSystemType = stored.fileSystemType;
  fields.name = textOrNothing(stored.name);
  fields.bsdName = textOrNothing(stored.bsdName);
  return std::make_shared<const RLDArcPartition>(std::move(fields), indexPath);
}

std::shared_ptr<const RLDArchiveItem> itemRecord(const PointIndex& point, std::size_t index,
                                                 const std::string& indexPath) {
  RecordList<RLDArcDisk> disks;
  for (const StoredDisk& disk : point.disks) disks.push_back(storedDiskRecord(disk, indexPath));
  RLDArchiveItem::Fields fields;
  fields.isPinned = point.isPinned;
  fields.arcIndex = static_cast<std::uint32_t>(index);
  fields.creationDate = Date{static_cast<double>(point.creationTime)};
  fields.disks = std::move(disks);
  fields.indexFilePath = indexPath;
  fields.name = textOrNothing(point.label);
  return std::make_shared<const RLDArchiveItem>(std::move(fields));
}

std::shared_ptr<const RLDArchiveItem> damagedItemRecord(std::size_t index, const std::string& indexPath) {
  RLDArchiveItem::Fields fields;
  fields.arcIndex = static_cast<std::uint32_t>(index);
  fields.disks.emplace();
  fields.indexFilePath = indexPath;
  fields.name = "Damaged";
  return std::make_shared<const RLDArchiveItem>(std::move(fields));
}

PointHealth healthOf(const PointIndex& point, const std::string& indexPath) {
  PointHealth health{indexPath, std::nullopt, unreadableSectors(point)};
  if (point.check) health.lastCheck = {point.check->time, point.check->isDamaged};
  return health;
}

}  // namespace

std::shared_ptr<const RLDArcDisk> storedDiskRecord(const StoredDisk& stored, const std::string& indexPath) {
  RecordList<RLDPartition> partitions;
  for (const StoredPartition& partition : stored.partitions) {
    if (partition.content == PartitionContent::NotStored) continue;
    partitions.push_back(partitionRecord(partition, stored, indexPath));
  }
  const auto isBesideWindows = [](const auto& partition) {
    return gptTypeOf(partition->gptTypeGUID()) != TMBGPTType::MicrosoftBasicData;
  };
  std::stable_partition(partitions.begin(), partitions.end(), isBesideWindows);
  RLDDisk::Fields fields;
  fields.diskNumber = stored.number;
  fields.sectorSize = stored.sectorSize;
  fields.diskSize = stored.size;
  fields.diskMinSize = stored.minSize;
  fields.name = textOrNothing(stored.name);
  fields.gptID = TMBGUID::GUIDWithBytes(stored.gptId);
  fields.partitions = std::move(partitions);
  fields.partitioningSchemes = stored.partitioningSchemes;
  fields.bsdName = textOrNothing(stored.bsdName);
  return std::make_shared<const RLDArcDisk>(std::move(fields), indexPath);
}

PresentArchive presentArchive(const Archive& archive) {
  RecordList<RLDArchiveItem> items;
  std::vector<PointHealth> health;
  for (std::size_t i = 0; i < archive.index().points.size(); ++i) {
    const ArchiveResult<PointIndex> point = archive.readPoint(i);
    const std::string indexPath = archive.pointIndexPath(i);
    if (point) {
      items.push_back(itemRecord(*point, i, indexPath));
      health.push_back(healthOf(*point, indexPath));
    } else {
      // One that is damaged hides no other.
      items.push_back(damagedItemRecord(i, indexPath));
    }
  }
  RLDArchive::Fields fields;
  fields.items = std::move(items);
  fields.indexFilePath = archive.path() + "/" + Archive::indexName;
  fields.isLegacy = archive.index().isLegacy;
  return {std::make_shared<const RLDArchive>(std::move(fields)), archive.index().sourceDisk, std::move(health)};
}

StoredDisk storedDisk(const ZPKDisk& disk) {
  StoredDisk stored;
  stored.number = disk.diskNumber();
  stored.sectorSize = disk.sectorSize();
  stored.size = disk.diskSize();
  stored.minSize = disk.diskMinSize();
  stored.partitioningSchemes = disk.partitioningSchemes();
  stored.gptId = bytesOf(disk.gptID());
  stored.name = disk.name().value_or("");
  stored.bsdName = disk.bsdName().value_or("");
  for (const auto& partition : disk.partitions()) stored.partitions.push_back(storedPartition(*partition));
  return stored;
}

TargetLayout targetLayout(const ZPKDisk& disk) {
  TargetLayout layout{disk.diskSize(), disk.sectorSize(), std::nullopt, {}};
  if (const GuidBytes id = bytesOf(disk.gptID()); id != GuidBytes{}) layout.id = id;
  for (const auto& partition : disk.partitions()) {
    if (partition->partType() == 0) continue;
    layout.partitions.push_back({partition->partNumber(), partition->partStart(), partition->partSize(),
                                 bytesOf(partition->gptTypeGUID())});
  }
  return layout;
}

TargetUse targetUse(const ZPKDisk& disk) {
  if (disk.isBootCamp()) return TargetUse::WindowsPartition;
  return disk.isEmpty() ? TargetUse::WholeDisk : TargetUse::FreeSpace;
}

}  // namespace zpk
