#include "helper/archive/SampleDisk.h"

#include <sys/mount.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>

namespace zpk::test {
namespace {

std::string repeated(const std::string& text, std::size_t size) {
  std::string result;
  while (result.size() < size) result += text + std::to_string(result.size()) + "\n";
  result.resize(size);
  return result;
}

std::string randomText(std::size_t size, unsigned seed) {
  const ByteBuffer bytes = randomBytes(size, seed);
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

void fill(const std::string& root) {
  std::filesystem::create_directories(root + "/Windows/System32");
  std::filesystem::create_directories(root + "/Users");
  writeAll(root + "/gone.txt", repeated(SampleDisk::deletedText, 6'000'000));
  for (unsigned i = 0; i < 200; ++i) {
    const std::string name = root + "/Windows/System32/file" + std::to_string(i);
    writeAll(name, i % 2 == 0 ? repeated("line of a log file ", 1000 + i * 300) : randomText(500 + i * 200, i));
  }
  writeAll(root + "/Users/large", randomText(8'000'000, 7));
  std::filesystem::resize_file(root + "/Users/large", 8'500'000);
  for (unsigned i = 0; i < 200; i += 7) {
    std::filesystem::remove(root + "/Windows/System32/file" + std::to_string(i));
  }
  std::filesystem::remove(root + "/gone.txt");
}

// The identifiers that the disk's table has, which are other ones for every disk.
void identify(StoredDisk& disk, const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::string head(std::size_t{34} * 512, '\0');
  file.read(head.data(), static_cast<std::streamsize>(head.size()));
  const auto take = [&head](GuidBytes& guid, std::size_t offset) { std::memcpy(guid.data(), &head[offset], 16); };
  take(disk.gptId, 512 + 56);
  for (StoredPartition& partition : disk.partitions) {
    take(partition.typeGuid, 1024 + std::size_t{128} * (partition.number - 1));
  }
}

// Filling a volume takes seconds: it is done once, and every disk is a copy.
struct Template {
  ScratchFolder folder;
  SampleDisk disk{folder, SampleDisk::Fresh{}};
};

const SampleDisk& templateDisk() {
  static const Template made;
  return made.disk;
}

}  // namespace

SampleDisk::SampleDisk(const ScratchFolder& folder)
    : _folder(folder), _path(folder / "disk.img"), _volume(folder / "volume.img") {
  const SampleDisk& origin = templateDisk();
  mustRun("/bin/cp", {"--sparse=always", origin._path, _path});
  mustRun("/bin/cp", {"--sparse=always", origin._volume, _volume});
}

SampleDisk::SampleDisk(const ScratchFolder& folder, Fresh) : SampleDisk(folder, Bare{}) {
  change(fill);
}

SampleDisk::SampleDisk(const ScratchFolder& folder, Bare)
    : _folder(folder), _path(folder / "disk.img"), _volume(folder / "volume.img") {
  writeAll(_path, "");
  std::filesystem::resize_file(_path, diskSize);
  mustRun("/usr/sbin/sgdisk",
          {"-n", "1:2048:+7M", "-t", "1:ef00", "-n", "2:8M:+16M", "-t", "2:af00", "-n", "3:24M:+4M", "-t", "3:0c01",
           "-n", "4:28M:+96M", "-t", "4:0700", "-c", "4:BOOTCAMP", _path});
  overwrite(mib, repeated("EFI system partition ", 100'000));
  overwrite(8 * mib, repeated("macOS volume ", 1'000'000));
  overwrite(reservedStart + mib, repeated("reserved ", 5'000));
  makeVolume();
}

void SampleDisk::makeVolume() const {
  writeAll(_volume, "");
  std::filesystem::resize_file(_volume, volumeSize);
  mustRun("/usr/sbin/mkntfs",
          {"-F", "-Q", "-q", "-L", "BOOTCAMP", "-p", std::to_string(volumeStart / 512), _volume});
  insertVolume();
}

void SampleDisk::change(const std::function<void(const std::string& mountPoint)>& work) const {
  const std::string mountPoint = _folder / "mnt";
  std::filesystem::create_directories(mountPoint);
  // In a session of its own: what is left of a tool's process group does not outlive the tool.
  mustRun("/bin/sh", {"-c", "export PATH=/usr/sbin:/usr/bin:/sbin:/bin; mnt='" + mountPoint +
                                "'; setsid -w ntfs-3g '" + _volume + "' \"$mnt\" && mountpoint -q \"$mnt\""});
  work(mountPoint);
  EXPECT_EQ(::umount(mountPoint.c_str()), 0);
  // The driver writes its last metadata after the mount is gone and lets go of the volume then.
  mustRun("/usr/bin/flock", {_volume, "true"});
  insertVolume();
}

void SampleDisk::insertVolume() const {
  mustRun("/usr/bin/dd", {"if=" + _volume, "of=" + _path, "bs=1M", "seek=28", "conv=notrunc", "status=none"});
}

void SampleDisk::overwrite(std::uint64_t offset, const std::string& bytes) const {
  std::fstream file(_path, std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(static_cast<std::streamoff>(offset));
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  EXPECT_TRUE(file.good());
}

void SampleDisk::markDirty() const {
  std::string disk = readAll(_path);
  const auto bytes = std::as_writable_bytes(std::span(disk));
  // The file table and the copy of its first records, which has to agree.
  for (const std::size_t field : {volumeStart + 48, volumeStart + 56}) {
    const std::size_t record =
        volumeStart + littleEndianAt<std::uint64_t>(bytes, field) * 4096 + std::size_t{3} * 1024;
    std::size_t attribute = record + littleEndianAt<std::uint16_t>(bytes, record + 20);
    while (littleEndianAt<std::uint32_t>(bytes, attribute) != 0x70) {
      const auto size = littleEndianAt<std::uint32_t>(bytes, attribute + 4);
      ASSERT_GT(size, 0U);
      attribute += size;
      ASSERT_LT(attribute, record + 1024) << "no volume information";
    }
    const std::size_t flags = attribute + littleEndianAt<std::uint16_t>(bytes, attribute + 20) + 10;
    overwrite(flags, std::string(1, static_cast<char>(disk[flags] | 1)));
  }
}

BackupRequest SampleDisk::requestFor(const std::string& path) {
  StoredDisk disk;
  disk.size = diskSize;
  disk.name = "Sample";
  const auto add = [&disk](std::uint32_t number, std::uint64_t start, std::uint64_t size,
                           PartitionContent content) {
    StoredPartition partition;
    partition.number = number;
    partition.start = start;
    partition.size = size;
    partition.end = start + size - 1;
    partition.content = content;
    partition.bsdName = "sample" + std::to_string(number);
    disk.partitions.push_back(partition);
  };
  add(1, mib, 7 * mib, PartitionContent::NotStored);
  add(2, 8 * mib, 16 * mib, PartitionContent::NotStored);
  add(3, reservedStart, reservedSize, PartitionContent::Whole);
  add(4, volumeStart, volumeSize, PartitionContent::Whole);
  identify(disk, path);
  return {{{path, disk}}, "first", 1'700'000'000};
}

std::string SampleDisk::expectedContent() const {
  const std::string source = readAll(_path);
  std::string expected(source.size(), '\0');
  const auto keep = [&](std::uint64_t start, std::uint64_t size) {
    expected.replace(start, size, source, start, size);
  };
  keep(0, 34 * 512);
  keep(diskSize - 33 * 512, 33 * 512);
  keep(reservedStart, reservedSize);
  keep(volumeStart + volumeSize - 512, 512);
  const std::string bitmap = mustRun("/usr/bin/ntfscat", {"-i", "6", _volume});
  for (std::uint64_t cluster = 0; cluster < (volumeSize - 512) / 4096; ++cluster) {
    const bool used = (static_cast<unsigned char>(bitmap[cluster / 8]) >> (cluster % 8) & 1) != 0;
    if (used) keep(volumeStart + cluster * 4096, 4096);
  }
  return expected;
}

}  // namespace zpk::test
