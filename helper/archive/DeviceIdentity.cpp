#include "helper/archive/DeviceIdentity.h"

#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <fstream>

namespace zpk {
namespace {

constexpr std::size_t longestText = 64;

// What can be seen of a small file's text.
std::string wordIn(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::string text(longestText, '\0');
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  text.resize(static_cast<std::size_t>(file.gcount()));
  std::erase_if(text, [](char c) { return c <= ' ' || c >= 0x7f; });
  return text;
}

std::string joined(const std::string& number, const std::string& sequence, const std::string& serial) {
  return "device " + number + (sequence.empty() ? "" : " " + sequence) + (serial.empty() ? "" : " " + serial);
}

// The kernel answers for the disk that is open, whoever has its number by now.
std::string sequenceOf(int descriptor, const std::string& sysFolder) {
#ifdef BLKGETDISKSEQ
  std::uint64_t sequence = 0;
  if (::ioctl(descriptor, BLKGETDISKSEQ, &sequence) == 0) return std::to_string(sequence);
#endif
  return wordIn(sysFolder + "/diskseq");
}

}  // namespace

std::string serialOfDevice(const std::string& sysFolder) {
  // Drives tell it in one of these places; some only to who asks them with a command of theirs. The last has four
  // bytes of a header, which are never letters.
  for (const char* place : {"/device/serial", "/serial", "/device/vpd_pg80"}) {
    if (std::string text = wordIn(sysFolder + place); !text.empty()) return text;
  }
  return {};
}

std::string identityOfImage(std::uint64_t fileSystem, std::uint64_t inode) {
  return "file " + std::to_string(fileSystem) + ":" + std::to_string(inode);
}

std::string identityOfDevice(const std::string& sysFolder) {
  return joined(wordIn(sysFolder + "/dev"), wordIn(sysFolder + "/diskseq"), serialOfDevice(sysFolder));
}

std::string identityOfOpen(int descriptor, const std::string& sys) {
  struct stat status = {};
  if (::fstat(descriptor, &status) != 0) return {};
  if (S_ISREG(status.st_mode)) return identityOfImage(status.st_dev, status.st_ino);
  if (!S_ISBLK(status.st_mode)) return {};
  const std::string number = std::to_string(major(status.st_rdev)) + ":" + std::to_string(minor(status.st_rdev));
  const std::string folder = sys + "/dev/block/" + number;
  return joined(number, sequenceOf(descriptor, folder), serialOfDevice(folder));
}

}  // namespace zpk
