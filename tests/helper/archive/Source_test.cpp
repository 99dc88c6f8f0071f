#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "helper/archive/ClusterBitmap.h"
#include "helper/archive/DiskLayout.h"
#include "helper/archive/DiskSource.h"
#include "helper/archive/GptExtent.h"
#include "helper/archive/NtfsBootSector.h"
#include "helper/archive/TestFiles.h"

namespace zpk {
namespace {

using test::ScratchFolder;

ByteBuffer bootSector(std::uint16_t sectorSize, unsigned perCluster, std::uint64_t sectors) {
  ByteBuffer sector(512);
  std::memcpy(&sector[3], "NTFS    ", 8);
  putLittleEndian(sector, 11, sectorSize);
  sector[13] = static_cast<std::byte>(perCluster);
  putLittleEndian(sector, 40, sectors);
  return sector;
}

TEST(NtfsBootSector, TheShapeOfTheVolumeIsRead) {
  const auto geometry = parseNtfsBootSector(bootSector(512, 8, 1001), 1002 * 512);
  ASSERT_TRUE(geometry.has_value());
  EXPECT_EQ(geometry->clusterSize, 4096U);
  EXPECT_EQ(geometry->clusters(), 125U);
}

TEST(NtfsBootSector, LargeClustersAreWrittenAsPowers) {
  EXPECT_EQ(parseNtfsBootSector(bootSector(512, 256 - 12, 1 << 20), std::uint64_t{1} << 30)->clusterSize, 2U << 20);
}

TEST(NtfsBootSector, ImpossibleShapesAreRefused) {
  constexpr std::uint64_t size = std::uint64_t{1} << 30;
  EXPECT_FALSE(parseNtfsBootSector(bootSector(0, 8, 100), size));
  EXPECT_FALSE(parseNtfsBootSector(bootSector(513, 8, 100), size));
  EXPECT_FALSE(parseNtfsBootSector(bootSector(8192, 8, 100), size));
  EXPECT_FALSE(parseNtfsBootSector(bootSector(512, 0, 100), size));
  EXPECT_FALSE(parseNtfsBootSector(bootSector(512, 3, 100), size));
  EXPECT_FALSE(parseNtfsBootSector(bootSector(512, 200, 100), size));
  EXPECT_FALSE(parseNtfsBootSector(bootSector(512, 256 - 31, 100), size));
  EXPECT_FALSE(parseNtfsBootSector(bootSector(512, 8, 0), size));
  EXPECT_FALSE(parseNtfsBootSector(bootSector(512, 8, size / 512 + 1), size));
  EXPECT_FALSE(parseNtfsBootSector(bootSector(512, 8, UINT64_MAX), size));
  EXPECT_FALSE(parseNtfsBootSector(ByteBuffer(512), size));
}

TEST(ClusterBitmap, RunsAreFoundLikeBitByBit) {
  for (const std::uint64_t clusters : {1U, 7U, 64U, 65U, 1000U}) {
    ByteBuffer bytes = test::randomBytes(clusters / 8 + 5, static_cast<unsigned>(clusters));
    std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 3),
              bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 2), std::byte{0xFF});
    const ClusterBitmap bitmap(bytes, clusters);
    std::uint64_t used = 0;
    for (std::uint64_t i = 0; i < clusters; ++i) {
      const bool isUsed = (std::to_integer<unsigned>(bytes[i / 8]) >> (i % 8) & 1U) != 0;
      ASSERT_EQ(bitmap.isUsed(i), isUsed);
      used += isUsed ? 1 : 0;
      std::uint64_t next = i;
      while (next < clusters && !bitmap.isUsed(next)) ++next;
      ASSERT_EQ(bitmap.nextUsed(i, clusters), next);
      next = i;
      while (next < clusters && bitmap.isUsed(next)) ++next;
      ASSERT_EQ(bitmap.nextFree(i, clusters), next);
    }
    EXPECT_EQ(bitmap.countUsed(), used);
    EXPECT_FALSE(bitmap.isUsed(clusters));
  }
}

ByteBuffer bits(std::initializer_list<unsigned> used) {
  ByteBuffer bytes(8);
  for (const unsigned bit : used) bytes[bit / 8] |= static_cast<std::byte>(1U << (bit % 8));
  return bytes;
}

