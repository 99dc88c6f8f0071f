#include "helper/disks/probe/VolumeProbe.h"

#include <gtest/gtest.h>

#include "helper/disks/DiskRecord.h"
#include "helper/disks/DiskTestSupport.h"
#include "helper/disks/probe/TableProbe.h"

namespace zpk {
namespace {

using namespace disktest;

struct Probed {
  TableEntry entry;
  VolumeReport volume;
};

std::vector<Probed> probedVolumes(const std::string& path) {
  std::vector<Probed> volumes;
  const Expected<DiskReader, std::string> disk = DiskReader::open(path, std::nullopt);
  EXPECT_TRUE(disk) << path;
  if (!disk) return volumes;
  const TableReport table = probeTable(*disk, 0);
  for (const TableEntry& entry : table.entries) {
    volumes.push_back({entry, probeVolume(*disk, entry.start, entry.size, table.sectorSize)});
  }
  return volumes;
}

// blkid writes a backslash before whatever a shell would take for itself.
std::string withoutBackslashes(std::string text) {
  std::erase(text, '\\');
  return text;
}

TEST(VolumeProbe, TellsWhatBlkidTells) {
  int recognised = 0;
  for (const std::string& path : {oddImage("every-file-system.img"), oddImage("bitlocker.img"),
                                  sampleFolder() + "/mac-with-windows.img", sampleFolder() + "/windows-pc.img"}) {
    for (const Probed& probed : probedVolumes(path)) {
      // blkid ends with 2 where it finds nothing.
      const std::string printed = outputOf("blkid -p -o export -O " + std::to_string(probed.entry.start) + " -S " +
                                           std::to_string(probed.entry.size) + " '" + path + "' || test $? = 2");
      EXPECT_EQ(probed.volume.type, valueIn(printed, "TYPE")) << probed.entry.name;
      EXPECT_EQ(probed.volume.version, valueIn(printed, "VERSION")) << probed.entry.name;
      EXPECT_EQ(probed.volume.label, withoutBackslashes(valueIn(printed, "LABEL"))) << probed.entry.name;
      EXPECT_EQ(probed.volume.serial, valueIn(printed, "UUID")) << probed.entry.name;
      recognised += !probed.volume.type.empty();
    }
  }
  EXPECT_EQ(recognised, 14 + 2 + 4 + 3);
}

TEST(VolumeProbe, EveryFileSystemHasItsPlaceInTheTable) {
  const std::map<std::string, FileSystemType> expected{{"hfsplus", FileSystemType::HFSPlus},
                                                       {"ntfs", FileSystemType::NTFS},
                                                       {"fat12", FileSystemType::FAT12},
                                                       {"fat16", FileSystemType::FAT16},
                                                       {"fat32", FileSystemType::FAT32},
                                                       {"ext2", FileSystemType::ExtFS2},
                                                       {"ext3", FileSystemType::ExtFS3},
                                                       {"ext4", FileSystemType::ExtFS4},
                                                       {"hpfs", FileSystemType::HPFS},
                                                       {"exfat", FileSystemType::ExFAT},
                                                       {"refs", FileSystemType::ReFS},
                                                       {"xfs", FileSystemType::XFS},
                                                       {"apfs", FileSystemType::Unformatted},
                                                       {"bitlocker", FileSystemType::Unformatted},
                                                       {"unformatted", FileSystemType::Unformatted}};
  const std::vector<Probed> volumes = probedVolumes(oddImage("every-file-system.img"));
  ASSERT_EQ(volumes.size(), expected.size());
  for (const Probed& probed : volumes) {
    EXPECT_EQ(fileSystemTypeOf(probed.volume), expected.at(probed.entry.name)) << probed.entry.name;
  }
}

TEST(VolumeProbe, UnknownTypesAreToldApartByTheirNames) {
  std::map<std::string, std::string> types;
  for (const Probed& probed : probedVolumes(oddImage("every-file-system.img"))) {
    types[probed.entry.name] = probed.volume.type;
  }
  EXPECT_EQ(types.at("apfs"), "apfs");
  EXPECT_EQ(types.at("bitlocker"), "BitLocker");
  EXPECT_EQ(types.at("unformatted"), "");
}

TEST(VolumeProbe, StretchBeyondTheDiskIsNothing) {
  const Expected<DiskReader, std::string> disk = DiskReader::open(oddImage("plain-windows.img"), std::nullopt);
  ASSERT_TRUE(disk);
  EXPECT_EQ(probeVolume(*disk, disk->size(), 4096, 512).type, "");
  EXPECT_EQ(probeVolume(*disk, 0, UINT64_MAX, 512).type, "");
  EXPECT_EQ(probeVolume(*disk, UINT64_MAX, UINT64_MAX, 512).type, "");
}

}  // namespace
}  // namespace zpk
