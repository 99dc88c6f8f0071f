// The volumes of a disk: how each is read, and those that are not shown.
#include "tools/qrx-helper/QrxHelperWorld.h"

namespace zpk::test {
namespace {

TEST_F(QrxHelper, WhatReadsTheVolumeIsConfined) {
  ASSERT_EQ(attach(imagePath(0)), 0) << why.data() << messages;
  int readers = 0;
  for (const pid_t reader : usersOf(imagePath(0))) {
    if (reader == helpers.front()) continue;
    ++readers;
    EXPECT_EQ(statusOf(reader, "NoNewPrivs"), "1");
    EXPECT_EQ(statusOf(reader, "Seccomp"), "2");
    EXPECT_EQ(statusOf(reader, "CapEff"), "0000000000000000");
    EXPECT_EQ(statusOf(reader, "CapPrm"), "0000000000000000");
  }
  EXPECT_EQ(readers, 1);
}

constexpr std::size_t kThird = 2;  // partition, whose place on the sample disk is that of Microsoft Reserved

// A file system of its own there.
void formatThird(const SampleDisk& disk, const ScratchFolder& folder, const std::string& tool,
                 std::vector<std::string> arguments) {
  const std::string volume = folder / "third.img";
  writeAll(volume, std::string(SampleDisk::reservedSize, '\0'));
  arguments.push_back(volume);
  mustRun(tool, arguments);
  disk.overwrite(SampleDisk::reservedStart, readAll(volume));
}

TEST_F(QrxHelper, AVolumeThatCannotBeShownIsSaidAndTheOthersAreShown) {
  formatThird(disk, folder, "/sbin/mkfs.fat", {"-F", "12"});
  makePoint();
  ASSERT_EQ(attach(imagePath(1)), 0) << why.data() << messages;
  EXPECT_EQ(mounts().size(), 1U);
  LinuxDriveControl control(loop, queue, runtime);
  ASSERT_EQ(control.attachedDrives().size(), 1U);
  EXPECT_EQ(control.attachedDrives().front().missing,
            "Partition 3: Its file system (FAT12) cannot be shown; the backup holds it all the same");
}

TEST_F(QrxHelper, ADiskWithoutAVolumeThatCanBeShownIsAnError) {
  formatThird(disk, folder, "/sbin/mkfs.exfat", {});
  BackupRequest request = disk.request();
  request.disks.front().description.partitions.back().content = PartitionContent::NotStored;
  ASSERT_TRUE(backUp(request).hasValue());
  EXPECT_NE(attach(imagePath(1)), 0);
  EXPECT_STREQ(why.data(),
               "Partition 3: Its file system (exFAT) cannot be shown; the backup holds it all the same");
}

TEST_F(QrxHelper, ADiskWithNothingButReservedSpaceHoldsNoFiles) {
  BackupRequest request = disk.request();
  request.disks.front().description.partitions.back().content = PartitionContent::NotStored;
  request.disks.front().description.partitions.at(kThird).type = 8;
  ASSERT_TRUE(backUp(request).hasValue());
  EXPECT_NE(attach(imagePath(1)), 0);
  EXPECT_STREQ(why.data(), "The backup point holds no files of Windows");
}

// The process of a volume that cannot be read ends at once, which used to end the whole drive.
TEST_F(QrxHelper, AVolumeThatIsDamagedIsSaidAndTheOthersStay) {
  Files expected;
  disk.change([&](const std::string& root) { expected = filesIn(root); });
  formatThird(disk, folder, "/sbin/mkntfs", {"-F", "-q", "-s", "512", "-p", "49152", "-H", "255", "-S", "63"});
  makePoint();
  // Its boot sector, behind the back of the point's hashes.
  mustRun("/usr/bin/qemu-io", {"-f", "qcow2", "-c", "write -P 120 25165824 65536", imagePath(1)});
  ASSERT_EQ(attach(imagePath(1)), 0) << why.data() << messages;
  ASSERT_TRUE(within(std::chrono::seconds(20), [this] { return childrenOf(helpers.front()).size() == 2; }));
  LinuxDriveControl control(loop, queue, runtime);
  ASSERT_EQ(control.attachedDrives().size(), 1U);
  EXPECT_EQ(control.attachedDrives().front().missing, "Partition 3: The volume cannot be read: Input/output error");
  ASSERT_EQ(mounts().size(), 1U);
  EXPECT_EQ(filesIn(mounts().front().mountPoint), expected);
}

}  // namespace
}  // namespace zpk::test
