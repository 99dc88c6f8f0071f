#pragma once

#include <string>

#include "helper/service/model/ArchiveKeeper.h"

namespace zpk {

// Archives as helper/archive reads and writes them.
class EngineArchives final : public ArchiveKeeper {
 public:
  // `exportFolder` is this helper's alone; what an earlier one left in it is taken away (ExportFolder.h).
  // `tableProgram` is the absolute path of zpktable.
  EngineArchives(std::string exportFolder, std::string tableProgram);

  ArchiveView look(const std::string& archivePath, ArchiveUser user) override;

  // A further point of an archive that belongs to another disk is added to it all the same, as a full one: whoever
  // asks for that was warned. The archive belongs to the disk of its newest point from then on. An archive that was
  // made for this backup and got no point is taken away again.
  OperationOutcome backup(const BackupOrder& order, OperationBoard& board, const CancelFlag& cancel) override;

  OperationOutcome restore(const RestoreOrder& order, OperationBoard& board, const CancelFlag& cancel) override;

  OperationOutcome merge(const PointReference& point, OperationBoard& board, const CancelFlag& cancel) override;

  VerificationReport verify(const std::string& archivePath, ArchiveUser user, OperationBoard& board,
                            const CancelFlag& cancel) override;

  Expected<Done, std::string> pin(const PinOrder& order, const CancelFlag& cancel) override;

 private:
  const std::string _exportFolder;
  const std::string _tableProgram;
};

}  // namespace zpk
