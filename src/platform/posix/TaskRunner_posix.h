#pragma once

#include "base/Task.h"

namespace zpk {

// Runs programs with posix_spawn. No state; any thread, any number at once.
//
// The program gets this process's environment, no blocked signals, and no descriptor but its three streams. Without
// `standardInput` it reads end-of-file at once. A program that ends, or closes its input, before it took all of it
// is no error. When both outputs name the same file they share it, in the order of writing. A descendant that keeps
// an output stream open keeps `run` waiting: the stream has not ended. Where there is a time limit, it is ended
// with the program when that is over.
class PosixTaskRunner final : public TaskRunner {
 public:
  Expected<TaskResult, TaskError> run(const TaskDescription& task) override;
  Expected<std::unique_ptr<TaskLog>, FileError> openLog(const std::string& path) override;
};

}  // namespace zpk
