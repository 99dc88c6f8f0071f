#include "helper/disks/DiskRecord.h"

#include <gtest/gtest.h>

#include "helper/disks/PartitioningScheme.h"

namespace zpk {
namespace {

constexpr std::uint64_t mib = std::uint64_t{1} << 20;
constexpr const char* basicData = "EBD0A0A2-B9E5-4433-87C0-68B6B72699C7";

TableEntry gptEntry(std::uint32_t number, std::uint64_t start, std::uint64_t size, const char* type = basicData) {
  TableEntry entry;
  entry.number = number;
  entry.start = start;
  entry.size = size;
  entry.typeGuid = guidBytesOf(type);
  return entry;
}

DiskContent contentOf(std::vector<TableEntry> entries) {
  DiskContent content;
  content.table.diskSize = 1000 * mib;
  content.table.sectorSize = 512;
  content.table.schemes = PartitioningSchemeGpt;
  content.volumes.resize(entries.size());
  content.table.entries = std::move(entries);
  return content;
}

FoundDisk image() {
  FoundDisk disk;
  disk.path = "/disks/Windows PC.img";
  disk.name = "Windows PC";
  disk.bsdName = "Windows PC.img";
  disk.partitionInfix = "#";
  return disk;
}

RLDDisk recordOf(const DiskContent& content, const FoundDisk& disk = image()) {
  return diskRecordOf(disk, content, 7, "/icons/disk-image.png");
}

TEST(DiskRecord, DiskHasWhatWasFound) {
  DiskContent content = contentOf({});
  content.table.diskGuid = guidBytesOf("a3c51d0e-7f2b-4e57-9d0a-3b1e64c0d001");
  const RLDDisk disk = recordOf(content);
  EXPECT_EQ(disk.diskNumber(), 7U);
  EXPECT_EQ(disk.name(), "Windows PC");
  EXPECT_EQ(disk.bsdName(), "Windows PC.img");
  EXPECT_EQ(disk.filePath(), "/disks/Windows PC.img");
  EXPECT_EQ(disk.iconPath(), "/icons/disk-image.png");
  EXPECT_EQ(disk.diskSize(), 1000 * mib);
  EXPECT_EQ(disk.sectorSize(), 512U);
  EXPECT_EQ(disk.partitioningSchemes(), 2);
  ASSERT_TRUE(disk.gptID());
  EXPECT_EQ(disk.gptID()->stringValue(), "a3c51d0e-7f2b-4e57-9d0a-3b1e64c0d001");
  EXPECT_TRUE(disk.partitions().empty());
}

TEST(DiskRecord, UnusedEntriesBetweenCountAndTrailingOnesDoNot) {
  const RLDDisk disk = recordOf(contentOf({gptEntry(2, mib, mib), gptEntry(4, 2 * mib, mib)}));
  ASSERT_EQ(disk.partitions().size(), 4U);
  for (std::uint32_t i = 0; i < 4; ++i) {
    EXPECT_EQ(disk.partitions()[i]->partNumber(), i + 1);
    EXPECT_EQ(disk.partitions()[i]->diskNumber(), 7U);
    EXPECT_EQ(disk.partitions()[i]->partType() != 0, i == 1 || i == 3) << i;
  }
  EXPECT_EQ(disk.partitions()[0]->partSize(), 0U);
  EXPECT_FALSE(disk.partitions()[0]->gptTypeGUID());
}

TEST(DiskRecord, PartTypeTellsTheTablesTypeValue) {
  DiskContent content =
      contentOf({gptEntry(1, mib, mib), gptEntry(2, 2 * mib, mib, "7C3457EF-0000-11AA-AA11-00306543ECAC")});
  EXPECT_EQ(recordOf(content).partitions()[0]->partType(), partTypeGptBase + 7);
  EXPECT_EQ(recordOf(content).partitions()[1]->partType(), partTypeGptBase);
  content.table.entries[0].typeGuid.reset();
  content.table.entries[0].mbrType = 0x0C;
  EXPECT_EQ(recordOf(content).partitions()[0]->partType(), 0x0CU);
}

TEST(DiskRecord, SizesAndPositionsAreBytes) {
  const RLDDisk disk = recordOf(contentOf({gptEntry(1, 10 * mib, 90 * mib), gptEntry(2, 300 * mib, 100 * mib)}));
  const RLDPartition& first = *disk.partitions()[0];
  EXPECT_EQ(first.partStart(), 10 * mib);
  EXPECT_EQ(first.partEnd(), 100 * mib - 1);
  EXPECT_EQ(first.partSize(), 90 * mib);
  EXPECT_EQ(first.partMaxSize(), 290 * mib);
  EXPECT_EQ(first.partMinSize(), 90 * mib);
  EXPECT_EQ(first.partUsedSize(), 90 * mib);
  EXPECT_FALSE(first.isResizable());
  EXPECT_EQ(disk.partitions()[1]->partMaxSize(), 699 * mib);  // The last mebibyte belongs to the table.
}

TEST(DiskRecord, DiskMinSizeLeavesTheLargestFreeStretch) {
  EXPECT_EQ(recordOf(contentOf({})).diskMinSize(), 2 * mib);
  const RLDDisk disk = recordOf(contentOf({gptEntry(1, 10 * mib, 90 * mib), gptEntry(2, 300 * mib, 100 * mib)}));
  EXPECT_EQ(disk.diskSize() - disk.diskMinSize(), 599 * mib);
  const RLDDisk between = recordOf(contentOf({gptEntry(2, mib, 9 * mib), gptEntry(1, 900 * mib, 99 * mib)}));
  EXPECT_EQ(between.diskSize() - between.diskMinSize(), 890 * mib);
  const RLDDisk full = recordOf(contentOf({gptEntry(1, mib, 998 * mib)}));
  EXPECT_EQ(full.diskMinSize(), full.diskSize());
}

TEST(DiskRecord, FreeSpaceIsCountedInWholeMebibytes) {
  const RLDDisk disk =
      recordOf(contentOf({gptEntry(1, mib, 10 * mib + 512), gptEntry(2, 100 * mib + 512, 899 * mib)}));
  EXPECT_EQ(disk.diskSize() - disk.diskMinSize(), 88 * mib);
}

TEST(DiskRecord, NtfsHasItsOwnFigures) {
  DiskContent content = contentOf({gptEntry(1, mib, 100 * mib)});
  content.volumes[0] = {"ntfs", "", "Windows", "2E6C429333D3ED48",
                        NtfsFigures{99 * mib, 20 * mib, 21 * mib, false}};
  const RLDDisk disk = recordOf(content);
  const RLDPartition& windows = *disk.partitions()[0];
  EXPECT_EQ(windows.fileSystemType(), 2);
  EXPECT_EQ(windows.partUsedSize(), 20 * mib);
  EXPECT_EQ(windows.partMinSize(), 21 * mib);
  EXPECT_EQ(windows.name(), "Windows");
  EXPECT_EQ(windows.serialNumber(), Value(std::string("2E6C429333D3ED48")));
  EXPECT_TRUE(windows.isResizable());
  content.volumes[0].ntfs->isDirty = true;
  EXPECT_FALSE(recordOf(content).partitions()[0]->isResizable());
}

TEST(DiskRecord, NameIsTheLabelThenTheEntrysThenTheType) {
  DiskContent content = contentOf({gptEntry(1, mib, mib)});
  EXPECT_EQ(recordOf(content).partitions()[0]->name(), std::nullopt);
  content.volumes[0].type = "apfs";
  EXPECT_EQ(recordOf(content).partitions()[0]->name(), "apfs");
  content.table.entries[0].name = "Container";
  EXPECT_EQ(recordOf(content).partitions()[0]->name(), "Container");
  content.volumes[0].label = "Label";
  EXPECT_EQ(recordOf(content).partitions()[0]->name(), "Label");
}

TEST(DiskRecord, PartitionsOfImagesAreNamedAfterTheFile) {
  EXPECT_EQ(recordOf(contentOf({gptEntry(1, mib, mib)})).partitions()[0]->bsdName(), "Windows PC.img#1");
}

TEST(DiskRecord, PartitionsOfDevicesHaveTheKernelsNames) {
  FoundDisk disk = image();
  disk.bsdName = "sda";
  disk.partitionInfix = "";
  const DiskContent content = contentOf({gptEntry(3, mib, mib)});
  EXPECT_EQ(recordOf(content, disk).partitions()[2]->bsdName(), "sda3");
  disk.partitions = {{mib, "mapped", "/media/x", true}, {2 * mib, "other", "/y", false}};
  const RLDDisk record = recordOf(content, disk);
  EXPECT_EQ(record.partitions()[2]->bsdName(), "mapped");
  EXPECT_EQ(record.partitions()[2]->mountPoint(), "/media/x");
  EXPECT_TRUE(record.partitions()[2]->isSystem());
}

TEST(DiskRecord, TypesWithoutARowReadAsUnformatted) {
  for (const char* type : {"", "apfs", "BitLocker", "btrfs", "vfat", "crypto_LUKS", "ambivalent", "NTFS"}) {
    EXPECT_EQ(fileSystemTypeOf({type, "", "", "", std::nullopt}), FileSystemType::Unformatted) << type;
  }
  EXPECT_EQ(fileSystemTypeOf({"vfat", "FAT16", "", "", std::nullopt}), FileSystemType::FAT16);
  EXPECT_EQ(fileSystemTypeOf({"ntfs", "anything", "", "", std::nullopt}), FileSystemType::NTFS);
}

}  // namespace
}  // namespace zpk
