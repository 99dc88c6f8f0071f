// Backup points on disks again, and what becomes of a disk when that fails.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "helper/archive/RestoreWorld.h"

namespace zpk {
namespace {

using test::RestoreWorld;
using test::SampleDisk;
using testing::HasSubstr;

class Restore : public RestoreWorld {
 protected:
  void expectRestored() {
    const auto restored = restore();
    ASSERT_TRUE(restored.hasValue()) << restored.error().error.text();
    EXPECT_GT(restored->copiedBytes, 0U);
    EXPECT_EQ(archiveBytes(), archiveBefore) << "the archive is only read";
    EXPECT_EQ(test::readAll(folder / "exports"), "");
  }
  const std::string archiveBefore = archiveBytes();
};

TEST_F(Restore, ReplacesTheWindowsPartitionOfABootCampDisk) {
  makeBootCampTarget(96 * mib);
  expectRestored();
  expectWindows({16 * mib, 112 * mib}, 1);
  expectUntouched({0, 16 * mib});
  expectUntouched({112 * mib, 113 * mib});
  expectSoundTable();
}

TEST_F(Restore, AFullPointReadsAsTheDiskWasThen) {
  makeBootCampTarget(96 * mib);
  request.point = 0;
  expectRestored();
  expectWindows({16 * mib, 112 * mib}, 0);
}

TEST_F(Restore, MakesTheVolumeSmallerForASmallerPartition) {
  makeBootCampTarget(40 * mib);
  expectRestored();
  expectWindows({16 * mib, 56 * mib}, 1);
  expectUntouched({0, 16 * mib});
  expectUntouched({56 * mib, 57 * mib});
}

TEST_F(Restore, MakesTheVolumeLargerForALargerPartition) {
  makeBootCampTarget(120 * mib);
  expectRestored();
  expectWindows({16 * mib, 136 * mib}, 1);
  expectUntouched({0, 16 * mib});
  expectUntouched({136 * mib, 137 * mib});
}

}  // namespace
}  // namespace zpk
