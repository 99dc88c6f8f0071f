#include "helper/process/ToolStart.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "helper/process/ToolChild.h"

namespace zpk {
namespace {

struct Pipe {
  FileDescriptor readEnd;
  FileDescriptor writeEnd;
};

// Numbers below would be overwritten when the child puts its streams and the descriptor that it is handed in place.
constexpr int firstFree = ToolChildPlan::handedNumber + 1;

std::optional<Pipe> makePipe() {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return std::nullopt;
  Pipe pipe{FileDescriptor(::fcntl(ends[0], F_DUPFD_CLOEXEC, firstFree)),
            FileDescriptor(::fcntl(ends[1], F_DUPFD_CLOEXEC, firstFree))};
  ::close(ends[0]);
  ::close(ends[1]);
  if (!pipe.readEnd || !pipe.writeEnd) return std::nullopt;
  return pipe;
}

FileDescriptor openNull() {
  const FileDescriptor fd(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  return FileDescriptor(fd ? ::fcntl(fd.get(), F_DUPFD_CLOEXEC, firstFree) : -1);
}

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
  const ssize_t count = uninterrupted([&] { return ::read(failure.get(), &errorNumber, sizeof errorNumber); });
  return count == static_cast<ssize_t>(sizeof errorNumber) ? errorNumber : 0;
}

}  // namespace

std::string ToolStartError::text() const {
  return executable + " could not be started: " + std::strerror(errorNumber);
}

Expected<StartedTool, ToolStartError> startTool(const ToolCommand& command, int deathSignal) {
  if (command.executable.empty() || command.executable.front() != '/') {
    return ToolStartError{command.executable, EINVAL};
  }
  std::optional<Pipe> output = makePipe();
  std::optional<Pipe> errors = makePipe();
  std::optional<Pipe> failure = makePipe();
  const FileDescriptor input = openNull();
  if (!output || !errors || !failure || !input) return ToolStartError{command.executable, errno};

  const std::vector<char*> argv = argumentPointers(command);
  ToolChildPlan plan;
  plan.executable = command.executable.c_str();
  plan.argv = argv.data();
  plan.input = input.get();
  plan.output = output->writeEnd.get();
  plan.errors = errors->writeEnd.get();
  plan.failure = failure->writeEnd.get();
  plan.writable = command.writable.empty() ? nullptr : command.writable.c_str();
  plan.handed = command.handed;
  plan.parent = ::getpid();
  plan.deathSignal = deathSignal;
  plan.memoryBytes = command.limits.memoryBytes;
  plan.cpuSeconds = command.limits.cpuSeconds;
  plan.access = command.access;
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
    endTool(pid);
    return ToolStartError{command.executable, notStarted != 0 ? notStarted : noPidFd};
  }
  return StartedTool{pid, std::move(pidFd), std::move(output->readEnd), std::move(errors->readEnd)};
}

std::optional<int> endTool(pid_t pid) {
  // The group is killed while its leader is not yet waited for, so the number cannot belong to another one.
  ::kill(-pid, SIGKILL);
  int status = 0;
  const pid_t reaped = uninterrupted([&] { return ::waitpid(pid, &status, 0); });
  if (reaped != pid) return std::nullopt;
  return status;
}

}  // namespace zpk
