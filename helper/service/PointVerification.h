#pragma once

#include "helper/archive/Archive.h"
#include "helper/service/model/ArchiveKeeper.h"

namespace zpk {

// Reads every point of the archive back, compares it with its hashes and notes in its index when that was and what
// came of it. Goes on after a damaged point; ends within a second of a request to stop, with what it has found by
// then. The archive is open for writing. Tells its course to `board`.
VerificationReport verifyPoints(Archive& archive, OperationBoard& board, const CancelFlag& cancel);

// The same for an archive that is open for reading because it cannot be written; `whyNotNoted` says so in words.
VerificationReport verifyPointsUnnoted(Archive& archive, const std::string& whyNotNoted, OperationBoard& board,
                                       const CancelFlag& cancel);

}  // namespace zpk
