#pragma once

#include <filesystem>
#include <string>

#include "helper/disks/LinuxPaths.h"
#include "support/TemporaryFolder.h"

namespace zpk::disktest {

// Trees such as the kernel shows under /sys, /proc and /dev, with disks, mapped devices and mounts to order.
//
// Device nodes are real ones (made by mknod, so the test needs root) with numbers that no driver has.
class FakeSystem {
 public:
  FakeSystem();

  LinuxPaths paths() const;

  // "sda", "8:0": a disk of 1 GiB with the given attributes. Its node lies in dev.
  void addDisk(const std::string& name, const std::string& number);
  void addPartition(const std::string& disk, const std::string& name, const std::string& number, int index,
                    std::uint64_t startSector);
  // A device made from others, as LVM, encryption and RAID make them.
  void addMapped(const std::string& name, const std::string& number, const std::string& slaveFolder);
  void addLoop(const std::string& name, const std::string& number, const std::string& file, std::uint64_t offset);
  void addMount(const std::string& number, const std::string& point, const std::string& source);
  void addSwap(const std::string& path);
  // A small file below the disk's folder: "ro", "device/model", ….
  void set(const std::string& disk, const std::string& attribute, const std::string& value);

  std::string diskFolder(const std::string& name) const { return _folder.path("sys/devices/" + name); }

 private:
  void addNumber(const std::string& folder, const std::string& number, const std::string& name);

  TemporaryFolder _folder;
};

}  // namespace zpk::disktest
