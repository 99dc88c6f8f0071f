#include "helper/disks/DiskTestSupport.h"

#include <gtest/gtest.h>
#include <stdio.h>

#include <array>
#include <cctype>
#include <sstream>

namespace zpk::disktest {

std::string oddFolder() {
  return ZPK_ODD_IMAGES;
}
std::string oddImage(const std::string& name) {
  return oddFolder() + "/" + name;
}
std::string sampleFolder() {
  return ZPK_SAMPLE_DISKS;
}

std::string outputOf(const std::string& command) {
  std::string output;
  FILE* pipe = ::popen(("PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C; " + command).c_str(), "r");
  if (!pipe) {
    ADD_FAILURE() << command << " cannot be run";
    return output;
  }
  std::array<char, 4096> buffer{};
  for (std::size_t got = 0; (got = ::fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) {
    output.append(buffer.data(), got);
  }
  const int status = ::pclose(pipe);
  EXPECT_EQ(status, 0) << command << "\n" << output;
  return output;
}

std::string valueIn(const std::string& output, const std::string& key) {
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    const std::size_t begin = line.find_first_not_of(" \t");
    if (begin == std::string::npos || line.compare(begin, key.size(), key) != 0) continue;
    std::size_t at = begin + key.size();
    while (at < line.size() && line[at] == ' ') ++at;
    if (at >= line.size() || (line[at] != ':' && line[at] != '=')) continue;
    const std::size_t value = line.find_first_not_of(" \t", at + 1);
    return value == std::string::npos ? std::string() : line.substr(value);
  }
  return {};
}

std::uint64_t numberIn(const std::string& output, const std::string& key) {
  std::uint64_t number = 0;
  std::istringstream(valueIn(output, key)) >> number;
  return number;
}

DiskScannerOptions scannerOptions(std::vector<std::string> folders) {
  DiskScannerOptions options;
  options.imageFolders = std::move(folders);
  options.probeProgram = ZPK_PROBE;
  options.iconFolder = "/icons";
  return options;
}

std::vector<std::shared_ptr<const ZPKDisk>> scanOnce(DiskScanner& scanner) {
  const CancelFlag never;
  return scanner.scan(never);
}

std::shared_ptr<const ZPKDisk> diskNamed(const std::vector<std::shared_ptr<const ZPKDisk>>& disks,
                                         const std::string& fileName) {
  for (const auto& disk : disks) {
    if (disk->bsdName() == fileName) return disk;
  }
  return nullptr;
}

bool hasLineWith(const RecordingLog& log, const std::string& part, const std::string& otherPart) {
  for (const std::string& line : log.lines()) {
    if (line.find(part) != std::string::npos && line.find(otherPart) != std::string::npos) return true;
  }
  return false;
}

}  // namespace zpk::disktest
