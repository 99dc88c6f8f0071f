#include "helper/service/ArchiveWords.h"

#include <cmath>
#include <cstdio>
#include <ctime>

namespace zpk {

std::string sentenceOf(const ArchiveError& error) {
  std::string text =
      error.fault == ArchiveFault::SourceUnfit ? error.message + " (" + error.path + ")" : error.text();
  if (!text.ends_with('.')) text += '.';
  return text;
}

std::string sentenceOf(const ArchiveError& error, const std::string& archivePath, const std::string& advice) {
  return isLossOf(archivePath, error) ? sentenceOf(error) + " " + advice : sentenceOf(error);
}

bool isLossOf(const std::string& archivePath, const ArchiveError& error) {
  if (!isLoss(error)) return false;
  return error.path == archivePath || error.path.starts_with(archivePath + "/");
}

std::string sectorsText(std::uint64_t count) {
  return std::to_string(count) + (count == 1 ? " unreadable sector" : " unreadable sectors");
}

std::vector<std::string> unreadableLines(const PointIndex& point) {
  constexpr std::size_t mostLines = 20;
  std::vector<std::string> lines;
  std::size_t ranges = 0;
  for (const StoredDisk& disk : point.disks) {
    ranges += disk.unreadable.size();
    for (const ByteRange& range : disk.unreadable) {
      if (lines.size() == mostLines) break;
      lines.push_back("Could not be read and is zeros in the backup point: bytes " + std::to_string(range.start) +
                      " to " + std::to_string(range.end - 1) + " of \"" + disk.name + "\"");
    }
  }
  if (ranges > lines.size()) lines.push_back("and " + std::to_string(ranges - lines.size()) + " more ranges");
  return lines;
}

std::string durationText(double seconds) {
  const auto whole = static_cast<unsigned long>(std::llround(seconds));
  char text[48];
  if (whole >= 3600) {
    std::snprintf(text, sizeof text, "%lu h %02lu min", whole / 3600, whole / 60 % 60);
  } else if (whole >= 60) {
    std::snprintf(text, sizeof text, "%lu min %02lu s", whole / 60, whole % 60);
  } else {
    std::snprintf(text, sizeof text, "%lu s", whole);
  }
  return text;
}

std::string momentText(std::int64_t time) {
  const auto seconds = static_cast<std::time_t>(time);
  std::tm parts = {};
  char text[64];
  if (::localtime_r(&seconds, &parts) == nullptr ||
      std::strftime(text, sizeof text, "%Y-%m-%d %H:%M", &parts) == 0) {
    return "an unknown date";
  }
  return text;
}

}  // namespace zpk
