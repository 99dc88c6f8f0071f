#include "platform/posix/ChildStart.h"

#include <fcntl.h>
#include <spawn.h>

#include <array>
#include <csignal>
#include <utility>

#include "platform/posix/ProcessBoundary.h"

extern char** environ;

namespace zpk {
namespace {

// What posix_spawn is to do in the child: streams, folder, signals, process group.
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
  int prepare(const ChildStart& start) {
    const std::array<int, 3> sources{start.input, start.output, start.errors};
    for (int target = 0; target < 3; ++target) {
      const int source = sources[static_cast<std::size_t>(target)];
      if (const int error = ::posix_spawn_file_actions_adddup2(&_actions, source, target)) return error;
    }
    if (const int error = inheritStandardStreamsOnly(_actions, _flags)) return error;
    if (!start.folder.empty()) {
      if (const int error = ::posix_spawn_file_actions_addchdir_np(&_actions, start.folder.c_str())) return error;
    }
    return setAttributes(start.group);
  }

  // Never gives a child when the program could not be started: the error's number then.
  int spawn(const char* path, char* const* arguments, pid_t& child) {
    return ::posix_spawn(&child, path, &_actions, &_attributes, arguments, environ);
  }

 private:
  // A program that ignores SIGPIPE, as some frameworks make this one do, would not end with its reader.
  int setAttributes(ProcessGroup group) {
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    sigdelset(&all, SIGKILL);
    sigdelset(&all, SIGSTOP);
    if (const int error = ::posix_spawnattr_setsigmask(&_attributes, &none)) return error;
    if (const int error = ::posix_spawnattr_setsigdefault(&_attributes, &all)) return error;
    const int grouping = group == ProcessGroup::own ? POSIX_SPAWN_SETPGROUP : 0;
    const int flags = _flags | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | grouping;
    return ::posix_spawnattr_setflags(&_attributes, static_cast<short>(flags));
  }

  posix_spawn_file_actions_t _actions{};
  posix_spawnattr_t _attributes{};
  int _flags = 0;
};

bool holdsNul(const ChildStart& start) {
  const auto has = [](const std::string& text) { return text.find('\0') != std::string::npos; };
  for (const std::string& argument : start.arguments) {
    if (has(argument)) return true;
  }
  return has(start.launchPath) || has(start.folder);
}

std::vector<char*> argumentVector(const std::string& name, std::vector<std::string>& arguments) {
  std::vector<char*> vector{const_cast<char*>(name.c_str())};
  for (std::string& argument : arguments) vector.push_back(argument.data());
  vector.push_back(nullptr);
  return vector;
}

}  // namespace

FileDescriptor beyondStandardStreams(FileDescriptor file) {
  if (!file || file.get() >= kFirstDescriptorOfOurs) return file;
  return FileDescriptor(::fcntl(file.get(), F_DUPFD_CLOEXEC, kFirstDescriptorOfOurs));
}

bool Pipe::open() {
  std::array<int, 2> ends{-1, -1};
  if (!openPipe(ends)) return false;
  reading = beyondStandardStreams(FileDescriptor(ends[0]));
  writing = beyondStandardStreams(FileDescriptor(ends[1]));
  return reading && writing;
}

Expected<pid_t, TaskError> startChild(const ChildStart& start) {
  const auto failure = [&](int number) { return TaskError{start.launchPath + ": " + systemReason(number)}; };
  if (!start.launchPath.starts_with('/') || holdsNul(start)) return failure(EINVAL);
  std::vector<std::string> arguments = start.arguments;
  const std::vector<char*> vector = argumentVector(start.launchPath, arguments);
  SpawnPlan plan;
  pid_t child = 0;
  int error = plan.prepare(start);
  if (error == 0) error = plan.spawn(start.launchPath.c_str(), vector.data(), child);
  if (error != 0) return failure(error);
  return child;
}

}  // namespace zpk
