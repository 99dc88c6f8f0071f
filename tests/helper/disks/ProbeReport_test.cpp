#include "helper/disks/probe/ProbeReport.h"

#include <gtest/gtest.h>

#include <random>

namespace zpk {
namespace {

TableReport sampleTable() {
  TableReport report;
  report.diskSize = std::uint64_t{1} << 40;
  report.sectorSize = 4096;
  report.schemes = 2;
  report.diskGuid = guidBytesOf("a3c51d0e-7f2b-4e57-9d0a-3b1e64c0d001");
  report.warnings = {"odd"};
  TableEntry entry;
  entry.number = 3;
  entry.start = 1048576;
  entry.size = 4096;
  entry.name = "Ümläut \"quoted\"";
  entry.typeGuid = guidBytesOf("EBD0A0A2-B9E5-4433-87C0-68B6B72699C7");
  report.entries = {entry};
  return report;
}

TEST(ProbeReport, TableCrossesUnchanged) {
  const TableReport report = sampleTable();
  const std::optional<TableReport> back = tableReportOf(jsonOf(report));
  ASSERT_TRUE(back);
  EXPECT_EQ(back->diskSize, report.diskSize);
  EXPECT_EQ(back->sectorSize, report.sectorSize);
  EXPECT_EQ(back->diskGuid, report.diskGuid);
  EXPECT_EQ(back->warnings, report.warnings);
  ASSERT_EQ(back->entries.size(), 1U);
  EXPECT_EQ(back->entries[0].name, report.entries[0].name);
  EXPECT_EQ(back->entries[0].typeGuid, report.entries[0].typeGuid);
  EXPECT_EQ(jsonOf(*back), jsonOf(report));
}

TEST(ProbeReport, VolumeCrossesUnchanged) {
  VolumeReport report;
  report.type = "ntfs";
  report.label = "Windows";
  report.ntfs = NtfsFigures{UINT64_MAX, 2, 3, true};
  const std::optional<VolumeReport> back = volumeReportOf(jsonOf(report));
  ASSERT_TRUE(back && back->ntfs);
  EXPECT_EQ(jsonOf(*back), jsonOf(report));
  EXPECT_EQ(back->ntfs->volumeSize, UINT64_MAX);
}

TEST(ProbeReport, LabelThatIsNotTextIsMadeText) {
  VolumeReport report;
  report.label = "\xFF\xC3(";
  const std::optional<VolumeReport> back = volumeReportOf(jsonOf(report));
  ASSERT_TRUE(back);
  EXPECT_EQ(back->label, "\xEF\xBF\xBD\xEF\xBF\xBD(");
}

TEST(ProbeReport, EveryTruncationIsRefused) {
  const std::string json = jsonOf(sampleTable());
  for (std::size_t length = 0; length < json.size(); ++length) {
    EXPECT_FALSE(tableReportOf(std::string_view(json).substr(0, length))) << length;
  }
}

TEST(ProbeReport, WrongKindsAreRefused) {
  EXPECT_FALSE(tableReportOf("[]"));
  EXPECT_FALSE(tableReportOf("null"));
  EXPECT_FALSE(volumeReportOf(R"({"type":1,"version":"","label":"","serial":""})"));
  EXPECT_FALSE(volumeReportOf(R"({"type":"","version":"","label":"","serial":"","ntfs":7})"));
  EXPECT_FALSE(volumeReportOf(std::string(100'000, '[')));
  std::string negative = jsonOf(sampleTable());
  negative.replace(negative.find("4096"), 4, "-409");
  EXPECT_FALSE(tableReportOf(negative));
}

TEST(ProbeReport, ChangedBytesNeverCrashTheReader) {
  std::mt19937 chance(1);
  const std::string json = jsonOf(sampleTable());
  int refused = 0;
  for (int round = 0; round < 2000; ++round) {
    std::string changed = json;
    for (int change = 0; change < 3; ++change) changed[chance() % changed.size()] = static_cast<char>(chance());
    refused += !tableReportOf(changed);
  }
  EXPECT_GT(refused, 500);
}

TEST(ProbeReport, GuidTextIsTheLayoutOfTheDisk) {
  const std::optional<GuidBytes> guid = guidBytesOf("C12A7328-F81F-11D2-BA4B-00A0C93EC93B");
  ASSERT_TRUE(guid);
  EXPECT_EQ((*guid)[0], 0x28);
  EXPECT_EQ((*guid)[4], 0x1F);
  EXPECT_EQ((*guid)[8], 0xBA);
  EXPECT_EQ(guidText(*guid), "c12a7328-f81f-11d2-ba4b-00a0c93ec93b");
  EXPECT_FALSE(guidBytesOf("C12A7328-F81F-11D2-BA4B-00A0C93EC93"));
  EXPECT_FALSE(guidBytesOf("C12A7328-F81F-11D2-BA4B-00A0C93EC93G"));
  EXPECT_FALSE(guidBytesOf("C12A7328xF81F-11D2-BA4B-00A0C93EC93B"));
}

}  // namespace
}  // namespace zpk
