#include "helper/disks/DiskProber.h"

#include <chrono>

#include "helper/process/ToolRunner.h"

namespace zpk {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds volumeTime{10};
constexpr std::chrono::seconds diskTime{30};

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ZPK_RESERVES_ADDRESSES 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ZPK_RESERVES_ADDRESSES 1
#endif
#endif
#ifdef ZPK_RESERVES_ADDRESSES
constexpr std::uint64_t probeMemory = UINT64_MAX;  // The sanitizers' shadow alone takes terabytes of addresses.
#else
constexpr std::uint64_t probeMemory = std::uint64_t{256} << 20;
#endif

std::string shortened(std::string text) {
  while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
  return text.substr(0, 300);
}

std::string failureText(const ToolResult& result) {
  switch (result.end) {
    case ToolEnd::Exited: {
      const std::string said = shortened(result.errors);
      return said.empty() ? "the probe ended with status " + std::to_string(result.status) : said;
    }
    case ToolEnd::Signalled:
      return "the probe crashed (signal " + std::to_string(result.status) + ")";
    case ToolEnd::TimedOut:
      return "looking at it took too long";
    case ToolEnd::Cancelled:
      return "looking at it was stopped";
    case ToolEnd::OutputTooLong:
    case ToolEnd::SinkRefused:
      return "the probe said too much";
  }
  return {};
}

std::vector<std::string> arguments(const char* mode, const FoundDisk& disk, std::uint32_t sectorSize) {
  return {mode, disk.path, std::to_string(disk.file.device), std::to_string(disk.file.inode),
          std::to_string(sectorSize)};
}

struct Output {
  std::string text;
};

Expected<Output, std::string> run(const std::string& program, std::vector<std::string> words,
                                  const CancelFlag& cancel) {
  ToolCommand command;
  command.executable = program;
  command.arguments = std::move(words);
  command.limits.wallClock = volumeTime;
  command.limits.memoryBytes = probeMemory;
  command.limits.cpuSeconds = static_cast<std::uint64_t>(volumeTime.count());
  Expected<ToolResult, ToolStartError> result = runTool(command, cancel);
  if (!result) return result.error().text();
  if (!result->succeeded()) return failureText(*result);
  return Output{std::move(result.value().output)};
}

bool isSane(const TableReport& table) {
  if (table.sectorSize < 512 || table.sectorSize > 4096) return false;
  for (const TableEntry& entry : table.entries) {
    const bool fits = entry.start <= table.diskSize && entry.size <= table.diskSize - entry.start;
    if (entry.number == 0 || entry.number > 4096 || entry.size == 0 || !fits) return false;
  }
  return true;
}

// A volume's figures may say whatever the volume says; they are never larger than the partition.
void bound(VolumeReport& volume, std::uint64_t size) {
  if (volume.ntfs && (volume.ntfs->usedSize > size || volume.ntfs->minimumSize > size)) volume.ntfs.reset();
}

}  // namespace

Expected<DiskContent, std::string> DiskProber::read(const FoundDisk& disk, const CancelFlag& cancel) const {
  const Clock::time_point deadline = Clock::now() + diskTime;
  const auto head = run(_program, arguments("table", disk, disk.sectorSize), cancel);
  if (!head) return head.error();
  std::optional<TableReport> table = tableReportOf(head->text);
  if (!table || !isSane(*table)) return std::string("the probe did not answer as it should");
  DiskContent content;
  content.table = std::move(*table);
  if (!content.table.problem.empty()) return content;
  for (const TableEntry& entry : content.table.entries) {
    std::vector<std::string> words = arguments("volume", disk, content.table.sectorSize);
    words.push_back(std::to_string(entry.start));
    words.push_back(std::to_string(entry.size));
    VolumeReport& volume = content.volumes.emplace_back();
    const bool isLate = Clock::now() > deadline;
    const auto told = isLate ? Expected<Output, std::string>(std::string("looking at the disk took too long"))
                             : run(_program, std::move(words), cancel);
    const std::optional<VolumeReport> report = told ? volumeReportOf(told->text) : std::nullopt;
    if (report) {
      volume = *report;
      bound(volume, entry.size);
    } else {
      content.isComplete = false;
      content.remarks.push_back("partition " + std::to_string(entry.number) + " cannot be read: " +
                                (told ? "the probe did not answer as it should" : told.error()));
    }
  }
  return content;
}

}  // namespace zpk
