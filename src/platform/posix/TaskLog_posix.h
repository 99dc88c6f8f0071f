#pragma once

#include <memory>
#include <string>
#include <utility>

#include "base/Task.h"
#include "platform/posix/FileDescriptor.h"

namespace zpk {

// A log file, written at its end whoever else writes to it.
//
// A program that is run into it writes to a pipe that is read here: so what lands in the log is bounded to the
// byte, and a descendant that outlives the program has no hand in it. It runs in a process group of its own, by
// which it is ended. One that sits in the kernel and cannot even be killed, as on a dead disk, is given up, and
// gets no more attention than being killed whenever the kernel comes round to it.
class PosixTaskLog final : public TaskLog {
 public:
  static Expected<std::unique_ptr<TaskLog>, FileError> open(const std::string& path);

  explicit PosixTaskLog(FileDescriptor file) : _file(std::move(file)) {}
  void append(std::string_view text) override;
  Expected<LoggedTaskEnd, TaskError> run(const LoggedTask& task, const TaskLimits& limits) override;

 private:
  FileDescriptor _file;
};

}  // namespace zpk
