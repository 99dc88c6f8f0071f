#include "helper/disks/BlockDevices.h"

#include <gtest/gtest.h>

#include "helper/disks/DiskTestSupport.h"
#include "helper/disks/FakeSystem.h"

namespace zpk {
namespace {

using namespace disktest;

FoundDisks listed(const FakeSystem& system) {
  const std::vector<MountedVolume> mounts = mountedVolumes(system.paths());
  return listBlockDevices(system.paths(), mounts, RunningSystem::find(system.paths(), mounts));
}

TEST(BlockDevices, DiskHasWhatTheKernelTells) {
  FakeSystem system;
  system.addDisk("nvme0n1", "259:0");
  system.addPartition("nvme0n1", "nvme0n1p1", "259:1", 1, 2048);
  system.addPartition("nvme0n1", "nvme0n1p2", "259:2", 2, 411648);
  system.set("nvme0n1", "device/model", "SAMPLE SSD 1TB   ");
  system.set("nvme0n1", "queue/logical_block_size", "4096");
  system.addMount("259:2", "/media/Windows", "/dev/nvme0n1p2");
  const FoundDisks found = listed(system);
  ASSERT_EQ(found.disks.size(), 1U);
  const FoundDisk& disk = found.disks[0];
  EXPECT_EQ(disk.path, system.paths().dev + "/nvme0n1");
  EXPECT_EQ(disk.name, "SAMPLE SSD 1TB");
  EXPECT_EQ(disk.bsdName, "nvme0n1");
  EXPECT_EQ(disk.partitionInfix, "p");
  EXPECT_EQ(disk.sectorSize, 4096U);
  EXPECT_EQ(disk.kind, DiskKind::Internal);
  EXPECT_TRUE(disk.isWritable);
  EXPECT_FALSE(disk.isSystem);
  EXPECT_EQ(disk.version, "");
  ASSERT_EQ(disk.partitions.size(), 2U);
  EXPECT_EQ(disk.partitions[1].start, 411648U * 512);
  EXPECT_EQ(disk.partitions[1].bsdName, "nvme0n1p2");
  EXPECT_EQ(disk.partitions[1].mountPoint, "/media/Windows");
  EXPECT_EQ(disk.partitions[0].mountPoint, std::nullopt);
}

TEST(BlockDevices, NamesComeFromMakerAndModel) {
  FakeSystem system;
  system.addDisk("sda", "8:0");
  system.addDisk("sdb", "8:16");
  system.set("sdb", "device/vendor", "ATA");
  system.set("sdb", "device/model", "Plain Model");
  system.addDisk("sdc", "8:32");
  system.set("sdc", "device/vendor", "Maker");
  system.set("sdc", "device/model", "Stick");
  system.set("sdc", "removable", "1");
  const FoundDisks found = listed(system);
  ASSERT_EQ(found.disks.size(), 3U);
  EXPECT_EQ(found.disks[0].name, "Disk sda");
  EXPECT_EQ(found.disks[0].partitionInfix, "");
  EXPECT_EQ(found.disks[1].name, "Plain Model");
  EXPECT_EQ(found.disks[2].name, "Maker Stick");
  EXPECT_EQ(found.disks[2].kind, DiskKind::External);
}

TEST(BlockDevices, WhatIsNoDiskIsLeftOut) {
  FakeSystem system;
  int minor = 0;
  for (const char* name : {"ram0", "zram0", "sr0", "fd0", "dm-0", "md0", "mmcblk0boot0", "mmcblk0rpmb"}) {
    system.addDisk(name, "240:" + std::to_string(minor++));
  }
  system.addDisk("loop0", "7:0");
  system.set("loop0", "size", "0");
  const FoundDisks found = listed(system);
  EXPECT_TRUE(found.disks.empty());
  EXPECT_TRUE(found.passedOver.empty());
}

TEST(BlockDevices, PartOfAnotherDeviceIsPassedOverWithAReason) {
  FakeSystem system;
  system.addDisk("sda", "8:0");
  system.addMapped("dm-0", "253:0", system.diskFolder("sda"));
  const FoundDisks found = listed(system);
  EXPECT_TRUE(found.disks.empty());
  ASSERT_EQ(found.passedOver.size(), 1U);
  EXPECT_EQ(found.passedOver[0], system.paths().dev + "/sda: it is part of dm-0");
}

TEST(BlockDevices, NodeOfAnotherDeviceIsNotTaken) {
  FakeSystem system;
  system.addDisk("sda", "8:0");
  system.set("sda", "dev", "8:16");
  const FoundDisks found = listed(system);
  EXPECT_TRUE(found.disks.empty());
  EXPECT_EQ(found.passedOver.size(), 1U);
}

TEST(BlockDevices, DiskOfTheRunningSystemAndReadOnlyOnesAreMarked) {
  FakeSystem system;
  system.addDisk("sda", "8:0");
  system.addPartition("sda", "sda1", "8:1", 1, 2048);
  system.addPartition("sda", "sda2", "8:2", 2, 4096);
  system.addDisk("sdb", "8:16");
  system.set("sdb", "ro", "1");
  system.addMount("8:1", "/", "/dev/sda1");
  const FoundDisks found = listed(system);
  ASSERT_EQ(found.disks.size(), 2U);
  EXPECT_TRUE(found.disks[0].isSystem);
  EXPECT_TRUE(found.disks[0].partitions[0].isSystem);
  EXPECT_FALSE(found.disks[0].partitions[1].isSystem);
  EXPECT_FALSE(found.disks[1].isSystem);
  EXPECT_FALSE(found.disks[1].isWritable);
}

TEST(BlockDevices, AnotherDiskInTheSameSocketIsAnotherDisk) {
  FakeSystem system;
  system.addDisk("sda", "8:0");
  system.set("sda", "diskseq", "5");
  const std::string first = listed(system).disks.at(0).identity;
  EXPECT_EQ(listed(system).disks.at(0).identity, first);
  system.set("sda", "diskseq", "6");
  EXPECT_NE(listed(system).disks.at(0).identity, first);
}

// An attached loop device, which takes root to make.
class LoopOf {
 public:
  explicit LoopOf(const std::string& image) {
    _node = outputOf("losetup --find --show --read-only '" + image + "'");
    while (!_node.empty() && _node.back() == '\n') _node.pop_back();
  }
  LoopOf(const LoopOf&) = delete;
  LoopOf& operator=(const LoopOf&) = delete;
  ~LoopOf() { outputOf("losetup --detach " + _node); }
  const std::string& node() const { return _node; }

