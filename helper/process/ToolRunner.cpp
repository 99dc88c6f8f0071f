#include "helper/process/ToolRunner.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>

#include "helper/process/ToolStart.h"

namespace zpk {
namespace {

using Clock = std::chrono::steady_clock;

// One started tool: collects its streams until it ends or has to be ended. Destroyed only after `finish()`.
class RunningTool {
 public:
  RunningTool(const ToolCommand& command, StartedTool tool)
      : _command(command), _tool(std::move(tool)), _deadline(Clock::now() + command.limits.wallClock) {}

  ToolResult run(const CancelFlag& cancel) {
    while (!_forced && !_ended) look(cancel);
    finish();
    return std::move(_result);
  }

 private:
  void look(const CancelFlag& cancel) {
    std::array<pollfd, 3> waits = {pollfd{_tool.output.get(), POLLIN, 0}, pollfd{_tool.errors.get(), POLLIN, 0},
                                   pollfd{_tool.pidFd.get(), POLLIN, 0}};
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
    return static_cast<int>(std::clamp(left, std::chrono::milliseconds(0), toolLookInterval).count());
  }

  void drain() {
    setNonBlocking(_tool.output);
    setNonBlocking(_tool.errors);
    while (!_forced && _tool.output && takeOutput()) {
    }
    while (_tool.errors && takeErrors()) {
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
    const std::string_view piece = readSome(_tool.output);
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
    const std::string_view piece = readSome(_tool.errors);
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
    const std::optional<int> status = endTool(_tool.pid);
    if (_forced) return;
    const bool exited = status && WIFEXITED(*status);
    _result.end = exited ? ToolEnd::Exited : ToolEnd::Signalled;
    _result.status = exited ? WEXITSTATUS(*status) : (status ? WTERMSIG(*status) : SIGKILL);
  }

  const ToolCommand& _command;
  StartedTool _tool;
  Clock::time_point _deadline;
  std::size_t _outputBytes = 0;
  bool _forced = false;
  bool _ended = false;
  ToolResult _result;
  std::array<char, std::size_t{64} * 1024> _buffer{};
};

}  // namespace

Expected<ToolResult, ToolStartError> runTool(const ToolCommand& command, const CancelFlag& cancel) {
  if (cancel.isRequested()) return ToolResult{ToolEnd::Cancelled, 0, {}, {}};
  Expected<StartedTool, ToolStartError> tool = startTool(command, SIGKILL);
  if (!tool) return tool.error();
  return RunningTool(command, std::move(*tool)).run(cancel);
}

}  // namespace zpk
