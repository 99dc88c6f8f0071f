#include "helper/archive/BackupOperation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <regex>

#include "helper/archive/ChunkMap.h"
#include "helper/archive/PartitionDevice.h"
#include "helper/archive/Qcow2Reader.h"
#include "helper/archive/SampleDisk.h"

namespace zpk {
namespace {

using test::SampleDisk;
using test::ScratchFolder;

void ignoreProgress(std::uint64_t, std::uint64_t) {}

// Names of everything in an archive but the lock.
std::vector<std::string> contentOf(const std::string& path) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
    if (entry.path().filename() != "lock") names.push_back(entry.path().lexically_relative(path).string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

class Backup : public testing::Test {
 protected:
  Archive create(const std::string& name = "a.rldbackup") {
    ArchiveResult<Archive> archive = Archive::create(folder / name, {"disk-id", "Sample", 1});
    EXPECT_TRUE(archive.hasValue()) << (archive ? "" : archive.error().text());
    return std::move(*archive);
  }

  ArchiveResult<PointIndex> run(Archive& archive, const BackupProgress& progress = ignoreProgress) {
    return makeFullBackup(archive, disk.request(), progress, cancel);
  }

  std::string imagePath(const Archive& archive, std::size_t point) const {
    return archive.path() + "/" + archive.index().points.at(point) + "/disk0.pvhd";
  }

  ScratchFolder folder;
  SampleDisk disk{folder};
  CancelFlag cancel;
};

TEST_F(Backup, AFullPointHoldsExactlyWhatIsInUseAndZerosElsewhere) {
  Archive archive = create();
  const ArchiveResult<PointIndex> point = run(archive);
  ASSERT_TRUE(point.hasValue()) << point.error().text();
  EXPECT_EQ(*archive.readPoint(0), *point);
  EXPECT_EQ(point->label, "first");
  EXPECT_EQ(point->disks[0].partitions[2].content, PartitionContent::Whole);
  EXPECT_EQ(point->disks[0].partitions[3].content, PartitionContent::UsedClusters);

  EXPECT_THAT(test::mustRun("/usr/bin/qemu-img", {"check", "-f", "qcow2", imagePath(archive, 0)}),
              testing::HasSubstr("No errors were found"));
  test::mustRun("/usr/bin/qemu-img",
                {"convert", "-f", "qcow2", "-O", "raw", imagePath(archive, 0), folder / "back.raw"});
  const std::string content = test::readAll(folder / "back.raw");
  ASSERT_TRUE(test::readAll(disk.path()).find(SampleDisk::deletedText) != std::string::npos)
      << "the source has no leftovers to leave out";
  EXPECT_TRUE(content == disk.expectedContent());
  EXPECT_TRUE(content.find(SampleDisk::deletedText) == std::string::npos);
}

TEST_F(Backup, ItsIndexFilesAreAsTheSchemaSays) {
  Archive archive = create();
  ASSERT_TRUE(run(archive).hasValue());
  const auto check = [&] {
    const CancelFlag never;
    const auto result = runTool(
        {ZPK_CHECK_SCHEMA,
         {ZPK_ARCHIVE_SCHEMA, "archive=" + archive.path() + "/archive.json", "point=" + archive.pointIndexPath(0)},
         {},
         ToolAccess::ReadsOnly,
         {}},
        never);
    return result ? result->output + result->errors : result.error().text();
  };
  EXPECT_EQ(check(), "");
  // And the check finds what is wrong: a key without a description, a value outside of its range.
  const std::string sound = test::readAll(archive.pointIndexPath(0));
  test::writeAll(archive.pointIndexPath(0), "{\"colour\": 1, " + sound.substr(1));
  EXPECT_THAT(check(), testing::HasSubstr("colour"));
  test::writeAll(archive.pointIndexPath(0), std::regex_replace(sound, std::regex("\"full\""), "\"whole\""));
  EXPECT_THAT(check(), testing::HasSubstr("'whole' is not one of"));
}

TEST_F(Backup, EveryChunkOfTheImageHasItsHashInTheMap) {
  Archive archive = create();
  ASSERT_TRUE(run(archive).hasValue());
  auto image = Qcow2Reader::open(std::move(*archive.openPointFile(0, "disk0.pvhd")));
  auto map = ChunkMapReader::open(std::move(*archive.openPointFile(0, "disk0.map")));
  ASSERT_TRUE(image.hasValue() && map.hasValue());
  EXPECT_EQ(map->seed(), archive.index().hashSeed);
  ByteBuffer content(image->clusterSize());
  std::uint64_t present = 0;
  for (std::uint64_t i = 0; i < image->clusterCount(); ++i) {
    const auto kind = image->read(i, content);
    ASSERT_TRUE(kind.hasValue());
    const auto hash = map->hashOf(i);
    ASSERT_TRUE(hash.hasValue());
    ASSERT_EQ(hash->has_value(), *kind != ClusterKind::Absent);
    if (!hash->has_value()) continue;
    ASSERT_EQ(**hash, hashOfChunk(content, map->seed()));
    ASSERT_FALSE(isAllZero(content)) << "a chunk of zeros costs space";
    ++present;
  }
  EXPECT_EQ(present, map->count());
}

TEST_F(Backup, ProgressNeverGoesBackAndReachesItsTotalOnceThePointExists) {
  Archive archive = create();
  std::uint64_t last = 0;
  std::uint64_t total = 0;
  bool complete = false;
  const auto result = run(archive, [&](std::uint64_t done, std::uint64_t of) {
    EXPECT_GE(done, last);
    EXPECT_LE(done, of);
    EXPECT_FALSE(complete);
    EXPECT_TRUE(total == 0 || total == of);
    complete = done == of;
    EXPECT_EQ(complete, archive.index().points.size() == 1);
    last = done;
    total = of;
  });
  ASSERT_TRUE(result.hasValue());
  EXPECT_TRUE(complete);
  EXPECT_EQ(total, result->disks[0].storedBytes);
}

TEST_F(Backup, CancellingLeavesTheArchiveAsItWas) {
  Archive archive = create();
  ASSERT_TRUE(run(archive).hasValue());
  const std::vector<std::string> before = contentOf(archive.path());
  const std::string indexBefore = test::readAll(archive.path() + "/archive.json");
  const auto result = run(archive, [this](std::uint64_t done, std::uint64_t total) {
    if (done > total / 2) cancel.request();
  });
  ASSERT_FALSE(result.hasValue());
  EXPECT_EQ(result.error().fault, ArchiveFault::Cancelled);
  EXPECT_EQ(contentOf(archive.path()), before);
  EXPECT_EQ(test::readAll(archive.path() + "/archive.json"), indexBefore);
}

TEST_F(Backup, AFullDestinationVoidsThePointAndSaysSo) {
  const std::string small = folder / "small";
  std::filesystem::create_directory(small);
  ASSERT_EQ(::mount("tmpfs", small.c_str(), "tmpfs", 0, "size=4m"), 0) << "needs the right to mount";
  {
    Archive archive = create("small/a.rldbackup");
    const std::vector<std::string> before = contentOf(archive.path());
    const auto result = run(archive);
    ASSERT_FALSE(result.hasValue());
    EXPECT_EQ(result.error().fault, ArchiveFault::NoSpace);
    EXPECT_THAT(result.error().text(), testing::HasSubstr("disk0.pvhd"));
    EXPECT_THAT(result.error().text(), testing::HasSubstr("No space left on device"));
    EXPECT_EQ(contentOf(archive.path()), before);
  }
  EXPECT_EQ(::umount(small.c_str()), 0);
}

TEST_F(Backup, ASourceThatCannotBeReadAnyMoreVoidsThePoint) {
  Archive archive = create();
  const auto result = run(archive, [this](std::uint64_t done, std::uint64_t) {
    if (done > 0) std::filesystem::resize_file(disk.path(), SampleDisk::volumeStart + SampleDisk::mib);
  });
  ASSERT_FALSE(result.hasValue());
  EXPECT_EQ(result.error().fault, ArchiveFault::ReadFailed);
  EXPECT_EQ(result.error().path, disk.path());
  EXPECT_GE(result.error().offset, SampleDisk::volumeStart);
  EXPECT_TRUE(archive.index().points.empty());
  EXPECT_EQ(contentOf(archive.path()), std::vector<std::string>{"archive.json"});
}

TEST_F(Backup, AnImageThatIsWrittenToMeanwhileVoidsThePoint) {
  Archive archive = create();
  bool written = false;
  const auto result = run(archive, [&](std::uint64_t done, std::uint64_t) {
    if (done > 0 && !written) disk.overwrite(SampleDisk::mib, "a virtual machine was started");
    written = written || done > 0;
  });
  ASSERT_TRUE(written);
  ASSERT_FALSE(result.hasValue());
  EXPECT_EQ(result.error().fault, ArchiveFault::SourceUnfit);
  EXPECT_THAT(result.error().message, testing::HasSubstr("changed the disk image while it was read"));
  EXPECT_EQ(contentOf(archive.path()), std::vector<std::string>{"archive.json"});
}

TEST_F(Backup, AKilledBackupLeavesEveryEarlierPointAndNothingElse) {
  {
    Archive archive = create();
    ASSERT_TRUE(run(archive).hasValue());
  }
  const std::vector<std::string> before = contentOf(folder / "a.rldbackup");
  for (const int killAt : {0, 1, 5, 20}) {
    const pid_t child = ::fork();
    if (child == 0) {
      ArchiveResult<Archive> archive = Archive::openForWriting(folder / "a.rldbackup");
      int calls = 0;
      if (archive) {
        (void)run(*archive, [&](std::uint64_t, std::uint64_t) {
          if (calls++ == killAt) ::raise(SIGKILL);
        });
      }
      ::_exit(0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status)) << "the backup was not killed";
    EXPECT_EQ(contentOf(folder / "a.rldbackup") == before, killAt == 0);
    ArchiveResult<Archive> archive = Archive::openForWriting(folder / "a.rldbackup");
    ASSERT_TRUE(archive.hasValue()) << archive.error().text();
    EXPECT_EQ(contentOf(folder / "a.rldbackup"), before);
  }
}

TEST_F(Backup, AMovedArchiveOpensForReading) {
  {
    Archive archive = create();
    ASSERT_TRUE(run(archive).hasValue());
  }
  std::filesystem::rename(folder / "a.rldbackup", folder / "b.rldbackup");
  const ArchiveResult<Archive> archive = Archive::openForReading(folder / "b.rldbackup");
  ASSERT_TRUE(archive.hasValue());
  EXPECT_EQ(archive->readPoint(0)->label, "first");
}

ArchiveError refusalOf(const ArchiveResult<PointIndex>& result) {
  EXPECT_FALSE(result.hasValue());
  return result ? ArchiveError{} : result.error();
}

TEST_F(Backup, AHibernatedVolumeIsRefused) {
  disk.change(
      [](const std::string& root) { test::writeAll(root + "/hiberfil.sys", "hibr" + std::string(8188, 'x')); });
  Archive archive = create();
  const ArchiveError error = refusalOf(run(archive));
  EXPECT_EQ(error.fault, ArchiveFault::SourceUnfit);
  EXPECT_THAT(error.text(), testing::HasSubstr("hibernated"));
}

TEST_F(Backup, AVolumeThatWasNotClosedCleanlyIsRefused) {
  disk.markDirty();
  Archive archive = create();
  const ArchiveError error = refusalOf(run(archive));
  EXPECT_EQ(error.fault, ArchiveFault::SourceUnfit);
  EXPECT_THAT(error.text(), testing::HasSubstr("not closed cleanly"));
}

TEST_F(Backup, AnEncryptedVolumeIsRefused) {
  disk.overwrite(SampleDisk::volumeStart + 3, "-FVE-FS-");
  Archive archive = create();
  EXPECT_THAT(refusalOf(run(archive)).text(), testing::HasSubstr("BitLocker"));
}

TEST_F(Backup, AVolumeWhoseBitmapContradictsItsFilesIsRefused) {
  // The first bytes of the bitmap stand for the boot sector and the file table, which are always in use.
  const std::string bitmap = test::mustRun("/usr/bin/ntfscat", {"-i", "6", folder / "volume.img"}).substr(0, 512);
  const std::size_t place = test::readAll(disk.path()).find(bitmap, SampleDisk::volumeStart);
  ASSERT_NE(place, std::string::npos);
  disk.overwrite(place, std::string(512, '\0'));
  Archive archive = create();
  const ArchiveError error = refusalOf(run(archive));
  EXPECT_EQ(error.fault, ArchiveFault::SourceUnfit);
  EXPECT_THAT(error.text(), testing::HasSubstr("chkdsk"));
}

TEST_F(Backup, ADiskWithoutAPartitionTableIsRefused) {
  const BackupRequest described = disk.request();
  disk.overwrite(512, std::string(512, '\0'));
  Archive archive = create();
  const auto result = makeFullBackup(archive, described, ignoreProgress, cancel);
  EXPECT_THAT(refusalOf(result).text(), testing::HasSubstr("no GPT partition table"));
}

TEST_F(Backup, WithoutTheRightToSetUpDevicesItSaysWhatToDo) {
  ASSERT_EQ(::geteuid(), 0U) << "only root can give its rights away";
  const ArchiveResult<DiskSource> source = DiskSource::open(disk.path());
  ASSERT_TRUE(source.hasValue());
  const pid_t child = ::fork();
  if (child == 0) {
    if (::setuid(65534) != 0) ::_exit(2);
    const auto device =
        PartitionDevice::attach(*source, {SampleDisk::volumeStart, SampleDisk::diskSize}, 512, "", cancel);
    ::_exit(!device && device.error().text().find("start it as root") != std::string::npos ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

TEST_F(Backup, TheSourceIsNeverWritten) {
  const std::string before = test::readAll(disk.path());
  Archive archive = create();
  ASSERT_TRUE(run(archive).hasValue());
  EXPECT_TRUE(test::readAll(disk.path()) == before);
}

}  // namespace
}  // namespace zpk
