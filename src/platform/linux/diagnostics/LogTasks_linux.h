#pragma once

#include <vector>

#include "diagnostics/LogTasks.h"

namespace zpk {

// What Linux has to tell beside the fixed table: the kernel, the disks and what is mounted, the journal's lines of
// the kernel and of this product's programs, the timers, and the crashes.
std::vector<LogTask> platformLogTasks();

}  // namespace zpk
