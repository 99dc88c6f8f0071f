#include "helper/disks/DiskScanner.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <set>

#include "helper/disks/DiskTestSupport.h"
#include "helper/disks/FakeSystem.h"
#include "support/TemporaryFolder.h"

namespace zpk {
namespace {

using namespace disktest;

std::set<std::string> fileNames(const std::vector<std::shared_ptr<const ZPKDisk>>& disks) {
  std::set<std::string> names;
  for (const auto& disk : disks) names.insert(disk->bsdName().value_or("(none)"));
  return names;
}

void copyImage(const std::string& from, const std::string& to) {
  outputOf("cp --sparse=always '" + from + "' '" + to + "'");
}

std::string scriptIn(const TemporaryFolder& folder, const std::string& body) {
  folder.put("probe", "#!/bin/sh\n" + body + "\n");
  ::chmod(folder.path("probe").c_str(), 0755);
  return folder.path("probe");
}

TEST(DiskScanner, OddFolderGivesTheDisksOfUseAndALineForEachOther) {
  RecordingLog log;
  DiskScanner scanner(scannerOptions({oddFolder()}), log);
  const auto disks = scanOnce(scanner);
  const std::set<std::string> expected{"auxiliary-only.img",
                                       "bitlocker.img",
                                       "blank.raw",
                                       "core-storage.img",
                                       "damaged-backup-header.img",
                                       "damaged-head.img",
                                       "dirty.img",
                                       "empty-gpt.img",
                                       "empty-mbr.img",
                                       "exfat-in-basic-data.img",
                                       "hibernated.img",
                                       "hybrid.img",
                                       "large-sectors.img",
                                       "mac-only.img",
                                       "no-ending",
                                       "plain-windows.img",
                                       "unformatted-windows.img",
                                       "unused-entries-between.img"};
  EXPECT_EQ(fileNames(disks), expected);
  const std::vector<std::pair<const char*, const char*>> reasons{
      {"apfs-in-basic-data.img", "its Windows partition holds apfs"},
      {"beyond-the-end.img", "reaches beyond the disk"},
      {"damaged-both.img", "both copies of its GPT are damaged"},
      {"every-file-system.img", "not laid out for Windows"},
      {"folder.img", "it is a folder"},
      {"full-table.img", "not laid out for Windows"},
      {"link.img", "it is a link"},
      {"mbr-only.img", "not laid out for Windows"},
      {"no-table.img", "one volume (ntfs)"},
      {"noise.img", "not blank"},
      {"one-sector.img", "too small"},
      {"overlapping-entries.img", "overlap"},
      {"pipe.img", "it is no regular file"},
      {"truncated.img", "damaged"},
      {"zero-bytes.img", "too small"},
      {"damaged-backup-header.img", "The backup GPT table is corrupt"},
      {"damaged-head.img", "The primary GPT table is corrupt"}};
  for (const auto& [name, reason] : reasons) EXPECT_TRUE(hasLineWith(log, name, reason)) << name;
  EXPECT_FALSE(hasLineWith(log, "notes.txt"));
}

TEST(DiskScanner, SampleDisksAreBootCampDisks) {
  RecordingLog log;
  DiskScanner scanner(scannerOptions({sampleFolder()}), log);
  const auto disks = scanOnce(scanner);
  ASSERT_EQ(disks.size(), 2U);
  const auto mac = diskNamed(disks, "mac-with-windows.img");
  ASSERT_TRUE(mac);
  EXPECT_TRUE(mac->isBootCamp() && mac->isRestoreTarget() && !mac->isEmpty());
  EXPECT_EQ(mac->name(), "mac-with-windows");
  EXPECT_EQ(mac->iconPath(), "/icons/disk-image.png");
  EXPECT_EQ(mac->objectForKeyedSubscript("hfsPartition")->name(), "Macintosh HD");
  EXPECT_EQ(mac->objectForKeyedSubscript("hfsPartition")->fileSystemType(), 1);
  EXPECT_EQ(mac->objectForKeyedSubscript("recoveryPartition")->name(), "Recovery HD");
  EXPECT_EQ(mac->objectForKeyedSubscript("winPartition")->name(), "BOOTCAMP");
  EXPECT_EQ(mac->countOfLegacyRestoreSlots(), 1U);
  const auto windows = diskNamed(disks, "windows-pc.img");
  ASSERT_TRUE(windows);
  EXPECT_TRUE(windows->isBootCamp());
  EXPECT_EQ(windows->objectForKeyedSubscript("winPartition")->partNumber(), 3U);
  EXPECT_EQ(windows->objectForKeyedSubscript("msrPartition")->fileSystemType(), 0);
  EXPECT_EQ(windows->objectForKeyedSubscript("winRecPartition")->name(), "Recovery");
  EXPECT_TRUE(log.lines().empty());
}

TEST(DiskScanner, ClassesOfTheOddDisks) {
  RecordingLog log;
  DiskScanner scanner(scannerOptions({oddFolder()}), log);
  const auto disks = scanOnce(scanner);
  for (const char* name : {"blank.raw", "empty-mbr.img", "empty-gpt.img", "auxiliary-only.img"}) {
    const auto disk = diskNamed(disks, name);
    ASSERT_TRUE(disk) << name;
    EXPECT_TRUE(disk->isEmpty() && disk->isRestoreTarget() && !disk->isBootCamp()) << name;
  }
  const auto mac = diskNamed(disks, "mac-only.img");
  EXPECT_TRUE(mac->isRestoreTarget() && !mac->isBootCamp() && !mac->isEmpty());
  const auto between = diskNamed(disks, "unused-entries-between.img");
  ASSERT_EQ(between->partitions().size(), 6U);
  EXPECT_EQ(between->objectForKeyedSubscript("winPartition")->partNumber(), 6U);
  const auto large = diskNamed(disks, "large-sectors.img");
  EXPECT_EQ(large->sectorSize(), 4096U);
  EXPECT_EQ(large->objectForKeyedSubscript("winPartition")->fileSystemType(), 2);
  EXPECT_FALSE(diskNamed(disks, "dirty.img")->objectForKeyedSubscript("winPartition")->isResizable());
  EXPECT_EQ(diskNamed(disks, "bitlocker.img")->objectForKeyedSubscript("winPartition")->fileSystemType(), 0);
}

TEST(DiskScanner, NumbersAreUniqueAndStay) {
  const TemporaryFolder folder;
  copyImage(oddImage("plain-windows.img"), folder.path("b.img"));
  copyImage(oddImage("mac-only.img"), folder.path("c.img"));
  RecordingLog log;
  DiskScanner scanner(scannerOptions({folder.path()}), log);
  const auto first = scanOnce(scanner);
  EXPECT_EQ(diskNamed(first, "b.img")->diskNumber(), 1U);
  EXPECT_EQ(diskNamed(first, "c.img")->diskNumber(), 2U);
  copyImage(oddImage("hybrid.img"), folder.path("a.img"));
  std::filesystem::remove(folder.path("b.img"));
  const auto second = scanOnce(scanner);
  EXPECT_EQ(diskNamed(second, "c.img")->diskNumber(), 2U);
  EXPECT_EQ(diskNamed(second, "a.img")->diskNumber(), 3U);
  EXPECT_EQ(diskNamed(second, "c.img")->partitions().at(0)->diskNumber(), 2U);
}

TEST(DiskScanner, NumberNeverLeadsToAnotherDiskUnderTheSamePath) {
  const TemporaryFolder folder;
  copyImage(oddImage("plain-windows.img"), folder.path("a.img"));
  copyImage(oddImage("mac-only.img"), folder.path("next"));
  RecordingLog log;
  DiskScanner scanner(scannerOptions({folder.path()}), log);
  const auto number = diskNamed(scanOnce(scanner), "a.img")->diskNumber();
  std::filesystem::rename(folder.path("next"), folder.path("a.img"));
  const auto replaced = diskNamed(scanOnce(scanner), "a.img");
  ASSERT_TRUE(replaced);
  EXPECT_FALSE(replaced->isBootCamp());
  EXPECT_NE(replaced->diskNumber(), number);
}

TEST(DiskScanner, CopyOfADiskIsPassedOverAndTheOneSeenFirstStays) {
  const TemporaryFolder folder;
  copyImage(oddImage("plain-windows.img"), folder.path("original.img"));
  RecordingLog log;
  DiskScanner scanner(scannerOptions({folder.path()}), log);
  scanOnce(scanner);
  copyImage(oddImage("plain-windows.img"), folder.path("a copy.img"));
  EXPECT_EQ(fileNames(scanOnce(scanner)), std::set<std::string>{"original.img"});
  EXPECT_TRUE(hasLineWith(log, "a copy.img: it has the identifier of", "original.img"));
}

TEST(DiskScanner, UnchangedImageIsNotReadAgain) {
  const TemporaryFolder folder;
  const TemporaryFolder tools;
  copyImage(oddImage("plain-windows.img"), folder.path("a.img"));
  std::filesystem::copy_file(ZPK_PROBE, tools.path("probe"));
  DiskScannerOptions options = scannerOptions({folder.path()});
  options.probeProgram = tools.path("probe");
  RecordingLog log;
  DiskScanner scanner(options, log);
  ASSERT_EQ(scanOnce(scanner).size(), 1U);
  std::filesystem::remove(tools.path("probe"));
  EXPECT_EQ(scanOnce(scanner).size(), 1U);
  copyImage(oddImage("mac-only.img"), folder.path("a.img"));  // The probe would be needed now.
  EXPECT_EQ(scanOnce(scanner).size(), 0U);
  EXPECT_TRUE(hasLineWith(log, "could not be started"));
}

TEST(DiskScanner, ReasonIsToldOnceUntilItChanges) {
  const TemporaryFolder folder;
  copyImage(oddImage("noise.img"), folder.path("a.img"));
  RecordingLog log;
  DiskScanner scanner(scannerOptions({folder.path()}), log);
  scanOnce(scanner);
  scanOnce(scanner);
  EXPECT_EQ(log.lines().size(), 1U);
  copyImage(oddImage("no-table.img"), folder.path("a.img"));
  scanOnce(scanner);
  EXPECT_EQ(log.lines().size(), 2U);
}

TEST(DiskScanner, MissingFolderIsToldAndTheOthersAreRead) {
  RecordingLog log;
  DiskScanner scanner(scannerOptions({"/not/there", sampleFolder()}), log);
  EXPECT_EQ(scanOnce(scanner).size(), 2U);
  EXPECT_TRUE(hasLineWith(log, "/not/there: No such file or directory"));
}

TEST(DiskScanner, CrashingProbeCostsTheDiskAndALine) {
  const TemporaryFolder tools;
  DiskScannerOptions options = scannerOptions({sampleFolder()});
  options.probeProgram = scriptIn(tools, "kill -SEGV $$");
  RecordingLog log;
  DiskScanner scanner(options, log);
  EXPECT_TRUE(scanOnce(scanner).empty());
  EXPECT_TRUE(hasLineWith(log, "mac-with-windows.img", "the probe crashed (signal 11)"));
}

TEST(DiskScanner, CrashOverOneVolumeLeavesItLookingUnformatted) {
  const TemporaryFolder tools;
  DiskScannerOptions options = scannerOptions({sampleFolder()});
  RecordingLog quiet;
  DiskScanner reference(options, quiet);
  const auto before = diskNamed(scanOnce(reference), "mac-with-windows.img");
  const std::string start = std::to_string(before->objectForKeyedSubscript("winPartition")->partStart());
  options.probeProgram =
      scriptIn(tools, "[ \"$6\" = " + start + " ] && kill -SEGV $$\nexec '" ZPK_PROBE "' \"$@\"");
  RecordingLog log;
  DiskScanner scanner(options, log);
  const auto disk = diskNamed(scanOnce(scanner), "mac-with-windows.img");
  ASSERT_TRUE(disk);
  EXPECT_EQ(disk->objectForKeyedSubscript("winPartition")->fileSystemType(), 0);
  EXPECT_EQ(disk->objectForKeyedSubscript("hfsPartition")->fileSystemType(), 1);
  EXPECT_TRUE(hasLineWith(log, "partition 4 cannot be read", "crashed"));
}

TEST(DiskScanner, ProbeThatTalksNonsenseIsNotBelieved) {
  const std::vector<std::string> answers{
      "echo hello", "echo '{}'", "exit 0",
      R"(echo '{"diskSize":10,"sectorSize":512,"schemes":2,"warnings":[],"problem":"","entries":[{"number":1,"start":5,"size":100,"mbrType":0,"name":""}]}')",
      R"(echo '{"diskSize":10,"sectorSize":512,"schemes":2,"warnings":[],"problem":"","entries":[{"number":4000000000,"start":5,"size":1,"mbrType":0,"name":""}]}')"};
  for (const std::string& answer : answers) {
    const TemporaryFolder tools;
    DiskScannerOptions options = scannerOptions({sampleFolder()});
    options.probeProgram = scriptIn(tools, answer);
    RecordingLog log;
    DiskScanner scanner(options, log);
    EXPECT_TRUE(scanOnce(scanner).empty()) << answer;
    EXPECT_TRUE(hasLineWith(log, "the probe did not answer as it should")) << answer;
  }
}

TEST(DiskScanner, ImageUnderTheRunningSystemIsASourceButNoTarget) {
  FakeSystem system;
  system.addLoop("loop0", "7:0", sampleFolder() + "/windows-pc.img", 122683392);
  system.addMount("7:0", "/", "/dev/loop0");
  DiskScannerOptions options = scannerOptions({sampleFolder()});
  options.paths = system.paths();
  RecordingLog log;
  DiskScanner scanner(options, log);
  const auto disks = scanOnce(scanner);
  const auto disk = diskNamed(disks, "windows-pc.img");
  ASSERT_TRUE(disk);
  EXPECT_TRUE(disk->isBootCamp());
  EXPECT_FALSE(disk->isRestoreTarget());
  EXPECT_EQ(disk->objectForKeyedSubscript("winPartition")->name(), "Windows");
  EXPECT_TRUE(diskNamed(disks, "mac-with-windows.img")->isRestoreTarget());
  EXPECT_TRUE(hasLineWith(log, "windows-pc.img: no target for a restore, it holds the running system"));
}

TEST(DiskScanner, EmptyDiskUnderTheRunningSystemIsNotOfferedAtAll) {
  FakeSystem system;
  system.addLoop("loop0", "7:0", oddImage("auxiliary-only.img"), 0);
  system.addMount("7:0", "/boot", "/dev/loop0");
  DiskScannerOptions options = scannerOptions({oddFolder()});
  options.paths = system.paths();
  RecordingLog log;
  DiskScanner scanner(options, log);
  EXPECT_FALSE(diskNamed(scanOnce(scanner), "auxiliary-only.img"));
}

TEST(DiskScanner, MountPointOfAnImagesPartitionIsFoundThroughItsLoopDevice) {
  FakeSystem system;
  RecordingLog log;
  DiskScanner plain(scannerOptions({sampleFolder()}), log);
  const auto before = diskNamed(scanOnce(plain), "windows-pc.img");
  const std::uint64_t start = before->objectForKeyedSubscript("winPartition")->partStart();
  EXPECT_EQ(before->objectForKeyedSubscript("winPartition")->mountPoint(), std::nullopt);
  system.addLoop("loop3", "7:3", sampleFolder() + "/windows-pc.img", start);
  system.addMount("7:3", "/mnt/windows", "/dev/loop3");
  DiskScannerOptions options = scannerOptions({sampleFolder()});
  options.paths = system.paths();
  DiskScanner scanner(options, log);
  const auto disk = diskNamed(scanOnce(scanner), "windows-pc.img");
  EXPECT_EQ(disk->objectForKeyedSubscript("winPartition")->mountPoint(), "/mnt/windows");
  EXPECT_EQ(disk->objectForKeyedSubscript("msrPartition")->mountPoint(), std::nullopt);
}

TEST(DiskScanner, RaisedFlagLeavesDisksOutForThisTime) {
  RecordingLog log;
  DiskScanner scanner(scannerOptions({sampleFolder()}), log);
  CancelFlag cancel;
  cancel.request();
  EXPECT_TRUE(scanner.scan(cancel).empty());
  EXPECT_EQ(scanOnce(scanner).size(), 2U);
}

TEST(DiskScanner, ManyImagesAreBounded) {
  const TemporaryFolder folder;
  for (std::size_t i = 0; i < ImageFolder::mostImages + 20; ++i) folder.put(std::to_string(i) + ".img", "x");
  ImageFolder images(folder.path());
  const FoundDisks found = images.list({}, {}, RunningSystem::find({}, {}));
  EXPECT_EQ(found.disks.size(), ImageFolder::mostImages);
  ASSERT_EQ(found.passedOver.size(), 1U);
  EXPECT_NE(found.passedOver[0].find("more than 256"), std::string::npos);
}

TEST(DiskScanner, ImagesAreNeverWritten) {
  const TemporaryFolder folder;
  copyImage(oddImage("damaged-backup-header.img"), folder.path("a.img"));
  const std::string before = outputOf("sha256sum '" + folder.path("a.img") + "'");
  const auto written = std::filesystem::last_write_time(folder.path("a.img"));
  RecordingLog log;
  DiskScanner scanner(scannerOptions({folder.path()}), log);
  ASSERT_EQ(scanOnce(scanner).size(), 1U);
  EXPECT_EQ(outputOf("sha256sum '" + folder.path("a.img") + "'"), before);
  EXPECT_EQ(std::filesystem::last_write_time(folder.path("a.img")), written);
}

}  // namespace
}  // namespace zpk
