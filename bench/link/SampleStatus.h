#pragma once

#include <cstddef>

#include "base/Value.h"

namespace zpk::bench {

// How much of everything a status holds.
struct StatusSize {
  std::size_t disks = 0;
  std::size_t points = 0;
  std::size_t logLines = 0;
};

// A status as a helper would send it: disks of five partitions, backup points of one stored disk each, log lines of
// about 60 characters.
Dictionary sampleStatus(const StatusSize& size);

}  // namespace zpk::bench
