#include "helper/disks/FakeSystem.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <fstream>

#include "helper/disks/SystemFiles.h"

namespace zpk::disktest {
namespace {

void put(const std::string& path, const std::string& text) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path) << text << "\n";
}

void append(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::app) << text << "\n";
}

}  // namespace

FakeSystem::FakeSystem() {
  for (const char* name : {"sys/block", "sys/dev/block", "sys/devices", "proc/self", "dev"}) {
    std::filesystem::create_directories(_folder.path(name));
  }
  append(_folder.path("proc/swaps"), "Filename Type Size Used Priority");
}

LinuxPaths FakeSystem::paths() const {
  return {_folder.path("sys"), _folder.path("proc"), _folder.path("dev")};
}

void FakeSystem::addNumber(const std::string& folder, const std::string& number, const std::string& name) {
  put(folder + "/dev", number);
  std::filesystem::create_directory_symlink(folder, _folder.path("sys/dev/block/" + number));
  const auto parsed = deviceNumberOf(std::string_view(number));
  ASSERT_TRUE(parsed);
  const dev_t device = gnu_dev_makedev(parsed->major, parsed->minor);
  ASSERT_EQ(::mknod(_folder.path("dev/" + name).c_str(), S_IFBLK | 0600, device), 0) << "needs root";
}

void FakeSystem::addDisk(const std::string& name, const std::string& number) {
  const std::string folder = diskFolder(name);
  std::filesystem::create_directories(folder + "/slaves");
  std::filesystem::create_directories(folder + "/holders");
  put(folder + "/size", "2097152");
  put(folder + "/queue/logical_block_size", "512");
  put(folder + "/ro", "0");
  put(folder + "/removable", "0");
  std::filesystem::create_directory_symlink(folder, _folder.path("sys/block/" + name));
  addNumber(folder, number, name);
}

void FakeSystem::addPartition(const std::string& disk, const std::string& name, const std::string& number,
                              int index, std::uint64_t startSector) {
  const std::string folder = diskFolder(disk) + "/" + name;
  put(folder + "/partition", std::to_string(index));
  put(folder + "/start", std::to_string(startSector));
  addNumber(folder, number, name);
}

void FakeSystem::addMapped(const std::string& name, const std::string& number, const std::string& slaveFolder) {
  addDisk(name, number);
  const std::string slave = std::filesystem::path(slaveFolder).filename();
  std::filesystem::create_directory_symlink(slaveFolder, diskFolder(name) + "/slaves/" + slave);
  std::filesystem::create_directories(slaveFolder + "/holders");
  std::filesystem::create_directory_symlink(diskFolder(name), slaveFolder + "/holders/" + name);
}

void FakeSystem::addLoop(const std::string& name, const std::string& number, const std::string& file,
                         std::uint64_t offset) {
  addDisk(name, number);
  set(name, "loop/backing_file", file);
  set(name, "loop/offset", std::to_string(offset));
}

void FakeSystem::addMount(const std::string& number, const std::string& point, const std::string& source) {
  append(_folder.path("proc/self/mountinfo"),
         "36 35 " + number + " / " + point + " rw,noatime shared:1 - ext4 " + source + " rw");
}

void FakeSystem::addSwap(const std::string& path) {
  append(_folder.path("proc/swaps"), path + " partition 1 0 -2");
}

void FakeSystem::set(const std::string& disk, const std::string& attribute, const std::string& value) {
  put(diskFolder(disk) + "/" + attribute, value);
}

}  // namespace zpk::disktest
