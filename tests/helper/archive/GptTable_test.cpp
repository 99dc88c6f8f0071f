// Partition tables as the helper reads them again before it writes to their disk.

#include "helper/archive/GptTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "helper/archive/TestFiles.h"

namespace zpk {
namespace {

using test::mustRun;
using test::ScratchFolder;
using testing::HasSubstr;

constexpr std::uint64_t mib = std::uint64_t{1} << 20U;

// A disk with a table that somebody else's tool made.
class TableOfADisk : public testing::Test {
 protected:
  TableOfADisk() {
    test::writeAll(folder / "disk", "");
    std::filesystem::resize_file(folder / "disk", 24 * mib);
    mustRun("/usr/sbin/sgdisk", {"-U", "01234567-89AB-CDEF-0123-456789ABCDEF", "-n", "1:2048:+8M", "-t", "1:ef00",
                                 "-n", "3:16M:+4M", "-t", "3:0700", "-u", "3:AAAAAAAA-BBBB-CCCC-DDDD-EEEEEEEEEEEE",
                                 "-c", "3:Wïndows 💾", "-A", "3:set:62", folder / "disk"});
    bytes = test::readAll(folder / "disk");
  }

  ArchiveResult<GptTable> read() const {
    const DiskBytes source = [this](std::uint64_t offset, std::span<std::byte> into) -> ArchiveResult<Done> {
      if (offset > bytes.size() || into.size() > bytes.size() - offset) return readError("past the end", {}, 0, 0);
      std::memcpy(into.data(), bytes.data() + offset, into.size());
      return Done{};
    };
    return readGptTable(source, bytes.size(), 512);
  }

  ScratchFolder folder;
  std::string bytes;
};

TEST_F(TableOfADisk, IsReadWithAllThatItsEntriesSay) {
  const auto table = read();
  ASSERT_TRUE(table.hasValue()) << table.error().text();
  EXPECT_EQ(textOfGuid(table->diskId), "01234567-89ab-cdef-0123-456789abcdef");
  ASSERT_EQ(table->entries.size(), 2U);
  EXPECT_EQ(table->entries[0].number, 1U);
  EXPECT_EQ(table->entries[0].type, gpttype::efiSystem);
  EXPECT_EQ(table->entries[0].start, mib);
  EXPECT_EQ(table->entries[0].size, 8 * mib);
  EXPECT_EQ(table->entries[1].number, 3U);
  EXPECT_EQ(table->entries[1].type, gpttype::microsoftBasicData);
  EXPECT_EQ(textOfGuid(table->entries[1].id), "aaaaaaaa-bbbb-cccc-dddd-eeeeeeeeeeee");
  EXPECT_EQ(table->entries[1].start, 16 * mib);
  EXPECT_EQ(table->entries[1].attributes, std::uint64_t{1} << 62U);
  EXPECT_EQ(table->entries[1].name, "Wïndows 💾");
}

TEST_F(TableOfADisk, IsRefusedWhenAByteOfItIsAnother) {
  const std::string whole = bytes;
  // Of the header: size, checksum, identifier, place, count and checksum of the entries. Of the entries: a start.
  for (const std::size_t place : {512U + 12, 512U + 16, 512U + 60, 512U + 73, 512U + 82, 512U + 89, 1024U + 33}) {
    bytes = whole;
    bytes[place] = static_cast<char>(bytes[place] ^ 0x40);
    EXPECT_FALSE(read().hasValue()) << "byte " << place;
  }
}

TEST_F(TableOfADisk, IsNoneOnABlankDiskOrAShortOne) {
  bytes.assign(bytes.size(), '\0');
  EXPECT_THAT(read().error().message, HasSubstr("no GPT"));
  bytes.assign(100, '\0');
  EXPECT_FALSE(read().hasValue());
}

}  // namespace
}  // namespace zpk
