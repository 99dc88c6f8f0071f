// What a large and badly fragmented volume takes of memory: every other chunk of it is in use, so that no
// neighbours are stored together, and the image of the full point is much longer than what it refers to.
//
// ZPK_LARGE=1 has a whole disk of 2 TB and a file as long as that; else it is the first 16 GiB, which is enough to
// tell a list of stretches from what holds none, and a file that is just too long to be counted in one go.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>

#include "helper/archive/ImageMerge.h"
#include "helper/archive/MergeOperation.h"
#include "helper/archive/PeakMemory.h"
#include "helper/archive/PointCheck.h"
#include "helper/archive/PointDisk.h"
#include "helper/archive/Qcow2Writer.h"
#include "helper/archive/TestFiles.h"

namespace zpk {
namespace {

using test::PeakMemory;

constexpr std::uint64_t chunkSize = 16'384;
constexpr std::uint64_t diskSize = 2'000'000'000'000 / chunkSize * chunkSize;
constexpr std::uint64_t mostMemory = 200'000'000;

bool isLarge() {
  return std::getenv("ZPK_LARGE") != nullptr;
}
// Up to there, every other chunk is in use.
std::uint64_t fragmentedChunks() {
  return isLarge() ? diskSize / chunkSize : 1'048'576;
}
std::uint64_t parentFileSize() {
  return (isLarge() ? std::uint64_t{2'000'000} : std::uint64_t{530'000}) << 20U;
}
// What the increment holds.
constexpr std::uint64_t changedEach = 40'000;

const CancelFlag never;

ByteBuffer contentOf(std::uint64_t chunk, std::uint64_t moment) {
  ByteBuffer content(chunkSize, std::byte{7});
  putLittleEndian(content, 0, chunk);
  putLittleEndian(content, 8, moment);
  return content;
}

void expectBounded(const PeakMemory& peak, const char* what) {
  std::cout << what << ": " << peak.bytes() / 1'000'000 << " MB, " << peak.added() / 1'000'000 << " MB added\n";
  EXPECT_LT(peak.bytes(), mostMemory) << what;
}

class WorstTables : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    // Written durably, which costs nothing in memory.
    const std::filesystem::path quick = "/dev/shm";
    const bool isQuick = !isLarge() && std::filesystem::is_directory(quick);
    _folder = std::make_unique<test::ScratchFolder>(isQuick ? quick : std::filesystem::temp_directory_path());
    ArchiveResult<Archive> archive = Archive::create(path(), {"disk", "Disk", 0});
    ASSERT_TRUE(archive.hasValue()) << archive.error().text();
    for (std::uint64_t moment = 0; moment < 2; ++moment) addPoint(*archive, moment);
    lengthen(archive->path() + "/" + archive->index().points[0] + "/disk0.pvhd");
  }
  static void TearDownTestSuite() { _folder.reset(); }

  static std::string path() { return *_folder / "a.rldbackup"; }
  static std::string imagePath(const Archive& archive, std::size_t point) {
    return archive.path() + "/" + archive.index().points[point] + "/disk0.pvhd";
  }
  static Archive open() {
    ArchiveResult<Archive> archive = Archive::openForWriting(path());
    EXPECT_TRUE(archive.hasValue()) << archive.error().text();
    return std::move(*archive);
  }

 private:
  // Each holds the chunks that changed; of the others the maps alone tell.
  static void addPoint(Archive& archive, std::uint64_t moment) {
    ArchiveResult<PendingPoint> point = archive.beginPoint();
    ASSERT_TRUE(point.hasValue());
    PointIndex index;
    index.kind = moment == 0 ? PointKind::Full : PointKind::Increment;
    if (moment > 0) index.parent = archive.readPoint(0)->id;
    StoredDisk disk;
    disk.size = diskSize;
    disk.image = "disk0.pvhd";
    disk.map = "disk0.map";
    const std::string backing = moment == 0 ? "" : "../" + archive.index().points[0] + "/disk0.pvhd";
    Qcow2Writer image(*createIn(point->folder(), disk.image), {diskSize, 14, backing});
    ChunkMapWriter map(*createIn(point->folder(), disk.map), chunkSize, archive.index().hashSeed);
    const PeakMemory peak;
    for (std::uint64_t chunk = 0; chunk < fragmentedChunks(); chunk += 2) {
      ChunkHash hash{};
      if (chunk % changedEach == 0) {
        const ByteBuffer content = contentOf(chunk, moment);
        hash = hashOfChunk(content, archive.index().hashSeed);
        ASSERT_TRUE(image.addPlain(chunk, content).hasValue());
      }
      ASSERT_TRUE(map.add(chunk, hash).hasValue());
    }
    ASSERT_TRUE(map.finish(never).hasValue());
    expectBounded(peak, "writing image and map");
    EXPECT_LT(peak.added(), 24'000'000U);
    ASSERT_TRUE(image.finish(never).hasValue());
    index.disks = {disk};
    ASSERT_TRUE(archive.commitPoint(std::move(*point), index).hasValue());
  }

  // The content of one cluster lies at the end of a file that is a hole in front of it.
  static void lengthen(const std::string& imagePath) {
    const std::uint64_t far = parentFileSize() - chunkSize;
    std::filesystem::resize_file(imagePath, parentFileSize());
    std::fstream image(imagePath, std::ios::in | std::ios::out | std::ios::binary);
    const auto read = [&](std::uint64_t place, std::size_t size) {
      ByteBuffer bytes(size);
      image.seekg(static_cast<std::streamoff>(place));
      image.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size));
      return bytes;
    };
    const auto write = [&](std::uint64_t place, const ByteBuffer& bytes) {
      image.seekp(static_cast<std::streamoff>(place));
      image.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    };
    constexpr std::uint64_t onlyReference = std::uint64_t{1} << 63U;
    const auto l1 = bigEndianAt<std::uint64_t>(read(40, 8), 0);
    const std::uint64_t farTable = bigEndianAt<std::uint64_t>(read(l1, 8), 0) & ~onlyReference;
    // Chunk 2 is not one of those that changed.
    ByteBuffer entry(8);
    putBigEndian(entry, 0, far | onlyReference);
    write(farTable + 2 * 8, entry);
    ASSERT_TRUE(image.good());
  }

