#include "helper/disks/probe/TableProbe.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>

#include "helper/disks/DiskTestSupport.h"
#include "helper/disks/PartitioningScheme.h"

namespace zpk {
namespace {

using namespace disktest;

TableReport tableOf(const std::string& path) {
  const Expected<DiskReader, std::string> disk = DiskReader::open(path, std::nullopt);
  EXPECT_TRUE(disk) << path;
  return disk ? probeTable(*disk, 0) : TableReport{};
}

std::string lowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
  return text;
}

class AgainstSgdisk : public testing::TestWithParam<const char*> {};

TEST_P(AgainstSgdisk, EntriesAreWhatSgdiskPrints) {
  const std::string path =
      std::string(GetParam()).find('/') == std::string::npos ? oddImage(GetParam()) : sampleFolder() + GetParam();
  const TableReport table = tableOf(path);
  EXPECT_EQ(table.problem, "");
  EXPECT_EQ(table.schemes & PartitioningSchemeGpt, PartitioningSchemeGpt);
  ASSERT_TRUE(table.diskGuid);
  const std::string whole = outputOf("sgdisk -p '" + path + "' 2>/dev/null");
  EXPECT_EQ(guidText(*table.diskGuid), lowerCase(valueIn(whole, "Disk identifier (GUID)")));
  std::size_t used = 0;
  for (std::uint32_t number = 1; number <= 128; ++number) {
    const auto entry = std::find_if(table.entries.begin(), table.entries.end(),
                                    [number](const TableEntry& candidate) { return candidate.number == number; });
    const std::string info = outputOf("sgdisk -i " + std::to_string(number) + " '" + path + "' 2>/dev/null");
    const bool isUsed = info.find("First sector") != std::string::npos;
    ASSERT_EQ(isUsed, entry != table.entries.end()) << number;
    if (!isUsed) continue;
    ++used;
    EXPECT_EQ(entry->start, numberIn(info, "First sector") * 512);
    EXPECT_EQ(entry->start + entry->size, (numberIn(info, "Last sector") + 1) * 512);
    ASSERT_TRUE(entry->typeGuid);
    EXPECT_EQ(guidText(*entry->typeGuid), lowerCase(valueIn(info, "Partition GUID code").substr(0, 36)));
    EXPECT_EQ("'" + entry->name + "'", valueIn(info, "Partition name"));
  }
  EXPECT_EQ(used, table.entries.size());
  EXPECT_GT(used, 0U);
}

INSTANTIATE_TEST_SUITE_P(Images, AgainstSgdisk,
                         testing::Values("every-file-system.img", "plain-windows.img", "unused-entries-between.img",
                                         "damaged-backup-header.img", "damaged-head.img", "full-table.img",
                                         "hybrid.img", "core-storage.img", "mac-only.img", "no-ending",
                                         "/mac-with-windows.img", "/windows-pc.img"));

TEST(TableProbe, LargeSectorsAreFoundWhereAnImageTellsNone) {
  const TableReport table = tableOf(oddImage("large-sectors.img"));
  EXPECT_EQ(table.problem, "");
  EXPECT_EQ(table.sectorSize, 4096U);
  ASSERT_EQ(table.entries.size(), 2U);
  EXPECT_EQ(table.entries[1].start, std::uint64_t{101} << 20);
  EXPECT_EQ(table.entries[1].size, std::uint64_t{100} << 20);
  EXPECT_EQ(table.entries[1].name, "Windows");
}

TEST(TableProbe, HybridDiskHasAllThreeSchemesAndTheEntriesOfItsGpt) {
  const TableReport table = tableOf(oddImage("hybrid.img"));
  EXPECT_EQ(table.schemes, PartitioningSchemeMbr | PartitioningSchemeGpt | PartitioningSchemeHybrid);
  ASSERT_EQ(table.entries.size(), 3U);
  EXPECT_TRUE(table.entries[0].typeGuid);
}

TEST(TableProbe, MbrHasItsContainerAndLogicalEntries) {
  const TableReport table = tableOf(oddImage("mbr-only.img"));
  EXPECT_EQ(table.problem, "");
  EXPECT_EQ(table.schemes, PartitioningSchemeMbr);
  EXPECT_FALSE(table.diskGuid);
  std::vector<std::pair<std::uint32_t, std::uint32_t>> types;
  for (const TableEntry& entry : table.entries) types.emplace_back(entry.number, entry.mbrType);
  const std::vector<std::pair<std::uint32_t, std::uint32_t>> expected{
      {1, 0x07}, {2, 0x0C}, {3, 0x05}, {4, 0x83}, {5, 0x07}};
  EXPECT_EQ(types, expected);
}

TEST(TableProbe, EmptyTablesAndBlankDisksHaveNoEntriesAndNoProblem) {
  const std::vector<std::pair<const char*, int>> disks{{"blank.raw", PartitioningSchemeNone},
                                                       {"empty-mbr.img", PartitioningSchemeMbr},
                                                       {"empty-gpt.img", PartitioningSchemeGpt}};
  for (const auto& [name, schemes] : disks) {
    const TableReport table = tableOf(oddImage(name));
    EXPECT_EQ(table.problem, "") << name;
    EXPECT_EQ(table.schemes, schemes) << name;
    EXPECT_TRUE(table.entries.empty()) << name;
  }
}

TEST(TableProbe, DamagedCopyIsToldAndTheOtherUsed) {
  for (const char* name : {"damaged-backup-header.img", "damaged-head.img"}) {
    const TableReport table = tableOf(oddImage(name));
    EXPECT_EQ(table.entries.size(), 3U) << name;
    ASSERT_EQ(table.warnings.size(), 1U) << name;
    EXPECT_NE(table.warnings[0].find("corrupt"), std::string::npos);
  }
}

TEST(TableProbe, OddityIsToldWithoutPromiseToCorrectIt) {
  const TableReport table = tableOf(oddImage("truncated.img"));
  ASSERT_EQ(table.warnings.size(), 1U);
  EXPECT_EQ(table.warnings[0], "GPT PMBR size mismatch (196607 != 81919)");
}

class LeftAlone : public testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(LeftAlone, SaysWhy) {
  EXPECT_EQ(tableOf(oddImage(GetParam().first)).problem, GetParam().second);
}

INSTANTIATE_TEST_SUITE_P(Images, LeftAlone,
                         testing::Values(std::pair{"damaged-both.img", "both copies of its GPT are damaged"},
                                         std::pair{"overlapping-entries.img", "its partitions 2 and 3 overlap"},
                                         std::pair{"beyond-the-end.img", "its partition 3 reaches beyond the disk"},
                                         std::pair{"truncated.img",
                                                   "its GPT is damaged or lacks the protective MBR"},
                                         std::pair{"no-table.img", "the whole disk is one volume (ntfs)"},
                                         std::pair{"noise.img", "it has no partition table but is not blank"},
                                         std::pair{"zero-bytes.img", "it is too small to hold partitions"},
                                         std::pair{"one-sector.img", "it is too small to hold partitions"}));

TEST(DiskReader, TakesFilesAndBlockDevicesAlone) {
  const auto why = [](const std::string& path) {
    const auto disk = DiskReader::open(path, std::nullopt);
    return disk ? std::string("opened") : disk.error();
  };
  EXPECT_EQ(why(oddImage("pipe.img")), "it is a pipe");
  EXPECT_EQ(why(oddImage("folder.img")), "it is a folder");
  EXPECT_EQ(why(oddImage("link.img")), "it is a link");
  EXPECT_EQ(why("/dev/null"), "it is a character device");
  EXPECT_EQ(why(oddImage("not-there")), "No such file or directory");
  EXPECT_EQ(why(oddImage("blank.raw")), "opened");
}

TEST(DiskReader, RefusesAnotherFileThanTheOneThatWasListed) {
  const auto disk = DiskReader::open(oddImage("blank.raw"), FileIdentity{1, 2});
  ASSERT_FALSE(disk);
  EXPECT_EQ(disk.error(), "it was replaced while it was being read");
}

TEST(DiskReader, ReadsNothingBeyondTheEnd) {
  const auto disk = DiskReader::open(oddImage("one-sector.img"), std::nullopt);
  ASSERT_TRUE(disk);
  std::array<std::uint8_t, 512> bytes{};
  EXPECT_TRUE(disk->read(0, bytes));
  EXPECT_FALSE(disk->read(1, bytes));
  EXPECT_FALSE(disk->read(UINT64_MAX, bytes));
}

}  // namespace
}  // namespace zpk
