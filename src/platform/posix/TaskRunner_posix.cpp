#include "platform/posix/TaskRunner_posix.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <limits>
#include <optional>
#include <utility>

#include "platform/posix/ChildEnd.h"
#include "platform/posix/ChildStart.h"
#include "platform/posix/FileDescriptor.h"
#include "platform/posix/TaskLog_posix.h"

namespace zpk {
namespace {

using Clock = std::chrono::steady_clock;

// Between asking a program that took too long to end and killing it.
constexpr std::chrono::milliseconds kGrace = std::chrono::seconds(2);

// When a program's time is over; never without a limit.
class Deadline {
 public:
  explicit Deadline(const std::optional<std::chrono::milliseconds>& limit) {
    if (limit) _end = Clock::now() + *limit;
  }

  bool isThere() const { return _end.has_value(); }
  bool isOver() const { return _end && Clock::now() >= *_end; }
  // What poll waits at most: until then, and a millisecond for what is less than one.
  int pollTime() const {
    if (!_end) return -1;
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(*_end - Clock::now()).count() + 1;
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, std::numeric_limits<int>::max()));
  }

 private:
  std::optional<Clock::time_point> _end;
};

FileDescriptor openFile(const std::string& path, int flags) {
  return beyondStandardStreams(
      FileDescriptor(uninterrupted([&] { return ::open(path.c_str(), flags | O_CLOEXEC, 0644); })));
}

// The child's three streams, and this side's ends of those that are pipes.
struct Streams {
  FileDescriptor childInput, childOutput, childErrors;
  FileDescriptor input, output, errors;
};

// Leaves `ours` closed when the stream goes to a file.
bool openOutput(const std::string& path, FileDescriptor& child, FileDescriptor& ours) {
  if (!path.empty()) {
    child = openFile(path, O_WRONLY | O_CREAT | O_TRUNC);
    return static_cast<bool>(child);
  }
  Pipe pipe;
  if (!pipe.open()) return false;
  child = std::move(pipe.writing);
  ours = std::move(pipe.reading);
  return true;
}

bool openErrors(const TaskDescription& task, Streams& streams) {
  if (task.standardErrorPath.empty() || task.standardErrorPath != task.standardOutputPath) {
    return openOutput(task.standardErrorPath, streams.childErrors, streams.errors);
  }
  streams.childErrors = FileDescriptor(::fcntl(streams.childOutput.get(), F_DUPFD_CLOEXEC, kFirstDescriptorOfOurs));
  return static_cast<bool>(streams.childErrors);
}

bool openInput(const TaskDescription& task, Streams& streams) {
  if (task.standardInput.empty()) {
    streams.childInput = openFile("/dev/null", O_RDONLY);
    return static_cast<bool>(streams.childInput);
  }
  Pipe pipe;
  // Only this side's end must not block; the child has an open file of its own.
  if (!pipe.open() || ::fcntl(pipe.writing.get(), F_SETFL, O_NONBLOCK) == -1) return false;
  streams.childInput = std::move(pipe.reading);
  streams.input = std::move(pipe.writing);
  return true;
}

// While it lives, writing into a pipe that nobody reads any more is an error on this thread and not a signal.
class NoPipeSignal {
 public:
  NoPipeSignal() {
    sigemptyset(&_pipe);
    sigaddset(&_pipe, SIGPIPE);
    _wasPending = isPending();
    ::pthread_sigmask(SIG_BLOCK, &_pipe, &_before);
  }
  NoPipeSignal(const NoPipeSignal&) = delete;
  NoPipeSignal& operator=(const NoPipeSignal&) = delete;
  ~NoPipeSignal() {
    if (!_wasPending && isPending()) {
      int taken = 0;
      ::sigwait(&_pipe, &taken);
    }
    ::pthread_sigmask(SIG_SETMASK, &_before, nullptr);
  }

 private:
  static bool isPending() {
    sigset_t pending;
    return ::sigpending(&pending) == 0 && sigismember(&pending, SIGPIPE) == 1;
  }

  sigset_t _pipe{};
  sigset_t _before{};
  bool _wasPending = false;
};

// Takes what is there, and keeps it up to `limit` bytes in all. Closes the stream at its end.
void take(FileDescriptor& stream, Bytes& into, std::size_t limit) {
  std::array<std::uint8_t, 65536> block;
  const ssize_t count = uninterrupted([&] { return ::read(stream.get(), block.data(), block.size()); });
  if (count > 0) {
    const std::size_t kept = std::min(static_cast<std::size_t>(count), limit - into.size());
    into.insert(into.end(), block.begin(), block.begin() + static_cast<std::ptrdiff_t>(kept));
  }
  if (count <= 0) stream.reset();
}

