#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "platform/posix/ProcessBoundary.h"

namespace zpk {

// A program that another thread starts in between inherits nothing either, because of the flag below.
bool openPipe(std::array<int, 2>& ends) {
  if (::pipe(ends.data()) == -1) return false;
  if (::fcntl(ends[0], F_SETFD, FD_CLOEXEC) == 0 && ::fcntl(ends[1], F_SETFD, FD_CLOEXEC) == 0) return true;
  const int number = errno;
  for (const int end : ends) ::close(end);
  errno = number;
  return false;
}

// Descriptors that no file action puts into place are closed.
int inheritStandardStreamsOnly(posix_spawn_file_actions_t&, int& flags) {
  flags |= POSIX_SPAWN_CLOEXEC_DEFAULT;
  return 0;
}

}  // namespace zpk
