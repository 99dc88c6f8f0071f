#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/Expected.h"
#include "base/Value.h"

namespace zpk {

// A program to run: no shell in between.
struct TaskDescription {
  std::string launchPath;              // absolute
  std::vector<std::string> arguments;  // without the program's own name
  std::string currentDirectory;        // empty: the caller's
  Bytes standardInput;
  // Where output goes instead of into the result: a file made or emptied for it. Empty: into the result.
  std::string standardOutputPath;
  std::string standardErrorPath;
};

struct TaskResult {
  enum class Reason { exit, uncaughtSignal };
  Reason reason = Reason::exit;
  std::int32_t status = 0;  // exit status, or the signal's number
  Bytes standardOutput;
  Bytes standardError;
};

struct TaskError {
  std::string reason;  // why the program could not be started
};

// Runs programs to their end. Any thread.
class TaskRunner {
 public:
  virtual ~TaskRunner() = default;
  // Blocks until the program ended and both streams are drained to their end.
  virtual Expected<TaskResult, TaskError> run(const TaskDescription& task) = 0;
};

}  // namespace zpk
