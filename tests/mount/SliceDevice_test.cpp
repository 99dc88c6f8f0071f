#include "mount/SliceDevice.h"

namespace zpk {
namespace {

TEST(SliceDevice, IsThatOfAPartitionWithoutLineBreaks) {
  EXPECT_EQ(sliceDevice("/dev/disk4s2\n"), "/dev/disk4s2");
  EXPECT_EQ(sliceDevice("/dev/disk10s12"), "/dev/disk10s12");
  EXPECT_EQ(sliceDevice("/dev/disk4s2\r\n\v\f\xC2\x85\xE2\x80\xA8\xE2\x80\xA9\n"), "/dev/disk4s2");
}

TEST(SliceDevice, AWholeDiskIsNone) {
  EXPECT_EQ(sliceDevice("/dev/disk4\n"), std::nullopt);
  EXPECT_EQ(sliceDevice("/dev/disk4s"), std::nullopt);
  EXPECT_EQ(sliceDevice("/dev/disk4sx"), std::nullopt);
}

TEST(SliceDevice, OtherTextIsNone) {
  for (const char* line : {"", "\n", "/dev/disk", "/dev/disks2", "/dev/rdisk4s2", "\n/dev/disk4s2", "disk4s2",
                           " /dev/disk4s2", "/dev/disk4 s2", "/dev/Disk4s2", "/dev/disk4S2", "/dev/disk+-4s2"}) {
    EXPECT_EQ(sliceDevice(line), std::nullopt) << line;
  }
}

TEST(SliceDevice, WhatFollowsTheSecondNumberBelongsToTheDevice) {
  EXPECT_EQ(sliceDevice("/dev/disk4s2s1\n"), "/dev/disk4s2s1");
  EXPECT_EQ(sliceDevice("/dev/disk4s2 x\n"), "/dev/disk4s2 x");
}

TEST(SliceDevice, ANumberMayHaveBlanksAndASign) {
  EXPECT_EQ(sliceDevice("/dev/disk 4s +2"), "/dev/disk 4s +2");
  EXPECT_EQ(sliceDevice("/dev/disk-1s2"), "/dev/disk-1s2");
}

TEST(SliceDevice, NumbersOfAnyLengthAreNumbers) {
  const std::string device = "/dev/disk" + std::string(400, '9') + "s" + std::string(400, '8');
  EXPECT_EQ(sliceDevice(device), device);
}

}  // namespace
}  // namespace zpk