// Gives what fits. Closes the stream when all is given or nobody takes it.
void give(FileDescriptor& stream, const Bytes& content, std::size_t& given) {
  const ssize_t count =
      uninterrupted([&] { return ::write(stream.get(), content.data() + given, content.size() - given); });
  if (count > 0) given += static_cast<std::size_t>(count);
  if (given == content.size() || (count < 0 && errno != EAGAIN)) stream.reset();
}

// Serves all streams at once until the last one ended, or the time is over: a child that waits for one of them
// never waits for long.
void exchange(Streams& streams, const TaskDescription& task, const Deadline& deadline, TaskResult& result) {
  const NoPipeSignal quiet;
  std::size_t given = 0;
  while ((streams.input || streams.output || streams.errors) && !deadline.isOver()) {
    // poll skips negative descriptors.
    std::array<pollfd, 3> ready{
        {{streams.input.get(), POLLOUT, 0}, {streams.output.get(), POLLIN, 0}, {streams.errors.get(), POLLIN, 0}}};
    if (::poll(ready.data(), ready.size(), deadline.pollTime()) < 0) continue;
    if (ready[0].revents != 0) give(streams.input, task.standardInput, given);
    if (ready[1].revents != 0) take(streams.output, result.standardOutput, task.outputLimit);
    if (ready[2].revents != 0) take(streams.errors, result.standardError, task.outputLimit);
  }
}

TaskError failure(std::string_view what, int number) {
  return TaskError{std::string(what) + ": " + systemReason(number)};
}

bool holdsNul(const std::string& text) {
  return text.find('\0') != std::string::npos;
}

std::optional<TaskError> openStreams(const TaskDescription& task, Streams& streams) {
  if (holdsNul(task.standardOutputPath) || holdsNul(task.standardErrorPath))
    return failure(task.launchPath, EINVAL);
  if (!openInput(task, streams)) return failure("standard input", errno);
  if (!openOutput(task.standardOutputPath, streams.childOutput, streams.output)) {
    return failure(task.standardOutputPath.empty() ? "standard output" : task.standardOutputPath, errno);
  }
  if (!openErrors(task, streams)) {
    return failure(task.standardErrorPath.empty() ? "standard error" : task.standardErrorPath, errno);
  }
  return std::nullopt;
}

Expected<pid_t, TaskError> start(const TaskDescription& task, Streams& streams) {
  if (std::optional<TaskError> error = openStreams(task, streams)) return *std::move(error);
  return startChild({.launchPath = task.launchPath,
                     .arguments = task.arguments,
                     .folder = task.currentDirectory,
                     .input = streams.childInput.get(),
                     .output = streams.childOutput.get(),
                     .errors = streams.childErrors.get(),
                     .group = task.timeLimit ? ProcessGroup::own : ProcessGroup::callers});
}

// One that has closed its streams, or never had any, may go on. False when the time is over before it ended.
bool endsInTime(pid_t child, const Deadline& deadline) {
  if (!deadline.isThere()) return true;  // Whoever waits for it then waits for as long as it takes.
  // Most end at once when they have closed their streams.
  for (std::chrono::milliseconds pause{1}; !hasEnded(child); pause = std::min(pause * 2, kEndGoesUnseen)) {
    if (deadline.isOver()) return false;
    static_cast<void>(::poll(nullptr, 0, static_cast<int>(pause.count())));
  }
  return true;
}

TaskError endOverdue(pid_t child, std::chrono::milliseconds limit) {
  if (endGroupOf(child, kGrace)) static_cast<void>(uninterrupted([&] { return ::waitpid(child, nullptr, 0); }));
  return TaskError{"it did not end within " + std::to_string(limit.count() / 1000) + " s"};
}

}  // namespace

Expected<TaskResult, TaskError> PosixTaskRunner::run(const TaskDescription& task) {
  Streams streams;
  const Deadline deadline(task.timeLimit);
  const Expected<pid_t, TaskError> child = start(task, streams);
  if (!child) return child.error();
  // Kept open here, they would keep the streams from ending.
  streams.childInput.reset();
  streams.childOutput.reset();
  streams.childErrors.reset();

  TaskResult result;
  exchange(streams, task, deadline, result);
  const bool isDrained = !streams.output && !streams.errors;
  if (!isDrained || !endsInTime(*child, deadline)) return endOverdue(*child, *task.timeLimit);
  int status = 0;
  if (uninterrupted([&] { return ::waitpid(*child, &status, 0); }) == -1) return TaskError{systemReason(errno)};
  result.reason = WIFSIGNALED(status) ? TaskResult::Reason::uncaughtSignal : TaskResult::Reason::exit;
  result.status = WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
  return result;
}

Expected<std::unique_ptr<TaskLog>, FileError> PosixTaskRunner::openLog(const std::string& path) {
  return PosixTaskLog::open(path);
}

}  // namespace zpk
