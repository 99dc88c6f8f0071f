#pragma once

#include "helper/process/ToolStart.h"

namespace zpk {

// A tool of the system that serves something to others for as long as this object lives, such as the content of an
// image through FUSE.
//
// It says that it is ready by its first byte on standard output; what else it prints there is left unread, so it
// has to be little. When this object goes, the tool is asked to end (SIGTERM), so that it can take down what it put
// up, and killed with its group when it has not within half a second. When the process or the thread that started
// it dies, the tool is asked to end all the same.
class ServingTool {
 public:
  // Comes back once the tool is ready. `command.limits.wallClock` bounds the wait and nothing after it; the sink is
  // not used.
  struct NotReady {
    ToolEnd end = ToolEnd::Exited;  // Exited, Signalled, TimedOut or Cancelled.
    int startError = 0;             // errno when there was no start at all.
    std::string errors;             // What the tool said.
  };
  static Expected<ServingTool, NotReady> start(const ToolCommand& command, const CancelFlag& cancel);

  ServingTool(ServingTool&& other) noexcept;
  ServingTool& operator=(ServingTool&&) = delete;
  ~ServingTool();

  pid_t pid() const { return _tool.pid; }
  bool isRunning() const;

 private:
  explicit ServingTool(StartedTool tool) : _tool(std::move(tool)) {}

  bool endsWithin(std::chrono::milliseconds time) const;
  std::optional<NotReady> waitUntilReady(std::chrono::milliseconds time, const CancelFlag& cancel);
  NotReady endedTooEarly();

  StartedTool _tool;  // Process id -1: given to another object.
};

}  // namespace zpk
