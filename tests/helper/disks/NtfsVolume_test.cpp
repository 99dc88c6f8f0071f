#include "helper/disks/probe/NtfsVolume.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>

#include "helper/disks/DiskTestSupport.h"
#include "helper/disks/probe/TableProbe.h"
#include "support/TemporaryFolder.h"

namespace zpk {
namespace {

using namespace disktest;

struct Place {
  std::uint64_t start = 0;
  std::uint64_t size = 0;
};

Place placeOf(const std::string& path, std::uint32_t number) {
  const Expected<DiskReader, std::string> disk = DiskReader::open(path, std::nullopt);
  EXPECT_TRUE(disk) << path;
  if (disk) {
    for (const TableEntry& entry : probeTable(*disk, 0).entries) {
      if (entry.number == number) return {entry.start, entry.size};
    }
  }
  ADD_FAILURE() << path << " has no partition " << number;
  return {};
}

std::optional<NtfsFigures> figuresOf(const std::string& path, Place place) {
  const Expected<DiskReader, std::string> disk = DiskReader::open(path, std::nullopt);
  if (!disk) return std::nullopt;
  return readNtfsFigures(*disk, place.start, place.size);
}

// The volume in a file of its own, as the tools of ntfs-3g want it.
std::string extracted(const TemporaryFolder& folder, const std::string& path, Place place) {
  const std::string volume = folder.path("volume");
  outputOf("dd status=none conv=sparse bs=1M iflag=skip_bytes,count_bytes skip=" + std::to_string(place.start) +
           " count=" + std::to_string(place.size) + " 'if=" + path + "' of=" + volume + " && truncate -s " +
           std::to_string(place.size) + " " + volume);
  return volume;
}

struct Volume {
  const char* image;
  std::uint32_t number;
};

class AgainstNtfsTools : public testing::TestWithParam<Volume> {};

TEST_P(AgainstNtfsTools, FiguresAreWhatTheToolsPrint) {
  const std::string name = GetParam().image;
  const std::string path = name.front() == '/' ? sampleFolder() + name : oddImage(name);
  const Place place = placeOf(path, GetParam().number);
  const std::optional<NtfsFigures> figures = figuresOf(path, place);
  ASSERT_TRUE(figures);
  const TemporaryFolder folder;
  const std::string volume = extracted(folder, path, place);
  const std::string info = outputOf("ntfsinfo -m -f " + volume);
  const std::uint64_t cluster = numberIn(info, "Cluster Size");
  EXPECT_EQ(figures->volumeSize, numberIn(info, "Volume Size in Clusters") * cluster);
  EXPECT_EQ(figures->usedSize, figures->volumeSize - numberIn(info, "Free Clusters") * cluster);
  const std::string advice = outputOf("ntfsresize --info --force --no-progress-bar " + volume);
  const std::string words = "You might resize at ";
  const std::size_t at = advice.find(words);
  ASSERT_NE(at, std::string::npos) << advice;
  // The copy of the boot sector takes a part of one cluster more.
  EXPECT_EQ(figures->minimumSize, std::stoull(advice.substr(at + words.size())) + cluster);
}

INSTANTIATE_TEST_SUITE_P(Volumes, AgainstNtfsTools,
                         testing::Values(Volume{"/mac-with-windows.img", 4}, Volume{"/windows-pc.img", 3},
                                         Volume{"/windows-pc.img", 4}, Volume{"every-file-system.img", 2},
                                         Volume{"large-sectors.img", 2}, Volume{"plain-windows.img", 3}));

TEST(NtfsVolume, DirtyFlagIsRead) {
  const auto flag = [](const char* name) {
    const std::optional<NtfsFigures> figures = figuresOf(oddImage(name), placeOf(oddImage(name), 3));
    return figures ? std::optional<bool>(figures->isDirty) : std::nullopt;
  };
  EXPECT_EQ(flag("dirty.img"), true);
  EXPECT_EQ(flag("plain-windows.img"), false);
  EXPECT_EQ(flag("hibernated.img"), false);
}

TEST(NtfsVolume, OtherContentHasNoFigures) {
  for (const char* name : {"bitlocker.img", "exfat-in-basic-data.img", "unformatted-windows.img"}) {
    EXPECT_FALSE(figuresOf(oddImage(name), placeOf(oddImage(name), 3))) << name;
  }
}

TEST(NtfsVolume, PartitionSmallerThanItsVolumeHasNoFigures) {
  const std::string path = oddImage("plain-windows.img");
  Place place = placeOf(path, 3);
  ASSERT_TRUE(figuresOf(path, place));
  place.size /= 2;
  EXPECT_FALSE(figuresOf(path, place));
}

// Changes bytes of what the reader looks at: boot sector, $Volume and $Bitmap.
TEST(NtfsVolume, DamagedVolumeGivesBoundedFiguresOrNone) {
  const std::string original = oddImage("plain-windows.img");
  const Place place = placeOf(original, 3);
  const TemporaryFolder folder;
  const std::string path = folder.path("damaged");
  extracted(folder, original, place);
  std::filesystem::rename(folder.path("volume"), path);
  std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
  std::string head(64 << 10, '\0');
  file.read(head.data(), static_cast<std::streamsize>(head.size()));
  const std::size_t table = head.find("FILE0");
  ASSERT_NE(table, std::string::npos);
  std::mt19937 chance(7);
  int refused = 0;
  for (int round = 0; round < 3000; ++round) {
    std::string damaged = head;
    for (unsigned change = 0; change <= chance() % 4; ++change) {
      const std::size_t places[] = {chance() % 96, table + 3 * 1024 + chance() % 512,
                                    table + 6 * 1024 + chance() % 512};
      damaged[places[chance() % 3]] = static_cast<char>(chance());
    }
    file.seekp(0).write(damaged.data(), static_cast<std::streamsize>(damaged.size())).flush();
    const std::optional<NtfsFigures> figures = figuresOf(path, {0, place.size});
    refused += !figures;
    if (!figures) continue;
    ASSERT_LE(figures->usedSize, figures->volumeSize);
    ASSERT_LE(figures->volumeSize, place.size);
    ASSERT_LE(figures->minimumSize, place.size);
  }
  EXPECT_GT(refused, 300);
}

}  // namespace
}  // namespace zpk
