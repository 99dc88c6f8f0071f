#pragma once

#include <cstdint>

#include "helper/archive/Archive.h"
#include "helper/service/model/ArchiveKeeper.h"

namespace zpk {

// Opens an archive for writing; the board is told when a merge has to be finished first, which takes its time.
ArchiveResult<Archive> openForOperation(const std::string& path, OperationBoard& board, const CancelFlag& cancel);

// Merges a point into the one before it, with the course of it on the board.
OperationOutcome runMerge(Archive& archive, std::size_t point, OperationBoard& board, const CancelFlag& cancel);

// Merges the oldest increments until there are at most `mostIncrements`, or none is left that may be merged. Passed
// over are those whose parent is pinned, those that are damaged or whose parent is, and those that lack sectors of
// their disk that the parent has. Damage that is met on the way is noted, and the next one tried. What keeps it
// from reaching its end is only told to the board: the archive is good with more.
void keepToLimit(Archive& archive, std::uint64_t mostIncrements, OperationBoard& board, const CancelFlag& cancel);

}  // namespace zpk
