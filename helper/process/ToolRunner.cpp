#include "helper/process/ToolRunner.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <optional>

#include "helper/process/ToolChild.h"
#include "platform/posix/FileDescriptor.h"

namespace zpk {
namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds lookInterval{50};

struct Pipe {
  FileDescriptor readEnd;
  FileDescriptor writeEnd;
};

std::optional<Pipe> makePipe() {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return std::nullopt;
  // A descriptor below 3 would be overwritten when the child puts its standard streams in place.
  Pipe pipe{FileDescriptor(::fcntl(ends[0], F_DUPFD_CLOEXEC, 3)),
            FileDescriptor(::fcntl(ends[1], F_DUPFD_CLOEXEC, 3))};
  ::close(ends[0]);
  ::close(ends[1]);
  if (!pipe.readEnd || !pipe.writeEnd) return std::nullopt;
  return pipe;
}

FileDescriptor openNull() {
  const FileDescriptor fd(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  return FileDescriptor(fd ? ::fcntl(fd.get(), F_DUPFD_CLOEXEC, 3) : -1);
}

// One started tool: collects its streams until it ends or has to be ended. Destroyed only after `finish()`.
class RunningTool {
 public:
  RunningTool(const ToolCommand& command, pid_t pid, FileDescriptor pidFd, FileDescriptor output,
              FileDescriptor errors)
      : _command(command),
        _pid(pid),
        _pidFd(std::move(pidFd)),
        _output(std::move(output)),
        _errors(std::move(errors)),
        _deadline(Clock::now() + command.limits.wallClock) {}

  ToolResult run(const CancelFlag& cancel) {
    while (!_forced && !_ended) look(cancel);
    finish();
    return std::move(_result);
  }

 private:
  void look(const CancelFlag& cancel) {
    std::array<pollfd, 3> waits = {pollfd{_output.get(), POLLIN, 0}, pollfd{_errors.get(), POLLIN, 0},
                                   pollfd{_pidFd.get(), POLLIN, 0}};
    ::poll(waits.data(), waits.size(), waitTime());
    if (waits[0].revents != 0) takeOutput();
    if (waits[1].revents != 0) takeErrors();
    if (cancel.isRequested()) {
      force(ToolEnd::Cancelled);
    } else if (Clock::now() >= _deadline) {
      force(ToolEnd::TimedOut);
    }
    // What the tool wrote before its end is still in the pipes; a grandchild that keeps them open is not waited
    // for.
    if (waits[2].revents != 0) {
      drain();
      _ended = true;
    }
  }

  int waitTime() const {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(_deadline - Clock::now());
    return static_cast<int>(std::clamp(left, std::chrono::milliseconds(0), lookInterval).count());
  }

  void drain() {
    setNonBlocking(_output);
    setNonBlocking(_errors);
    while (!_forced && _output && takeOutput()) {
    }
    while (_errors && takeErrors()) {
    }
  }

  static void setNonBlocking(const FileDescriptor& fd) {
    if (fd) ::fcntl(fd.get(), F_SETFL, O_NONBLOCK);
  }

  // One read; empty at the end of the stream (which closes our end) and when there is nothing now.
  std::string_view readSome(FileDescriptor& fd) {
    const ssize_t count = ::read(fd.get(), _buffer.data(), _buffer.size());
    if (count > 0) return {_buffer.data(), static_cast<std::size_t>(count)};
    if (count == 0 || (errno != EINTR && errno != EAGAIN)) fd.reset();
    return {};
  }

  bool takeOutput() {
    const std::string_view piece = readSome(_output);
    if (piece.empty() || _forced) return false;
    _outputBytes += piece.size();
    if (_outputBytes > _command.limits.outputBytes) {
      force(ToolEnd::OutputTooLong);
    } else if (!_command.sink) {
      _result.output.append(piece);
    } else if (!_command.sink(piece)) {
      force(ToolEnd::SinkRefused);
    }
    return true;
  }

  bool takeErrors() {
    const std::string_view piece = readSome(_errors);
    const std::size_t room =
        _command.limits.errorBytes - std::min(_command.limits.errorBytes, _result.errors.size());
    _result.errors.append(piece.substr(0, room));
    return !piece.empty();
  }

  void force(ToolEnd end) {
    if (_forced) return;
    _forced = true;
    _result.end = end;
  }

  void finish() {
    // The group is killed while its leader is not yet waited for, so the number cannot belong to another one.
    ::kill(-_pid, SIGKILL);
    int status = 0;
    pid_t reaped = 0;
    do {
      reaped = ::waitpid(_pid, &status, 0);
    } while (reaped < 0 && errno == EINTR);
    if (_forced) return;
    const bool exited = reaped == _pid && WIFEXITED(status);
    _result.end = exited ? ToolEnd::Exited : ToolEnd::Signalled;
    _result.status = exited ? WEXITSTATUS(status) : (reaped == _pid ? WTERMSIG(status) : SIGKILL);
  }

  const ToolCommand& _command;
  pid_t _pid;
  FileDescriptor _pidFd;
  FileDescriptor _output;
  FileDescriptor _errors;
  Clock::time_point _deadline;
  std::size_t _outputBytes = 0;
  bool _forced = false;
  bool _ended = false;
  ToolResult _result;
  std::array<char, std::size_t{64} * 1024> _buffer{};
};

std::vector<char*> argumentPointers(const ToolCommand& command) {
  std::vector<char*> pointers;
  pointers.reserve(command.arguments.size() + 2);
  // execve takes them as not const for historical reasons and does not change them.
  pointers.push_back(const_cast<char*>(command.executable.c_str()));
  for (const std::string& argument : command.arguments) pointers.push_back(const_cast<char*>(argument.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

// The errno of a failed start, told through the pipe that a successful exec closes.
int startFailure(const FileDescriptor& failure) {
  int errorNumber = 0;
  ssize_t count = 0;
  do {
    count = ::read(failure.get(), &errorNumber, sizeof errorNumber);
  } while (count < 0 && errno == EINTR);
  return count == static_cast<ssize_t>(sizeof errorNumber) ? errorNumber : 0;
}

}  // namespace

std::string ToolStartError::text() const {
  return executable + " could not be started: " + std::strerror(errorNumber);
}

Expected<ToolResult, ToolStartError> runTool(const ToolCommand& command, const CancelFlag& cancel) {
  if (command.executable.empty() || command.executable.front() != '/') {
    return ToolStartError{command.executable, EINVAL};
  }
  if (cancel.isRequested()) return ToolResult{ToolEnd::Cancelled, 0, {}, {}};

  std::optional<Pipe> output = makePipe();
  std::optional<Pipe> errors = makePipe();
  std::optional<Pipe> failure = makePipe();
  const FileDescriptor input = openNull();
  if (!output || !errors || !failure || !input) return ToolStartError{command.executable, errno};

  const std::vector<char*> argv = argumentPointers(command);
  ToolChildPlan plan{command.executable.c_str(),
                     argv.data(),
                     input.get(),
                     output->writeEnd.get(),
                     errors->writeEnd.get(),
                     failure->writeEnd.get(),
                     ::getpid(),
                     command.limits.memoryBytes,
                     command.limits.cpuSeconds,
                     command.access};
  const pid_t pid = ::fork();
  if (pid < 0) return ToolStartError{command.executable, errno};
  if (pid == 0) becomeTool(plan);

  ::setpgid(pid, pid);
  output->writeEnd.reset();
  errors->writeEnd.reset();
  failure->writeEnd.reset();
  FileDescriptor pidFd(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0U)));
  const int noPidFd = pidFd ? 0 : errno;
  const int notStarted = startFailure(failure->readEnd);
  if (notStarted != 0 || noPidFd != 0) {
    ::kill(-pid, SIGKILL);
    ::waitpid(pid, nullptr, 0);
    return ToolStartError{command.executable, notStarted != 0 ? notStarted : noPidFd};
  }
  return RunningTool(command, pid, std::move(pidFd), std::move(output->readEnd), std::move(errors->readEnd))
      .run(cancel);
}

}  // namespace zpk
