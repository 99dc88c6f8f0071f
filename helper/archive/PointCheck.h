#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "helper/archive/Archive.h"
#include "helper/archive/DiskLayout.h"

namespace zpk {

// A stretch of a stored disk that cannot be read back as it was written.
struct DamagedRange {
  std::string image;  // Path of the image that should hold it.
  ByteRange range;    // On the disk.
};

struct PointCheck {
  // Nobody reads on, and of a lost drive there are millions.
  static constexpr std::size_t mostRanges = 1000;

  std::uint64_t bytes = 0;            // What was read, before compression.
  std::vector<DamagedRange> damaged;  // In the order of the disks; neighbouring ones are one. The first ones.
  std::uint64_t furtherRanges = 0;    // How many there are beside them.
};

using CheckProgress = std::function<void(std::uint64_t doneBytes)>;

// Reads back what the point's own images hold and compares it with the point's hashes: the content that a backup
// has just written, of a full point all of it. That an increment holds what it should is seen from the parent's
// hashes. What the page cache knows is dropped first, so that the medium answers.
//
// A damaged range is a result; an error is what keeps the check from going on: no map, no image, a raised `cancel`.
ArchiveResult<PointCheck> checkOwnImages(const Archive& archive, std::size_t point, const CheckProgress& progress,
                                         const CancelFlag& cancel);

// What a check found, and whether the point's index says so. The two have nothing to do with each other: a full
// destination keeps nothing noted, and its points are as sound as before.
struct NotedCheck {
  ArchiveResult<PointCheck> check;
  std::optional<ArchiveError> whyNotNoted;  // The result is in no index, although it should be.
};

// The same, with the result noted in the point's index: when it was, and whether it found damage, so that nothing
// is built on a damaged point. A check that finds none takes the note back, but not that of a merge that was given
// up: the parent's images, which the point goes on building on, are not read. The archive is open for writing.
NotedCheck checkAndNote(Archive& archive, std::size_t point, std::int64_t time, const CheckProgress& progress,
                        const CancelFlag& cancel);

// Notes damage that something else than a check came upon.
ArchiveResult<Done> noteDamage(Archive& archive, std::size_t point, std::int64_t time);

}  // namespace zpk
