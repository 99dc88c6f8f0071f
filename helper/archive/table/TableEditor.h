#pragma once

#include <string>

#include "base/Expected.h"
#include "helper/archive/table/TableEdit.h"

namespace zpk {

// Edits the table of the disk that is open for reading and writing. The kernel is not told.
// The error is a sentence part: "there is no free entry".
Expected<Done, std::string> editTable(int disk, const TableEdit& edit);

}  // namespace zpk
