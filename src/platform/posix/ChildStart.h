#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "base/Task.h"
#include "platform/posix/FileDescriptor.h"

namespace zpk {

// Starting a program with posix_spawn: what all ways of running one have in common. Any thread.
//
// The program gets this process's environment, no blocked or ignored signals, and no descriptor but its three
// streams.

// Descriptors of this side lie beyond the standard streams, so that putting a child's streams into place never
// overwrites one of them.
inline constexpr int kFirstDescriptorOfOurs = 3;
FileDescriptor beyondStandardStreams(FileDescriptor file);

struct Pipe {
  FileDescriptor reading;
  FileDescriptor writing;

  // False, with errno set, when there are no descriptors left.
  bool open();
};

// Whose process group a program is in: with one of its own it can be ended with all that it started, and signals of
// the terminal pass it by.
enum class ProcessGroup { callers, own };

struct ChildStart {
  const std::string& launchPath;  // absolute
  const std::vector<std::string>& arguments;
  const std::string& folder;  // empty: this process's
  int input;                  // descriptors from beyondStandardStreams, which stay the caller's
  int output;
  int errors;
  ProcessGroup group;
};

// The process, which the caller waits for. One that could not be started leaves no process behind.
Expected<pid_t, TaskError> startChild(const ChildStart& start);

}  // namespace zpk
