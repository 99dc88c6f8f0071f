#include "support/StatusBuilder.h"

#include <array>

namespace zpk {
namespace {

constexpr std::int64_t kGPTScheme = 2;
constexpr std::uint64_t kGB = 1'000'000'000;

TMBGUID diskIdentifier(std::uint8_t number) {
  std::array<std::uint8_t, 16> bytes{};
  bytes[15] = number;
  return TMBGUID(bytes);
}

std::shared_ptr<const RLDPartition> partition(TMBGPTType type, RLDPartition::Fields fields) {
  fields.partType = 1;
  fields.gptTypeGUID = TMBGUID::GUIDWithGPTType(type);
  return std::make_shared<const RLDPartition>(std::move(fields));
}

RecordList<RLDPartition> macPartitions() {
  return {partition(TMBGPTType::EFISystem, {.partSize = 209'715'200, .name = "EFI"}),
          partition(TMBGPTType::AppleHFSPlus, {.partSize = 120 * kGB, .fileSystemType = 1, .name = "Macintosh HD"}),
          partition(TMBGPTType::AppleBoot, {.partSize = 650'000'000, .fileSystemType = 1, .name = "Recovery HD"})};
}

std::shared_ptr<const ZPKDisk> diskWith(std::uint8_t number, const std::string& name, std::uint64_t size,
                                        std::uint64_t minSize, RecordList<RLDPartition> partitions) {
  return ZPKDisk::diskWithDisk(RLDDisk({.diskNumber = number,
                                        .sectorSize = 512,
                                        .diskSize = size,
                                        .diskMinSize = minSize,
                                        .name = name,
                                        .gptID = diskIdentifier(number),
                                        .partitions = std::move(partitions),
                                        .partitioningSchemes = kGPTScheme}));
}

}  // namespace

std::shared_ptr<const ZPKDisk> bootCampDisk(std::uint8_t number, const std::string& name) {
  RecordList<RLDPartition> partitions = macPartitions();
  partitions.push_back(partition(TMBGPTType::MicrosoftBasicData, {.partSize = 128 * kGB,
                                                                  .partMinSize = 50 * kGB,
                                                                  .partUsedSize = 47 * kGB,
                                                                  .fileSystemType = 2,
                                                                  .name = "BOOTCAMP"}));
  return diskWith(number, name, 250 * kGB, 200 * kGB, std::move(partitions));
}

std::shared_ptr<const ZPKDisk> macDisk(std::uint8_t number, const std::string& name, std::uint64_t size,
                                       std::uint64_t minSize) {
  return diskWith(number, name, size, minSize, macPartitions());
}

std::shared_ptr<const ZPKDisk> emptyDisk(std::uint8_t number, const std::string& name, std::uint64_t size) {
  return diskWith(number, name, size, 0, {});
}

std::string identifierOf(const ZPKDisk& disk) {
  return disk.gptID()->stringValue();
}

std::shared_ptr<const RLDArchiveItem> backupPoint(std::uint32_t arcIndex, const std::string& name, double date,
                                                  bool pinned, std::uint64_t partMinSize, std::size_t partitions) {
  RecordList<RLDPartition> stored(
      partitions, partition(TMBGPTType::MicrosoftBasicData,
                            {.partSize = 128 * kGB, .partMinSize = partMinSize, .partUsedSize = 47 * kGB}));
  const auto disk = std::make_shared<const RLDArcDisk>(
      RLDDisk::Fields{.diskSize = 250 * kGB, .name = "Flash Disk", .partitions = std::move(stored)}, std::nullopt);
  return std::make_shared<const RLDArchiveItem>(RLDArchiveItem::Fields{.isPinned = pinned,
                                                                       .arcIndex = arcIndex,
                                                                       .creationDate = Date{date},
                                                                       .disks = RecordList<RLDArcDisk>{disk},
                                                                       .name = name});
}

std::shared_ptr<const RLDArchive> archiveOf(std::vector<std::shared_ptr<const RLDArchiveItem>> items, bool legacy) {
  return std::make_shared<const RLDArchive>(RLDArchive::Fields{.isLegacy = legacy, .items = std::move(items)});
}

Dictionary idleStatus(std::vector<std::shared_ptr<const ZPKDisk>> disks) {
  Dictionary status;
  statuskey::stateTime.set(status, 7);
  statuskey::state.set(status, HelperState::idle);
  statuskey::disks.set(status, std::move(disks));
  return status;
}

Dictionary readyStatus() {
  const auto disk = bootCampDisk(1, "Flash Disk FD0256G");
  Dictionary status = idleStatus({disk, macDisk(2, "External Disk", 500 * kGB, 300 * kGB)});
  statuskey::sourceDisk.set(status, identifierOf(*disk));
  statuskey::targetArchive.set(status, "/backups/Office PC.rldbackup");
  statuskey::arcState.set(status, ArcState::ready);
  statuskey::maxIncCount.set(status, 10);
  statuskey::archiveDescription.set(
      status, archiveOf({backupPoint(0, "Before the update", 1'700'000'000, true),
                         backupPoint(1, "", 1'700'600'000), backupPoint(2, "", 1'701'200'000)}));
  return status;
}

Dictionary backupStatus(double percent, Array log) {
  Dictionary status = readyStatus();
  statuskey::state.set(status, HelperState::inProgress);
  statuskey::progressType.set(status, ProgressType::backup);
  statuskey::progressPercents.set(status, percent);
  statuskey::elapsedTime.set(status, 95);
  statuskey::remainingTime.set(status, 310);
  statuskey::fullLog.set(status, std::move(log));
  return status;
}

}  // namespace zpk
