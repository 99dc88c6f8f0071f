// What the operations on a large volume take of memory. A program of its own, as its peak is what is looked at.

#include <fcntl.h>
#include <unistd.h>

#include <iostream>

#include "helper/archive/BackupOperation.h"
#include "helper/archive/GptTable.h"
#include "helper/archive/MergeOperation.h"
#include "helper/archive/PeakMemory.h"
#include "helper/archive/PointCheck.h"
#include "helper/archive/RestoreOperation.h"
#include "helper/archive/TestFiles.h"

namespace zpk {
namespace {

using test::mustRun;
using test::PeakMemory;
using test::ScratchFolder;

constexpr std::uint64_t mib = std::uint64_t{1} << 20;
constexpr std::uint64_t diskSize = std::uint64_t{2'000'000} * mib;
constexpr std::uint64_t volumeStart = mib;
constexpr std::uint64_t volumeSize = diskSize - 2 * mib;

// Of the volume, a bit for each of its clusters; has to be in memory as a whole.
constexpr std::uint64_t bitmapSize = 50'000'000;

void makeSparse(const std::string& path, std::uint64_t size) {
  test::writeAll(path, "");
  std::filesystem::resize_file(path, size);
}

// Copies what is not a hole.
void insert(const std::string& volume, const std::string& disk) {
  const FileDescriptor from(::open(volume.c_str(), O_RDONLY | O_CLOEXEC));
  const FileDescriptor to(::open(disk.c_str(), O_WRONLY | O_CLOEXEC));
  std::vector<std::byte> piece(mib);
  off_t end = 0;
  for (off_t at = ::lseek(from.get(), 0, SEEK_DATA); at >= 0; at = ::lseek(from.get(), end, SEEK_DATA)) {
    end = ::lseek(from.get(), at, SEEK_HOLE);
    while (at < end) {
      const ssize_t read = ::pread(from.get(), piece.data(),
                                   std::min<std::size_t>(piece.size(), static_cast<std::size_t>(end - at)), at);
      ASSERT_GT(read, 0);
      ASSERT_EQ(
          ::pwrite(to.get(), piece.data(), static_cast<std::size_t>(read), at + static_cast<off_t>(volumeStart)),
          read);
      at += read;
    }
  }
}

std::string makeDisk(const ScratchFolder& folder) {
  const std::string disk = folder / "disk.img";
  const std::string volume = folder / "volume.img";
  makeSparse(disk, diskSize);
  mustRun("/usr/sbin/sgdisk", {"-n", "1:2048:+" + std::to_string(volumeSize / mib) + "M", "-t", "1:0700", disk});
  makeSparse(volume, volumeSize);
  mustRun("/usr/sbin/mkntfs", {"-F", "-Q", "-q", "-p", std::to_string(volumeStart / 512), volume});
  insert(volume, disk);
  std::filesystem::remove(volume);
  return disk;
}

BackupRequest requestFor(const std::string& disk, const std::string& exportFolder) {
  StoredPartition partition;
  partition.number = 1;
  partition.start = volumeStart;
  partition.size = volumeSize;
  partition.end = volumeStart + volumeSize - 1;
  partition.content = PartitionContent::Whole;
  partition.typeGuid = gpttype::microsoftBasicData;
  StoredDisk description;
  description.size = diskSize;
  const OpenFile file{FileDescriptor(::open(disk.c_str(), O_RDONLY | O_CLOEXEC)), disk};
  description.gptId =
      readGptTable([&](auto offset, auto bytes) { return readAt(file, offset, bytes); }, diskSize, 512)->diskId;
  description.partitions = {partition};
  BackupRequest request;
  request.disks = {{disk, description}};
  request.exportFolder = exportFolder;
  return request;
}

void expectBounded(const PeakMemory& peak, const char* what) {
  std::cout << what << ": " << peak.bytes() / 1'000'000 << " MB\n";
  EXPECT_LT(peak.bytes(), 200'000'000U) << what;
}

TEST(LargeVolume, EveryOperationOnTwoTerabytesKeepsToTwoHundredMegabytes) {
  const ScratchFolder folder;
  const CancelFlag never;
  const std::string exports = folder / "exports";
  std::filesystem::create_directory(exports);
  const BackupRequest request = requestFor(makeDisk(folder), exports);
  ArchiveResult<Archive> archive = Archive::create(folder / "a.rldbackup", {"disk", "Disk", 0});
  ASSERT_TRUE(archive.hasValue()) << archive.error().text();
  for (const PointKind kind : {PointKind::Full, PointKind::Increment}) {
    const PeakMemory peak;
    const ArchiveResult<MadePoint> made = makeBackup(*archive, request, [](auto, auto) {}, {});
    ASSERT_TRUE(made.hasValue()) << made.error().text();
    EXPECT_EQ(made->index.kind, kind);
    expectBounded(peak, kind == PointKind::Full ? "full backup" : "increment");
    EXPECT_GT(peak.added(), bitmapSize) << "this is no large volume";
  }
  {
    const PeakMemory peak;
    const ArchiveResult<PointCheck> check = checkOwnImages(
        *archive, 0, [](auto) {}, never);
    ASSERT_TRUE(check.hasValue()) << check.error().text();
    EXPECT_TRUE(check->damaged.empty());
    expectBounded(peak, "check");
  }
  {
    const PeakMemory peak;
    const ArchiveResult<Done> merged = mergeIntoParent(
        *archive, 1, [](auto, auto) {}, never);
    ASSERT_TRUE(merged.hasValue()) << merged.error().text();
    expectBounded(peak, "merge");
  }
  RestoreRequest restore;
  restore.path = folder / "target.img";
  makeSparse(restore.path, diskSize);
  restore.target = TargetLayout{diskSize, 512, {}, {}};
  restore.use = TargetUse::WholeDisk;
  restore.exportFolder = exports;
  restore.tableProgram = ZPK_TABLE_PROGRAM;
  const PeakMemory peak;
  const auto restored = restorePoint(
      *archive, restore, [](auto, auto) {}, never);
  ASSERT_TRUE(restored.hasValue()) << restored.error().error.text();
  EXPECT_GT(restored->copiedBytes, bitmapSize);
  expectBounded(peak, "restore");
  EXPECT_GT(peak.added(), bitmapSize) << "this is no large volume";
}

}  // namespace
}  // namespace zpk
