// Backup points on disks again, and what becomes of a disk when that fails.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "helper/archive/RestoreWorld.h"
#include "helper/archive/UserWorld.h"

namespace zpk {
namespace {

using test::bytesAt;
using test::DiskFile;
using test::RestoreWorld;
using test::SampleDisk;
using testing::HasSubstr;

class Restore : public RestoreWorld {
 protected:
  void expectRestored() {
    const auto restored = restore();
    ASSERT_TRUE(restored.hasValue()) << restored.error().error.text();
    EXPECT_GT(restored->copiedBytes, 0U);
    EXPECT_EQ(archiveState(), archiveBefore) << "the archive is only read";
    EXPECT_TRUE(std::filesystem::is_empty(folder / "exports"));
  }
  const std::string archiveBefore = archiveState();
};

TEST_F(Restore, ReplacesTheWindowsPartitionOfABootCampDisk) {
  makeBootCampTarget(96 * mib);
  expectRestored();
  expectWindows({16 * mib, 112 * mib}, 1);
  expectUntouched({0, 16 * mib});
  expectUntouched({112 * mib, 113 * mib});
  expectSoundTable();
}

TEST_F(Restore, AFullPointReadsAsTheDiskWasThen) {
  makeBootCampTarget(30 * mib);
  request.point = 0;
  expectRestored();
  expectWindows({16 * mib, 46 * mib}, 0);
}

TEST_F(Restore, MakesTheVolumeSmallerForASmallerPartition) {
  makeBootCampTarget(40 * mib);
  expectRestored();
  expectWindows({16 * mib, 56 * mib}, 1);
  expectUntouched({0, 16 * mib});
  expectUntouched({56 * mib, 57 * mib});
}

TEST_F(Restore, MakesTheVolumeLargerForALargerPartition) {
  makeBootCampTarget(120 * mib);
  expectRestored();
  expectWindows({16 * mib, 136 * mib}, 1);
  expectUntouched({0, 16 * mib});
  expectUntouched({136 * mib, 137 * mib});
}

TEST_F(Restore, MakesNewPartitionsInFreeSpace) {
  makeMacTarget(60 * mib);
  request.wantedSize = 40 * mib + 4321;
  request.takesIdentity = true;
  expectRestored();
  const ByteRange place{20 * mib, 61 * mib};
  expectWindows(place, 1);
  expectUntouched({34 * 512, 16 * mib});
  expectUntouched({61 * mib, 76 * mib});
  expectSoundTable();
  const GptTable made = table();
  EXPECT_EQ(made.diskId, request.target.id);
  ASSERT_EQ(made.entries.size(), 4U);
  EXPECT_EQ(made.entries[2].number, 3U);
  EXPECT_EQ(made.entries[2].size, 4 * mib);
  EXPECT_EQ(made.entries[3].number, 4U);
  EXPECT_EQ(made.entries[3].type, gpttype::microsoftBasicData);
  EXPECT_EQ(made.entries[3].name, "BOOTCAMP");
  EXPECT_EQ(made.entries[3].start, place.start);
  EXPECT_EQ(made.entries[3].size, place.size());
  EXPECT_EQ(made.entries[3].id, storedTable().entries[3].id);
  // Microsoft Reserved holds text from its second mebibyte on, and zeros elsewhere.
  EXPECT_EQ(bytesAt(targetPath, 16 * mib, 4 * mib), bytesAt(sourcePath(), 24 * mib, 4 * mib));
}

// As sgdisk --hybrid=2 makes it: a system that starts through the BIOS knows the second partition by it.
TEST_F(Restore, AHybridMbrStaysAsItIsAndIsToldOf) {
  makeMacTarget(60 * mib);
  std::string mbr = before.substr(0, 512);
  mbr.replace(446 + 16, 16, std::string("\0\xFE\xFF\xFF\xAF\xFE\xFF\xFF\0\x48\0\0\0\x20\0\0", 16));
  DiskFile(targetPath).overwrite(0, mbr);
  takeAsTarget();
  request.wantedSize = 40 * mib;
  expectRestored();
  expectUntouched({0, 512});
  EXPECT_EQ(bytesAt(targetPath, 0, 512), mbr);
  EXPECT_THAT(said, testing::Contains(testing::HasSubstr("hybrid MBR")));
}

TEST_F(Restore, NewPartitionsAreOthersWhileTheStoredOnesAreThereAsWell) {
  makeMacTarget(40 * mib);
  expectRestored();
  EXPECT_NE(table().entries.at(3).id, storedTable().entries[3].id);
  EXPECT_EQ(table().entries.at(3).name, "BOOTCAMP");
}

TEST_F(Restore, GivesAnEmptyDiskAWholeNewLayout) {
  request.use = TargetUse::WholeDisk;
  request.takesIdentity = true;
  makeTarget(64 * mib, {});
  expectRestored();
  expectWindows({12 * mib, 63 * mib}, 1);
  expectSoundTable();
  const GptTable made = table();
  EXPECT_EQ(made.diskId, storedTable().diskId);
  ASSERT_EQ(made.entries.size(), 3U);
  EXPECT_EQ(made.entries[0].type, gpttype::efiSystem);
  EXPECT_EQ(made.entries[0].size, 7 * mib);
  EXPECT_EQ(made.entries[2].type, gpttype::microsoftBasicData);
}

TEST_F(Restore, AnAuxiliaryTableGivesWayToTheNewOne) {
  request.use = TargetUse::WholeDisk;
  makeTarget(60 * mib, {{mib, 20 * mib, efi}});
  expectRestored();
  expectWindows({12 * mib, 59 * mib}, 1);
  expectSoundTable();
  EXPECT_EQ(table().entries.size(), 3U);
  EXPECT_NE(table().diskId, storedTable().diskId);
}

TEST_F(Restore, ToTheDiskThatItIsFromGivesBackWhatWasLost) {
  // The source itself, as large and as laid out as it was, after its Windows partition was lost.
  test::mustRun("/bin/cp", {"--sparse=always", sourcePath(), targetPath});
  const DiskFile disk(targetPath);
  disk.overwrite(SampleDisk::volumeStart, std::string(8 * mib, 'x'));
  takeAsTarget();
  expectRestored();
  expectWindows({SampleDisk::volumeStart, SampleDisk::volumeStart + SampleDisk::volumeSize}, 1);
  expectUntouched({0, SampleDisk::volumeStart});
}

TEST_F(Restore, APartitionThatIsTooSmallIsRefused) {
  makeBootCampTarget(5 * mib);
  EXPECT_THAT(refusal(), HasSubstr("needs 7 MB"));
}

TEST_F(Restore, AVolumeThatCannotBeMadeSoSmallIsRefused) {
  // The index promises less than what the tools find out.
  makeBootCampTarget(8 * mib);
  EXPECT_THAT(refusal(), HasSubstr("can be made as small as"));
}

// As small as ntfsresize would make the volume it is itself, and a cluster for the copy of its boot sector.
TEST_F(Restore, APartitionOfTheSmallestSizeIsEnoughAndOneSectorLessIsNot) {
  test::mustRun("/usr/bin/dd", {"if=" + sourcePath(), "of=" + (folder / "stored"), "bs=1M", "skip=28", "count=96",
                                "conv=sparse", "status=none"});
  const std::string advice = test::mustRun("/usr/sbin/ntfsresize", {"--info", "--force", folder / "stored"});
  const std::string words = "You might resize at ";
  const std::size_t at = advice.find(words);
  ASSERT_NE(at, std::string::npos) << advice;
  const std::uint64_t least = std::stoull(advice.substr(at + words.size())) + 4096;
  makeBootCampTarget(least - 512);
  EXPECT_THAT(refusal(), HasSubstr("can be made as small as " + megabytesText(least) + " and"));
  makeBootCampTarget(least);
  expectRestored();
  expectWindows({16 * mib, 16 * mib + least}, 1);
}

// A user may back up such a volume all the same; then the tools do not resize it.
TEST_F(Restore, AVolumeThatWasNotClosedCleanlyKeepsItsSizeInALargerPartition) {
  const SampleDisk disk(folder, SampleDisk::Bare{});
  disk.markDirty();
  ArchiveResult<Archive> unclean = Archive::create(folder / "unclean.rldbackup", {"disk-id", "Sample", 1});
  BackupRequest backup = test::describedRequest(disk);
  backup.disks[0].acceptsUncleanVolumes = true;
  backup.disks[0].description.partitions[3].isResizable = false;
  const auto made = makeBackup(*unclean, backup, [](std::uint64_t, std::uint64_t) {}, {});
  ASSERT_TRUE(made.hasValue()) << made.error().text();
  request.point = 0;
  makeBootCampTarget(90 * mib);
  const auto restoreIt = [&] {
    return restorePoint(
        *unclean, request, [](std::uint64_t, std::uint64_t) {}, cancel);
  };
  const auto refused = restoreIt();
  ASSERT_FALSE(refused.hasValue());
  EXPECT_FALSE(refused.error().isTargetIncomplete);
  EXPECT_THAT(refused.error().error.message, HasSubstr("needs 101 MB on the disk"));
  makeBootCampTarget(101 * mib);
  const auto restored = restoreIt();
  ASSERT_TRUE(restored.hasValue()) << restored.error().error.text();
  EXPECT_FALSE(restored->isResized);
  EXPECT_THAT(said, testing::Contains(testing::AllOf(HasSubstr("keeps its size in a larger partition"),
                                                     HasSubstr("scheduled for check"),
                                                     testing::Not(HasSubstr("it needs")))));
  const auto volumeSize = [this](const std::string& path, std::uint64_t start, std::uint64_t size) {
    test::mustRun("/usr/bin/dd",
                  {"if=" + path, "of=" + (folder / "volume"), "bs=1M", "skip=" + std::to_string(start / mib),
                   "count=" + std::to_string(size / mib), "conv=sparse", "status=none"});
    const std::string told = test::mustRun("/usr/sbin/ntfsresize", {"--info", "--force", folder / "volume"});
    return told.substr(told.find("Current volume size"), 40);
  };
  EXPECT_EQ(volumeSize(targetPath, 16 * mib, 101 * mib),
            volumeSize(disk.path(), SampleDisk::volumeStart, SampleDisk::volumeSize));
  expectUntouched({0, 16 * mib});
  expectUntouched({117 * mib, 118 * mib});
}

TEST_F(Restore, ADiskThatHasChangedSinceItWasChosenIsRefused) {
  makeBootCampTarget(40 * mib);
  const RestoreRequest good = request;
  request.target.partitions[2].start += 512;
  EXPECT_THAT(refusal(), HasSubstr("not what it was"));
  request = good;
  request.target.id = GuidBytes{7};
  EXPECT_THAT(refusal(), HasSubstr("not what it was"));
  request = good;
  request.target.size += mib;
  EXPECT_THAT(refusal(), HasSubstr("not what it was"));
  request = good;
  request.target.id.reset();
  request.target.partitions.clear();
  request.use = TargetUse::WholeDisk;
  EXPECT_THAT(refusal(), HasSubstr("not what it was")) << "it was blank";
}

TEST_F(Restore, ADiskInUseIsRefused) {
  makeBootCampTarget(40 * mib);
  const FileDescriptor other(::open(targetPath.c_str(), O_RDONLY | O_CLOEXEC));
  EXPECT_THAT(refusal(), HasSubstr("Another program has the disk image open"));
}

TEST_F(Restore, ADiskThatMayNotBeWrittenIsRefused) {
  makeBootCampTarget(40 * mib);
  request.path = "/dev/null";
  EXPECT_THAT(refusal(), HasSubstr("neither a disk nor a disk image"));
  request.path = folder / "missing.img";
  EXPECT_THAT(refusal(), HasSubstr("could not be opened"));
}

TEST_F(Restore, StoppedBeforeTheFirstWriteItLeavesTheDiskAsItWas) {
  makeBootCampTarget(40 * mib);
  cancel.request();
  refusal();
}

TEST_F(Restore, StoppedInItsMiddleItLeavesNoFileSystemAndTheTableAsItWas) {
  makeBootCampTarget(40 * mib);
  onProgress = [this](std::uint64_t done, std::uint64_t total) {
    if (done > total / 2) cancel.request();
  };
  const auto restored = restore();
  ASSERT_FALSE(restored.hasValue());
  EXPECT_EQ(restored.error().error.fault, ArchiveFault::Cancelled);
  EXPECT_TRUE(restored.error().isTargetIncomplete);
  expectUntouched({0, 16 * mib});
  expectUntouched({56 * mib, 57 * mib});
  EXPECT_EQ(bytesAt(targetPath, 16 * mib, 4096), std::string(4096, '\0'));
  EXPECT_EQ(bytesAt(targetPath, 56 * mib - 4096, 4096), std::string(4096, '\0'));
  // It can be repeated.
  onProgress = nullptr;
  CancelFlag again;
  const auto repeated = restorePoint(
      archive(), request, [](std::uint64_t, std::uint64_t) {}, again);
  ASSERT_TRUE(repeated.hasValue()) << repeated.error().error.text();
  expectWindows({16 * mib, 56 * mib}, 1);
}

TEST_F(Restore, StoppedInFreeSpaceItAddsNoPartition) {
  makeMacTarget(40 * mib);
  onProgress = [this](std::uint64_t done, std::uint64_t total) {
    if (done > total / 2) cancel.request();
  };
  ASSERT_FALSE(restore().hasValue());
  expectUntouched({0, 16 * mib});
  expectUntouched({56 * mib, 57 * mib});
  expectSoundTable();
  EXPECT_EQ(table().entries.size(), 2U);
}

// Whoever notes that the disk is about to be written has noted it before the first byte is.
TEST_F(Restore, AsksRightBeforeItWritesForTheFirstTimeAndTakesANo) {
  makeBootCampTarget(40 * mib);
  int asked = 0;
  request.mayWrite = [&] {
    ++asked;
    EXPECT_TRUE(test::readAll(targetPath) == before);
    return false;
  };
  const auto restored = restore();
  ASSERT_FALSE(restored.hasValue());
  EXPECT_EQ(restored.error().error.fault, ArchiveFault::Cancelled);
  EXPECT_FALSE(restored.error().isTargetIncomplete);
  expectUntouched({0, before.size()});
  EXPECT_EQ(asked, 1);
}

TEST_F(Restore, KilledAtItsVeryEndItLeavesNoFileSystem) {
  makeBootCampTarget(40 * mib);
  const pid_t child = ::fork();
  if (child == 0) {
    // With the volume copied, made smaller and checked, but its boot sector not on the disk.
    request.say = [](const std::string& line) {
      if (line.starts_with("Checking")) ::raise(SIGKILL);
    };
    (void)restorePoint(
        archive(), request, [](std::uint64_t, std::uint64_t) {}, cancel);
    ::_exit(0);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFSIGNALED(status)) << "it was not killed";
  expectUntouched({0, 16 * mib});
  EXPECT_EQ(bytesAt(targetPath, 16 * mib, 4096), std::string(4096, '\0'));
  expectRestored();
  expectWindows({16 * mib, 56 * mib}, 1);
}

TEST_F(Restore, ADamagedArchiveIsNamedAndNeverLooksRestored) {
  makeBootCampTarget(40 * mib);
  test::mustRun("/bin/cp", {"-a", archiveFolder(), folder / "damaged"});
  ArchiveResult<Archive> damaged = Archive::openForReading(folder / "damaged");
  const std::string image = (folder / "damaged/") + damaged->index().points[0] + "/disk0.pvhd";
  // Content in the middle of the file, of which only the hashes know.
  DiskFile(image).overwrite(std::filesystem::file_size(image) / 2, std::string(1000, 'x'));
  const auto restored = restorePoint(
      *damaged, request, [](std::uint64_t, std::uint64_t) {}, cancel);
  ASSERT_FALSE(restored.hasValue());
  EXPECT_EQ(restored.error().error.fault, ArchiveFault::Damaged);
  EXPECT_THAT(restored.error().error.path, HasSubstr("disk0.pvhd"));
  EXPECT_TRUE(restored.error().isTargetIncomplete);
  EXPECT_EQ(bytesAt(targetPath, 16 * mib, 4096), std::string(4096, '\0'));
}

TEST_F(Restore, WorksOnADeviceThatNobodyElseUses) {
  makeMacTarget(40 * mib);
  std::string device = test::mustRun("/usr/sbin/losetup", {"--find", "--show", targetPath});
  device.pop_back();
  request.path = device;
  {
    const FileDescriptor user(::open(device.c_str(), O_RDONLY | O_EXCL | O_CLOEXEC));
    EXPECT_THAT(refusal(), HasSubstr("eject its volumes"));
  }
  TargetLayout otherSectors = request.target;
  otherSectors.sectorSize = 4096;
  std::swap(request.target, otherSectors);
  EXPECT_THAT(refusal(), HasSubstr("sectors"));
  std::swap(request.target, otherSectors);
  const auto restored = restore();
  EXPECT_TRUE(restored.hasValue()) << restored.error().error.text();
  test::mustRun("/usr/sbin/losetup", {"--detach", device});
  expectWindows({20 * mib, 56 * mib}, 1);
  expectSoundTable();
}

TEST_F(Restore, WorksForAUserWithoutRightsOnImagesOfHisOwn) {
  makeBootCampTarget(40 * mib);
  test::mustRun("/bin/cp", {"-a", archiveFolder(), folder / "his.rldbackup"});
  test::mustRun("/bin/cp", {request.tableProgram, folder / "zpktable"});
  request.tableProgram = folder / "zpktable";
  test::mustRun("/bin/chown", {"-R", std::to_string(test::UserWorld::nobody), folder.path()});
  const std::string answer = test::UserWorld::withoutRights().run([this]() -> std::string {
    const ArchiveResult<Archive> his = Archive::openForReading(folder / "his.rldbackup");
    if (!his) return his.error().text();
    const auto restored = restorePoint(
        *his, request, [](std::uint64_t, std::uint64_t) {}, cancel);
    return restored ? "good" : restored.error().error.text();
  });
  EXPECT_EQ(answer, "good");
  expectWindows({16 * mib, 56 * mib}, 1);
}

}  // namespace
}  // namespace zpk
