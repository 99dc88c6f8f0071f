#include "helper/archive/UsedClusters.h"

#include <algorithm>

#include "helper/archive/SourceCheck.h"
#include "helper/process/ToolRunner.h"

namespace zpk {

ArchiveResult<ClusterBitmap> readUsedClusters(const std::string& device, const NtfsGeometry& geometry,
                                              const CancelFlag& cancel) {
  const std::uint64_t needed = divideUp(geometry.clusters(), 8);
  ByteBuffer bitmap;
  // Whole words, as the bitmap wants them: growing it once more would take as much again.
  bitmap.reserve(roundUp(needed, 8));
  // By force: whether the volume's state is good enough was decided before.
  ToolCommand command{"/usr/bin/ntfscat", {"--force", "-i", "6", device}, {}, ToolAccess::ReadsOnly, {}};
  // The file is a little longer than the bits need; a crafted one may claim to be of any length.
  command.limits.outputBytes = needed + (std::size_t{1} << 20U);
  command.limits.wallClock = std::chrono::minutes(10);
  command.sink = [&](std::string_view piece) {
    const ByteSpan bytes = std::as_bytes(std::span(piece));
    const ByteSpan wanted = bytes.first(std::min<std::size_t>(bytes.size(), needed - bitmap.size()));
    bitmap.insert(bitmap.end(), wanted.begin(), wanted.end());
    return true;
  };
  const auto result = runTool(command, cancel);
  if (!result) return ArchiveError{ArchiveFault::ToolFailed, result.error().text(), device, 0, 0};
  if (result->end == ToolEnd::Cancelled) return cancelledError();
  if (!result->succeeded() && tellsOfBadSectors(result->output + result->errors)) {
    return ArchiveError{ArchiveFault::SourceUnfit, SourceFinding{SourceState::BadSectors, {}}.sentence(), device, 0,
                        0};
  }
  if (!result->succeeded()) {
    return ArchiveError{ArchiveFault::ToolFailed, "The used clusters could not be read (" + result->errors + ")",
                        device, 0, 0};
  }
  if (bitmap.size() < needed) return damagedError("The volume's cluster bitmap is too short", device);
  return ClusterBitmap(std::move(bitmap), geometry.clusters());
}

}  // namespace zpk
