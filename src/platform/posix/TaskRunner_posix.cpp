#include "platform/posix/TaskRunner_posix.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>

#include <array>
#include <csignal>
#include <optional>
#include <utility>

#include "platform/posix/FileDescriptor.h"

extern char** environ;

namespace zpk {
namespace {

// Beyond the three standard streams, so that putting the child's streams into place never overwrites one of them.
constexpr int kFirstFreeDescriptor = 3;

FileDescriptor beyondStandardStreams(FileDescriptor file) {
  if (!file || file.get() >= kFirstFreeDescriptor) return file;
  return FileDescriptor(::fcntl(file.get(), F_DUPFD_CLOEXEC, kFirstFreeDescriptor));
}

FileDescriptor openFile(const std::string& path, int flags) {
  return beyondStandardStreams(
      FileDescriptor(uninterrupted([&] { return ::open(path.c_str(), flags | O_CLOEXEC, 0644); })));
}

struct Pipe {
  FileDescriptor reading;
  FileDescriptor writing;

  bool open() {
    std::array<int, 2> ends{-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC) == -1) return false;
    reading = beyondStandardStreams(FileDescriptor(ends[0]));
    writing = beyondStandardStreams(FileDescriptor(ends[1]));
    return reading && writing;
  }
};

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
  streams.childErrors = FileDescriptor(::fcntl(streams.childOutput.get(), F_DUPFD_CLOEXEC, kFirstFreeDescriptor));
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

// What posix_spawn is to do in the child: streams, folder, signals.
class SpawnPlan {
 public:
  SpawnPlan() {
    ::posix_spawn_file_actions_init(&_actions);
    ::posix_spawnattr_init(&_attributes);
  }
  SpawnPlan(const SpawnPlan&) = delete;
  SpawnPlan& operator=(const SpawnPlan&) = delete;
  ~SpawnPlan() {
    ::posix_spawnattr_destroy(&_attributes);
    ::posix_spawn_file_actions_destroy(&_actions);
  }

  // 0, or the error's number.
  int prepare(const Streams& streams, const std::string& folder) {
    const std::array<int, 3> sources{streams.childInput.get(), streams.childOutput.get(),
                                     streams.childErrors.get()};
    for (int target = 0; target < 3; ++target) {
      const int source = sources[static_cast<std::size_t>(target)];
      if (const int error = ::posix_spawn_file_actions_adddup2(&_actions, source, target)) return error;
    }
    if (const int error = ::posix_spawn_file_actions_addclosefrom_np(&_actions, kFirstFreeDescriptor)) return error;
    if (!folder.empty()) {
      if (const int error = ::posix_spawn_file_actions_addchdir_np(&_actions, folder.c_str())) return error;
    }
    return resetSignals();
  }

  // Never gives a child when the program could not be started: the error's number then.
  int spawn(const char* path, char* const* arguments, pid_t& child) {
    return ::posix_spawn(&child, path, &_actions, &_attributes, arguments, environ);
  }

 private:
  // A program that ignores SIGPIPE, as some frameworks make this one do, would not end with its reader.
  int resetSignals() {
    sigset_t none;
    sigset_t all;
    ::sigemptyset(&none);
    ::sigfillset(&all);
    ::sigdelset(&all, SIGKILL);
    ::sigdelset(&all, SIGSTOP);
    if (const int error = ::posix_spawnattr_setsigmask(&_attributes, &none)) return error;
    if (const int error = ::posix_spawnattr_setsigdefault(&_attributes, &all)) return error;
    return ::posix_spawnattr_setflags(&_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }

  posix_spawn_file_actions_t _actions{};
  posix_spawnattr_t _attributes{};
};

// While it lives, writing into a pipe that nobody reads any more is an error on this thread and not a signal.
class NoPipeSignal {
 public:
  NoPipeSignal() {
    ::sigemptyset(&_pipe);
    ::sigaddset(&_pipe, SIGPIPE);
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
    return ::sigpending(&pending) == 0 && ::sigismember(&pending, SIGPIPE) == 1;
  }

