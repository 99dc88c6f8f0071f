#include "tools/qrx-helper/UnshownVolume.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string_view>

namespace zpk {
namespace {

std::optional<std::string> nameWith(std::size_t offset, std::string_view text) {
  std::array<std::byte, 512> sector{};
  std::memcpy(&sector[offset], text.data(), text.size());
  return fileSystemName(sector);
}

TEST(FileSystemName, IsToldByTheFirstSector) {
  EXPECT_EQ(nameWith(3, "EXFAT   "), "exFAT");
  EXPECT_EQ(nameWith(3, "ReFS"), "ReFS");
  EXPECT_EQ(nameWith(82, "FAT32   "), "FAT32");
  EXPECT_EQ(nameWith(54, "FAT16   "), "FAT16");
  EXPECT_EQ(nameWith(54, "FAT12   "), "FAT12");
}

TEST(FileSystemName, IsUnknownOfOtherBytesAndNoneOfZeros) {
  EXPECT_EQ(nameWith(54, "FAT64   "), "unknown");
  EXPECT_EQ(nameWith(511, "x"), "unknown");
  EXPECT_EQ(nameWith(0, ""), std::nullopt);
  EXPECT_EQ(fileSystemName({}), std::nullopt);
}

TEST(FileSystemName, OfAShortSectorIsNotReadBeyondItsEnd) {
  std::array<std::byte, 60> sector{};
  std::memcpy(&sector[54], "FAT16 ", 6);
  EXPECT_EQ(fileSystemName(sector), "unknown");
}

}  // namespace
}  // namespace zpk
