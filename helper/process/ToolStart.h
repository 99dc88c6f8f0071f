#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <vector>

#include "helper/process/ToolRunner.h"
#include "platform/posix/FileDescriptor.h"

namespace zpk {

// How often who waits for a tool looks at what no descriptor tells: a wish to stop, a deadline.
inline constexpr std::chrono::milliseconds toolLookInterval{50};

// A tool that was started and is not waited for yet. It leads a process group of its own.
struct StartedTool {
  pid_t pid = -1;
  FileDescriptor pidFd;   // Readable once the tool has ended.
  FileDescriptor output;  // Our ends of its streams.
  FileDescriptor errors;
};

// Starts the tool and comes back once it runs, or is known not to. `deathSignal` is what it gets when the thread
// that calls this ends, or the process with it.
Expected<StartedTool, ToolStartError> startTool(const ToolCommand& command, int deathSignal);

// Kills what is left of the tool's group, waits for its leader and gives the status as waitpid() has it; nothing
// when it is not ours to wait for.
std::optional<int> endTool(pid_t pid);

}  // namespace zpk
