// Tables as the program of the helper writes them, and as the field's own tools read them then.

#include "helper/archive/table/TableEdit.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "helper/archive/GptTable.h"
#include "helper/archive/TestFiles.h"
#include "helper/archive/table/TableEditor.h"
#include "platform/posix/FileDescriptor.h"

namespace zpk {
namespace {

using test::mustRun;
using test::ScratchFolder;
using testing::HasSubstr;

constexpr std::uint64_t mib = std::uint64_t{1} << 20U;
const std::string efi = "c12a7328-f81f-11d2-ba4b-00a0c93ec93b";
const std::string basicData = "ebd0a0a2-b9e5-4433-87c0-68b6b72699c7";
const std::string unknownType = "12345678-1234-1234-1234-123456789abc";

class TableEdits : public testing::Test {
 protected:
  TableEdits() {
    test::writeAll(path, "");
    std::filesystem::resize_file(path, 64 * mib);
    fd = FileDescriptor(::open(path.c_str(), O_RDWR | O_CLOEXEC));
  }

  std::string edit(const TableEdit& wanted) {
    const auto done = editTable(fd.get(), wanted);
    return done ? "good" : done.error();
  }
  std::string sgdisk(const std::string& option) { return mustRun("/usr/sbin/sgdisk", {option, path}); }
  GptTable table() {
    const std::string bytes = test::readAll(path);
    const auto table = readGptTable(
        [&](std::uint64_t offset, std::span<std::byte> into) -> ArchiveResult<Done> {
          std::memcpy(into.data(), bytes.data() + offset, into.size());
          return Done{};
        },
        bytes.size(), 512);
    EXPECT_TRUE(table.hasValue());
    return table ? *table : GptTable{};
  }

  ScratchFolder folder;
  const std::string path = folder / "disk";
  FileDescriptor fd;
  TableEdit fresh{true, true, 512, "01234567-89ab-cdef-0123-456789abcdef", {{mib, 8 * mib, efi, "", 0, "EFI"}}};
};

TEST_F(TableEdits, ANewTableHasWhatItWasTold) {
  fresh.entries.push_back(
      {20 * mib, 10 * mib, basicData, "aaaaaaaa-bbbb-cccc-dddd-eeeeeeeeeeee", 0x8000000000000001, "Wïndows"});
  ASSERT_EQ(edit(fresh), "good");
  EXPECT_THAT(sgdisk("--verify"), HasSubstr("No problems found"));
  const GptTable made = table();
  EXPECT_EQ(textOfGuid(made.diskId), fresh.diskId);
  ASSERT_EQ(made.entries.size(), 2U);
  EXPECT_EQ(made.entries[0].name, "EFI");
  EXPECT_EQ(made.entries[1].start, 20 * mib);
  EXPECT_EQ(made.entries[1].size, 10 * mib);
  EXPECT_EQ(textOfGuid(made.entries[1].id), "aaaaaaaa-bbbb-cccc-dddd-eeeeeeeeeeee");
  EXPECT_EQ(made.entries[1].attributes, 0x8000000000000001);
  EXPECT_EQ(made.entries[1].name, "Wïndows");
}

TEST_F(TableEdits, EntriesAreAddedBehindTheLastOneThatIsUsed) {
  mustRun("/usr/sbin/sgdisk", {"-n", "1:1M:+2M", "-n", "4:8M:+2M", path});
  const GptTable before = table();
  ASSERT_EQ(edit({false, true, 512, "", {{30 * mib, 4 * mib, unknownType, "", 0, ""}}}), "good");
  const GptTable after = table();
  EXPECT_EQ(after.diskId, before.diskId);
  ASSERT_EQ(after.entries.size(), 3U);
  EXPECT_EQ(after.entries[2].number, 5U) << "the free ones between stay free";
  EXPECT_EQ(textOfGuid(after.entries[2].type), unknownType);
  EXPECT_EQ(after.entries[1].id, before.entries[1].id);
  EXPECT_THAT(sgdisk("--verify"), HasSubstr("No problems found"));
}

TEST_F(TableEdits, WhatIsOnlyAskedForIsNotWritten) {
  fresh.writes = false;
  const std::string before = test::readAll(path);
  EXPECT_EQ(edit(fresh), "good");
  EXPECT_TRUE(test::readAll(path) == before);
}

TEST_F(TableEdits, EntriesThatDoNotFitAreRefused) {
  ASSERT_EQ(edit(fresh), "good");
  const std::string before = test::readAll(path);
  const auto add = [&](std::uint64_t start, std::uint64_t size) {
    return edit({false, false, 512, "", {{start, size, basicData, "", 0, ""}}});
  };
  EXPECT_EQ(add(10 * mib, 10 * mib), "good");
  EXPECT_THAT(add(4 * mib, 2 * mib), HasSubstr("not taken")) << "it overlaps";
  EXPECT_THAT(add(8 * mib, 4 * mib), HasSubstr("not taken")) << "it begins in another";
  EXPECT_THAT(add(60 * mib, 10 * mib), HasSubstr("not taken")) << "it ends behind the disk";
  EXPECT_THAT(add(100 * mib, mib), HasSubstr("not taken"));
  EXPECT_TRUE(test::readAll(path) == before);
}

TEST_F(TableEdits, ADiskWithoutTableGetsNoFurtherEntry) {
  EXPECT_THAT(edit({false, true, 512, "", {{mib, mib, efi, "", 0, ""}}}), HasSubstr("no sound GPT"));
}

TEST_F(TableEdits, GoThroughTheArgumentsOfTheProgram) {
  fresh.entries.push_back({20 * mib, 10 * mib, basicData, "id", UINT64_MAX, "a name"});
  const auto back = tableEditOf(argumentsOf(fresh));
  ASSERT_TRUE(back.has_value());
  EXPECT_EQ(argumentsOf(*back), argumentsOf(fresh));
  EXPECT_TRUE(back->isNew);
  EXPECT_TRUE(back->writes);
  EXPECT_EQ(back->entries[1].attributes, UINT64_MAX);
}

TEST(TableEditArguments, OtherOnesAreNoEdit) {
  const std::vector<std::string> good{"add", "write", "512", "", "1048576", "4096", "type", "", "0", "name"};
  ASSERT_TRUE(tableEditOf(good).has_value());
  EXPECT_FALSE(tableEditOf({}).has_value());
  const std::vector<std::pair<std::size_t, std::string>> bad{{0, "remove"},  {1, "maybe"}, {2, "513"}, {2, ""},
                                                             {4, "1048577"}, {4, "-1"},    {5, "x"},   {8, "1e3"}};
  for (const auto& [place, text] : bad) {
    std::vector<std::string> arguments = good;
    arguments[place] = text;
    EXPECT_FALSE(tableEditOf(arguments).has_value()) << place << " " << text;
  }
  EXPECT_FALSE(tableEditOf({good.begin(), good.end() - 1}).has_value());
}

}  // namespace
}  // namespace zpk
