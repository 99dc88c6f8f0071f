#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Expected.h"
#include "helper/process/CancelFlag.h"

namespace zpk {

// What a tool may do to files. A tool that only looks at a disk never gets more than `ReadsOnly`: no capability but
// the one to read, and, where the kernel has Landlock, no way to open anything but `/dev/null` for writing. Only
// one that `Mounts` may get rights by starting a program, which is how a user without rights of his own gets a FUSE
// mount.
enum class ToolAccess { ReadsOnly, ReadsAndWrites, Mounts };

// Bounds of one run. File systems that come from a disk are hostile input to the tools that parse them.
struct ToolLimits {
  std::chrono::milliseconds wallClock{60'000};
  std::uint64_t cpuSeconds = 60;
  std::uint64_t memoryBytes = std::uint64_t{512} << 20;  // Address space.
  std::size_t outputBytes = std::size_t{1} << 20;        // Of standard output; more ends the tool.
  std::size_t errorBytes = std::size_t{64} << 10;        // Of standard error; more is read and dropped.
};

// Takes standard output as it comes, in pieces of any size. Giving false ends the tool.
using ToolOutputSink = std::function<bool(std::string_view piece)>;

struct ToolCommand {
  std::string executable;              // Absolute path; no search path is consulted.
  std::vector<std::string> arguments;  // Without the name of the tool itself.
  ToolLimits limits;
  ToolAccess access = ToolAccess::ReadsOnly;
  ToolOutputSink sink{};  // When set, `ToolResult::output` stays empty.
  int handed = -1;        // A descriptor that the tool gets as its number 3; it stays the caller's.
  // The one file or device that a tool which `ReadsOnly` may write all the same. It is there before the start.
  std::string writable{};
};

enum class ToolEnd {
  Exited,         // `status` is the exit status.
  Signalled,      // `status` is the signal.
  TimedOut,       // `wallClock` passed.
  Cancelled,      // The flag was raised.
  OutputTooLong,  // More than `outputBytes` came.
  SinkRefused,    // The sink gave false.
};

struct ToolResult {
  ToolEnd end = ToolEnd::Exited;
  int status = 0;
  std::string output;
  std::string errors;

  bool succeeded() const { return end == ToolEnd::Exited && status == 0; }
};

// The tool could not be started at all: a path that is not there, no memory, no descriptors.
struct ToolStartError {
  std::string executable;
  int errorNumber = 0;

  // "/usr/bin/ntfscat could not be started: No such file or directory"
  std::string text() const;
};

// Runs a tool of the system to its end on the calling thread and collects what it says.
//
//   ToolCommand command{"/usr/bin/ntfscat", {"-i", "6", device}};
//   Expected<ToolResult, ToolStartError> result = runTool(command, cancel);
//   if (!result) return fail(result.error().text());
//   if (!result->succeeded()) return fail(result->errors);
//
// The tool gets an empty environment (so it speaks the C locale), `/` as its folder, `/dev/null` as standard input,
// no other descriptor of ours, default signal handling and a process group of its own. When the run ends in any
// way, whatever is left of the group is killed, so no grandchild outlives the call. A tool whose parent dies is
// killed too. A raised `cancel` is noticed within 50 ms. May be called from several threads at once.
Expected<ToolResult, ToolStartError> runTool(const ToolCommand& command, const CancelFlag& cancel);

}  // namespace zpk
