#include <fcntl.h>
#include <unistd.h>

#include "platform/posix/ProcessBoundary.h"

namespace zpk {

bool openPipe(std::array<int, 2>& ends) {
  return ::pipe2(ends.data(), O_CLOEXEC) == 0;
}

int inheritStandardStreamsOnly(posix_spawn_file_actions_t& actions, int&) {
  return ::posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
}

}  // namespace zpk