 private:
  std::string _node;
};

TEST(BlockDevices, RealDeviceReadsAsTheImageBehindIt) {
  const LoopOf loop(oddImage("core-storage.img"));
  DiskScannerOptions options = scannerOptions({});
  options.listsDevices = true;
  RecordingLog log;
  DiskScanner deviceScanner(options, log);
  std::shared_ptr<const ZPKDisk> device;
  for (const auto& disk : scanOnce(deviceScanner)) {
    if (disk->filePath() == loop.node()) device = disk;
  }
  ASSERT_TRUE(device);
  DiskScanner imageScanner(scannerOptions({oddFolder()}), log);
  const auto image = diskNamed(scanOnce(imageScanner), "core-storage.img");
  ASSERT_TRUE(image);
  EXPECT_EQ(device->name(), "core-storage");
  EXPECT_EQ(device->gptID(), image->gptID());
  EXPECT_EQ(device->diskSize(), image->diskSize());
  EXPECT_EQ(device->sectorSize(), 512U);
  EXPECT_TRUE(device->isBootCamp());
  EXPECT_FALSE(device->isRestoreTarget());  // It was attached for reading alone.
  ASSERT_EQ(device->partitions().size(), image->partitions().size());
  for (std::size_t i = 0; i < image->partitions().size(); ++i) {
    EXPECT_EQ(device->partitions()[i]->partStart(), image->partitions()[i]->partStart());
    EXPECT_EQ(device->partitions()[i]->partUsedSize(), image->partitions()[i]->partUsedSize());
    EXPECT_EQ(device->partitions()[i]->name(), image->partitions()[i]->name());
  }
  const std::string kernelName = loop.node().substr(std::string("/dev/").size());
  EXPECT_EQ(device->partitions()[3]->bsdName(), kernelName + "p4");
}

}  // namespace
}  // namespace zpk
