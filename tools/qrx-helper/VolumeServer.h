#pragma once

#include <functional>
#include <string>

#include "platform/posix/FileDescriptor.h"
#include "tools/qrx-helper/NtfsVolume.h"

namespace zpk {

// Serves the volume's files on this thread, until the mount that `requests` belongs to is gone or the process is
// asked to end (SIGTERM, SIGINT, SIGHUP). `mountPoint` is where it is seen, for links that say it. `mounted` is
// called once it can be looked at. Answers false when it could not be served.
//
// Opens nothing, so that a process without the right to can do it.
bool serveVolume(NtfsVolume& volume, FileDescriptor requests, const std::string& mountPoint,
                 const std::function<void()>& mounted);

}  // namespace zpk
