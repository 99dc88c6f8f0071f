#include "helper/archive/RestoreWorld.h"

#include <sys/mount.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <numeric>

#include "helper/archive/BackupOperation.h"
#include "helper/archive/NtfsBootSector.h"

namespace zpk::test {

BackupRequest describedRequest(const SampleDisk& disk) {
  BackupRequest request = disk.request();
  StoredDisk& description = request.disks[0].description;
  description.partitions[0].typeGuid = gpttype::efiSystem;
  description.partitions[3].typeGuid = gpttype::microsoftBasicData;
  description.partitions[2].typeGuid = {0x16, 0xE3, 0xC9, 0xE3, 0x5C, 0x0B, 0xB8, 0x4D,
                                        0x81, 0x7D, 0xF9, 0x2D, 0xF0, 0x02, 0x15, 0xAE};
  description.partitions[3].minSize = 6 * RestoreWorld::mib;
  description.partitions[3].isResizable = true;
  return request;
}

namespace {

struct Origin {
  ScratchFolder folder;
  SampleDisk disk{folder};

  Origin() {
    ArchiveResult<Archive> archive = Archive::create(path(), {"disk-id", "Sample", 1});
    for (std::size_t i = 0; i < RestoreWorld::points; ++i) {
      if (i > 0) change();
      const auto made = makeBackup(*archive, describedRequest(disk), [](std::uint64_t, std::uint64_t) {}, {});
      EXPECT_TRUE(made.hasValue()) << (made ? "" : made.error().text());
      disk.change([&](const std::string& root) { mustRun("/bin/cp", {"-r", root, moment(i)}); });
    }
  }
  std::string path() const { return folder / "a.rldbackup"; }
  std::string moment(std::size_t point) const { return folder / ("moment" + std::to_string(point)); }

