#pragma once

#include "helper/service/model/ArchiveKeeper.h"

namespace zpk {

// Archives as helper/archive reads and writes them.
class EngineArchives final : public ArchiveKeeper {
 public:
  ArchiveView look(const std::string& archivePath) override;

  // A further point of an archive that belongs to another disk is added to it all the same: whoever asks for that
  // was warned. An archive that was made for this backup and got no point is taken away again.
  BackupOutcome backup(const BackupOrder& order, OperationBoard& board, const CancelFlag& cancel) override;
};

}  // namespace zpk