  static inline std::unique_ptr<test::ScratchFolder> _folder;
};

TEST_F(WorstTables, AreReadByWhoeverOpensAPointInTwoHundredMegabytes) {
  const Archive archive = open();
  const PeakMemory peak;
  ArchiveResult<PointDisk> disk = PointDisk::open(archive, 1, 0);
  ASSERT_TRUE(disk.hasValue()) << disk.error().text();
  ByteBuffer read(chunkSize);
  for (std::uint64_t chunk = 0; chunk < fragmentedChunks(); chunk += changedEach) {
    ASSERT_TRUE(disk->read(chunk * chunkSize, read).hasValue());
    ASSERT_EQ(read, contentOf(chunk, 1));
    ASSERT_TRUE(disk->read((chunk + 1) * chunkSize, read).hasValue());
    ASSERT_TRUE(isAllZero(read));
  }
  expectBounded(peak, "opening a point");
  EXPECT_LT(peak.added(), 24'000'000U);
}

TEST_F(WorstTables, AreCheckedInTwoHundredMegabytes) {
  const Archive archive = open();
  const PeakMemory peak;
  const auto check = checkOwnImages(
      archive, 1, [](std::uint64_t) {}, never);
  ASSERT_TRUE(check.hasValue()) << check.error().text();
  EXPECT_TRUE(check->damaged.empty());
  expectBounded(peak, "checking an increment");
  EXPECT_LT(peak.added(), 48'000'000U) << "two maps";
}

TEST_F(WorstTables, AreCheckedInTwoHundredMegabytesWhenNearlyEverythingIsLost) {
  const Archive archive = open();
  const PeakMemory peak;
  const auto check = checkOwnImages(
      archive, 0, [](std::uint64_t) {}, never);
  ASSERT_TRUE(check.hasValue()) << check.error().text();
  const std::uint64_t sound = divideUp(fragmentedChunks(), changedEach);
  EXPECT_EQ(check->damaged.size() + check->furtherRanges, fragmentedChunks() / 2 - sound);
  EXPECT_EQ(check->damaged.size(), PointCheck::mostRanges);
  expectBounded(peak, "checking a lost point");
  EXPECT_LT(peak.added(), 24'000'000U);
}

// The last one, as it changes the archive.
TEST_F(WorstTables, YieldToAMergeInTwoHundredMegabytes) {
  Archive archive = open();
  ASSERT_EQ(archive.index().points.size(), 2U);
  const PeakMemory peak;
  const ArchiveResult<Done> merged = mergeIntoParent(
      archive, 1, [](auto, auto) {}, never);
  ASSERT_TRUE(merged.hasValue()) << merged.error().text();
  expectBounded(peak, "merging");
  EXPECT_GT(peak.added(), 60'000'000U) << "the file is not long enough to say anything";
  EXPECT_GE(std::filesystem::file_size(imagePath(archive, 0)), parentFileSize());
  EXPECT_THAT(test::mustRun("/usr/bin/qemu-img", {"check", "-f", "qcow2", imagePath(archive, 0)}),
              testing::HasSubstr("No errors were found"));
}

}  // namespace
}  // namespace zpk
