// What a backup of a large volume takes of memory. A program of its own, as its peak is what is looked at.

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include "helper/archive/BackupOperation.h"
#include "helper/archive/TestFiles.h"

namespace zpk {
namespace {

using test::mustRun;
using test::ScratchFolder;

constexpr std::uint64_t mib = std::uint64_t{1} << 20;
constexpr std::uint64_t diskSize = std::uint64_t{2'000'000} * mib;
constexpr std::uint64_t volumeStart = mib;
constexpr std::uint64_t volumeSize = diskSize - 2 * mib;

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
  StoredDisk description;
  description.size = diskSize;
  description.partitions = {partition};
  BackupRequest request;
  request.disks = {{disk, description}};
  request.exportFolder = exportFolder;
  return request;
}

std::uint64_t peakMemory() {
  rusage usage = {};
  ::getrusage(RUSAGE_SELF, &usage);
  return static_cast<std::uint64_t>(usage.ru_maxrss) * 1024;
}

TEST(LargeVolume, TwoTerabytesAreBackedUpAndAddedToInTwoHundredMegabytes) {
  const ScratchFolder folder;
  const std::string exports = folder / "exports";
  std::filesystem::create_directory(exports);
  const BackupRequest request = requestFor(makeDisk(folder), exports);
  ArchiveResult<Archive> archive = Archive::create(folder / "a.rldbackup", {"disk", "Disk", 0});
  ASSERT_TRUE(archive.hasValue()) << archive.error().text();
  const std::uint64_t before = peakMemory();
  for (const PointKind kind : {PointKind::Full, PointKind::Increment}) {
    const ArchiveResult<MadePoint> made = makeBackup(*archive, request, [](auto, auto) {}, {});
    ASSERT_TRUE(made.hasValue()) << made.error().text();
    EXPECT_EQ(made->index.kind, kind);
  }
  // The bitmap of the volume has to be there as a whole: it is 61 MB of it.
  EXPECT_GT(peakMemory(), before + 50'000'000) << "this is no large volume";
  EXPECT_LT(peakMemory(), 200'000'000U);
}

}  // namespace
}  // namespace zpk