  sigset_t _pipe{};
  sigset_t _before{};
  bool _wasPending = false;
};

// Takes what is there. Closes the stream at its end.
void take(FileDescriptor& stream, Bytes& into) {
  std::array<std::uint8_t, 65536> block;
  const ssize_t count = uninterrupted([&] { return ::read(stream.get(), block.data(), block.size()); });
  if (count > 0) into.insert(into.end(), block.begin(), block.begin() + count);
  if (count <= 0) stream.reset();
}

// Gives what fits. Closes the stream when all is given or nobody takes it.
void give(FileDescriptor& stream, const Bytes& content, std::size_t& given) {
  const ssize_t count =
      uninterrupted([&] { return ::write(stream.get(), content.data() + given, content.size() - given); });
  if (count > 0) given += static_cast<std::size_t>(count);
  if (given == content.size() || (count < 0 && errno != EAGAIN)) stream.reset();
}

// Serves all streams at once until the last one ended: a child that waits for one of them never waits for long.
void exchange(Streams& streams, const Bytes& input, TaskResult& result) {
  const NoPipeSignal quiet;
  std::size_t given = 0;
  while (streams.input || streams.output || streams.errors) {
    // poll skips negative descriptors.
    std::array<pollfd, 3> ready{
        {{streams.input.get(), POLLOUT, 0}, {streams.output.get(), POLLIN, 0}, {streams.errors.get(), POLLIN, 0}}};
    if (::poll(ready.data(), ready.size(), -1) < 0) continue;
    if (ready[0].revents != 0) give(streams.input, input, given);
    if (ready[1].revents != 0) take(streams.output, result.standardOutput);
    if (ready[2].revents != 0) take(streams.errors, result.standardError);
  }
}

bool holdsNul(const TaskDescription& task) {
  const auto has = [](const std::string& text) { return text.find('\0') != std::string::npos; };
  for (const std::string& argument : task.arguments) {
    if (has(argument)) return true;
  }
  return has(task.launchPath) || has(task.currentDirectory) || has(task.standardOutputPath) ||
         has(task.standardErrorPath);
}

std::vector<char*> argumentVector(const std::string& name, std::vector<std::string>& arguments) {
  std::vector<char*> vector{const_cast<char*>(name.c_str())};
  for (std::string& argument : arguments) vector.push_back(argument.data());
  vector.push_back(nullptr);
  return vector;
}

std::optional<TaskError> failure(std::string_view what, int number) {
  return TaskError{std::string(what) + ": " + systemReason(number)};
}

std::optional<TaskError> start(const TaskDescription& task, Streams& streams, pid_t& child) {
  if (!task.launchPath.starts_with('/') || holdsNul(task)) return failure(task.launchPath, EINVAL);
  if (!openInput(task, streams)) return failure("standard input", errno);
  if (!openOutput(task.standardOutputPath, streams.childOutput, streams.output)) {
    return failure(task.standardOutputPath.empty() ? "standard output" : task.standardOutputPath, errno);
  }
  if (!openErrors(task, streams)) {
    return failure(task.standardErrorPath.empty() ? "standard error" : task.standardErrorPath, errno);
  }
  std::vector<std::string> arguments = task.arguments;
  const std::vector<char*> vector = argumentVector(task.launchPath, arguments);
  SpawnPlan plan;
  int error = plan.prepare(streams, task.currentDirectory);
  if (error == 0) error = plan.spawn(task.launchPath.c_str(), vector.data(), child);
  if (error != 0) return failure(task.launchPath, error);
  return std::nullopt;
}

}  // namespace

Expected<TaskResult, TaskError> PosixTaskRunner::run(const TaskDescription& task) {
  Streams streams;
  pid_t child = 0;
  if (std::optional<TaskError> error = start(task, streams, child)) return *std::move(error);
  // Kept open here, they would keep the streams from ending.
  streams.childInput.reset();
  streams.childOutput.reset();
  streams.childErrors.reset();

  TaskResult result;
  exchange(streams, task.standardInput, result);
  int status = 0;
  if (uninterrupted([&] { return ::waitpid(child, &status, 0); }) == -1) return TaskError{systemReason(errno)};
  result.reason = WIFSIGNALED(status) ? TaskResult::Reason::uncaughtSignal : TaskResult::Reason::exit;
  result.status = WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
  return result;
}

}  // namespace zpk
