#pragma once

#include <string>

#include "helper/archive/Archive.h"
#include "helper/service/model/ArchiveKeeper.h"

namespace zpk {

// What a restore needs of the helper's surroundings.
struct RestorePlaces {
  std::string exportFolder;  // As ExportPlace has it.
  std::string tableProgram;  // Absolute path of zpktable.
};

// Writes a point onto a disk, with the course of it on the board. Once something was written, whatever ends it is a
// failure that says what is left of the disk.
OperationOutcome runRestore(const Archive& archive, const RestoreOrder& order, const RestorePlaces& places,
                            OperationBoard& board, const CancelFlag& cancel);

}  // namespace zpk
