// Serves one virtual disk: qrx-helper DRIVE-ID
//
// Started by the client of virtual disks for a drive whose folder is there already (docs/mounting.md), and left
// running beside it.

#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "tools/qrx-helper/DriveKeeper.h"

namespace {

// Whoever reads what the program writes would wait for the drive's end.
void letGoOfStandardStreams() {
  const zpk::FileDescriptor nothing(::open("/dev/null", O_RDWR | O_CLOEXEC));
  if (!nothing) return;
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) ::dup2(nothing.get(), stream);
}

}  // namespace

int main(int argc, char** argv) {
  using namespace zpk;
  if (argc != 2 || !isDriveId(argv[1])) {
    std::fputs("usage: qrx-helper DRIVE-ID\n", stderr);
    return 2;
  }
  const char* const runtimeFolder = std::getenv("XDG_RUNTIME_DIR");
  auto drives = drivesFolder(runtimeFolder ? runtimeFolder : "");
  if (!drives) {
    std::fprintf(stderr, "qrx-helper: the runtime folder cannot be used: %s\n",
                 systemReason(drives.error()).c_str());
    return EXIT_FAILURE;
  }
  // The drive outlives the program that asked for it, and the terminal that it was started from.
  ::setsid();
  letGoOfStandardStreams();
  ::openlog("qrx-helper", LOG_PID, LOG_USER);
  DriveKeeper keeper(std::move(*drives), argv[1],
                     [](const std::string& line) { ::syslog(LOG_WARNING, "%s", line.c_str()); });
  return keeper.run() ? EXIT_SUCCESS : EXIT_FAILURE;
}
