#pragma once

#include "helper/service/CommandLine.h"

namespace zpk {

// Runs the helper until it is told to end; gives the exit status: 0, or 1 with a line on standard error that says
// why.
int runHelper(const HelperOptions& options);

}  // namespace zpk
