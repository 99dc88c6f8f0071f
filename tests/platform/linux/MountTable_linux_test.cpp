#include "platform/linux/MountTable_linux.h"

#include <gmock/gmock.h>

namespace zpk::tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;

TEST(LinuxMountTable, ReadsDeviceMountPointAndTypeInTheTablesOrder) {
  EXPECT_THAT(mountsInTable("22 1 8:2 / / rw,relatime - ext4 /dev/sda2 rw\n"
                            "36 35 98:0 / /mnt/win rw,noatime master:1 propagate_from:2 - fuseblk /dev/sda4 rw\n"),
              ElementsAre(Mount{"/dev/sda2", "/", "ext4"}, Mount{"/dev/sda4", "/mnt/win", "fuseblk"}));
}

TEST(LinuxMountTable, SpacesAndBackslashesInNamesAreUnescaped) {
  EXPECT_THAT(mountsInTable("1 2 8:1 / /mnt/My\\040Disk\\134\\011x\\012 rw - vfat /dev/disk/by\\040label rw"),
              ElementsAre(Mount{"/dev/disk/by label", "/mnt/My Disk\\\tx\n", "vfat"}));
}

TEST(LinuxMountTable, ABackslashThatEscapesNothingStays) {
  EXPECT_THAT(mountsInTable("1 2 8:1 / /a\\04\\9\\777 rw - t d rw\n"),
              ElementsAre(Mount{"d", "/a\\04\\9\\777", "t"}));
}

TEST(LinuxMountTable, LinesOfAnotherFormAreLeftOut) {
  EXPECT_THAT(
      mountsInTable("\n\n-\n1 2 8:1 / /mnt rw\n1 2 8:1 / /mnt rw - ext4\n1 2 8:1 / - - - ext4 d\n - - - - - -"),
      ElementsAre(Mount{"d", "-", "ext4"}));
}

TEST(LinuxMountTable, AMissingTableGivesNoMounts) {
  EXPECT_THAT(LinuxMountTable("/nowhere/mountinfo").mounts(), IsEmpty());
}

TEST(LinuxMountTable, TheKernelsOwnTableHasARoot) {
  EXPECT_THAT(LinuxMountTable().mounts(), Contains(Field(&Mount::mountPoint, "/")));
}

}  // namespace
}  // namespace zpk::tests
