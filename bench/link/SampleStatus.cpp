#include "bench/link/SampleStatus.h"

#include <array>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "helperlink/StatusRecord.h"
#include "records/RLDArcDisk.h"
#include "records/RLDArcPartition.h"
#include "records/RLDArchive.h"
#include "records/ZPKDisk.h"

namespace zpk::bench {

namespace {

constexpr std::uint64_t kGiB = std::uint64_t{1} << 30;

RLDPartition::Fields partition(std::uint32_t number, TMBGPTType type) {
  RLDPartition::Fields fields;
  fields.isResizable = true;
  fields.partNumber = number;
  fields.sectorSize = 512;
  fields.partSize = 100 * kGiB;
  fields.partMinSize = 40 * kGiB;
  fields.partMaxSize = 200 * kGiB;
  fields.partUsedSize = 39 * kGiB;
  fields.partStart = number * 100 * kGiB;
  fields.partEnd = (number + 1) * 100 * kGiB - 512;
  fields.partType = 1;
  fields.gptTypeGUID = TMBGUID::GUIDWithGPTType(type);
  fields.serialNumber = "01D9A5B2C3D4E5F6";
  fields.fileSystemType = 2;
  fields.name = "Volume " + std::to_string(number);
  fields.bsdName = "disk0s" + std::to_string(number);
  return fields;
}

// EFI, HFS+, Apple Boot, Microsoft Reserved, Basic Data: a Mac with Windows.
constexpr std::array kLayout = {TMBGPTType{1}, TMBGPTType{2}, TMBGPTType{3}, TMBGPTType{8}, TMBGPTType{7}};

// `make` turns the fields of a partition into the record that stands in the disk.
template <class Make>
RLDDisk::Fields disk(std::size_t index, Make make) {
  constexpr std::array<std::uint8_t, 8> kNode = {1, 2, 3, 4, 5, 6, 7, 8};
  RLDDisk::Fields fields;
  fields.diskNumber = static_cast<std::uint32_t>(index);
  fields.sectorSize = 512;
  fields.diskSize = 600 * kGiB;
  fields.name = "Disk " + std::to_string(index);
  fields.gptID = TMBGUID::GUIDWithData1(static_cast<std::uint32_t>(index), 1, 2, kNode);
  fields.partitions.emplace();
  for (std::uint32_t number = 0; number < kLayout.size(); ++number) {
    fields.partitions->push_back(make(partition(number + 1, kLayout[number])));
  }
  fields.iconPath = "/usr/share/zpk/icons/internal-disk.png";
  fields.partitioningSchemes = 2;
  fields.bsdName = "disk" + std::to_string(index);
  return fields;
}

std::shared_ptr<const ZPKDisk> liveDisk(std::size_t index) {
  return ZPKDisk::diskWithDisk(RLDDisk(disk(
      index, [](RLDPartition::Fields fields) { return std::make_shared<const RLDPartition>(std::move(fields)); })));
}

std::shared_ptr<const RLDArcDisk> storedDisk(const std::string& indexFile) {
  return std::make_shared<const RLDArcDisk>(disk(0,
                                                 [&](RLDPartition::Fields fields) {
                                                   return std::make_shared<const RLDArcPartition>(std::move(fields),
                                                                                                  indexFile);
                                                 }),
                                            indexFile);
}

std::shared_ptr<const RLDArchive> archive(std::size_t points) {
  RLDArchive::Fields fields;
  fields.indexFilePath = "/archives/Windows.rldbackup/archive.json";
  fields.items.emplace();
  for (std::size_t index = 0; index < points; ++index) {
    const std::string indexFile = "/archives/Windows.rldbackup/p" + std::to_string(index) + "/index.json";
    RLDArchiveItem::Fields item;
    item.arcIndex = static_cast<std::uint32_t>(index);
    item.creationDate = Date{1.7e9 + 86400.0 * static_cast<double>(index)};
    item.disks = RecordList<RLDArcDisk>{storedDisk(indexFile)};
    item.indexFilePath = indexFile;
    item.name = "Before update " + std::to_string(index);
    fields.items->push_back(std::make_shared<const RLDArchiveItem>(std::move(item)));
  }
  return std::make_shared<const RLDArchive>(std::move(fields));
}

}  // namespace

Dictionary sampleStatus(const StatusSize& size) {
  std::vector<std::shared_ptr<const ZPKDisk>> disks;
  for (std::size_t index = 0; index < size.disks; ++index) disks.push_back(liveDisk(index));
  Array log;
  for (std::size_t line = 0; line < size.logLines; ++line) {
    log.emplace_back("12:00:00 Reading clusters " + std::to_string(line * 4096) + " of the Windows volume");
  }

  Dictionary status;
  statuskey::stateTime.set(status, 42);
  statuskey::state.set(status, HelperState::inProgress);
  statuskey::progressPercents.set(status, 37);
  statuskey::elapsedTime.set(status, 75);
  statuskey::remainingTime.set(status, 121);
  statuskey::fullLog.set(status, std::move(log));
  statuskey::archiveDescription.set(status, archive(size.points));
  statuskey::targetArchive.set(status, "/archives/Windows.rldbackup");
  statuskey::disks.set(status, std::move(disks));
  statuskey::sourceDisk.set(status, "00000000-0001-0002-0102-030405060708");
  statuskey::maxIncCount.set(status, 10);
  statuskey::checkFS.set(status, true);
  statuskey::arcState.set(status, ArcState::ready);
  return status;
}

}  // namespace zpk::bench
