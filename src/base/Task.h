#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Expected.h"
#include "base/FileManager.h"
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
  // Bytes of each stream that the result keeps. What comes after them is read, so that the program need not wait
  // for its reader, and dropped: who must know whether there was more asks for one byte more than he takes.
  std::size_t outputLimit = std::numeric_limits<std::size_t>::max();
  // How long it may take. One that takes longer is ended, with all of its process group, which is its own then.
  std::optional<std::chrono::milliseconds> timeLimit = std::nullopt;
};

struct TaskResult {
  enum class Reason { exit, uncaughtSignal };
  Reason reason = Reason::exit;
  std::int32_t status = 0;  // exit status, or the signal's number
  Bytes standardOutput;
  Bytes standardError;
};

// There is no result: the program could not be started, or took longer than it may.
struct TaskError {
  std::string reason;
};

// A program to run into a log: in the caller's folder, with nothing to read.
struct LoggedTask {
  std::string launchPath;              // absolute
  std::vector<std::string> arguments;  // without the program's own name
};

// How far a program may go. One that goes beyond is ended, with all of its process group.
struct TaskLimits {
  std::chrono::milliseconds time;
  std::uint64_t outputBytes;  // of both streams together; what comes after them is not in the log
  // Between asking it to end and killing it, and between killing it and giving it up.
  std::chrono::milliseconds grace = std::chrono::seconds(2);
};

// How a program with limits came to its end.
struct LoggedTaskEnd {
  enum class Reason { exit, uncaughtSignal, timeLimit, outputLimit };
  Reason reason = Reason::exit;
  std::int32_t status = 0;  // exit status, or the signal's number; nothing to go by beyond a limit
};

// A log file, open for as long as this lives and only ever written at its end. One thread at a time.
class TaskLog {
 public:
  virtual ~TaskLog() = default;
  // What cannot be written (the disk is full) is lost.
  virtual void append(std::string_view text) = 0;
  // Blocks until the program itself ended, or was ended, or would not be ended. Both of its streams go into the log
  // in the order of writing; what others that hold them write after its end does not.
  virtual Expected<LoggedTaskEnd, TaskError> run(const LoggedTask& task, const TaskLimits& limits) = 0;
};

// Runs programs to their end. Any thread.
class TaskRunner {
 public:
  virtual ~TaskRunner() = default;
  // Blocks until the program ended and both streams are drained to their end, or until its time was over and it was
  // ended.
  virtual Expected<TaskResult, TaskError> run(const TaskDescription& task) = 0;
  // Opens a plain file at its end, made when there is none, for its owner and group alone. No link is followed.
  virtual Expected<std::unique_ptr<TaskLog>, FileError> openLog(const std::string& path) = 0;
};

}  // namespace zpk
