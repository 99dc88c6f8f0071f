#pragma once

#include <string>

#include "helper/archive/PointDisk.h"
#include "helper/archive/RestorePlan.h"
#include "helper/archive/RestoreTarget.h"
#include "helper/archive/table/TableEdit.h"

namespace zpk {

// What the plan does to the target's table. The stored entries' names and attributes are those of the table that
// the point holds, and with `takesIdentity` their identifiers as well.
TableEdit tableEditFor(const RestorePlan& plan, PointDisk& source, std::uint32_t sectorSize, bool takesIdentity);

// Has `program` edit the table, or only say whether it would be taken. Refused or ToolFailed with its reason.
ArchiveResult<Done> checkTableEdit(const std::string& program, TableEdit edit, const RestoreTarget& target,
                                   const CancelFlag& cancel);
// Cannot be stopped: it takes a moment, and half of it would be worse.
ArchiveResult<Done> writeTableEdit(const std::string& program, TableEdit edit, const RestoreTarget& target);

}  // namespace zpk
