#pragma once

#include <cstdint>

#include "helper/process/ToolRunner.h"

namespace zpk {

// Everything the child needs between fork and exec, prepared before the fork: the process has threads, so the child
// may neither allocate nor take a lock.
struct ToolChildPlan {
  static constexpr int handedNumber = 3;

  const char* executable = nullptr;
  char* const* argv = nullptr;
  int input = -1;
  int output = -1;
  int errors = -1;
  int failure = -1;                // Close-on-exec pipe; an errno written here says that there was no exec.
  const char* writable = nullptr;  // The one path that may be written; null: none.
  int handed = -1;                 // Becomes number 3 of the tool; -1: nothing does.
  int parent = 0;  // Process id of the parent, to notice that it died before the death signal was set.
  int deathSignal = 0;
  std::uint64_t memoryBytes = 0;
  std::uint64_t cpuSeconds = 0;
  ToolAccess access = ToolAccess::ReadsOnly;
};

// Becomes the tool or ends the process; async-signal-safe.
[[noreturn]] void becomeTool(const ToolChildPlan& plan);

}  // namespace zpk
