// Boot sectors of volumes that are moved to another place.

#include "helper/archive/NtfsBootSector.h"

#include <gtest/gtest.h>

namespace zpk {
namespace {

constexpr std::uint64_t mib = std::uint64_t{1} << 20U;

// Of a volume with 4 KiB clusters, as Windows makes it: all of the partition but the last sector.
ByteBuffer bootSectorOf(std::uint64_t sectors) {
  ByteBuffer sector(512);
  std::memcpy(&sector[3], "NTFS    ", 8);
  putLittleEndian(sector, 11, std::uint16_t{512});
  sector[13] = std::byte{8};
  putLittleEndian(sector, 40, sectors);
  return sector;
}

TEST(NtfsBootSector, IsToldTheFirstSectorOfItsNewPlace) {
  ByteBuffer sector = bootSectorOf(20 * mib / 512 - 1);
  putLittleEndian(sector, 28, std::uint32_t{2048});
  placeNtfsBootSector(sector, 700 * mib, 20 * mib);
  EXPECT_EQ(littleEndianAt<std::uint32_t>(sector, 28), 700 * mib / 512);
  EXPECT_EQ(littleEndianAt<std::uint64_t>(sector, 40), 20 * mib / 512 - 1);
}

TEST(NtfsBootSector, KeepsTheGeometryThatItHas) {
  ByteBuffer sector = bootSectorOf(20 * mib / 512 - 1);
  placeNtfsBootSector(sector, mib, 20 * mib);
  EXPECT_EQ(littleEndianAt<std::uint16_t>(sector, 24), 63) << "it had none";
  EXPECT_EQ(littleEndianAt<std::uint16_t>(sector, 26), 255);
  putLittleEndian(sector, 24, std::uint16_t{32});
  putLittleEndian(sector, 26, std::uint16_t{64});
  placeNtfsBootSector(sector, mib, 20 * mib);
  EXPECT_EQ(littleEndianAt<std::uint16_t>(sector, 24), 32);
  EXPECT_EQ(littleEndianAt<std::uint16_t>(sector, 26), 64);
}

TEST(NtfsBootSector, ReachesToTheCopyWhenAllClustersOfThePlaceAreUsed) {
  // The tools count whole clusters.
  ByteBuffer sector = bootSectorOf(20 * mib / 512 - 8);
  placeNtfsBootSector(sector, mib, 20 * mib);
  EXPECT_EQ(littleEndianAt<std::uint64_t>(sector, 40), 20 * mib / 512 - 1);
  sector = bootSectorOf(20 * mib / 512 - 16);
  placeNtfsBootSector(sector, mib, 20 * mib);
  EXPECT_EQ(littleEndianAt<std::uint64_t>(sector, 40), 20 * mib / 512 - 16)
      << "a volume that ends before its place";
}

TEST(NtfsBootSector, OfAnotherFileSystemIsLeftAlone) {
  ByteBuffer sector(512, std::byte{0x5A});
  const ByteBuffer before = sector;
  placeNtfsBootSector(sector, mib, 20 * mib);
  EXPECT_EQ(sector, before);
}

TEST(NtfsBootSector, BeyondTheReachOfItsFieldTheLowBitsAreWritten) {
  ByteBuffer sector = bootSectorOf(20 * mib / 512 - 1);
  placeNtfsBootSector(sector, (std::uint64_t{1} << 32U) * 512 + mib, 20 * mib);
  EXPECT_EQ(littleEndianAt<std::uint32_t>(sector, 28), mib / 512);
}

}  // namespace
}  // namespace zpk
