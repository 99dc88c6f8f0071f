#include "tools/qrx-helper/VolumeFolder.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>

namespace zpk {
namespace {

class VolumeFolder : public testing::Test {
 protected:
  ~VolumeFolder() override { std::filesystem::remove_all(volumes); }
  // What the folder of a volume with this name is called.
  std::string nameFor(const std::string& label) const {
    const std::string path = makeVolumeFolder(volumes, label, "disk4s2");
    EXPECT_TRUE(std::filesystem::is_empty(path));
    EXPECT_TRUE(path.starts_with(volumes + "/")) << path;
    return path.substr(volumes.size() + 1);
  }

  const std::string volumes = [] {
    std::string name = testing::TempDir() + "volumes-XXXXXX";
    return std::string(::mkdtemp(name.data()));
  }();
};

TEST_F(VolumeFolder, IsNamedAfterTheVolume) {
  EXPECT_EQ(nameFor("Windows"), "Windows");
  EXPECT_EQ(nameFor("Größe"), "Größe");
}

TEST_F(VolumeFolder, IsNamedAfterTheDeviceWhenTheVolumeHasNoName) {
  EXPECT_EQ(nameFor(""), "disk4s2");
}

TEST_F(VolumeFolder, TellsTwoVolumesOfOneNameApart) {
  EXPECT_EQ(nameFor("Data"), "Data");
  EXPECT_EQ(nameFor("Data"), "Data (disk4s2)");
}

TEST_F(VolumeFolder, NeverLeadsElsewhere) {
  EXPECT_EQ(nameFor(".."), "_.");
  EXPECT_EQ(nameFor("."), "_");
  EXPECT_EQ(nameFor("../../etc"), "_._.._etc");
  EXPECT_EQ(nameFor(".hidden"), "_hidden");
  EXPECT_EQ(nameFor("two\nlines\x7F"), "two_lines_");
}

TEST_F(VolumeFolder, ALongNameIsCutBetweenCharacters) {
  std::string umlauts;
  for (int i = 0; i < 60; ++i) umlauts += "ü";
  EXPECT_EQ(nameFor("x" + umlauts), "x" + umlauts.substr(0, 62));
  EXPECT_EQ(nameFor(umlauts), umlauts.substr(0, 64));
}

TEST_F(VolumeFolder, ThatCannotBeMadeIsNone) {
  EXPECT_EQ(makeVolumeFolder(volumes + "/gone", "Windows", "disk4s2"), "");
  EXPECT_EQ(errno, ENOENT);
}

}  // namespace
}  // namespace zpk
