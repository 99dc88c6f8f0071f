#include "platform/posix/TaskLog_posix.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <optional>

#include "platform/posix/ChildEnd.h"
#include "platform/posix/ChildStart.h"

namespace zpk {
namespace {

using Clock = std::chrono::steady_clock;

// One program, from its start to its end.
class LoggedRun {
 public:
  LoggedRun(pid_t child, FileDescriptor output, TaskLog& log, const TaskLimits& limits)
      : _child(child), _output(std::move(output)), _log(log), _limits(limits) {}

  LoggedTaskEnd toItsEnd() {
    const Clock::time_point deadline = Clock::now() + _limits.time;
    for (;;) {
      // Looked at before the output, so that all that it said before its end is taken.
      const bool ended = hasEnded(_child);
      if (!takeOutput()) return end(LoggedTaskEnd::Reason::outputLimit);
      if (ended) return reap();
      if (Clock::now() >= deadline) return end(LoggedTaskEnd::Reason::timeLimit);
      waitForOutput();
    }
  }

 private:
  // Takes what is there. False beyond the limit.
  bool takeOutput() {
    std::array<char, 65536> block;
    while (_output) {
      const ssize_t count = uninterrupted([&] { return ::read(_output.get(), block.data(), block.size()); });
      if (count == -1 && errno == EAGAIN) return true;
      if (count <= 0) {
        _output.reset();
        return true;
      }
      const std::uint64_t room = _limits.outputBytes - _taken;
      const std::uint64_t kept = std::min(room, static_cast<std::uint64_t>(count));
      _log.append(std::string_view(block.data(), kept));
      _taken += kept;
      if (static_cast<std::uint64_t>(count) > room) return false;
    }
    return true;
  }

  // What it says is seen at once.
  void waitForOutput() const {
    // poll skips negative descriptors.
    pollfd ready{_output.get(), POLLIN, 0};
    static_cast<void>(::poll(&ready, 1, static_cast<int>(kEndGoesUnseen.count())));
  }

  LoggedTaskEnd end(LoggedTaskEnd::Reason reason) {
    _output.reset();
    if (endGroupOf(_child, _limits.grace)) reap();
    return {reason, 0};
  }

  LoggedTaskEnd reap() const {
    int status = 0;
    if (uninterrupted([&] { return ::waitpid(_child, &status, 0); }) == -1) return {};
    if (WIFSIGNALED(status)) return {LoggedTaskEnd::Reason::uncaughtSignal, WTERMSIG(status)};
    return {LoggedTaskEnd::Reason::exit, WEXITSTATUS(status)};
  }

  const pid_t _child;
  FileDescriptor _output;
  TaskLog& _log;
  const TaskLimits _limits;
  std::uint64_t _taken = 0;  // bytes
};

TaskError failure(std::string_view what) {
  return TaskError{std::string(what) + ": " + systemReason(errno)};
}

}  // namespace

Expected<std::unique_ptr<TaskLog>, FileError> PosixTaskLog::open(const std::string& path) {
  if (path.find('\0') != std::string::npos) return FileError{path, systemReason(EINVAL)};
  constexpr int kFlags = O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  FileDescriptor file(uninterrupted([&] { return ::open(path.c_str(), kFlags, 0660); }));
  struct stat facts {};
  if (!file || ::fstat(file.get(), &facts) == -1) return fileError(path);
  if (!S_ISREG(facts.st_mode)) return FileError{path, "Not a plain file"};
  return std::unique_ptr<TaskLog>(std::make_unique<PosixTaskLog>(std::move(file)));
}

void PosixTaskLog::append(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = uninterrupted([&] { return ::write(_file.get(), text.data(), text.size()); });
    if (written <= 0) return;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

Expected<LoggedTaskEnd, TaskError> PosixTaskLog::run(const LoggedTask& task, const TaskLimits& limits) {
  const FileDescriptor nothing = beyondStandardStreams(
      FileDescriptor(uninterrupted([] { return ::open("/dev/null", O_RDONLY | O_CLOEXEC); })));
  if (!nothing) return failure("standard input");
  Pipe pipe;
  // Only this side's end must not block; the program has an open file of its own.
  if (!pipe.open() || ::fcntl(pipe.reading.get(), F_SETFL, O_NONBLOCK) == -1) return failure("standard output");
  const Expected<pid_t, TaskError> child = startChild({.launchPath = task.launchPath,
                                                       .arguments = task.arguments,
                                                       .folder = {},
                                                       .input = nothing.get(),
                                                       .output = pipe.writing.get(),
                                                       .errors = pipe.writing.get(),
                                                       .group = ProcessGroup::own});
  if (!child) return child.error();
  pipe.writing.reset();
  return LoggedRun(*child, std::move(pipe.reading), *this, limits).toItsEnd();
}

}  // namespace zpk
