#include "helper/disks/RunningSystem.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "helper/disks/FakeSystem.h"

namespace zpk {
namespace {

using disktest::FakeSystem;

RunningSystem found(const FakeSystem& system) {
  return RunningSystem::find(system.paths(), mountedVolumes(system.paths()));
}

FakeSystem& withTwoDisks(FakeSystem& system) {
  system.addDisk("sda", "8:0");
  system.addPartition("sda", "sda1", "8:1", 1, 2048);
  system.addPartition("sda", "sda2", "8:2", 2, 4096);
  system.addDisk("sdb", "8:16");
  system.addPartition("sdb", "sdb1", "8:17", 1, 2048);
  return system;
}

TEST(RunningSystem, StandsOnThePartitionOfItsRootAndOnTheWholeDisk) {
  FakeSystem system;
  withTwoDisks(system).addMount("8:2", "/", "/dev/sda2");
  const RunningSystem running = found(system);
  EXPECT_TRUE(running.standsOn(DeviceNumber{8, 2}));
  EXPECT_TRUE(running.standsOn(DeviceNumber{8, 0}));
  EXPECT_FALSE(running.standsOn(DeviceNumber{8, 1}));
  EXPECT_FALSE(running.standsOn(DeviceNumber{8, 16}));
}

TEST(RunningSystem, StandsOnItsBootPartitionAndSwapToo) {
  FakeSystem system;
  withTwoDisks(system).addMount("8:2", "/", "/dev/sda2");
  system.addMount("8:17", "/boot/efi", "/dev/sdb1");
  EXPECT_TRUE(found(system).standsOn(DeviceNumber{8, 16}));

  FakeSystem swapping;
  withTwoDisks(swapping).addMount("8:2", "/", "/dev/sda2");
  swapping.addSwap("/dev/sdb1");
  EXPECT_TRUE(found(swapping).standsOn(DeviceNumber{8, 17}));
  EXPECT_TRUE(found(swapping).standsOn(DeviceNumber{8, 16}));
}

TEST(RunningSystem, IsFollowedThroughMappedDevices) {
  FakeSystem system;
  withTwoDisks(system);
  system.addMapped("dm-0", "253:0", system.diskFolder("sda") + "/sda2");  // Encryption.
  system.addMapped("dm-1", "253:1", system.diskFolder("dm-0"));           // A volume on it.
  system.addMount("253:1", "/", "/dev/mapper/root");
  EXPECT_TRUE(found(system).standsOn(DeviceNumber{8, 0}));
  EXPECT_FALSE(found(system).standsOn(DeviceNumber{8, 16}));
}

TEST(RunningSystem, IsFollowedThroughALoopDeviceToItsFile) {
  FakeSystem system;
  const TemporaryFolder folder;
  folder.put("root.img", "x");
  system.addLoop("loop0", "7:0", folder.path("root.img"), 0);
  system.addMount("7:0", "/", "/dev/loop0");
  struct stat status = {};
  ASSERT_EQ(::stat(folder.path("root.img").c_str(), &status), 0);
  EXPECT_TRUE(found(system).standsOn(FileIdentity{status.st_dev, status.st_ino}));
  EXPECT_TRUE(found(system).standsOn(deviceNumberOf(std::uint64_t{status.st_dev})));
  EXPECT_FALSE(found(system).standsOn(FileIdentity{status.st_dev, status.st_ino + 1}));
}

TEST(RunningSystem, RootWithoutDeviceIsFollowedByItsSource) {
  FakeSystem system;
  withTwoDisks(system).addMount("0:30", "/", "/dev/sda2");
  EXPECT_TRUE(found(system).standsOn(DeviceNumber{8, 0}));
  EXPECT_FALSE(found(system).standsOn(DeviceNumber{8, 16}));
}

TEST(RunningSystem, LiveSystemStandsOnEveryMountedDiskButTheUsers) {
  FakeSystem system;
  withTwoDisks(system).addMount("0:30", "/", "overlay");
  system.addMount("8:1", "/run/live/medium", "/dev/sda1");
  system.addMount("8:17", "/media/anna/stick", "/dev/sdb1");
  EXPECT_TRUE(found(system).standsOn(DeviceNumber{8, 0}));
  EXPECT_FALSE(found(system).standsOn(DeviceNumber{8, 16}));
}

TEST(RunningSystem, MountOfTheUserDoesNotCount) {
  FakeSystem system;
  withTwoDisks(system).addMount("8:2", "/", "/dev/sda2");
  system.addMount("8:17", "/mnt", "/dev/sdb1");
  EXPECT_FALSE(found(system).standsOn(DeviceNumber{8, 16}));
}

TEST(MountedVolumes, NamesAreReadAsTheyAre) {
  FakeSystem system;
  system.addMount("8:1", R"(/media/My\040Disk\134x)", "/dev/sda1");
  const std::vector<MountedVolume> mounts = mountedVolumes(system.paths());
  ASSERT_EQ(mounts.size(), 1U);
  EXPECT_EQ(mounts[0].mountPoint, "/media/My Disk\\x");
  EXPECT_EQ(mountPointOf(mounts, DeviceNumber{8, 1}), "/media/My Disk\\x");
  EXPECT_EQ(mountPointOf(mounts, DeviceNumber{8, 2}), std::nullopt);
}

TEST(RunningSystem, OfThisMachineIsFound) {
  const LinuxPaths paths;
  const std::vector<MountedVolume> mounts = mountedVolumes(paths);
  struct stat root = {};
  ASSERT_EQ(::stat("/", &root), 0);
  const DeviceNumber device = deviceNumberOf(std::uint64_t{root.st_dev});
  EXPECT_EQ(RunningSystem::find(paths, mounts).standsOn(device), device.major != 0);
  EXPECT_FALSE(mounts.empty());
}

}  // namespace
}  // namespace zpk