TEST(DiskLayout, StoredRangesComeInOrderWhateverTheOrderTheyWereAddedIn) {
  DiskLayout layout(1000);
  ASSERT_TRUE(layout.addWhole({900, 1000}).hasValue());
  ASSERT_TRUE(layout.addClusters(100, 10, ClusterBitmap(bits({0, 1, 5}), 20)).hasValue());
  ASSERT_TRUE(layout.addWhole({0, 50}).hasValue());
  EXPECT_EQ(layout.usedBytes(), 180U);

  std::vector<std::pair<std::uint64_t, std::uint64_t>> found;
  for (auto range = layout.next(0, 1000); range; range = layout.next(range->end, 1000)) {
    found.emplace_back(range->start, range->end);
  }
  const std::vector<std::pair<std::uint64_t, std::uint64_t>> expected = {
      {0, 50}, {100, 120}, {150, 160}, {900, 1000}};
  EXPECT_EQ(found, expected);
}

TEST(DiskLayout, ARangeIsCutAtTheLimitAndNothingIsThereAtIt) {
  DiskLayout layout(1000);
  ASSERT_TRUE(layout.addWhole({100, 500}).hasValue());
  EXPECT_EQ(layout.next(0, 300)->end, 300U);
  EXPECT_EQ(layout.next(250, 300)->start, 250U);
  EXPECT_FALSE(layout.next(300, 300).has_value());
  EXPECT_FALSE(layout.next(0, 100).has_value());
}

TEST(DiskLayout, OverlapsAndWhatLiesOutsideAreRefused) {
  DiskLayout layout(1000);
  ASSERT_TRUE(layout.addWhole({100, 200}).hasValue());
  EXPECT_FALSE(layout.addWhole({150, 160}).hasValue());
  EXPECT_FALSE(layout.addWhole({0, 101}).hasValue());
  EXPECT_FALSE(layout.addWhole({199, 300}).hasValue());
  EXPECT_FALSE(layout.addWhole({900, 1001}).hasValue());
  EXPECT_TRUE(layout.addWhole({200, 300}).hasValue());
  EXPECT_TRUE(layout.addWhole({0, 100}).hasValue());
}

TEST(DiskSource, AReadErrorNamesTheDiskThePlaceAndTheReason) {
  // The memory of a process reads as an error where nothing is mapped.
  const OpenFile memory{FileDescriptor(::open("/proc/self/mem", O_RDONLY | O_CLOEXEC)), "/dev/sda"};
  ByteBuffer bytes(4096);
  const ArchiveResult<Done> read = readAt(memory, 4096, bytes);
  ASSERT_FALSE(read.hasValue());
  EXPECT_EQ(read.error().text(), "Reading failed: /dev/sda at 4096: Input/output error");
}

TEST(DiskSource, UnalignedReadsGiveTheSameBytesAsAlignedOnes) {
  const ScratchFolder folder;
  const ByteBuffer content = test::randomBytes(20'000, 1);
  test::writeAll(folder / "disk", {reinterpret_cast<const char*>(content.data()), content.size()});
  const ArchiveResult<DiskSource> disk = DiskSource::open(folder / "disk");
  ASSERT_TRUE(disk.hasValue());
  ByteBuffer bytes(1001);
  ASSERT_TRUE(disk->read(18'999, bytes).hasValue());
  EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), content.begin() + 18'999));
  EXPECT_FALSE(disk->read(19'000, bytes).hasValue());
}

TEST(GptExtent, ASoundTableGivesItsTwoPlacesAndDamageIsRefused) {
  const ScratchFolder folder;
  test::writeAll(folder / "disk", "");
  std::filesystem::resize_file(folder / "disk", 64 << 20);
  test::mustRun("/usr/sbin/sgdisk", {"-n", "1:0:+8M", folder / "disk"});
  const ArchiveResult<GptExtent> extent = readGptExtent(*DiskSource::open(folder / "disk"), 512);
  ASSERT_TRUE(extent.hasValue());
  EXPECT_EQ(extent->head.end, 34U * 512);
  EXPECT_EQ(extent->tail.start, (64U << 20) - 33 * 512);
  EXPECT_EQ(extent->tail.end, 64U << 20);

  const std::string sound = test::readAll(folder / "disk").substr(0, 1 << 20);
  std::mt19937_64 random(3);
  for (int round = 0; round < 300; ++round) {
    std::string bytes = sound;
    for (int i = 0; i < 2; ++i) bytes[512 + random() % 92] = static_cast<char>(random());
    test::writeAll(folder / "disk", bytes);
    const ArchiveResult<GptExtent> damaged = readGptExtent(*DiskSource::open(folder / "disk"), 512);
    if (!damaged) continue;
    EXPECT_LE(damaged->head.end, damaged->tail.start);
    EXPECT_LE(damaged->tail.end, std::uint64_t{1} << 20);
  }
}

}  // namespace
}  // namespace zpk