  void change() const {
    disk.change([](const std::string& root) {
      const ByteBuffer bytes = randomBytes(3'000'000, 42);
      writeAll(root + "/Users/new", {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
      writeAll(root + "/Windows/System32/file3", "changed");
      std::filesystem::remove(root + "/Windows/System32/file151");
    });
  }
};

const Origin& origin() {
  static const Origin made;
  return made;
}

TargetLayout layoutOf(const GptTable& table, std::uint64_t size) {
  TargetLayout layout{size, 512, table.diskId, {}};
  for (const GptEntry& entry : table.entries) {
    layout.partitions.push_back({entry.number, entry.start, entry.size, entry.type});
  }
  return layout;
}

ByteSpan bytesOf(const std::string& text, std::size_t from, std::size_t size) {
  return std::as_bytes(std::span(text)).subspan(from, size);
}

}  // namespace

void DiskFile::overwrite(std::uint64_t offset, const std::string& bytes) const {
  std::fstream file(_path, std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(static_cast<std::streamoff>(offset));
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  EXPECT_TRUE(file.good());
}

std::string bytesAt(const std::string& path, std::uint64_t offset, std::uint64_t size) {
  std::ifstream file(path, std::ios::binary);
  std::string bytes(size, '\0');
  file.seekg(static_cast<std::streamoff>(offset));
  file.read(bytes.data(), static_cast<std::streamsize>(size));
  EXPECT_TRUE(file.good()) << path;
  return bytes;
}

RestoreWorld::RestoreWorld() {
  request.point = 1;
  request.path = targetPath;
  request.exportFolder = folder / "exports";
  request.tableProgram = ZPK_TABLE_PROGRAM;
  request.say = [this](const std::string& line) { said.push_back(line); };
  origin();
}

void RestoreWorld::makeTarget(std::uint64_t size, const std::vector<Entry>& entries) {
  std::string content(size, '\xA5');
  if (!entries.empty()) {
    std::fill_n(content.begin(), mib, '\0');
    std::fill_n(content.end() - mib, mib, '\0');
  } else {
    content.assign(size, '\0');
  }
  writeAll(targetPath, content);
  if (!entries.empty()) {
    // The tools of the field also sync every other file of the machine.
    std::string command = std::string("exec '") + ZPK_TABLE_PROGRAM + "' new write 512 ''";
    for (const Entry& entry : entries) {
      command +=
          " " + std::to_string(entry.start) + " " + std::to_string(entry.size) + " " + entry.type + " '' 0 ''";
    }
    // A sanitizer's shadow takes terabytes of addresses.
    ToolCommand tool{"/bin/sh", {"-c", command + " 3<>'" + targetPath + "'"}, {}, ToolAccess::ReadsAndWrites, {}};
    tool.limits.memoryBytes = UINT64_MAX;
    const auto made = runTool(tool, {});
    EXPECT_TRUE(made.hasValue() && made->succeeded()) << (made ? made->errors : made.error().text());
  }
  if (!entries.empty()) return takeAsTarget();
  before = std::move(content);
  request.target = TargetLayout{size, 512, {}, {}};
}

void RestoreWorld::takeAsTarget() {
  before = readAll(targetPath);
  request.target = layoutOf(table(), before.size());
}

void RestoreWorld::makeBootCampTarget(std::uint64_t windowsSize) {
  request.use = TargetUse::WindowsPartition;
  makeTarget(17 * mib + windowsSize,
             {{mib, 7 * mib, efi}, {8 * mib, 8 * mib, mac}, {16 * mib, windowsSize, basicData}});
}

void RestoreWorld::makeMacTarget(std::uint64_t freeSpace) {
  request.use = TargetUse::FreeSpace;
  request.wantedSize = freeSpace;
  makeTarget(17 * mib + freeSpace, {{mib, 7 * mib, efi}, {8 * mib, 8 * mib, mac}});
}

Expected<RestoredPoint, RestoreFailure> RestoreWorld::restore() {
  lastDone = lastTotal = 0;
  const auto progress = [this](std::uint64_t done, std::uint64_t total) {
    EXPECT_GE(done, lastDone);
    EXPECT_LE(done, total);
    lastDone = done;
    lastTotal = total;
    if (onProgress) onProgress(done, total);
  };
  auto restored = restorePoint(archive(), request, progress, cancel);
  if (restored) {
    EXPECT_EQ(lastDone, lastTotal);
  } else {
    EXPECT_TRUE(lastDone < lastTotal || lastTotal == 0);
  }
  return restored;
}

std::string RestoreWorld::refusal() {
  const auto restored = restore();
  if (restored) return "it is accepted";
  EXPECT_FALSE(restored.error().isTargetIncomplete);
  EXPECT_TRUE(readAll(targetPath) == before) << "the target was touched";
  return restored.error().error.message;
}

void RestoreWorld::expectWindows(ByteRange place, std::size_t moment) {
  const std::string volume = folder / "restored";
  mustRun("/usr/bin/dd",
          {"if=" + targetPath, "of=" + volume, "bs=4096", "skip=" + std::to_string(place.start / 4096),
           "count=" + std::to_string(place.size() / 4096), "conv=sparse", "status=none"});
  mustRun("/usr/sbin/ntfsresize", {"--info", "--no-action", "--force", volume});
  mustRun("/usr/bin/ntfsfix", {"--no-action", volume});
  const std::string root = folder / "files";
  std::filesystem::create_directories(root);
  mustRun("/bin/sh", {"-c", "export PATH=/usr/sbin:/usr/bin:/sbin:/bin; setsid -w ntfs-3g -o ro '" + volume +
                                "' '" + root + "'"});
  EXPECT_TRUE(std::filesystem::exists(root + "/Users/large"));
  mustRun("/usr/bin/diff", {"-r", root, origin().moment(moment)});
  EXPECT_EQ(::umount(root.c_str()), 0);
  mustRun("/usr/bin/flock", {volume, "true"});

  const std::string content = bytesAt(volume, 0, 512);
  const auto geometry = parseNtfsBootSector(bytesOf(content, 0, 512), place.size());
  ASSERT_TRUE(geometry.has_value());
  EXPECT_EQ(littleEndianAt<std::uint32_t>(bytesOf(content, 28, 4), 0), place.start / 512);
  EXPECT_EQ(littleEndianAt<std::uint16_t>(bytesOf(content, 24, 2), 0), 63);
  EXPECT_EQ(littleEndianAt<std::uint16_t>(bytesOf(content, 26, 2), 0), 255);
  EXPECT_EQ(geometry->sectors, place.size() / 512 - 1);
  EXPECT_EQ(content, bytesAt(volume, place.size() - 512, 512)) << "the copy of the boot sector";
}

void RestoreWorld::expectUntouched(ByteRange range) const {
  EXPECT_EQ(bytesAt(targetPath, range.start, range.size()).compare(before.substr(range.start, range.size())), 0)
      << "from " << range.start << " to " << range.end;
}

void RestoreWorld::expectSoundTable() const {
  mustRun("/usr/sbin/sfdisk", {"--verify", "--quiet", targetPath});
  EXPECT_THAT(mustRun("/usr/sbin/sgdisk", {"--verify", targetPath}), testing::HasSubstr("No problems found"));
}

GptTable RestoreWorld::tableOf(const std::string& path) {
  const DiskBytes read = [&](std::uint64_t offset, std::span<std::byte> into) -> ArchiveResult<Done> {
    const std::string bytes = bytesAt(path, offset, into.size());
    std::ranges::copy(bytesOf(bytes, 0, bytes.size()), into.begin());
    return Done{};
  };
  ArchiveResult<GptTable> table = readGptTable(read, std::filesystem::file_size(path), 512);
  EXPECT_TRUE(table.hasValue()) << (table ? "" : table.error().text());
  return table ? std::move(*table) : GptTable{};
}

std::string RestoreWorld::sourcePath() {
  return origin().disk.path();
}

GptTable RestoreWorld::storedTable() {
  return tableOf(sourcePath());
}

std::string RestoreWorld::archiveFolder() {
  return origin().path();
}

Archive RestoreWorld::archive() {
  ArchiveResult<Archive> archive = Archive::openForReading(archiveFolder());
  EXPECT_TRUE(archive.hasValue()) << (archive ? "" : archive.error().text());
  return std::move(*archive);
}

std::string RestoreWorld::archiveState() {
  std::vector<std::string> lines;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(archiveFolder())) {
    struct stat status = {};
    EXPECT_EQ(::stat(entry.path().c_str(), &status), 0);
    // Nobody can set the time of the last change.
    lines.push_back(entry.path().string() + " " + std::to_string(status.st_size) + " " +
                    std::to_string(status.st_ctim.tv_sec) + "." + std::to_string(status.st_ctim.tv_nsec) + "\n");
  }
  std::ranges::sort(lines);
  return std::accumulate(lines.begin(), lines.end(), std::string());
}

std::filesystem::path RestoreWorld::quickFolder() {
  return std::filesystem::is_directory("/dev/shm") ? "/dev/shm" : std::filesystem::temp_directory_path();
}

}  // namespace zpk::test
