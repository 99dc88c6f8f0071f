// Whether what is opened is still the disk that was looked at.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "helper/archive/DeviceIdentity.h"
#include "helper/archive/GptTable.h"
#include "helper/archive/RestoreTarget.h"
#include "helper/archive/SourcePlan.h"
#include "helper/archive/TestFiles.h"
#include "helper/archive/table/TableEditor.h"

namespace zpk {
namespace {

using test::mustRun;
using test::ScratchFolder;
using testing::HasSubstr;

std::string identityOf(const std::string& path) {
  const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  return identityOfOpen(file.get());
}

// Another file of the same content in its place.
void replaceByCopy(const std::string& path) {
  mustRun("/bin/cp", {"--sparse=always", path, path + ".copy"});
  std::filesystem::rename(path + ".copy", path);
}

class SourceIdentity : public testing::Test {
 protected:
  static constexpr std::uint64_t mib = std::uint64_t{1} << 20U;
  static constexpr std::uint64_t size = 16 * mib;

  SourceIdentity() {
    test::writeAll(path, "");
    std::filesystem::resize_file(path, size);
    giveTable(2 * mib, firstId);
    source.path = path;
    source.identity = identityOf(path);
    source.description = describe();
  }

  // A new table with one partition from there on; nothing else is written.
  void giveTable(std::uint64_t start, const std::string& id) const {
    const FileDescriptor file(::open(path.c_str(), O_RDWR | O_CLOEXEC));
    const std::string type = "ebd0a0a2-b9e5-4433-87c0-68b6b72699c7";
    const auto done = editTable(file.get(), {true, true, 512, id, {{start, 8 * mib, type, "", 0, "Windows"}}});
    ASSERT_TRUE(done.hasValue()) << done.error();
  }
  StoredDisk describe() const {
    const OpenFile file{FileDescriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC)), path};
    const auto table =
        readGptTable([&](auto offset, auto bytes) { return readAt(file, offset, bytes); }, size, 512);
    EXPECT_EQ(table->entries.size(), 1U);
    const GptEntry& entry = table->entries[0];
    StoredPartition partition;
    partition.number = entry.number;
    partition.start = entry.start;
    partition.size = entry.size;
    partition.typeGuid = entry.type;
    partition.content = PartitionContent::Whole;
    StoredDisk disk;
    disk.size = size;
    disk.gptId = table->diskId;
    disk.partitions = {partition};
    return disk;
  }

  // "fit", or what keeps it from being backed up.
  std::string answer() {
    const ArchiveResult<SourcePlan> plan = planSource(source, folder / "export", {});
    return plan ? "fit" : plan.error().message;
  }

  static constexpr const char* firstId = "11111111-2222-3333-4444-555555555555";
  static constexpr const char* otherId = "22222222-2222-3333-4444-555555555555";
  ScratchFolder folder;
  std::string path = folder / "disk.img";
  BackupDisk source;
};

TEST_F(SourceIdentity, TheDiskThatWasDescribedIsTheSource) {
  EXPECT_EQ(answer(), "fit");
}

TEST_F(SourceIdentity, AnotherDiskOfTheSameSizeAndLayoutIsNotTheSource) {
  source.identity.clear();
  giveTable(2 * mib, otherId);
  EXPECT_THAT(answer(), HasSubstr("another disk has taken its place"));
}

// What lies at its old place is no volume, which must not be taken for a damaged one.
TEST_F(SourceIdentity, APartitionThatWasMovedIsNotLookedForWhereItWas) {
  giveTable(3 * mib, firstId);
  EXPECT_THAT(answer(), HasSubstr("its partition table has changed"));
}

TEST_F(SourceIdentity, AnImageThatWasReplacedIsNotTheSource) {
  replaceByCopy(path);
  EXPECT_THAT(answer(), HasSubstr("another disk has taken its place"));
}

TEST_F(SourceIdentity, ADamagedFirstCopyOfTheTableLeavesTheSecondToSayWhichDiskItIs) {
  constexpr std::size_t nameOfFirstEntry = 1024 + 56;
  std::fstream(path, std::ios::in | std::ios::out | std::ios::binary).seekp(nameOfFirstEntry).write("x", 1);
  EXPECT_EQ(answer(), "fit");
  source.description.gptId[0] ^= 1;
  EXPECT_THAT(answer(), HasSubstr("Choose the disk again"));
}

class TargetIdentity : public testing::Test {
 protected:
  TargetIdentity() {
    makeBlank("blank.img");
    target.size = size;
    target.identity = identityOf(path);
  }

  void makeBlank(const std::string& name) const {
    test::writeAll(folder / name, "");
    std::filesystem::resize_file(folder / name, size);
  }
  std::string answer(const std::string& opened) const {
    const ArchiveResult<RestoreTarget> open = RestoreTarget::open(opened);
    if (!open) return open.error().message;
    const ArchiveResult<Done> same = open->checkIs(target);
    return same ? "the same" : same.error().message;
  }

  static constexpr std::uint64_t size = std::uint64_t{8} << 20U;
  ScratchFolder folder;
  std::string path = folder / "blank.img";
  TargetLayout target;
};

TEST_F(TargetIdentity, ABlankImageThatWasReplacedByAnotherBlankOneIsAnotherDisk) {
  EXPECT_EQ(answer(path), "the same");
  replaceByCopy(path);
  EXPECT_THAT(answer(path), HasSubstr("another disk has taken its place"));
}

// A device that is attached under a number that another one had: the path is the same, and so is all that is on it.
TEST_F(TargetIdentity, ABlankDeviceInThePlaceOfAnotherIsAnotherDisk) {
  makeBlank("other.img");
  const auto attach = [this](const std::string& image) {
    std::string device = mustRun("/usr/sbin/losetup", {"--find", "--show", folder / image});
    device.pop_back();
    return device;
  };
  const std::string device = attach("blank.img");
  const std::string listed = identityOfDevice("/sys/block/" + std::filesystem::path(device).filename().string());
  EXPECT_EQ(listed, identityOf(device)) << "the listing of disks and whoever opens one see the same";
  target.identity = listed;
  EXPECT_EQ(answer(device), "the same");
  mustRun("/usr/sbin/losetup", {"--detach", device});
  mustRun("/usr/sbin/losetup", {device, folder / "other.img"});
  EXPECT_THAT(answer(device), HasSubstr("another disk has taken its place"));
  mustRun("/usr/sbin/losetup", {"--detach", device});
}

TEST(DeviceIdentity, IsMadeOfTheNumberTheCountAndTheSerialNumberWhereTheyAreTold) {
  const ScratchFolder sys;
  std::filesystem::create_directory(sys / "device");
  test::writeAll(sys / "dev", "8:16\n");
  EXPECT_EQ(identityOfDevice(sys.path()), "device 8:16");
  test::writeAll(sys / "diskseq", "42\n");
  test::writeAll(sys / "device/vpd_pg80", std::string("\0\x80\0\x08  Z1D5A7", 12));
  EXPECT_EQ(identityOfDevice(sys.path()), "device 8:16 42 Z1D5A7");
}

TEST(DeviceIdentity, WhatIsNeitherAFileNorADeviceHasNone) {
  EXPECT_EQ(identityOf("/dev/null"), "");
  EXPECT_EQ(identityOf("/"), "");
}

}  // namespace
}  // namespace zpk
