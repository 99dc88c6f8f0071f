// zpkprobe: looks at one disk, or at one volume on it, and prints what it is as JSON.
//
// A program of its own because it runs parsers of partition tables and file systems over bytes that anybody may
// have written: when one of them goes wrong, only this process dies. The helper starts it without the right to
// write, with bounds on time and memory (helper/process).

#include <charconv>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "helper/disks/probe/TableProbe.h"
#include "helper/disks/probe/VolumeProbe.h"

namespace {

constexpr int usageExit = 2;
constexpr int cannotReadExit = 3;

const char usage[] =
    "Usage: zpkprobe table PATH DEVICE INODE SECTOR-SIZE\n"
    "       zpkprobe volume PATH DEVICE INODE SECTOR-SIZE START SIZE\n"
    "\n"
    "Prints the partition table of the disk image or block device PATH, or what lies on SIZE bytes from START, as\n"
    "JSON. DEVICE and INODE say which file PATH must lead to (0 0: any). SECTOR-SIZE 0 means: find out.\n";

std::optional<std::uint64_t> numberOf(const std::string& text) {
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

int probe(const std::string& mode, const std::string& path, const std::vector<std::uint64_t>& numbers) {
  std::optional<zpk::FileIdentity> identity;
  if (numbers[0] || numbers[1]) identity = zpk::FileIdentity{numbers[0], numbers[1]};
  const auto disk = zpk::DiskReader::open(path, identity);
  if (!disk) {
    std::fprintf(stderr, "%s\n", disk.error().c_str());
    return cannotReadExit;
  }
  const auto sectorSize = static_cast<std::uint32_t>(numbers[2]);
  const std::string json = mode == "table"
                               ? zpk::jsonOf(zpk::probeTable(*disk, sectorSize))
                               : zpk::jsonOf(zpk::probeVolume(*disk, numbers[3], numbers[4], sectorSize));
  return std::puts(json.c_str()) < 0 || std::fflush(stdout) != 0 ? 1 : 0;
}

bool isSectorSize(std::uint64_t size, bool mayBeUnknown) {
  return (size == 0 && mayBeUnknown) || size == 512 || size == 1024 || size == 2048 || size == 4096;
}

}  // namespace

int main(int count, char** arguments) {
  const std::vector<std::string> words(arguments + 1, arguments + count);
  if (words.size() == 1 && words[0] == "--help") return std::fputs(usage, stdout) < 0;
  const bool isTable = words.size() == 5 && words[0] == "table";
  const bool isVolume = words.size() == 7 && words[0] == "volume";
  std::vector<std::uint64_t> numbers;
  for (std::size_t i = 2; (isTable || isVolume) && i < words.size(); ++i) {
    if (const auto number = numberOf(words[i])) numbers.push_back(*number);
  }
  if ((!isTable && !isVolume) || numbers.size() != words.size() - 2 || !isSectorSize(numbers[2], isTable)) {
    std::fputs(usage, stderr);
    return usageExit;
  }
  return probe(words[0], words[1], numbers);
}
