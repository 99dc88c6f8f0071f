#include "helper/disks/DeviceWatcher.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace zpk {
namespace {

using namespace std::string_literals;

std::string message(const std::string& action, const std::string& subsystem, const std::string& name) {
  return action + "@/devices/x/" + name + "\0ACTION="s + action + "\0DEVPATH=/devices/x\0SUBSYSTEM="s + subsystem +
         "\0MAJOR=8\0DEVNAME="s + name + "\0SEQNUM=17\0"s;
}

TEST(DeviceWatcher, DisksAndTheirPartitionsAreTold) {
  for (const char* name : {"sda", "sda1", "nvme0n1", "mmcblk0p2", "loop0", "dm-0"}) {
    EXPECT_TRUE(tellsOfDisk(message("add", "block", name))) << name;
    EXPECT_TRUE(tellsOfDisk(message("change", "block", name))) << name;
    EXPECT_TRUE(tellsOfDisk(message("remove", "block", name))) << name;
  }
}

TEST(DeviceWatcher, OtherDevicesMeanNothing) {
  EXPECT_FALSE(tellsOfDisk(message("add", "tty", "ttyUSB0")));
  EXPECT_FALSE(tellsOfDisk(message("add", "blocking", "sda")));
  for (const char* name : {"sr0", "zram0", "ram1", "fd0"}) {
    EXPECT_FALSE(tellsOfDisk(message("change", "block", name))) << name;
  }
}

TEST(DeviceWatcher, WhatIsNoMessageOfTheKernelsMeansNothing) {
  for (const std::string& text : {""s, "\0"s, "\0\0\0"s, "SUBSYSTEM=bloc"s, "DEVNAME="s, "libudev\0\xFE\xED"s}) {
    EXPECT_FALSE(tellsOfDisk(text)) << text;
  }
  const std::string whole = message("add", "block", "sda");
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_EQ(tellsOfDisk(whole.substr(0, length)), length >= whole.find("SUBSYSTEM=block") + 15) << length;
  }
}

// A disk that the kernel is asked to tell of once more. None where that takes rights that the tests do not have.
std::string someDisk() {
  for (const auto& device : std::filesystem::directory_iterator("/sys/block")) {
    const std::string file = (device.path() / "uevent").string();
    if (tellsOfDisk("SUBSYSTEM=block\0DEVNAME="s + device.path().filename().string()) &&
        ::access(file.c_str(), W_OK) == 0) {
      return file;
    }
  }
  return {};
}

TEST(DeviceWatcher, HearsTheKernel) {
  const std::string disk = someDisk();
  if (disk.empty()) GTEST_SKIP() << "only root can have the kernel tell of a disk";
  DeviceWatcher watcher;
  ASSERT_GE(watcher.fd(), 0);
  std::ofstream(disk) << "change" << std::flush;
  // Messages about other devices may come first.
  bool told = false;
  for (pollfd waiting{watcher.fd(), POLLIN, 0}; !told && ::poll(&waiting, 1, 10'000) == 1;) told = watcher.drain();
  EXPECT_TRUE(told);
}

}  // namespace
}  // namespace zpk
